#include "tests/conformance/testlist.h"

#include <libxml/parser.h>
#include <libxml/tree.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string_view>

namespace conformance {
namespace {

namespace fs = std::filesystem;

// The list consists of external entities, which is why a general library reads it and not the parser on
// trial.
constexpr int kOptions = XML_PARSE_NOENT | XML_PARSE_DTDATTR | XML_PARSE_DTDLOAD | XML_PARSE_NONET;

struct List {
    fs::path file;
    fs::path documents;  // what the documents' addresses are relative to
};

// The package brings a list in one file with corrected bases beside the suite's own; the suite's own is taken
// where the suite is installed alone.
List findList(const fs::path& folder) {
    for (const char* const inside : {"", "build/dist", "package/build/dist"}) {
        const fs::path root = folder / inside;
        const std::array<List, 3> candidates{
            List{root / "cleaned/xmlconf-flattened.xml", root / "xmlconf"},
            List{root / "xmlconf/xmlconf.xml", root / "xmlconf"},
            List{root / "xmlconf.xml", root},
        };
        for (const List& list : candidates) {
            if (fs::exists(list.file)) return list;
        }
    }
    throw std::runtime_error("there is no list of tests in " + folder.string());
}

std::string attribute(const xmlNode* node, const char* name) {
    const std::unique_ptr<xmlChar, void (*)(void*)> value(
        xmlGetProp(node, reinterpret_cast<const xmlChar*>(name)), [](void* text) { xmlFree(text); });
    return value ? reinterpret_cast<const char*>(value.get()) : "";
}

std::string base(const xmlNode* node) {
    const std::unique_ptr<xmlChar, void (*)(void*)> value(
        xmlGetNsProp(node, reinterpret_cast<const xmlChar*>("base"), XML_XML_NAMESPACE),
        [](void* text) { xmlFree(text); });
    return value ? reinterpret_cast<const char*>(value.get()) : "";
}

bool isElement(const xmlNode* node, std::string_view name) {
    return node != nullptr && node->type == XML_ELEMENT_NODE &&
           name == reinterpret_cast<const char*>(node->name);
}

Type parseType(const std::string& text) {
    if (text == "valid") return Type::Valid;
    if (text == "invalid") return Type::Invalid;
    if (text == "not-wf") return Type::NotWellFormed;
    return Type::Error;
}

bool hasWord(std::string_view words, std::string_view word) {
    for (std::size_t at = 0; at < words.size();) {
        const std::size_t end = std::min(words.find(' ', at), words.size());
        if (words.substr(at, end - at) == word) return true;
        at = end + 1;
    }
    return false;
}

// From "2.3 3.1 [10]" the first number that is not a production's; errata ("E15", "NE05") and appendices
// ("B.") count as one section each.
std::string firstSection(std::string_view sections) {
    const std::size_t start = sections.find_first_not_of(" ,");
    if (start == std::string_view::npos) return "none named";
    const char first = sections[start];
    if (first == '[') {
        const std::size_t end = sections.find(']', start);
        return end == std::string_view::npos ? "none named" : firstSection(sections.substr(end + 1));
    }
    if (first == 'E' || sections.substr(start).starts_with("NE")) return "errata";
    if (first >= 'A' && first <= 'H') return "appendices";
    if (first < '1' || first > '9') return "none named";
    const std::size_t end = std::min(sections.find_first_not_of("0123456789.", start), sections.size());
    std::string section(sections.substr(start, end - start));
    while (section.ends_with('.')) section.pop_back();
    return section;
}

std::string skipReason(const xmlNode* node) {
    const std::string recommendation = attribute(node, "RECOMMENDATION");
    const std::string version = attribute(node, "VERSION");
    const std::string edition = attribute(node, "EDITION");
    if (recommendation == "XML1.1" || recommendation == "NS1.1" ||
        (!version.empty() && !hasWord(version, "1.0")))
        return "for XML 1.1 only";
    if (!edition.empty() && !hasWord(edition, "5")) return "for earlier editions only";
    return {};
}

// Bases nest: each is relative to those around it.
fs::path folderOf(const xmlNode* test, const fs::path& documents) {
    fs::path folder;
    for (const xmlNode* node = test; node != nullptr && node->type == XML_ELEMENT_NODE; node = node->parent)
        folder = fs::path(base(node)) / folder;
    // The suite's own list is wrong at one entry.
    if (folder == fs::path("eduni/namespaces/misc/")) folder = "eduni/misc/";
    return documents / folder;
}

// Collections nest two or three deep, by the suite's own making; the outermost one with a profile says most.
std::string collectionOf(const xmlNode* test) {
    std::string collection;
    for (const xmlNode* node = test->parent; isElement(node, "TESTCASES"); node = node->parent) {
        if (std::string profile = attribute(node, "PROFILE"); !profile.empty())
            collection = std::move(profile);
    }
    return collection;
}

TestCase makeTest(const xmlNode* node, const fs::path& documents) {
    const fs::path folder = folderOf(node, documents);
    TestCase test;
    test.id = attribute(node, "ID");
    test.collection = collectionOf(node);
    test.section = firstSection(attribute(node, "SECTIONS"));
    test.type = parseType(attribute(node, "TYPE"));
    test.path = (folder / attribute(node, "URI")).lexically_normal().string();
    if (const std::string output = attribute(node, "OUTPUT"); !output.empty())
        test.outputPath = (folder / output).lexically_normal().string();
    const std::string entities = attribute(node, "ENTITIES");
    test.needsExternalEntities = !entities.empty() && entities != "none";
    test.namespaceAware = attribute(node, "NAMESPACE") != "no";
    test.skipReason = skipReason(node);
    return test;
}

// In document order; null after the last one.
const xmlNode* following(const xmlNode* node) {
    if (node->type == XML_ELEMENT_NODE && node->children != nullptr) return node->children;
    while (node != nullptr && node->next == nullptr) node = node->parent;
    return node == nullptr ? nullptr : node->next;
}

}  // namespace

std::vector<TestCase> readTestList(const std::string& folder) {
    const List list = findList(fs::absolute(folder));
    const std::unique_ptr<xmlDoc, void (*)(xmlDoc*)> document(
        xmlReadFile(list.file.c_str(), nullptr, kOptions), xmlFreeDoc);
    if (!document) throw std::runtime_error("cannot read " + list.file.string());
    std::vector<TestCase> tests;
    for (const xmlNode* node = xmlDocGetRootElement(document.get()); node != nullptr;
         node = following(node)) {
        if (isElement(node, "TEST")) tests.push_back(makeTest(node, list.documents));
    }
    if (tests.empty()) throw std::runtime_error(list.file.string() + " lists no tests");
    return tests;
}

}  // namespace conformance
