// One walk over the tree, without recursion: `open_` holds the elements whose end is still to come, and each
// prefix knows the declaration in force, which is restored when the element that declared it closes.
#include "engine/xml2/treeexport.h"

#include <libxml/parserInternals.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstddef>
#include <cstring>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "engine/com/status.h"
#include "engine/text/worded.h"
#include "engine/xml2/errors.h"

namespace engine::xml2 {

namespace {

using dom::NodeId;
using dom::NodeKind;
using dom::Tree;
using text::worded;

constexpr std::size_t kFirstBlock = std::size_t{16} << 10;  // bytes; each block is twice the one before
constexpr std::size_t kLargestBlock = std::size_t{1} << 20;
constexpr std::size_t kRoomInText = offsetof(xmlNode, psvi) - offsetof(xmlNode, properties);

// Memory for one copy: blocks of our own that go together, or libxml2's, piece by piece.
class Memory final {
public:
    explicit Memory(ExportOptions::Use use) : inBlocks_(use == ExportOptions::Use::Read) {}

    template <typename T>
    T* zeroed() {
        void* memory = take(sizeof(T));
        std::memset(memory, 0, sizeof(T));
        return static_cast<T*>(memory);
    }

    xmlChar* copyOf(std::string_view text) {
        return write(text, static_cast<xmlChar*>(take(text.size() + 1)));
    }

    // A copy in blocks is never changed, so that equal texts can share one: documents repeat their
    // indentation and their values. The last text of each length is remembered, which finds half of the
    // repeats.
    xmlChar* contentOf(xmlNode& node, std::string_view text) {
        if (!inBlocks_) return copyOf(text);
        // as libxml2's own parser keeps short texts: in fields that only an element uses
        if (node.type == XML_TEXT_NODE && text.size() < kRoomInText)
            return write(text, reinterpret_cast<xmlChar*>(&node.properties));
        Text& known = known_[text.size() % known_.size()];
        if (known.text == nullptr || known.size != text.size() ||
            std::memcmp(known.text, text.data(), text.size()) != 0) {
            known = {copyOf(text), text.size()};
        }
        return known.text;
    }

    std::vector<std::unique_ptr<char[]>> takeBlocks() noexcept { return std::move(blocks_); }

private:
    static xmlChar* write(std::string_view text, xmlChar* copy) {
        if (!text.empty()) std::memcpy(copy, text.data(), text.size());
        copy[text.size()] = 0;
        return copy;
    }

    void* take(std::size_t size) {
        if (!inBlocks_) return orThrow(xmlMalloc(size));
        size = (size + 7) & ~std::size_t{7};
        if (size > left_) addBlock(size);
        char* memory = next_;
        next_ += size;
        left_ -= size;
        return memory;
    }

    void addBlock(std::size_t atLeast) {
        const std::size_t size = std::max(atLeast, blockSize_);
        blocks_.push_back(std::unique_ptr<char[]>(new char[size]));
        next_ = blocks_.back().get();
        left_ = size;
        blockSize_ = std::min(2 * blockSize_, kLargestBlock);
    }

    struct Text {
        xmlChar* text = nullptr;  // null: none yet
        std::size_t size = 0;
    };

    bool inBlocks_;
    std::array<Text, 64> known_{};  // by length
    std::vector<std::unique_ptr<char[]>> blocks_;
    char* next_ = nullptr;
    std::size_t left_ = 0;
    std::size_t blockSize_ = kFirstBlock;
};

// A prefix, and the namespace it is bound to where the copying has got to: no search, however many are
// declared.
struct Prefix {
    const xmlChar* text;  // null: the default namespace's
    xmlNs* ns = nullptr;  // in force; null: none
};

struct Name {
    Prefix* prefix = nullptr;
    const xmlChar* local = nullptr;  // null: not looked up yet
};

class Copier final {
public:
    Copier(const Tree& tree, const ExportOptions& options)
        : tree_(tree), options_(options), memory_(options.use) {
        doc_.reset(orThrow(xmlNewDoc(chars("1.0"))));
        doc_->dict = options.dict != nullptr ? options.dict : orThrow(xmlDictCreate());
        if (options.dict != nullptr) (void)xmlDictReference(options.dict);
        doc_->URL = orThrow(xmlStrdup(chars(options.uri)));
        names_.resize(tree.names().size());
        xmlns_ = intern("xmlns");
        none_ = prefixOf(nullptr);
        xmlnsPrefix_ = prefixOf(xmlns_);
        xmlPrefix_ = prefixOf(intern("xml"));
    }

