#include "tests/sweep/inputs.h"

#include <string_view>
#include <unordered_set>

namespace sweep {
namespace {

std::string number(std::size_t value) {
    return std::to_string(value);
}

std::string repeated(std::string_view piece, std::size_t count) {
    std::string text;
    text.reserve(piece.size() * count);
    for (std::size_t i = 0; i < count; ++i) text += piece;
    return text;
}

template <class Piece>
std::string joined(std::size_t count, Piece piece) {
    std::string text;
    for (std::size_t i = 0; i < count; ++i) text += piece(i);
    return text;
}

Files document(std::string content) {
    return {{"document.xml", std::move(content)}};
}

std::string attributes(std::size_t count) {
    return joined(count, [](std::size_t i) { return " a" + number(i) + "='v'"; });
}

std::string declarations(std::size_t count) {
    return joined(count, [](std::size_t i) { return " xmlns:p" + number(i) + "='urn:" + number(i) + "'"; });
}

// Different prefixes that all fall into one bucket of a standard hash table which holds that many.
std::vector<std::string> collidingPrefixes(std::size_t count) {
    std::unordered_set<std::size_t> table;
    for (std::size_t i = 0; i < count; ++i) table.insert(i);
    const std::size_t buckets = table.bucket_count();
    std::vector<std::string> prefixes;
    for (std::size_t i = 0; prefixes.size() < count; ++i) {
        std::string prefix = "p" + number(i);
        if (std::hash<std::string_view>()(prefix) % buckets == 0) prefixes.push_back(std::move(prefix));
    }
    return prefixes;
}

std::string collidingDeclarations(std::size_t count) {
    std::string text;
    for (const std::string& prefix : collidingPrefixes(count)) text += " xmlns:" + prefix + "='u'";
    return text;
}

// Two names of one length that differ at their ends only.
std::string alternatingUris(std::size_t count) {
    const std::string uri = "urn:" + std::string(4000, 'x');
    return "<r xmlns:a='" + uri + "1' xmlns:b='" + uri + "2'>" +
           repeated("<a:e b:x=''/><b:e a:x=''/>", count) + "</r>";
}

std::string nested(std::size_t count, std::string_view start, std::string_view end) {
    return repeated(start, count) + "x" + repeated(end, count);
}

std::string withDoctype(std::string_view subset, std::string_view content) {
    return "<!DOCTYPE r [" + std::string(subset) + "]>" + std::string(content);
}

std::string attributeDefaults(std::size_t count, std::string_view value) {
    return "<!ATTLIST e" +
           joined(
               count,
               [value](std::size_t i) { return " a" + number(i) + " CDATA '" + std::string(value) + "'"; }) +
           ">";
}

constexpr std::string_view kStyleStart =
    "<x:stylesheet version='1.0' xmlns:x='http://www.w3.org/1999/XSL/Transform'>";
constexpr std::string_view kSchemaStart = "<xs:schema xmlns:xs='http://www.w3.org/2001/XMLSchema'>";

// `count` parts, each named by the one before.
Files styleChain(std::size_t count) {
    Files files;
    for (std::size_t i = 0; i < count; ++i) {
        std::string style(kStyleStart);
        if (i + 1 < count) style += "<x:include href='part" + number(i + 1) + ".xsl'/>";
        style += "<x:template match='e" + number(i) + "'>t</x:template></x:stylesheet>";
        files.emplace_back("part" + number(i) + ".xsl", style);
    }
    return files;
}

Files styleImports(std::size_t count) {
    const std::string end = "<x:template match='r'>t</x:template></x:stylesheet>";
    return {{"style.xsl", std::string(kStyleStart) + repeated("<x:import href='part.xsl'/>", count) + end},
            {"part.xsl", std::string(kStyleStart) + end}};
}

Files styleTemplates(std::size_t count) {
    return {{"style.xsl", std::string(kStyleStart) + joined(count, [](std::size_t i) {
                              return "<x:template match='e" + number(i) + "'><out a='{@b}'>" + number(i) +
                                     "</out></x:template>";
                          }) + "</x:stylesheet>"}};
}

// What is included has elements to which its DOCTYPE adds attributes.
Files styleWithDefaults(std::size_t count) {
    const std::string subset = "<!DOCTYPE x:stylesheet [" + attributeDefaults(count, "v") + "]>";
    return {{"style.xsl", std::string(kStyleStart) + "<x:include href='part.xsl'/></x:stylesheet>"},
            {"part.xsl", subset + std::string(kStyleStart) + "<x:template match='r'>" +
                             repeated("<e/>", count) + "</x:template></x:stylesheet>"}};
}

std::string schemaEnd() {
    return "<xs:element name='r'/></xs:schema>";
}

Files schemaIncludes(std::size_t count) {
    Files files{{"schema.xsd", std::string(kSchemaStart) + joined(count, [](std::size_t i) {
                                   return "<xs:include schemaLocation='part" + number(i) + ".xsd'/>";
                               }) + schemaEnd()}};
    for (std::size_t i = 0; i < count; ++i) {
        files.emplace_back("part" + number(i) + ".xsd", std::string(kSchemaStart) + "<xs:element name='e" +
                                                            number(i) + "' type='xs:int'/></xs:schema>");
    }
    return files;
}

Files schemaElements(std::size_t count) {
    return {{"schema.xsd", std::string(kSchemaStart) + joined(count, [](std::size_t i) {
                               return "<xs:element name='e" + number(i) + "' type='xs:int'/>";
                           }) + schemaEnd()}};
}

Files schemaWithDefaults(std::size_t count) {
    const std::string subset = "<!DOCTYPE xs:schema [<!ELEMENT e ANY>" + attributeDefaults(count, "v") + "]>";
    return {
        {"schema.xsd", std::string(kSchemaStart) + "<xs:include schemaLocation='part.xsd'/>" + schemaEnd()},
        {"part.xsd", subset + std::string(kSchemaStart) + "<xs:annotation><xs:appinfo>" +
                         repeated("<e/>", count) + "</xs:appinfo></xs:annotation></xs:schema>"}};
}

// What a document repeats.
std::vector<Input> documents() {
    const auto add = [](const char* name, std::size_t count, std::string (*make)(std::size_t)) {
        return Input{name, Kind::Document, count, [make](std::size_t n) { return document(make(n)); }};
    };
    return {
        add("attributes on one element", 20'000, [](auto n) { return "<r" + attributes(n) + "/>"; }),
        add("attributes of many elements", 10'000,
            [](auto n) { return "<r>" + repeated("<e a='1' b='2' c='3'/>", n) + "</r>"; }),
        add("declarations on one element", 10'000,
            [](auto n) { return "<r" + declarations(n) + "><p1:e/></r>"; }),
        add("prefixes in use", 10'000,
            [](auto n) {
                return "<r" + declarations(1000) + ">" +
                       joined(n,
                              [](std::size_t i) {
                                  return "<p" + number(i % 1000) + ":e p" + number((i + 1) % 1000) +
                                         ":a=''/>";
                              }) +
                       "</r>";
            }),
        add("prefixes that collide", 3'000,
            [](auto n) { return "<r" + collidingDeclarations(n) + "><p:e xmlns:p='u'/></r>"; }),
        add("two long URIs alternating", 2'000, alternatingUris),
        add("distinct names", 20'000,
            [](auto n) {
                return "<r>" + joined(n, [](std::size_t i) { return "<n" + number(i) + "/>"; }) + "</r>";
            }),
        add("distinct ids", 20'000,
            [](auto n) {
                return "<r>" + joined(n, [](std::size_t i) { return "<e xml:id='i" + number(i) + "'/>"; }) +
                       "</r>";
            }),
        add("nesting", 2'000, [](auto n) { return nested(n, "<r>", "</r>"); }),
        add("nesting with declarations", 2'000, [](auto n) { return nested(n, "<r xmlns:p='u'>", "</r>"); }),
        add("mixed nesting", 1'000, [](auto n) { return nested(n, "<r>some text", "more</r>"); }),
        add("siblings", 30'000, [](auto n) { return "<r>" + repeated("<e>x</e>", n) + "</r>"; }),
        add("siblings in text", 20'000, [](auto n) { return "<r>" + repeated("x<e/>", n) + "</r>"; }),
        add("one long text", 500'000, [](auto n) { return "<r>" + repeated("x\n", n) + "</r>"; }),
        add("references in text", 50'000, [](auto n) { return "<r>" + repeated("&lt;&#9;", n) + "</r>"; }),
        add("one long attribute value", 500'000,
            [](auto n) { return "<r a='" + repeated("x\t", n) + "'/>"; }),
        add("a value like attributes", 5'000,
            [](auto n) { return "<r a=\"" + repeated(" k='1'", n) + "\"/>"; }),
        add("long names", 100,
            [](auto n) {
                const std::string name(5'000, 'n');
                return "<r>" + repeated("<" + name + "/>", n) + "</r>";
            }),
        add("one long name", 200'000,
            [](auto n) { return "<r><" + std::string(n, 'n') + "></" + std::string(n, 'n') + "></r>"; }),
        add("comments", 30'000, [](auto n) { return "<r>" + repeated("<!-- - -->", n) + "</r>"; }),
        add("one long comment", 500'000, [](auto n) { return "<r><!--" + repeated("- ", n) + "--></r>"; }),
        add("CDATA sections", 20'000, [](auto n) { return "<r>" + repeated("<![CDATA[]]]]>", n) + "</r>"; }),
        add("one long CDATA section", 300'000,
            [](auto n) { return "<r><![CDATA[" + repeated("]] ", n) + "]]></r>"; }),
        add("instructions", 30'000, [](auto n) { return "<r>" + repeated("<?t ? d?>", n) + "</r>"; }),
    };
}

// What a DOCTYPE multiplies.
std::vector<Input> documentsWithDoctype() {
    const auto add = [](const char* name, std::size_t count, std::string (*make)(std::size_t)) {
        return Input{name, Kind::WithDoctype, count, [make](std::size_t n) { return document(make(n)); }};
    };
    return {
        add("DOCTYPE: attributes on one element", 2'000,
            [](auto n) { return withDoctype("", "<r" + attributes(n) + "/>"); }),
        add("DOCTYPE: attributes with spaces", 20'000,
            [](auto n) {
                return withDoctype(
                    "", "<r" + joined(n, [](std::size_t i) { return " a" + number(i) + "= 'v'"; }) + "/>");
            }),
        add("DOCTYPE: a value like attributes", 5'000,
            [](auto n) { return withDoctype("", "<r a=\"" + repeated(" k='1'", n) + "\"/>"); }),
        add("DOCTYPE: declared attributes", 2'000,
            [](auto n) {
                return withDoctype(attributeDefaults(n, "v"), "<r><e" + attributes(n) + "/></r>");
            }),
        add("DOCTYPE: attribute defaults", 500,
            [](auto n) {
                return withDoctype(attributeDefaults(n, "v"), "<r>" + repeated("<e/>", n) + "</r>");
            }),
        add("DOCTYPE: attribute defaults with entities", 300,
            [](auto n) {
                return withDoctype(
                    "<!ENTITY t '" + repeated("0123456789", n) + "'>" + attributeDefaults(10, "&t;"),
                    "<r>" + repeated("<e/>", n) + "</r>");
            }),
        add("DOCTYPE: a text of references", 10'000,
            [](auto n) {
                return withDoctype("<!ENTITY t '" + repeated("&#38;#38;a", n) + "'>", "<r>&t;</r>");
            }),
        add("DOCTYPE: escaped references", 10'000,
            [](auto n) {
                return withDoctype("<!ENTITY t '" + repeated("&#38;lt;a", n) + "'>", "<r>&t;</r>");
            }),
        add("DOCTYPE: an entity many times", 5'000,
            [](auto n) { return withDoctype("<!ENTITY t 'text'>", "<r>" + repeated("&t;", n) + "</r>"); }),
        add("DOCTYPE: many entities", 5'000,
            [](auto n) {
                return withDoctype(
                    joined(n, [](std::size_t i) { return "<!ENTITY t" + number(i) + " 'x'>"; }),
                    "<r>" + joined(n, [](std::size_t i) { return "&t" + number(i) + ";"; }) + "</r>");
            }),
        add("DOCTYPE: nested entities", 500,
            [](auto n) {
                return withDoctype("<!ENTITY t0 'x'>" + joined(n,
                                                               [](std::size_t i) {
                                                                   return "<!ENTITY t" + number(i + 1) +
                                                                          " '&t" + number(i) + ";&t" +
                                                                          number(i) + ";'>";
                                                               }),
                                   "<r>&t" + number(n) + ";</r>");
            }),
        add("DOCTYPE: siblings", 20'000,
            [](auto n) { return withDoctype("", "<r>" + repeated("<e>x</e>", n) + "</r>"); }),
        add("DOCTYPE: two long URIs alternating", 500,
            [](auto n) { return withDoctype("", alternatingUris(n)); }),
        add("DOCTYPE: declarations on one element", 2'000,
            [](auto n) { return withDoctype("", "<r" + declarations(n) + "/>"); }),
    };
}

}  // namespace

const std::vector<Input>& inputs() {
    static const std::vector<Input> all = [] {
        std::vector<Input> list = documents();
        for (Input& input : documentsWithDoctype()) list.push_back(std::move(input));
        list.push_back({"style sheet: templates", Kind::StyleSheet, 2'000, styleTemplates});
        list.push_back({"style sheet: imports of one part", Kind::StyleSheet, 50, styleImports});
        list.push_back({"style sheet: a chain of parts", Kind::StyleSheet, 15, styleChain});
        list.push_back(
            {"style sheet: attribute defaults in a part", Kind::StyleSheet, 300, styleWithDefaults});
        list.push_back({"schema: elements", Kind::Schema, 2'000, schemaElements});
        list.push_back({"schema: includes", Kind::Schema, 50, schemaIncludes});
        list.push_back({"schema: attribute defaults in a part", Kind::Schema, 300, schemaWithDefaults});
        return list;
    }();
    return all;
}

}  // namespace sweep
