#pragma once

#include "page/DocumentInformation.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace korvane {

/**
 * The XMP metadata of a document (ISO 16684-1): properties in RDF, as attributes or as elements, in
 * packets of any encoding. What is not changed stays as it is in meaning.
 */
class XMPPacket {
public:
    static constexpr std::size_t maxSize = std::size_t{4} << 20;

    /** Nothing for what is larger than `maxSize`, has a document type declaration, and so perhaps
     *  entities, or is no XML with exactly one RDF description of a resource. Nothing is loaded. */
    static std::optional<XMPPacket> parse(std::string_view packet);

    XMPPacket(XMPPacket&&) noexcept;
    XMPPacket& operator=(XMPPacket&&) = delete;
    ~XMPPacket();

    bool hasCreationDate() const;

    /** Sets the properties that say the same as the entries. Dates are those of PDF, to the second
     *  and with a time zone; others are left out. */
    void setInformation(const DocumentInformation& information);

    /** Removes the claims to be PDF/A, PDF/E, PDF/UA, PDF/VT or PDF/X. */
    void removeConformanceClaims();

    /** In UTF-8. */
    std::string text() const;

private:
    struct Tree;

    explicit XMPPacket(std::unique_ptr<Tree> tree);

    std::unique_ptr<Tree> tree_;
};

} // namespace korvane