    ~Copier() {
        // after a failure: what lies in blocks is not libxml2's to free
        if (doc_ != nullptr && options_.use == ExportOptions::Use::Read)
            doc_->children = doc_->last = nullptr;
    }
    Copier(const Copier&) = delete;
    Copier& operator=(const Copier&) = delete;

    ExportedTree copy(NodeId root) {
        if (tree_.kind(root) == NodeKind::Element) {
            inherit(root);
            copyNodes(root, root);
        } else if (tree_.firstChild(root) != dom::kNoNode) {
            copyNodes(tree_.firstChild(root), root);
        }
        return {std::move(doc_), extent_, memory_.takeBlocks()};
    }

private:
    struct Declaration {
        Prefix* prefix;
        xmlNs* before;  // what the prefix stood for outside
    };
    struct Open {
        xmlNode* node;
        std::size_t declarations;  // in force outside it
    };

    const xmlChar* intern(std::string_view text) {
        return orThrow(
            xmlDictLookup(doc_->dict, reinterpret_cast<const xmlChar*>(text.data()), length(text)));
    }

    static int length(std::string_view text) {
        if (text.size() >= INT_MAX)
            throw com::Exception(E_FAIL, worded("A single text is longer than 2 GB."));
        return static_cast<int>(text.size());
    }

    const Name& name(dom::NameId id) {
        Name& known = names_[id];
        if (known.local == nullptr) {
            const std::string_view text = tree_.names().text(id);
            const std::uint32_t prefix = tree_.names().prefixLength(id);
            known.prefix = prefix == 0 ? none_ : prefixOf(intern(text.substr(0, prefix)));
            known.local = intern(prefix == 0 ? text : text.substr(prefix + 1));
        }
        return known;
    }

    Prefix* prefixOf(const xmlChar* interned) {
        return &prefixes_.try_emplace(interned, Prefix{interned}).first->second;
    }

    // From `node` on over what is left of the subtree of `root`, in document order.
    void copyNodes(NodeId node, NodeId root) {
        while (true) {
            const NodeId last = copyNode(node);
            if (tree_.kind(node) == NodeKind::Element) {
                if (tree_.firstChild(node) != dom::kNoNode) {
                    node = tree_.firstChild(node);
                    continue;
                }
                close();
            }
            node = last;
            while (node != root && tree_.nextSibling(node) == dom::kNoNode) {
                node = tree_.parent(node);
                if (tree_.kind(node) == NodeKind::Element) close();
            }
            if (node == root) return;
            node = tree_.nextSibling(node);
        }
    }

    // Returns the last node that the copy represents: a text takes in those after it.
    NodeId copyNode(NodeId node) {
        xmlNode* parent = open_.empty() ? reinterpret_cast<xmlNode*>(doc_.get()) : open_.back().node;
        switch (tree_.kind(node)) {
            case NodeKind::Element:
                copyElement(node, parent);
                return node;
            case NodeKind::Text:
            case NodeKind::CData:
                return copyText(node, parent);
            case NodeKind::Comment:
                setContent(addNode(XML_COMMENT_NODE, xmlStringComment, node, parent), tree_.content(node));
                return node;
            case NodeKind::ProcessingInstruction:
                copyInstruction(node, parent);
                return node;
            default:
                return node;
        }
    }

    // Linked before it gets its content, so that nothing is lost when memory runs out in between.
    xmlNode& addNode(xmlElementType type, const xmlChar* name, NodeId id, xmlNode* parent) {
        auto* node = memory_.zeroed<xmlNode>();
        ++extent_.nodes;
        node->type = type;
        node->name = name;
        node->doc = doc_.get();
        node->_private = reinterpret_cast<void*>(std::uintptr_t{id});
        node->parent = parent;
        node->prev = parent->last;
        if (parent->last == nullptr) {
            parent->children = node;
        } else {
            parent->last->next = node;
        }
        parent->last = node;
        return *node;
    }

    void setContent(xmlNode& node, std::string_view content) {
        (void)length(content);
        extent_.textInBytes += content.size();
        node.content = memory_.contentOf(node, content);
    }

    void copyInstruction(NodeId node, xmlNode* parent) {
        const std::string_view target = tree_.name(node);
        // an XML declaration that was added as an instruction is none of the document's content
        if (target == "xml") return;
        xmlNode& copy = addNode(XML_PI_NODE, intern(target), node, parent);
        if (!tree_.content(node).empty()) setContent(copy, tree_.content(node));
    }

