// All files of a set are brought together by a small schema of our own that imports each of them, so one file
// and many go the same way.
#include "engine/schema/schemaset.h"

#include <algorithm>
#include <unordered_map>

#include "engine/com/status.h"
#include "engine/libstate/libstate.h"
#include "engine/reader/reader.h"
#include "engine/schema/elementpath.h"
#include "engine/text/worded.h"
#include "engine/xml2/inclusions.h"
#include "engine/xml2/treeexport.h"
#include "engine/xml2/uri.h"

namespace engine::schema {

namespace {

using text::worded;
using xml2::chars;
using xml2::orThrow;

constexpr std::string_view kXsd = "http://www.w3.org/2001/XMLSchema";
constexpr const char* kDriverNamespace = "urn:x-engine:schema-set";

using ParserHandle = std::unique_ptr<xmlSchemaParserCtxt, xml2::FreeBy<xmlSchemaFreeParserCtxt>>;
using ValidatorHandle = std::unique_ptr<xmlSchemaValidCtxt, xml2::FreeBy<xmlSchemaFreeValidCtxt>>;

// Looks at the document element and no further.
class RootReader final : public reader::EventSink {
public:
    struct Found {};

    std::string uri;
    std::string local;
    std::string targetNamespace;
    std::uint32_t line = 0;

