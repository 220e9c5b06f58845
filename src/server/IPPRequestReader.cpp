#include "server/IPPRequestReader.h"

#include <fmt/format.h>

#include <utility>

namespace korvane {

IPPRequestReader::IPPRequestReader(Printer printer, std::optional<std::uint64_t> bodyLength,
                                   RequestClient client)
    : printer_(std::move(printer)), bodyLength_(bodyLength), client_(std::move(client))
{
}

void IPPRequestReader::append(std::span<const std::uint8_t> bytes)
{
    if (auto* attributes = std::get_if<Attributes>(&state_)) {
        const std::size_t count = attributes->section.take(bytes);
        attributes->bytes.append(bytes.first(count));
        bodyBytes_ += count;
        bytes = bytes.subspan(count);
        if (attributes->section.isComplete()) decodeAttributes(bodyLength_ != bodyBytes_);
    }
    bodyBytes_ += bytes.size();
    auto* operation = std::get_if<Operation>(&state_);
    if (operation == nullptr) return;
    operation->documentBytes += bytes.size();
    if (!operation->prepared.document) return;
    operation->prepared.document->append(bytes);
    checkDocument(*operation);
}

void IPPRequestReader::decodeAttributes(bool isMoreToCome)
{
    const Data bytes = std::get<Attributes>(state_).bytes.take();
    const auto message = ipp::decode(bytes);
    if (!message) {
        state_ = Malformed{message.error()};
        return;
    }
    IPPRequest request(*message, printer_.profile, client_.host);
    Operation operation{
        .request = request,
        .prepared = printer_.operations->prepare({.message = *message,
                                                  .responder = {std::move(request), client_.answer},
                                                  .isMoreToCome = isMoreToCome,
                                                  .onWritten = [weak = weak_from_this()] {
                                                      if (const auto self = weak.lock())
                                                          self->handleWritten();
                                                  }})};
    if (operation.prepared.document) {
        auto rest = bodyLength_;
        if (rest) *rest -= bodyBytes_;
        operation.prepared.document->expect(rest);
    }
    state_ = std::move(operation);
}

void IPPRequestReader::finish()
{
    if (std::holds_alternative<Attributes>(state_)) decodeAttributes(false);
    if (const auto* malformed = std::get_if<Malformed>(&state_)) return finish(*malformed);
    finish(std::move(std::get<Operation>(state_)));
}

void IPPRequestReader::finish(const Malformed& malformed)
{
    printer_.log.error(fmt::format("IPPServer: IPP decode failed ({} body bytes): {}", bodyBytes_,
                                   malformed.error.description()));
    client_.answer({.status = "400 Bad Request", .body = {}});
}

void IPPRequestReader::finish(Operation operation)
{
    const IPPRequest& request = operation.request;
    printer_.log.note(fmt::format("IPPServer: op={} reqID={} bodyBytes={} docBytes={}",
                                  request.operation ? std::string(request.operation->name)
                                                    : fmt::format("0x{:x}", request.code),
                                  request.requestID, bodyBytes_, operation.documentBytes));
    operation.prepared.perform(operation.documentBytes);
}

void IPPRequestReader::checkDocument(const Operation& operation)
{
    const auto& error = operation.prepared.document->error();
    if (!error) return;
    printer_.log.error("IPPServer: refusing a document: " + error->description());
    operation.prepared.refuse(*error);
}

void IPPRequestReader::handleWritten()
{
    const auto* operation = std::get_if<Operation>(&state_);
    if (operation == nullptr || !operation->prepared.document) return;
    checkDocument(*operation);
    client_.readOn();
}

const ReceivedDocument* IPPRequestReader::document() const
{
    const auto* operation = std::get_if<Operation>(&state_);
    return operation != nullptr ? operation->prepared.document.get() : nullptr;
}

std::size_t IPPRequestReader::bytesHeld() const
{
    if (const auto* attributes = std::get_if<Attributes>(&state_)) return attributes->bytes.size();
    const ReceivedDocument* const received = document();
    return received ? received->bytesHeld() : 0;
}

bool IPPRequestReader::releaseMemory()
{
    const auto* operation = std::get_if<Operation>(&state_);
    if (operation == nullptr || !operation->prepared.document) return false;
    return operation->prepared.document->writeOut();
}

bool IPPRequestReader::isBusy() const
{
    const ReceivedDocument* const received = document();
    return received && received->isBusy();
}

} // namespace korvane
