#include "lib/xml/XMPPacket.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace korvane {

namespace {

using testing::HasSubstr;
using testing::Not;

const std::string rdfSpace = "http://www.w3.org/1999/02/22-rdf-syntax-ns#";

/** A packet whose one description has these attributes and elements. */
std::string packetOf(const std::string& attributes, const std::string& elements)
{
    return "<?xpacket begin='\uFEFF' id='W5M0MpCehiHzreSzNTczkc9d'?>\n"
           "<x:xmpmeta xmlns:x='adobe:ns:meta/'><rdf:RDF xmlns:rdf='" +
           rdfSpace +
           "'><rdf:Description rdf:about='uuid:7' xmlns:dc='http://purl.org/dc/elements/1.1/' "
           "xmlns:xmp='http://ns.adobe.com/xap/1.0/' xmlns:pdf='http://ns.adobe.com/pdf/1.3/' " +
           attributes + ">" + elements +
           "</rdf:Description></rdf:RDF></x:xmpmeta>\n<?xpacket end='w'?>";
}

std::string changed(const std::string& source, const DocumentInformation& information)
{
    auto packet = XMPPacket::parse(source);
    EXPECT_TRUE(packet) << source;
    if (!packet) return "";
    packet->removeConformanceClaims();
    packet->setInformation(information);
    const std::string text = packet->text();
    EXPECT_TRUE(XMPPacket::parse(text)) << text;
    return text;
}

} // namespace

TEST(XMPPacket, SaysTheSameAsTheInformation)
{
    const std::string text = changed(packetOf("", ""), {{"Title", "A <b> & \"c\"\x01 Ω"},
                                                        {"Author", "me"},
                                                        {"Subject", "what"},
                                                        {"Creator", "tool"},
                                                        {"CreationDate", "D:20250301150509+01'00"},
                                                        {"ModDate", "D:20251231235959-03'30'"},
                                                        {"Other", "not told"}});
    for (const char* property :
         {"<rdf:Description xmlns:rdf=\"http://www.w3.org/1999/02/22-rdf-syntax-ns#\"",
          "rdf:about=\"uuid:7\"><dc:title>",
          "<dc:title><rdf:Alt><rdf:li xml:lang=\"x-default\">A &lt;b&gt; &amp; \"c\" Ω</rdf:li>"
          "</rdf:Alt></dc:title>",
          "<dc:creator><rdf:Seq><rdf:li>me</rdf:li></rdf:Seq></dc:creator>",
          "<dc:description><rdf:Alt><rdf:li xml:lang=\"x-default\">what</rdf:li>",
          "<xmp:CreatorTool>tool</xmp:CreatorTool>",
          "<xmp:CreateDate>2025-03-01T15:05:09+01:00</xmp:CreateDate>",
          "<xmp:ModifyDate>2025-12-31T23:59:59-03:30</xmp:ModifyDate>",
          "<xmp:MetadataDate>2025-12-31T23:59:59-03:30</xmp:MetadataDate>"})
        EXPECT_THAT(text, HasSubstr(property));
    EXPECT_THAT(text, Not(HasSubstr("not told")));
    EXPECT_TRUE(text.starts_with("<?xpacket begin='\uFEFF'"));
    EXPECT_THAT(text, HasSubstr("<?xpacket end='w'?>"));
}

TEST(XMPPacket, ReplacesWhatWasSaidInAnyForm)
{
    const std::string cases[] = {
        packetOf("xmp:CreatorTool='old' dc:title='old'", ""),
        packetOf("", "<xmp:CreatorTool>old</xmp:CreatorTool><dc:title><rdf:Alt>"
                     "<rdf:li xml:lang='x-default'>old</rdf:li>"
                     "<rdf:li xml:lang='de'>old</rdf:li></rdf:Alt></dc:title>"),
        packetOf("xmlns:a='http://ns.adobe.com/xap/1.0/' a:CreatorTool='old'",
                 "<title xmlns='http://purl.org/dc/elements/1.1/'>old</title>"),
        "<RDF xmlns='" + rdfSpace +
            "' xmlns:rdf='urn:other' xmlns:xmp='urn:another'>"
            "<Description><rdf:x/></Description>"
            "<Description><d:title xmlns:d='http://purl.org/dc/elements/1.1/'>old</d:title>"
            "<CreatorTool "
            "xmlns='http://ns.adobe.com/xap/1.0/'>old</CreatorTool></Description></RDF>"};
    for (const std::string& source : cases) {
        const std::string text = changed(source, {{"Title", "new"}, {"Creator", "newer"}});
        EXPECT_THAT(text, Not(HasSubstr("old")));
        EXPECT_THAT(text, HasSubstr(">new<"));
        EXPECT_THAT(text, HasSubstr(">newer<"));
    }
}

