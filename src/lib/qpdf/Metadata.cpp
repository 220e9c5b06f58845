#include "lib/qpdf/Metadata.h"

#include "lib/xml/XMPPacket.h"

#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string>

namespace korvane {

namespace {

constexpr const char* creationDate = "CreationDate";
constexpr const char* modificationDate = "ModDate";

/** Takes what a stream unpacks to, as long as it is no larger than XMP may be. */
class PacketPipeline : public Pipeline {
public:
    PacketPipeline() : Pipeline("packet", nullptr) {}

    void write(const unsigned char* bytes, std::size_t count) override
    {
        if (packet_.size() + count > XMPPacket::maxSize)
            throw std::length_error("the metadata is too large");
        packet_.append(reinterpret_cast<const char*>(bytes), count);
    }
    void finish() override {}

    const std::string& packet() const { return packet_; }

private:
    std::string packet_;
};

std::optional<XMPPacket> readPacket(QPDFObjectHandle metadata)
{
    if (!metadata.isStream()) return std::nullopt;
    PacketPipeline pipeline;
    bool isDecoded = false;
    const bool isRead =
        metadata.pipeStreamData(&pipeline, &isDecoded, 0, qpdf_dl_generalized, true, false);
    if (!isRead || !isDecoded) return std::nullopt;
    return XMPPacket::parse(pipeline.packet());
}

QPDFObjectHandle makeMetadata(QPDF& pdf, const XMPPacket& packet)
{
    QPDFObjectHandle stream = QPDFObjectHandle::newStream(&pdf, packet.text());
    stream.getDict().replaceKey("/Type", QPDFObjectHandle::newName("/Metadata"));
    stream.getDict().replaceKey("/Subtype", QPDFObjectHandle::newName("/XML"));
    // Programs that know nothing of PDF look for the packet in the file.
    stream.setFilterOnWrite(false);
    return stream;
}

/** A copy: the dictionary may be in the file under another name as well. */
QPDFObjectHandle copyEntries(QPDF& pdf)
{
    QPDFObjectHandle entries = pdf.getTrailer().getKey("/Info");
    if (!entries.isDictionary()) return QPDFObjectHandle::newDictionary();
    entries = entries.shallowCopy();
    for (const char* claim : {"/GTS_PDFXVersion", "/GTS_PDFXConformance"}) entries.removeKey(claim);
    return entries;
}

} // namespace

void updateMetadata(QPDF& pdf, DocumentInformation information)
{
    QPDFObjectHandle entries = copyEntries(pdf);
    std::optional<XMPPacket> packet = readPacket(pdf.getRoot().getKey("/Metadata"));
    const bool isDated =
        entries.hasKey(std::string("/") + creationDate) || (packet && packet->hasCreationDate());
    const auto now = information.find(modificationDate);
    if (!isDated && now != information.end()) information.emplace(creationDate, now->second);

    for (const auto& [key, value] : information) {
        entries.replaceKey("/" + key, QPDFObjectHandle::newUnicodeString(value));
    }
    pdf.getTrailer().replaceKey("/Info", pdf.makeIndirectObject(entries));
    if (!packet) {
        pdf.getRoot().removeKey("/Metadata");
        return;
    }
    packet->removeConformanceClaims();
    packet->setInformation(information);
    pdf.getRoot().replaceKey("/Metadata", makeMetadata(pdf, *packet));
}

} // namespace korvane
