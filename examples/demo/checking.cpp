// Validation with a schema, and a report made by a style sheet.
#include <fstream>
#include <optional>

#include "host/text.h"
#include "msxml_parser/comerror.h"
#include "steps.h"
#include "tools/kelxml/report/outputtext.h"

namespace demo {

namespace {

namespace fs = std::filesystem;

struct Schema {
    fs::path file;
    KelString namespaceUri;
};

// A local file that the document points to; relative names start at the document.
std::optional<Schema> schemaNamedBy(IKelDOMXmlElement& root, const fs::path& document) {
    const std::string plain = kelhost::toUtf8(root.getAttribute(u"xsi:noNamespaceSchemaLocation"));
    if (!plain.empty()) return Schema{document.parent_path() / kelhost::pathOf(plain), KelString()};
    const std::string pairs = kelhost::toUtf8(root.getAttribute(u"xsi:schemaLocation"));
    const std::string uri = kelhost::toUtf8(KelString(namespaceOf(root)));
    const std::size_t at = pairs.find(uri + ' ');
    if (uri.empty() || at == std::string::npos) return std::nullopt;
    const std::size_t start = at + uri.size() + 1;
    const std::string file = pairs.substr(start, pairs.find(' ', start) - start);
    return Schema{document.parent_path() / kelhost::pathOf(file), KelString(namespaceOf(root))};
}

std::optional<Schema> schemaFor(const Stage& stage, IKelDOMXmlElement& root) {
    const std::u16string uri = namespaceOf(root);
    if (uri == kSchemaNamespace) return Schema{stage.examples / "schema-documents.xsd", KelString(uri)};
    std::optional<Schema> named = schemaNamedBy(root, stage.document);
    std::error_code absent;
    if (named && !fs::is_regular_file(named->file, absent)) named.reset();
    return named;
}

bool check(IKelDOMXmlV2& parser, const Schema& schema) {
    const StopWatch watch;
    try {
        const bool isValid =
            parser.validate(schema.namespaceUri, kelhost::fromUtf8(kelhost::utf8Of(schema.file)));
        say(isValid ? "valid, found out in " + watch.elapsed() : describeError(parser));
        return true;
    } catch (const _com_error& error) {  // a file that is no schema
        say("the schema was rejected: " + kelhost::toUtf8(KelString(msxml::descriptionTextOf(error))));
        return false;
    }
}

// Gives the last leaf a name that no schema knows.
void makeASlip(IKelDOMXmlV2& parser) {
    Element last(parser.getRootElement());
    for (Children children(last->getChildren()); !children->isEnd();
         children = Children(last->getChildren())) {
        for (; !children->isEnd(); children->next()) last = Element(children->getElement(false));
    }
    const std::string before = describe(*last);
    last->setName(KelString(nameOf(*last) + u"x"));
    say("now with a slip: the last " + before.substr(0, before.find('>') + 1) + " is renamed");
}

}  // namespace

bool validate(const Stage& stage, const fs::path& file) {
    const Parser parser = stage.makeParser();
    if (!parser->loadFromFile(kelhost::fromUtf8(kelhost::utf8Of(file)))) return false;
    const std::optional<Schema> schema = schemaFor(stage, *Element(parser->getRootElement()));
    if (!schema) {
        say("This document names no schema that is here. 'kelxml validate SCHEMA FILE' validates it against "
            "yours.");
        return true;
    }
    say("validated against " + kelhost::utf8Of(schema->file.filename()));
    if (!check(*parser, *schema)) return false;
    makeASlip(*parser);
    return check(*parser, *schema);
}

bool report(const Stage& stage, IKelDOMXmlV2& parser) {
    const Parser sheet = stage.makeParser();
    if (!load(*sheet, stage.examples / "report.xsl")) return false;
    const StopWatch watch;
    KelString page;
    if (!parser.transformToString(sheet.get(), page)) {
        say(describeError(parser));
        return false;
    }
    const std::string time = watch.elapsed();
    const fs::path file = stage.results / "report.html";
    std::ofstream(file, std::ios::binary) << kelxml::utf8Of(page);
    say(kelhost::utf8Of(file) + ", made in " + time + ": open it in a browser");
    return true;
}

}  // namespace demo
