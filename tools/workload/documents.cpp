#include "tools/workload/documents.h"

#include <array>
#include <string_view>

namespace workload {

namespace {

constexpr std::array<std::string_view, 12> kWords{"valve", "bearing", "der",    "Größe",  "of",     "a",
                                                  "with",  "Kanne",   "façade", "tested", "twelve", "spring"};

std::string word(std::size_t i) {
    return std::string(kWords[i * 7 % kWords.size()]);
}

std::string words(std::size_t count, std::size_t seed) {
    std::string text = word(seed);
    for (std::size_t i = 1; i < count; ++i) text += ' ' + word(seed + i * i);
    return text;
}

// `append(text, i)` until the text is long enough.
template <class Append>
std::string document(std::string_view root, std::string_view declarations, std::size_t sizeInBytes,
                     Append append) {
    std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<";
    text.append(root).append(declarations).append(">\n");
    for (std::size_t i = 0; text.size() < sizeInBytes; ++i) append(text, i);
    return text.append("</").append(root).append(">\n");
}

}  // namespace

std::string registry(std::size_t sizeInBytes) {
    return document("registry", " version='1.1'", sizeInBytes, [](std::string& text, std::size_t i) {
        const std::string number = std::to_string(i);
        if (i % 9 == 0) text += "    <!-- " + words(9, i) + " -->\n";
        text +=
            "    <type name=\"Device" + number + "Info\" category=\"struct\" alias=\"Info" + number + "\"";
        text += i % 4 == 0 ? "/>\n" : ">\n";
        if (i % 4 == 0) return;
        for (std::size_t member = 0; member < 1 + i % 6; ++member) {
            text += "        <member optional=\"true\" len=\"count" + std::to_string(member) +
                    "\"><type>uint32_t</type> <name>" + word(member + i) + "</name></member>\n";
            text +=
                "        <enum value=\"0x" + number + "\" name=\"KIND_" + std::to_string(member) + "\"/>\n";
        }
        text += "    </type>\n";
    });
}

std::string book(std::size_t sizeInBytes) {
    return document("book", " lang=\"de\"", sizeInBytes, [](std::string& text, std::size_t i) {
        text += "  <section id=\"s" + std::to_string(i) + "\">\n    <title>" + words(4, i) + "</title>\n";
        for (std::size_t part = 0; part < 3; ++part) {
            text += "    <para>" + words(40, i + part) + " <emphasis>" + words(2, part) +
                    "</emphasis> &amp; " + words(25, i * part) + " &lt;" + word(i) + "&gt; &#8211; " +
                    words(9, part + 1) + "</para>\n";
        }
        if (i % 5 == 0)
            text += "    <listing><![CDATA[if (a < b && c > 0) return \"" + word(i) + "\";]]></listing>\n";
        if (i % 7 == 0) text += "    <?page break?>\n";
        text += "  </section>\n";
    });
}

std::string warehouse(std::size_t sizeInBytes) {
    constexpr std::string_view kDeclarations =
        " xmlns=\"urn:workload:warehouse\" xmlns:w=\"urn:workload:ware\" xmlns:n=\"urn:workload:number\"";
    return document("warehouse", kDeclarations, sizeInBytes, [](std::string& text, std::size_t i) {
        const std::string number = std::to_string(i);
        text += "  <s:shelf xmlns:s=\"urn:workload:shelf:" + std::to_string(i % 31) + "\" s:row=\"" + number +
                "\">\n    <w:ware w:id=\"W-" + number + "\"><name>" + words(2, i) + "</name><w:unit>" +
                word(i) + "</w:unit></w:ware>\n    <n:stock n:of=\"" + std::to_string(i % 400) + "\">" +
                std::to_string(i % 250) + "</n:stock>\n    <checked/>\n  </s:shelf>\n";
    });
}

std::string table(std::size_t sizeInBytes) {
    return document("table", "", sizeInBytes, [](std::string& text, std::size_t i) {
        text += "  <record id=\"" + std::to_string(i) + "\" state=\"" + (i % 3 == 0 ? "open" : "done") +
                "\">\n" + "    <article>" + words(3, i) + "</article>\n    <price currency=\"EUR\">" +
                std::to_string(i % 900) + ".50</price>\n    <note>" + (i % 4 == 0 ? words(8, i) : "") +
                "</note>\n  </record>\n";
    });
}

std::string configuration() {
    std::string text = "<configuration version=\"4\">\n";
    for (std::size_t i = 0; i < 5; ++i) {
        text += "  <folder name=\"" + word(i) + "\" depth=\"" + std::to_string(i) + "\">/srv/" + word(i + 3) +
                "</folder>\n";
    }
    return text +
           "  <colour red=\"12\" green=\"200\" blue=\"7\"/>\n  <logging level=\"info\">on</logging>\n"
           "</configuration>\n";
}

std::string response() {
    return table(3000);
}

std::string tableSchema() {
    return R"(<xs:schema xmlns:xs="http://www.w3.org/2001/XMLSchema">
  <xs:element name="table">
    <xs:complexType><xs:sequence><xs:element name="record" type="record" maxOccurs="unbounded"/></xs:sequence></xs:complexType>
  </xs:element>
  <xs:complexType name="record">
    <xs:sequence>
      <xs:element name="article" type="xs:string"/>
      <xs:element name="price"><xs:complexType><xs:simpleContent><xs:extension base="xs:decimal">
        <xs:attribute name="currency" type="xs:token"/>
      </xs:extension></xs:simpleContent></xs:complexType></xs:element>
      <xs:element name="note" type="xs:string" minOccurs="0"/>
    </xs:sequence>
    <xs:attribute name="id" type="xs:nonNegativeInteger" use="required"/>
    <xs:attribute name="state" type="xs:token"/>
  </xs:complexType>
</xs:schema>
)";
}

std::string tableReport() {
    return R"(<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform">
  <xsl:output indent="yes"/>
  <xsl:key name="by-state" match="record" use="@state"/>
  <xsl:template match="/table">
    <report open="{count(key('by-state', 'open'))}">
      <xsl:for-each select="record[price &gt; 100]">
        <xsl:sort select="price" data-type="number"/>
        <line number="{@id}"><xsl:value-of select="article"/>: <xsl:value-of select="price"/></line>
      </xsl:for-each>
      <xsl:copy-of select="record[position() &lt; 50]"/>
    </report>
  </xsl:template>
</xsl:stylesheet>
)";
}

}  // namespace workload