    void startDocument(const reader::Locator& locator) override { locator_ = &locator; }
    void startElement(std::string_view, std::span<const reader::Attribute> attributes) override {
        line = locator_->position().line;
        if (const reader::Namespaces* namespaces = locator_->namespaces()) {
            const reader::ExpandedName name = namespaces->element();
            uri = name.uri;
            local = name.local;
        }
        for (const reader::Attribute& attribute : attributes) {
            if (attribute.name == "targetNamespace") targetNamespace = attribute.value;
        }
        throw Found();
    }
    void endDocument() override {}
    void endElement(std::string_view) override {}
    void characters(std::string_view) override {}
    void startCData() override {}
    void endCData() override {}
    void comment(std::string_view) override {}
    void processingInstruction(std::string_view, std::string_view) override {}

private:
    const reader::Locator* locator_ = nullptr;
};

[[noreturn]] void reject(const SchemaFile& file, std::uint32_t line, const std::string& reason) {
    throw com::Exception(E_FAIL, xml2::locationText(file.path, line) + reason);
}

std::string otherNamespace(const std::string& found, const std::string& wanted) {
    if (found.empty()) {
        return worded("The schema has no target namespace, but it was added for the target namespace '%1'.",
                      wanted);
    }
    if (wanted.empty()) {
        return worded("The schema has the target namespace '%1', but it was added for no target namespace.",
                      found);
    }
    return worded("The schema has the target namespace '%1', but it was added for the target namespace '%2'.",
                  found, wanted);
}

// `text` is the file's, as the inclusions have read it.
void checkRoot(const SchemaFile& file, const std::string& text) {
    RootReader root;
    try {
        const source::ParseError error = reader::read(source::Input::bytes(text), {}, root);
        if (error.failed()) reject(file, error.position.line, error.reason);
    } catch (const RootReader::Found&) {
        // as it should be
    }
    if (root.uri != kXsd || root.local != "schema") {
        reject(file, root.line,
               worded("The file is not an XML Schema: its document element is '%1', not 'schema' of %2.",
                      root.local, kXsd));
    }
    if (root.targetNamespace != file.namespaceUri) {
        reject(file, root.line, otherNamespace(root.targetNamespace, file.namespaceUri));
    }
}

xml2::DocHandle makeDriver(const std::vector<SchemaFile>& files) {
    xml2::DocHandle driver(orThrow(xmlNewDoc(chars("1.0"))));
    xmlNode* root = orThrow(xmlNewDocNode(driver.get(), nullptr, chars("schema"), nullptr));
    (void)xmlDocSetRootElement(driver.get(), root);
    xmlNs* xsd = orThrow(xmlNewNs(root, chars(kXsd.data()), chars("xs")));
    xmlSetNs(root, xsd);
    (void)orThrow(xmlNewNsProp(root, nullptr, chars("targetNamespace"), chars(kDriverNamespace)));
    for (const SchemaFile& file : files) {
        xmlNode* import = orThrow(xmlNewChild(root, xsd, chars("import"), nullptr));
        if (!file.namespaceUri.empty()) {
            (void)orThrow(xmlNewNsProp(import, nullptr, chars("namespace"), chars(file.namespaceUri)));
        }
        const std::string uri = xml2::fileUri(file.path);
        (void)orThrow(xmlNewNsProp(import, nullptr, chars("schemaLocation"), chars(uri)));
    }
    return driver;
}

// Whether one of the qualified names has the local part "ID".
bool namesId(std::string_view names) {
    constexpr std::string_view kWhiteSpace = " \t\r\n";
    while (true) {
        names.remove_prefix(std::min(names.find_first_not_of(kWhiteSpace), names.size()));
        if (names.empty()) return false;
        const std::string_view name = names.substr(0, names.find_first_of(kWhiteSpace));
        if (name.substr(name.find(':') + 1) == "ID") return true;
        names.remove_prefix(name.size());
    }
}

void collectIds(IdDeclarations& ids, std::string_view element,
                std::span<const reader::Attribute> attributes) {
    std::string_view name;
    bool isId = false;
    for (const reader::Attribute& attribute : attributes) {
        if (attribute.name == "name") name = attribute.value;
        if (attribute.name == "type") isId = element == "attribute" && namesId(attribute.value);
        const bool derives =
            attribute.name == "base" || attribute.name == "itemType" || attribute.name == "memberTypes";
        if (derives && namesId(attribute.value)) ids.hasDerived = true;
    }
    if (isId) ids.attributes.emplace(name);
}

using Find = dom::ISchemaValidator::Find;

// libxml2 reports every violation.
struct Violations {
    const dom::Tree& tree;
    const Find find;
    std::vector<reader::Violation> found;
    std::vector<dom::NodeId> nodes;  // that they are about, kNoNode: unknown
    bool isOutOfMemory = false;
};

void listenToValidation(void* context, xml2::ErrorPointer error) {
    auto* violations = static_cast<Violations*>(context);
    if (violations == nullptr || error == nullptr || !isViolation(*error)) return;
    const libstate::KeepErrno keep;
    violations->isOutOfMemory = violations->isOutOfMemory || xml2::reportsAllocationError(*error);
    if (violations->find == Find::First && !violations->found.empty()) return;
    try {
        reader::Violation& one = violations->found.emplace_back();
        one.error.code = statusOfViolation(error->code);
        one.error.reason = violationText(error->message);
        violations->nodes.push_back(xml2::nodeOf(static_cast<const xmlNode*>(error->node)));
    } catch (...) {
        violations->isOutOfMemory = true;
    }
}

// The paths of all nodes that the violations are about, in one walk over the document.
void findPaths(Violations& violations) {
    const dom::Tree& tree = violations.tree;
    std::unordered_multimap<dom::NodeId, std::size_t> wanted;
    for (std::size_t i = 0; i < violations.nodes.size(); ++i) wanted.emplace(violations.nodes[i], i);
    ElementPath path;
    const dom::NodeId root = tree.documentElement();
    dom::NodeId node = root;
    while (node != dom::kNoNode) {
        if (tree.kind(node) == dom::NodeKind::Element) {
            path.enter(tree.nameId(node), 0, tree.name(node));
            const auto [first, last] = wanted.equal_range(node);
            for (auto at = first; at != last; ++at) violations.found[at->second].path = path.text();
            if (tree.firstChild(node) != dom::kNoNode) {
                node = tree.firstChild(node);
                continue;
            }
            path.leave();
        }
        while (node != root && tree.nextSibling(node) == dom::kNoNode) {
            node = tree.parent(node);
            path.leave();
        }
        node = node == root ? dom::kNoNode : tree.nextSibling(node);
    }
}

void findPositions(Violations& violations) {
    source::PositionIndex positions{violations.tree.source()};
    for (std::size_t i = 0; i < violations.nodes.size(); ++i) {
        if (violations.nodes[i] == dom::kNoNode) continue;
        violations.found[i].error.position = violations.tree.position(violations.nodes[i], positions);
    }
}

// What libxml2 says of invalid documents, as far as it is worth having in other languages. Nothing here uses
// it: it is here to be found with our own texts.
[[maybe_unused]] constexpr const char* kTheirWords[]{
    worded("Element '%1': %2"),
    worded("Element '%1', attribute '%2': %3"),
    worded("This element is not expected."),
    worded("This element is not expected. Expected is ( %1 )."),
    worded("This element is not expected. Expected is one of ( %1 )."),
    worded("Missing child element(s). Expected is ( %1 )."),
    worded("Missing child element(s). Expected is one of ( %1 )."),
    worded(
        "Character content other than whitespace is not allowed because the content type is 'element-only'."),
    worded("Character content is not allowed, because the content type is empty."),
    worded("Element content is not allowed, because the content type is empty."),
    worded("Element content is not allowed, because the type definition is simple."),
    worded("The attribute '%1' is required but missing."),
    worded("The attribute '%1' is not allowed."),
    worded("The value '%1' does not match the fixed value constraint '%2'."),
    worded("'%1' is not a valid value of the atomic type '%2'."),
    worded("'%1' is not a valid value of the list type '%2'."),
    worded("'%1' is not a valid value of the union type '%2'."),
    worded("'%1' is not a valid value of the local atomic type."),
    worded("'%1' is not a valid value of the local list type."),
    worded("'%1' is not a valid value of the local union type."),
    worded("[facet '%1'] The value '%2' is not an element of the set {%3}."),
    worded("[facet '%1'] The value '%2' is not accepted by the pattern '%3'."),
    worded("[facet '%1'] The value '%2' is less than the minimum value allowed ('%3')."),
    worded("[facet '%1'] The value '%2' is greater than the maximum value allowed ('%3')."),
    worded("[facet '%1'] The value '%2' must be less than '%3'."),
    worded("[facet '%1'] The value '%2' must be greater than '%3'."),
    worded("[facet '%1'] The value '%2' has more digits than are allowed ('%3')."),
    worded("[facet '%1'] The value '%2' has more fractional digits than are allowed ('%3')."),
    worded("[facet '%1'] The value has a length of '%2'; this differs from the allowed length of '%3'."),
    worded("[facet '%1'] The value has a length of '%2'; this exceeds the allowed maximum length of '%3'."),
    worded("[facet '%1'] The value has a length of '%2'; this underruns the allowed minimum length of '%3'."),
    worded("[facet '%1'] The value '%2' has a length of '%3'; this differs from the allowed length of '%4'."),
    worded(
        "[facet '%1'] The value '%2' has a length of '%3'; this exceeds the allowed maximum length of '%4'."),
    worded("[facet '%1'] The value '%2' has a length of '%3'; this underruns the allowed minimum length of "
           "'%4'."),
    worded("Not all fields of key identity-constraint '%1' evaluate to a node."),
    worded("Duplicate key-sequence %1 in key identity-constraint '%2'."),
    worded("Duplicate key-sequence %1 in unique identity-constraint '%2'."),
    worded("No match found for key-sequence %1 of keyref '%2'."),
    worded("No matching global declaration available for the validation root."),
};

}  // namespace

bool isViolation(const xmlError& error) noexcept {
    if (error.level < XML_ERR_ERROR) return false;
    const std::string_view message = error.message == nullptr ? std::string_view() : error.message;
    return message.find("Warning: No precomputed value available") == message.npos;
}

std::string violationText(const char* message) {
    std::string text(message == nullptr ? "" : message);
    while (!text.empty() && (text.back() == '\n' || text.back() == ' ')) text.pop_back();
    for (char& c : text) {
        if (c == '\n') c = ' ';
    }
    return text.empty() ? worded("The document is not valid.") : text;
}

SchemaSet::SchemaSet(const std::vector<SchemaFile>& files) {
    libstate::initialiseSchemas();
    const libstate::AllocationError memory;
    xml2::Causes causes;
    xml2::Inclusions inclusions(xml2::Dialect::Schema);
    inclusions.setCauses(&causes);
    inclusions.setObserver([this](std::string_view element, std::span<const reader::Attribute> attributes) {
        collectIds(ids_, element, attributes);
    });
    const libstate::ThreadSettings settings({&causes, xml2::listenStructured, xml2::listenUnlocated},
                                            xml2::OpenFrom::hook);
    const xml2::OpenFrom open(inclusions);
    driver_ = makeDriver(files);
    bool readable = true;
    for (const SchemaFile& file : files) {
        const std::string uri = xml2::fileUri(file.path);
        inclusions.admit(uri);
        const std::string* text = inclusions.textOf(uri);
        readable = text != nullptr && readable;
        if (text != nullptr) checkRoot(file, *text);
    }
    if (readable) {
        const ParserHandle parser(orThrow(xmlSchemaNewDocParserCtxt(driver_.get())));
        xmlSchemaSetParserStructuredErrors(parser.get(), xml2::listenStructured, &causes);
        schema_.reset(xmlSchemaParse(parser.get()));
    }
    if (causes.isOutOfMemory()) throw std::bad_alloc();
    memory.throwIfHappened();
    if (schema_ == nullptr) {
        if (causes.empty()) causes.add(worded("The schema could not be compiled."));
        throw com::Exception(E_FAIL, causes.text());
    }
}

std::vector<reader::Violation> SchemaSet::validate(const dom::NodeSource& source, Find find) const {
    const libstate::AllocationError memory;
    xml2::Inclusions none(xml2::Dialect::Schema);
    Violations violations{source.tree, find, {}, {}};
    const libstate::ThreadSettings settings({&violations, listenToValidation, nullptr}, xml2::OpenFrom::hook);
    const xml2::OpenFrom open(none);
    xml2::ExportOptions options;
    if (!source.url.empty()) options.uri = xml2::fileUri(source.url);
    const xml2::ExportedTree document = xml2::exportTree(source.tree, source.node, options);
    const ValidatorHandle validator(orThrow(xmlSchemaNewValidCtxt(schema_.get())));
    xmlSchemaSetValidStructuredErrors(validator.get(), listenToValidation, &violations);
    const int result = xmlSchemaValidateDoc(validator.get(), &document.doc());
    if (violations.isOutOfMemory) throw std::bad_alloc();
    memory.throwIfHappened();
    if (result < 0)
        throw com::Exception(E_FAIL,
                             worded("The document could not be validated: %1", violationText(nullptr)));
    if (result > 0 && violations.found.empty()) {
        violations.found.emplace_back().error.code = statusOfViolation(result);
        violations.found.back().error.reason = violationText(nullptr);
    }
    findPositions(violations);
    if (find == Find::All && !violations.nodes.empty()) findPaths(violations);
    return std::move(violations.found);
}

}  // namespace engine::schema
