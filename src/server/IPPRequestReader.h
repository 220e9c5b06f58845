#pragma once

#include "base/ByteBuffer.h"
#include "base/Log.h"
#include "ipp/AttributeSection.h"
#include "ipp/IPPCodec.h"
#include "ipp/PrinterProfile.h"
#include "server/IPPProfile.h"
#include "server/IPPRequest.h"
#include "server/RequestReader.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <variant>

namespace korvane {

/** Reads one request that carries IPP: keeps its attributes until they are complete, then receives
 *  its document, if it is one that brings a document, and has the operation carried out. */
class IPPRequestReader final : public RequestReader,
                               public std::enable_shared_from_this<IPPRequestReader> {
public:
    /** As which printer a request is answered. */
    struct Printer {
        PrinterProfile profile;
        std::shared_ptr<IPPProfile> operations;
        /** Outlives the reader. */
        Log& log;
    };

    IPPRequestReader(Printer printer, std::optional<std::uint64_t> bodyLength,
                     RequestClient client);

    void append(std::span<const std::uint8_t> bytes) override;
    void finish() override;
    std::size_t bytesHeld() const override;
    bool releaseMemory() override;
    bool isBusy() const override;

private:
    struct Attributes {
        ByteBuffer bytes;
        ipp::AttributeSection section;
    };
    /** The rest is counted and dropped. */
    struct Malformed {
        IPPDecodeError error;
    };
    struct Operation {
        IPPRequest request;
        PreparedRequest prepared;
        std::uint64_t documentBytes = 0;
    };

    void decodeAttributes(bool isMoreToCome);
    void finish(const Malformed& malformed);
    void finish(Operation operation);
    /** Answers at once when the document cannot be taken any more. */
    void checkDocument(const Operation& operation);
    void handleWritten();
    const ReceivedDocument* document() const;

    const Printer printer_;
    const std::optional<std::uint64_t> bodyLength_;
    const RequestClient client_;
    std::uint64_t bodyBytes_ = 0;
    std::variant<Attributes, Malformed, Operation> state_;
};

} // namespace korvane
