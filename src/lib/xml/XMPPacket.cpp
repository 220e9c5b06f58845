#include "lib/xml/XMPPacket.h"

#include "text/Markup.h"

#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xmlsave.h>

#include <algorithm>
#include <array>
#include <functional>
#include <new>
#include <regex>
#include <utility>

namespace korvane {

namespace {

constexpr std::string_view rdfSpace = "http://www.w3.org/1999/02/22-rdf-syntax-ns#";
constexpr std::string_view dublinCoreSpace = "http://purl.org/dc/elements/1.1/";
constexpr std::string_view xmpSpace = "http://ns.adobe.com/xap/1.0/";
constexpr std::string_view pdfxSpace = "http://ns.adobe.com/pdfx/1.3/";

/** Some producers leave out the slash at the end. */
constexpr std::array<std::string_view, 5> claimSpaces = {
    "http://www.aiim.org/pdfa/ns/id", "http://www.aiim.org/pdfe/ns/id",
    "http://www.aiim.org/pdfua/ns/id", "http://www.npes.org/pdfvt/ns/id",
    "http://www.npes.org/pdfx/ns/id"};

/** Of an entry of the document information (ISO 16684-2 and ISO 32000-2, 14.3.3). */
struct Property {
    enum class Form { text, date, list, languages };

    std::string_view key;
    std::string_view space;
    std::string_view name;
    Form form;
};

using Form = Property::Form;

constexpr std::string_view createDate = "CreateDate";

constexpr std::array properties = {
    Property{"Title", dublinCoreSpace, "title", Form::languages},
    Property{"Author", dublinCoreSpace, "creator", Form::list},
    Property{"Subject", dublinCoreSpace, "description", Form::languages},
    Property{"Creator", xmpSpace, "CreatorTool", Form::text},
    Property{"CreationDate", xmpSpace, createDate, Form::date},
    Property{"ModDate", xmpSpace, "ModifyDate", Form::date},
    Property{"ModDate", xmpSpace, "MetadataDate", Form::date}};

std::string_view view(const xmlChar* text)
{
    return text == nullptr ? std::string_view() : reinterpret_cast<const char*>(text);
}

/** For what is terminated by a null character. */
const xmlChar* chars(std::string_view text)
{
    return reinterpret_cast<const xmlChar*>(text.data());
}

/** libxml2 returns null when there is no memory. */
template <typename T>
T* checked(T* allocated)
{
    if (allocated == nullptr) throw std::bad_alloc();
    return allocated;
}

/** Of an element or an attribute. */
template <typename Node>
std::string_view spaceOf(const Node& node)
{
    return node.ns == nullptr ? std::string_view() : view(node.ns->href);
}

template <typename Node>
bool isNamed(const Node& node, std::string_view space, std::string_view name)
{
    return spaceOf(node) == space && view(node.name) == name;
}

bool isRDF(const xmlNode& element)
{
    return isNamed(element, rdfSpace, "RDF");
}

/** The one among an element and its children. */
xmlNode* findRDF(xmlNode* root)
{
    if (isRDF(*root)) return root;
    xmlNode* found = nullptr;
    for (xmlNode* child = xmlFirstElementChild(root); child != nullptr;
         child = xmlNextElementSibling(child)) {
        if (!isRDF(*child)) continue;
        if (found != nullptr) return nullptr;
        found = child;
    }
    return found;
}

/** Whether a property, by its name space and its name, is looked for. */
using Predicate = std::function<bool(std::string_view space, std::string_view name)>;

/** Calls `use` with the properties of the resource that are looked for; `use` may remove them. */
template <typename UseAttribute, typename UseElement>
void forEachProperty(xmlNode* rdf, const Predicate& isMeant, const UseAttribute& useAttribute,
                     const UseElement& useElement)
{
    for (xmlNode* description = xmlFirstElementChild(rdf); description != nullptr;
         description = xmlNextElementSibling(description)) {
        for (xmlAttr* attribute = description->properties; attribute != nullptr;) {
            xmlAttr* const current = std::exchange(attribute, attribute->next);
            if (isMeant(spaceOf(*current), view(current->name))) useAttribute(current);
        }
        for (xmlNode* element = xmlFirstElementChild(description); element != nullptr;) {
            xmlNode* const current = std::exchange(element, xmlNextElementSibling(element));
            if (isMeant(spaceOf(*current), view(current->name))) useElement(current);
        }
    }
}

void removeProperties(xmlNode* rdf, const Predicate& isMeant)
{
    forEachProperty(
        rdf, isMeant, [](xmlAttr* attribute) { xmlRemoveProp(attribute); },
        [](xmlNode* element) {
            xmlUnlinkNode(element);
            xmlFreeNode(element);
        });
}

bool isClaim(std::string_view space, std::string_view name)
{
    if (space == pdfxSpace) return name.starts_with("GTS_PDFX");
    return std::ranges::any_of(claimSpaces,
                               [&](std::string_view claim) { return space.starts_with(claim); });
}

/** "D:20250301150509+01'00" (ISO 32000-1, 7.9.4) as "2025-03-01T15:05:09+01:00". */
std::string isoDate(const std::string& date)
{
    static const std::regex form(R"(D:(\d{4})(\d\d)(\d\d)(\d\d)(\d\d)(\d\d)([+-]\d\d)'(\d\d)'?)");
    std::smatch parts;
    if (!std::regex_match(date, parts, form)) return "";
    return parts.format("$1-$2-$3T$4:$5:$6$7:$8");
}

std::string valueOf(const Property& property, const std::string& entry)
{
    return property.form == Form::date ? isoDate(entry) : text::allowedInXML(entry);
}

/** Makes a description of the same resource with properties of its own, in name spaces of its own:
 *  the prefixes around it may mean anything. */
class DescriptionWriter {
public:
    explicit DescriptionWriter(xmlNode* rdf)
        : node_(checked(xmlNewChild(rdf, nullptr, chars("Description"), nullptr))),
          rdf_(declare(rdfSpace, "rdf")), dublinCore_(declare(dublinCoreSpace, "dc")),
          xmp_(declare(xmpSpace, "xmp"))
    {
        xmlSetNs(node_, rdf_);
        checked(xmlNewNsProp(node_, rdf_, chars("about"), chars(resource(rdf))));
    }