TEST(XMPPacket, KeepsWhatStillHolds)
{
    const std::string source = packetOf(
        "pdf:Producer='producer' xmp:Rating='5' dc:creator='author'",
        "<pdf:Keywords>words</pdf:Keywords><dc:subject><rdf:Bag><rdf:li>bag</rdf:li></rdf:Bag>"
        "</dc:subject><m:History xmlns:m='urn:m'><rdf:Description dc:title='nested'/></m:History>"
        "<xmp:ModifyDate>yesterday</xmp:ModifyDate><![CDATA[ & ]]><!-- remark -->");
    const std::string text = changed(source, {{"Title", "new"}});
    for (const char* kept :
         {"pdf:Producer=\"producer\"", "xmp:Rating=\"5\"", "dc:creator=\"author\"",
          "<pdf:Keywords>words</pdf:Keywords>", "<rdf:Bag><rdf:li>bag</rdf:li></rdf:Bag>",
          "dc:title=\"nested\"", ">yesterday<", "<!-- remark -->"})
        EXPECT_THAT(text, HasSubstr(kept));
}

TEST(XMPPacket, ClaimsNoStandardAnyMore)
{
    const std::string text = changed(
        packetOf("xmlns:a='http://www.aiim.org/pdfa/ns/id/' a:part='gone' a:conformance='gone' "
                 "xmlns:u='http://www.aiim.org/pdfua/ns/id/' "
                 "xmlns:x='http://ns.adobe.com/pdfx/1.3/' x:GTS_PDFXVersion='gone' x:Box='kept'",
                 "<u:part>gone</u:part><x:GTS_PDFXConformance>gone</x:GTS_PDFXConformance>"
                 "<i:GTS_PDFXVersion xmlns:i='http://www.npes.org/pdfx/ns/id/'>gone"
                 "</i:GTS_PDFXVersion><b:part xmlns:b='http://www.aiim.org/pdfa/ns/id'>gone"
                 "</b:part>"),
        {});
    EXPECT_THAT(text, Not(HasSubstr("gone")));
    EXPECT_THAT(text, HasSubstr("x:Box=\"kept\""));
}

TEST(XMPPacket, LeavesOutDatesThatAreNone)
{
    const std::string source = packetOf("xmp:ModifyDate='old'", "");
    for (const char* date : {"", "D:2025", "2025-03-01", "D:20250301150509Z", "D:yesterday"}) {
        const std::string text = changed(source, {{"ModDate", date}});
        EXPECT_THAT(text, Not(HasSubstr("ModifyDate"))) << date;
    }
}

TEST(XMPPacket, IsReadInOtherEncodingsAndWithPadding)
{
    const std::string source = packetOf("xmp:Label='kept'", "");
    EXPECT_TRUE(XMPPacket::parse(source + std::string(100, '\0')));
    std::string wide = "\xFF\xFE";
    for (const char byte : std::string("<RDF xmlns='" + rdfSpace + "'><Description/></RDF>"))
        wide += std::string{byte, '\0'};
    EXPECT_THAT(changed(wide, {{"Creator", "new"}}), HasSubstr(">new<"));
}

TEST(XMPPacket, IsRefusedWhereItCannotBeTrusted)
{
    const std::string rdf = "<RDF xmlns='" + rdfSpace + "'/>";
    const std::string deep = [] {
        std::string open, close;
        for (int level = 0; level < 10'000; ++level) {
            open += "<a>";
            close += "</a>";
        }
        return open + close;
    }();
    const std::pair<const char*, std::string> cases[] = {
        {"nothing", ""},
        {"null characters", std::string(9, '\0')},
        {"no XML", "words"},
        {"half", packetOf("", "").substr(0, 200)},
        {"no RDF", "<x>y</x>"},
        {"two", "<x>" + rdf + rdf + "</x>"},
        {"an entity", "<!DOCTYPE RDF [<!ENTITY e 'x'>]>" + rdf},
        {"an external file", "<!DOCTYPE RDF SYSTEM 'file:///etc/passwd'>" + rdf},
        {"an unknown entity", packetOf("", "<dc:title>&e;</dc:title>")},
        {"too deep", packetOf("", deep)},
        {"too large", packetOf("", std::string(XMPPacket::maxSize, ' '))}};
    for (const auto& [what, source] : cases) EXPECT_FALSE(XMPPacket::parse(source)) << what;
    EXPECT_TRUE(XMPPacket::parse(rdf));
}

} // namespace korvane
