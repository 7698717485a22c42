// transform/DOC/STYLE and validate/DOC: the whole operation, from the files to the text of the result or the
// verdict, against libxslt and libxml2 called directly on a tree that they parse themselves.
#include <libxml/parser.h>
#include <libxml/xmlschemas.h>
#include <libxslt/transform.h>
#include <libxslt/xsltutils.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>

#include "bench/documents.h"
#include "bench/ours.h"
#include "bench/rows.h"
#include "framework/object/iptr.h"

namespace bench {
namespace {

// As for the trees: white space between elements is dropped on both sides.
constexpr int kOptions = XML_PARSE_NOBLANKS | XML_PARSE_COMPACT | XML_PARSE_NONET | XML_PARSE_HUGE |
                         XML_PARSE_NOENT | XML_PARSE_NOCDATA;

template <auto Free>
struct FreeBy {
    template <typename T>
    void operator()(T* object) const noexcept {
        Free(object);
    }
};
using Doc = std::unique_ptr<xmlDoc, FreeBy<xmlFreeDoc>>;
using Style = std::unique_ptr<xsltStylesheet, FreeBy<xsltFreeStylesheet>>;
using SchemaParser = std::unique_ptr<xmlSchemaParserCtxt, FreeBy<xmlSchemaFreeParserCtxt>>;
using Schema = std::unique_ptr<xmlSchema, FreeBy<xmlSchemaFree>>;
using Validator = std::unique_ptr<xmlSchemaValidCtxt, FreeBy<xmlSchemaFreeValidCtxt>>;

template <typename T>
T demanded(T handle, const std::string& what) {
    if (!handle) throw std::runtime_error(what + " was rejected");
    return handle;
}

Doc read(const std::string& path) {
    return demanded(Doc(xmlReadFile(path.c_str(), nullptr, kOptions)), path);
}

// Characters that are no white space: layout differs where documents mix text and elements.
std::uint64_t characters(std::u16string_view text) {
    std::uint64_t count = 0;
    for (const char16_t unit : text) count += unit > 0x20 && (unit & 0xFC00) != 0xDC00 ? 1 : 0;
    return count;
}
std::uint64_t characters(const xmlChar* text, int length) {
    std::uint64_t count = 0;
    for (int i = 0; i < length; ++i) count += text[i] > 0x20 && (text[i] & 0xC0) != 0x80 ? 1 : 0;
    return count;
}

void demand(bool done, IKelDOMXmlV2& parser) {
    if (!done) throw std::runtime_error("code " + std::to_string(parser.getError()->getCode()));
}

IPtr<IKelDOMXmlV2> load(const std::string& path) {
    IPtr<IKelDOMXmlV2> parser = newDomParser();
    demand(parser->loadFromFile(toKelString(path)), *parser);
    return parser;
}

std::uint64_t transformByUs(const std::string& stylePath, const std::string& path) {
    const IPtr<IKelDOMXmlV2> source = load(path);
    const IPtr<IKelDOMXmlV2> style = load(stylePath);
    KelString result;
    demand(source->transformToString(style.get(), result), *source);
    return characters(result.view());
}

std::uint64_t transformByLibxslt(const std::string& stylePath, const std::string& path) {
    const Doc source = read(path);
    const Style style = demanded(
        Style(xsltParseStylesheetFile(reinterpret_cast<const xmlChar*>(stylePath.c_str()))), stylePath);
    const Doc result = demanded(Doc(xsltApplyStylesheet(style.get(), source.get(), nullptr)), path);
    xmlChar* text = nullptr;
    int length = 0;
    (void)xsltSaveResultToString(&text, &length, result.get(), style.get());
    const std::uint64_t count = characters(text, length);
    xmlFree(text);
    return count;
}

std::uint64_t validateByUs(const std::string& schemaPath, const std::string& uri, const std::string& path) {
    const IPtr<IKelDOMXmlV2> document = load(path);
    return document->validate(toKelString(uri), toKelString(schemaPath));
}

std::uint64_t validateByLibxml2(const std::string& schemaPath, const std::string& path) {
    const Doc document = read(path);
    const SchemaParser parser(xmlSchemaNewParserCtxt(schemaPath.c_str()));
    const Schema schema = demanded(Schema(xmlSchemaParse(parser.get())), schemaPath);
    const Validator validator(xmlSchemaNewValidCtxt(schema.get()));
    return xmlSchemaValidateDoc(validator.get(), document.get()) == 0;
}

std::string styled(const std::string& name) {
    return std::string(KEL_BENCH_STYLES "/") + name;
}

void transformRow(Row& row, const Document& document, const std::string& style) {
    const std::string stylePath = styled(style + ".xsl");
    row.throughput(
        document.lengthInBytes,
        {{std::string(kOurs), [=, path = document.path] { return transformByUs(stylePath, path); }},
         {"libxslt", [=, path = document.path] { return transformByLibxslt(stylePath, path); }}});
}

void validateRow(Row& row, const std::string& path, const std::string& schemaPath, const std::string& uri) {
    if (validateByUs(schemaPath, uri, path) != 1) throw std::runtime_error(path + " is not valid");
    row.throughput(std::filesystem::file_size(path),
                   {{std::string(kOurs), [=] { return validateByUs(schemaPath, uri, path); }},
                    {"libxml2", [=] { return validateByLibxml2(schemaPath, path); }}});
}

// A DocBook 5 article with some thousand sections.
void writeArticle(const std::string& path) {
    std::ofstream file(path, std::ios::binary);
    file << "<article xmlns=\"http://docbook.org/ns/docbook\" version=\"5.0\"><title>Long</title>\n";
    for (int i = 0; i < 3000; ++i) {
        file << "<section xml:id=\"s" << i << "\"><title>Section " << i << "</title>\n<para>Some <emphasis "
             << "role=\"bold\">text</emphasis> with a <link linkend=\"s" << i / 2
             << "\">link</link>.</para>\n"
             << "<itemizedlist><listitem><para>one</para></listitem>\n<listitem><para>two, <literal>x = " << i
             << "</literal></para></listitem></itemizedlist>\n</section>\n";
    }
    file << "</article>\n";
    if (!file.flush()) throw std::runtime_error("cannot write " + path);
}

}  // namespace

void addTransformRows(Suite& suite, const Documents& documents) {
    struct Case {
        const char* document;
        const char* style;
    };
    for (const Case& c :
         {Case{"gl.xml", "identity"}, Case{"vk.xml", "identity"}, Case{"Gio-2.0.gir", "identity"},
          Case{"Gio-2.0.gir", "gir-report"}, Case{"vk.xml", "vk-report"}}) {
        suite.add(std::string("transform/") + c.document + '/' + c.style,
                  [&documents, c](Row& row) { transformRow(row, documents.find(c.document), c.style); });
    }
}

void addValidateRows(Suite& suite, const Documents& documents) {
    suite.add("validate/catalogue-5MB", [&documents](Row& row) {
        validateRow(row, documents.catalogue(5'000'000).path, styled("catalogue.xsd"),
                    "urn:example:catalogue");
    });
    suite.add("validate/docbook-article", [&documents](Row& row) {
        const std::string path = documents.scratchPath();
        writeArticle(path);
        validateRow(row, path, documents.find("docbook.xsd").path, "http://docbook.org/ns/docbook");
        std::filesystem::remove(path);
    });
}

}  // namespace bench