    NodeId copyText(NodeId node, xmlNode* parent) {
        NodeId last = node;
        for (NodeId next = tree_.nextSibling(node); next != dom::kNoNode && isText(next);
             next = tree_.nextSibling(next)) {
            last = next;
        }
        if (last == node) {
            addText(tree_.content(node), node, parent);
            return node;
        }
        joined_.clear();
        for (NodeId at = node;; at = tree_.nextSibling(at)) {
            joined_ += tree_.content(at);
            if (at == last) break;
        }
        addText(joined_, node, parent);
        return last;
    }

    bool isText(NodeId node) const {
        return tree_.kind(node) == NodeKind::Text || tree_.kind(node) == NodeKind::CData;
    }

    // A parser makes no empty texts, so libxml2 is not shown any.
    void addText(std::string_view text, NodeId id, xmlNode* parent) {
        if (!text.empty()) setContent(addNode(XML_TEXT_NODE, xmlStringText, id, parent), text);
    }

    void copyElement(NodeId id, xmlNode* parent) {
        if (options_.depthLimit != 0 && open_.size() == options_.depthLimit) tooDeep(id);
        const Name elementName = name(tree_.nameId(id));
        xmlNode* node = &addNode(XML_ELEMENT_NODE, elementName.local, id, parent);
        // libxml2 takes bigger lines from elsewhere, and nothing here needs them
        if (options_.use == ExportOptions::Use::Change) {
            node->line = static_cast<unsigned short>(std::min(tree_.position(id, positions_).line, 65535u));
        }
        open_.push_back({node, declarations_.size()});
        extent_.depth = std::max(extent_.depth, open_.size());
        const std::uint32_t count = tree_.attributeCount(id);
        if (options_.attributeLimit != 0 && count > options_.attributeLimit) tooManyAttributes(id);
        bool declares = !inherited_.empty();
        if (declares) declareInherited(*node);
        for (std::uint32_t i = 0; i < count; ++i) declares = declare(*node, id, i) || declares;
        const std::size_t declared = declarations_.size() - open_.back().declarations;
        if (options_.declarationLimit != 0 && declared > options_.declarationLimit) tooManyDeclarations(id);
        node->ns = find(*elementName.prefix, id, tree_.name(id));
        for (std::uint32_t i = 0; i < count; ++i) {
            if (!declares || !isDeclaration(name(tree_.attributeNameId(id, i)))) copyAttribute(*node, id, i);
        }
    }

    bool isDeclaration(const Name& attribute) const {
        return attribute.prefix == xmlnsPrefix_ || (attribute.prefix == none_ && attribute.local == xmlns_);
    }

    // True if the attribute is a declaration, which is then in force.
    bool declare(xmlNode& node, NodeId id, std::uint32_t index) {
        const Name& attribute = name(tree_.attributeNameId(id, index));
        if (!isDeclaration(attribute)) return false;
        Prefix* prefix = declaredBy(attribute);
        if (prefix == xmlPrefix_) return true;  // known without a declaration
        addDeclaration(node, *prefix, tree_.attribute(id, index).value);
        return true;
    }

    Prefix* declaredBy(const Name& declaration) {
        return declaration.prefix == none_ ? none_ : prefixOf(declaration.local);
    }

    // All declarations of a node follow each other.
    void addDeclaration(xmlNode& node, Prefix& prefix, std::string_view uri) {
        auto* ns = memory_.zeroed<xmlNs>();
        ns->type = XML_LOCAL_NAMESPACE;
        (node.nsDef == nullptr ? node.nsDef : lastDeclaration_->next) = ns;
        lastDeclaration_ = ns;
        ns->href = memory_.copyOf(uri);
        if (prefix.text != nullptr) ns->prefix = memory_.copyOf(view(prefix.text));
        declarations_.push_back({&prefix, prefix.ns});
        prefix.ns = uri.empty() ? nullptr : ns;
    }

    // What an element inside a document has in scope, the innermost declaration of each prefix. Its own are
    // not among them: those are added when it is copied.
    void inherit(NodeId element) {
        std::unordered_set<const Prefix*> known{xmlPrefix_};
        for (NodeId at = element; at != dom::kNoNode; at = tree_.parent(at)) {
            for (std::uint32_t i = 0; i < tree_.attributeCount(at); ++i) {
                const Name& attribute = name(tree_.attributeNameId(at, i));
                if (!isDeclaration(attribute)) continue;
                Prefix* prefix = declaredBy(attribute);
                if (known.insert(prefix).second && at != element)
                    inherited_.push_back({prefix, std::string(tree_.attribute(at, i).value)});
            }
        }
    }

    void declareInherited(xmlNode& node) {
        for (const Inherited& one : inherited_) {
            if (!one.uri.empty()) addDeclaration(node, *one.prefix, one.uri);
        }
        inherited_.clear();
    }

