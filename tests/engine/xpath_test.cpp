// Expressions over real documents, ours against libxml2's own: the same nodes in the same order, the same
// values. And what is written of those documents against libxml2's canonical form of them.
#include <gtest/gtest.h>
#include <libxml/c14n.h>
#include <libxml/parser.h>
#include <libxml/xpath.h>
#include <libxml/xpathInternals.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <tuple>
#include <unordered_map>
#include <vector>

#include "engine/com/status.h"
#include "engine/dom/documentwriter.h"
#include "engine/dom/services.h"
#include "engine/dom/treebuilder.h"
#include "engine/reader/reader.h"

namespace {

namespace fs = std::filesystem;
using namespace engine::dom;
using Kind = ExpressionValue::Kind;

template <typename T>
using Handle = std::unique_ptr<T, void (*)(T*)>;

const std::vector<std::pair<std::string, std::string>> kPrefixes = {
    {"s", "urn:shelf"},
    {"x", "urn:extra"},
    {"c", "http://www.gtk.org/introspection/c/1.0"},
    {"xs", "http://www.w3.org/2001/XMLSchema"},
};

// Ours, and the real ones that the system happens to have.
std::vector<std::string> documents() {
    std::vector<std::string> found;
    for (const std::string path :
         {KEL_TEST_DATA "/xpath/shelf.xml", "/usr/share/gir-1.0/DBus-1.0.gir",
          "/usr/share/gir-1.0/GIRepository-2.0.gir", "/usr/share/gir-1.0/Gio-2.0.gir",
          "/usr/share/khronos-api/gl.xml", "/usr/share/vulkan/registry/vk.xml",
          "/usr/share/xml/docbook/schema/xsd/5.0/docbook.xsd"}) {
        if (fs::exists(path)) found.push_back(path);
    }
    return found;
}

std::vector<std::string> expressions() {
    std::vector<std::string> lines;
    std::ifstream file(KEL_TEST_DATA "/xpath/expressions.txt");
    for (std::string line; std::getline(file, line);) lines.push_back(line);
    return lines;
}

std::unique_ptr<Tree> loaded(const engine::source::Input& input) {
    auto tree = std::make_unique<Tree>();
    const auto error = load(*tree, input, WhiteSpace::KeepAll);
    EXPECT_FALSE(error.failed()) << error.reason;
    return tree;
}

Handle<xmlDoc> parsed(const std::string& path, int options) {
    return {xmlReadFile(path.c_str(), nullptr, options | XML_PARSE_NONET | XML_PARSE_HUGE), xmlFreeDoc};
}

// Which node of ours each node of libxml2's is; both trees are walked at once.
std::unordered_map<const xmlNode*, NodeId> pairNodes(const xmlDoc& doc, const Tree& tree) {
    std::unordered_map<const xmlNode*, NodeId> pairs{{reinterpret_cast<const xmlNode*>(&doc), kDocumentNode}};
    std::vector<std::pair<const xmlNode*, NodeId>> open{{doc.children, tree.firstChild(kDocumentNode)}};
    while (!open.empty()) {
        const auto [theirs, ours] = open.back();
        open.pop_back();
        if (theirs == nullptr || ours == kNoNode) {
            EXPECT_TRUE(theirs == nullptr && ours == kNoNode) << "the trees differ";
            continue;
        }
        pairs[theirs] = ours;
        open.emplace_back(theirs->next, tree.nextSibling(ours));
        if (theirs->type == XML_ELEMENT_NODE) open.emplace_back(theirs->children, tree.firstChild(ours));
    }
    return pairs;
}

// "id" or "id@name" of each, in document order, which is the order of ids in a tree that was just loaded.
// libxml2's own order is not always that: its comparison is wrong where comments stand among elements.
std::string shown(const xmlXPathObject& object, const std::unordered_map<const xmlNode*, NodeId>& pairs) {
    std::vector<std::tuple<NodeId, int, const xmlNode*>> nodes;
    for (int i = 0; object.nodesetval != nullptr && i < object.nodesetval->nodeNr; ++i) {
        const xmlNode* node = object.nodesetval->nodeTab[i];
        int index = 0;
        for (const xmlNode* at = node; node->type == XML_ATTRIBUTE_NODE && at != nullptr; at = at->prev)
            ++index;
        nodes.emplace_back(pairs.at(index == 0 ? node : node->parent), index, node);
    }
    std::sort(nodes.begin(), nodes.end());
    std::string text;
    for (const auto& [id, index, node] : nodes) {
        text += std::to_string(id);
        if (index != 0) text += std::string("@") + reinterpret_cast<const char*>(node->name);
        text += ' ';
    }
    return text;
}
std::string shown(const ExpressionValue& value, const Tree& tree) {
    std::string text;
    for (const SelectedNode& node : value.nodes) {
        text += std::to_string(node.node);
        if (node.attribute != SelectedNode::kNoAttribute) {
            const std::string_view name = tree.attribute(node.node, node.attribute).name;
            text += '@' + std::string(name.substr(name.find(':') + 1));
        }
        text += ' ';
    }
    return text;
}

TEST(XPath, AgreesWithTheLibraryOnRealDocuments) {
    const std::vector<std::string> table = expressions();
    EXPECT_GE(table.size(), 200u);
    for (const std::string& path : documents()) {
        if (fs::file_size(path) > 3'000'000) continue;  // nothing new, and half of the time
        SCOPED_TRACE(path);
        const Handle<xmlDoc> doc = parsed(path, XML_PARSE_NOCDATA);
        const std::unique_ptr<Tree> tree = loaded(engine::source::Input::file(path));
        const auto pairs = pairNodes(*doc, *tree);
        const bool isLarge = fs::file_size(path) > 100'000;
        const Handle<xmlXPathContext> context(xmlXPathNewContext(doc.get()), xmlXPathFreeContext);
        context->node = reinterpret_cast<xmlNode*>(doc.get());
        context->contextSize = context->proximityPosition = 1;
        for (const auto& [prefix, uri] : kPrefixes) {
            xmlXPathRegisterNs(context.get(), reinterpret_cast<const xmlChar*>(prefix.c_str()),
                               reinterpret_cast<const xmlChar*>(uri.c_str()));
        }
        std::unique_ptr<Kept> kept;
        for (const std::string& text : table) {
            // Where the library compares each node with each, a large document takes it minutes.
            if (isLarge && (text.find("::") != text.npos || text.find("..") != text.npos)) continue;
            SCOPED_TRACE(text);
            const Handle<xmlXPathObject> theirs(
                xmlXPathEvalExpression(reinterpret_cast<const xmlChar*>(text.c_str()), context.get()),
                xmlXPathFreeObject);
            ASSERT_NE(theirs.get(), nullptr);
            const NodeSource source{*tree, kDocumentNode, {}, nullptr, &kept};
            const bool isNodes = theirs->type == XPATH_NODESET;
            if (isNodes) {
                EXPECT_EQ(shown(evaluator()->evaluate(source, {text, kPrefixes}, Kind::Nodes), *tree),
                          shown(*theirs, pairs));
            }
            if (!isNodes) {
                const Handle<xmlChar> string(xmlXPathCastToString(theirs.get()),
                                             [](xmlChar* t) { xmlFree(t); });
                EXPECT_EQ(evaluator()->evaluate(source, {text, kPrefixes}, Kind::Text).text,
                          reinterpret_cast<const char*>(string.get()));
            }
            EXPECT_EQ(evaluator()->evaluate(source, {text, kPrefixes}, Kind::Truth).isTrue,
                      xmlXPathCastToBoolean(theirs.get()) != 0);
        }
    }
}

class Text final : public ByteSink {
public:
    void put(std::string_view bytes) override { text.append(bytes); }
    std::string text;
};

std::string written(const Tree& tree, bool indent) {
    Text out;
    WriteSettings settings;
    settings.indent = indent;
    writeDocument(tree, settings, out);
    return out.text;
}

std::string canonical(const Handle<xmlDoc>& doc) {
    xmlChar* bytes = nullptr;
    const int size =
        doc == nullptr ? -1 : xmlC14NDocDumpMemory(doc.get(), nullptr, XML_C14N_1_0, nullptr, 1, &bytes);
    if (size < 0) return "no document";
    std::string text(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(size));
    xmlFree(bytes);
    return text;
}

TEST(Written, HasTheCanonicalFormOfWhatWasRead) {
    for (const std::string& path : documents()) {
        SCOPED_TRACE(path);
        const std::unique_ptr<Tree> tree = loaded(engine::source::Input::file(path));
        const std::string bytes = written(*tree, false);
        const Handle<xmlDoc> again(
            xmlReadMemory(bytes.data(), static_cast<int>(bytes.size()), nullptr, nullptr, XML_PARSE_HUGE),
            xmlFreeDoc);
        EXPECT_TRUE(canonical(again) == canonical(parsed(path, 0)));
        EXPECT_TRUE(written(*loaded(engine::source::Input::bytes(bytes)), false) == bytes) << "not stable";
        // Indented, for a reader who drops layout.
        Tree plain;
        ASSERT_FALSE(load(plain, engine::source::Input::file(path), WhiteSpace::DropLayout).failed());
        const std::string indented = written(plain, true);
        Tree relaid;
        ASSERT_FALSE(load(relaid, engine::source::Input::bytes(indented), WhiteSpace::DropLayout).failed());
        EXPECT_TRUE(written(relaid, false) == written(plain, false));
        EXPECT_TRUE(written(relaid, true) == indented);
    }
}

}  // namespace