    void add(const Property& property, const std::string& value)
    {
        xmlNs* const space = property.space == xmpSpace ? xmp_ : dublinCore_;
        if (property.form == Form::text || property.form == Form::date) {
            checked(xmlNewTextChild(node_, space, chars(property.name), chars(value)));
            return;
        }
        const bool isList = property.form == Form::list;
        xmlNode* const element = checked(xmlNewChild(node_, space, chars(property.name), nullptr));
        xmlNode* const container =
            checked(xmlNewChild(element, rdf_, chars(isList ? "Seq" : "Alt"), nullptr));
        xmlNode* const item = checked(xmlNewTextChild(container, rdf_, chars("li"), chars(value)));
        if (!isList) xmlNodeSetLang(item, chars("x-default"));
    }

private:
    xmlNs* declare(std::string_view space, std::string_view prefix)
    {
        return checked(xmlNewNs(node_, chars(space), chars(prefix)));
    }

    /** All descriptions of a packet are of one resource, by most named "". */
    static std::string resource(xmlNode* rdf)
    {
        xmlChar* const about =
            xmlGetNsProp(xmlFirstElementChild(rdf), chars("about"), chars(rdfSpace));
        std::string name(view(about));
        xmlFree(about);
        return name;
    }

    xmlNode* const node_;
    xmlNs* const rdf_;
    xmlNs* const dublinCore_;
    xmlNs* const xmp_;
};

/** Ends the parsing of a document that declares its type, before entities are read. */
void refuseDocumentType(void* context, const xmlChar* /*name*/, const xmlChar* /*publicID*/,
                        const xmlChar* /*systemID*/)
{
    auto* const parser = static_cast<xmlParserCtxt*>(context);
    xmlStopParser(parser);
    parser->wellFormed = 0;
}

/** Some producers fill the packet up with null characters, which UTF-16 and UTF-32 have from the
 *  first character on. */
std::string_view withoutPadding(std::string_view packet)
{
    constexpr std::size_t beginning = 4;
    if (packet.substr(0, beginning).find('\0') != std::string_view::npos) return packet;
    return packet.substr(0, packet.find_last_not_of('\0') + 1);
}

} // namespace

struct XMPPacket::Tree {
    std::unique_ptr<xmlDoc, void (*)(xmlDoc*)> document;
    /** The element rdf:RDF of the document. */
    xmlNode* rdf = nullptr;
};

XMPPacket::XMPPacket(std::unique_ptr<Tree> tree) : tree_(std::move(tree)) {}
XMPPacket::XMPPacket(XMPPacket&&) noexcept = default;
XMPPacket::~XMPPacket() = default;

std::optional<XMPPacket> XMPPacket::parse(std::string_view packet)
{
    if (packet.size() > maxSize) return std::nullopt;
    const std::string_view content = withoutPadding(packet);
    const std::unique_ptr<xmlParserCtxt, void (*)(xmlParserCtxt*)> parser(
        checked(xmlNewParserCtxt()), xmlFreeParserCtxt);
    parser->sax->internalSubset = refuseDocumentType;
    std::unique_ptr<xmlDoc, void (*)(xmlDoc*)> document(
        xmlCtxtReadMemory(parser.get(), content.data(), static_cast<int>(content.size()), "",
                          nullptr, XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING),
        xmlFreeDoc);
    if (!document) return std::nullopt;
    xmlNode* const rdf = findRDF(xmlDocGetRootElement(document.get()));
    if (rdf == nullptr) return std::nullopt;
    return XMPPacket(std::make_unique<Tree>(Tree{std::move(document), rdf}));
}

bool XMPPacket::hasCreationDate() const
{
    bool isFound = false;
    const auto find = [&isFound](const auto*) { isFound = true; };
    forEachProperty(
        tree_->rdf,
        [](std::string_view space, std::string_view name) {
            return space == xmpSpace && name == createDate;
        },
        find, find);
    return isFound;
}

void XMPPacket::setInformation(const DocumentInformation& information)
{
    DescriptionWriter description(tree_->rdf);
    for (const Property& property : properties) {
        const auto entry = information.find(std::string(property.key));
        if (entry == information.end()) continue;
        removeProperties(tree_->rdf, [&](std::string_view space, std::string_view name) {
            return space == property.space && name == property.name;
        });
        const std::string value = valueOf(property, entry->second);
        if (!value.empty()) description.add(property, value);
    }
}

void XMPPacket::removeConformanceClaims()
{
    removeProperties(tree_->rdf, isClaim);
}

std::string XMPPacket::text() const
{
    const std::unique_ptr<xmlBuffer, void (*)(xmlBuffer*)> buffer(checked(xmlBufferCreate()),
                                                                  xmlBufferFree);
    xmlSaveCtxt* const save =
        checked(xmlSaveToBuffer(buffer.get(), "UTF-8", XML_SAVE_AS_XML | XML_SAVE_NO_DECL));
    xmlSaveDoc(save, tree_->document.get());
    xmlSaveClose(save);
    return {reinterpret_cast<const char*>(xmlBufferContent(buffer.get())),
            static_cast<std::size_t>(xmlBufferLength(buffer.get()))};
}

} // namespace korvane