    xmlNs* find(const Prefix& prefix, NodeId element, std::string_view written) {
        if (prefix.ns != nullptr || &prefix == none_) return prefix.ns;
        if (&prefix == xmlPrefix_) {
            return orThrow(xmlSearchNs(doc_.get(), reinterpret_cast<xmlNode*>(doc_.get()), prefix.text));
        }
        throw com::Exception(
            E_FAIL, at(element) + worded("The prefix of '%1' is not declared; an attribute 'xmlns:%2' "
                                         "on the element or around it would declare it.",
                                         written, view(prefix.text)));
    }

    void copyAttribute(xmlNode& node, NodeId id, std::uint32_t index) {
        const Name attributeName = name(tree_.attributeNameId(id, index));
        const dom::AttributeView attribute = tree_.attribute(id, index);
        xmlNs* ns = attributeName.prefix == none_ ? nullptr : find(*attributeName.prefix, id, attribute.name);
        auto* copy = memory_.zeroed<xmlAttr>();
        copy->type = XML_ATTRIBUTE_NODE;
        copy->name = attributeName.local;
        copy->ns = ns;
        copy->doc = doc_.get();
        copy->parent = &node;
        if (node.properties == nullptr) {
            node.properties = copy;
        } else {
            copy->prev = lastAttribute_;
            lastAttribute_->next = copy;
        }
        lastAttribute_ = copy;
        auto* parent = reinterpret_cast<xmlNode*>(copy);
        setContent(addNode(XML_TEXT_NODE, xmlStringText, dom::kNoNode, parent), attribute.value);
        if (attributeName.prefix == xmlPrefix_ && view(attributeName.local) == "id") {
            // as the library's own parser does; a value that is no id, or not the first, is none
            (void)xmlAddID(nullptr, doc_.get(), copy->children->content, copy);
        }
    }

    void close() {
        for (; declarations_.size() > open_.back().declarations; declarations_.pop_back()) {
            declarations_.back().prefix->ns = declarations_.back().before;
        }
        open_.pop_back();
    }

    std::string at(NodeId element) const { return locationText(options_.uri, tree_.position(element).line); }

    [[noreturn]] void tooManyDeclarations(NodeId element) const {
        throw com::Exception(
            E_FAIL,
            at(element) + worded("The element '%1' declares more than %2 namespaces, which is too many here.",
                                 tree_.name(element), std::to_string(options_.declarationLimit)));
    }

    [[noreturn]] void tooManyAttributes(NodeId element) const {
        throw com::Exception(
            E_FAIL,
            at(element) + worded("The element '%1' has more than %2 attributes, which is too many here.",
                                 tree_.name(element), std::to_string(options_.attributeLimit)));
    }

    [[noreturn]] void tooDeep(NodeId element) const {
        throw com::Exception(
            E_FAIL,
            at(element) + worded("The document is nested more than %1 elements deep, which is too deep here.",
                                 std::to_string(options_.depthLimit)));
    }

    struct Inherited {
        Prefix* prefix;
        std::string uri;
    };

    const Tree& tree_;
    source::PositionIndex positions_{tree_.source()};
    const ExportOptions& options_;
    DocHandle doc_;
    Memory memory_;
    std::vector<Name> names_;  // by name id
    const xmlChar* xmlns_ = nullptr;
    std::unordered_map<const xmlChar*, Prefix> prefixes_;  // by their text in the dictionary
    Prefix* none_ = nullptr;
    Prefix* xmlnsPrefix_ = nullptr;
    Prefix* xmlPrefix_ = nullptr;
    std::vector<Declaration> declarations_;  // in force, the innermost last
    xmlNs* lastDeclaration_ = nullptr;
    std::vector<Open> open_;
    Extent extent_;
    std::vector<Inherited> inherited_;  // for the first element
    xmlAttr* lastAttribute_ = nullptr;
    std::string joined_;
};

}  // namespace

ExportedTree exportTree(const Tree& tree, NodeId root, const ExportOptions& options) {
    return Copier(tree, options).copy(root);
}

NodeId nodeOf(const xmlNode* node) noexcept {
    while (node != nullptr && node->type != XML_ELEMENT_NODE && node->type != XML_DOCUMENT_NODE &&
           node->_private == nullptr) {
        node = node->parent;
    }
    if (node == nullptr || node->type == XML_DOCUMENT_NODE) return dom::kNoNode;
    return static_cast<NodeId>(reinterpret_cast<std::uintptr_t>(node->_private));
}

}  // namespace engine::xml2
