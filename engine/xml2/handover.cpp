#include "engine/xml2/handover.h"

#include <libxml/parserInternals.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <vector>

#include "engine/com/status.h"
#include "engine/xml2/errors.h"

namespace engine::xml2 {

namespace {

using dom::NodeId;
using dom::NodeKind;
using dom::Tree;

constexpr std::size_t kFirstBlock = std::size_t{16} << 10;  // bytes; each block is twice the one before
constexpr std::size_t kLargestBlock = std::size_t{1} << 20;

// Memory for one copy: blocks of our own that go together, or libxml2's, piece by piece.
class Memory final {
public:
    explicit Memory(HandOver::Use use) : inBlocks_(use == HandOver::Use::Read) {}

    template <typename T>
    T* zeroed() {
        void* memory = take(sizeof(T));
        std::memset(memory, 0, sizeof(T));
        return static_cast<T*>(memory);
    }

    xmlChar* copyOf(std::string_view text) {
        auto* copy = static_cast<xmlChar*>(take(text.size() + 1));
        if (!text.empty()) std::memcpy(copy, text.data(), text.size());
        copy[text.size()] = 0;
        return copy;
    }

    std::vector<std::unique_ptr<char[]>> takeBlocks() noexcept { return std::move(blocks_); }

private:
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

    bool inBlocks_;
    std::vector<std::unique_ptr<char[]>> blocks_;
    char* next_ = nullptr;
    std::size_t left_ = 0;
    std::size_t blockSize_ = kFirstBlock;
};

struct Name {
    const xmlChar* prefix = nullptr;  // null: none
    const xmlChar* local = nullptr;   // null: not looked up yet
};

class Copier final {
public:
    Copier(const Tree& tree, const HandOver& options) : tree_(tree), options_(options), memory_(options.use) {
        doc_.reset(orThrow(xmlNewDoc(chars("1.0"))));
        doc_->dict = options.dict != nullptr ? options.dict : orThrow(xmlDictCreate());
        if (options.dict != nullptr) (void)xmlDictReference(options.dict);
        doc_->URL = orThrow(xmlStrdup(chars(options.uri)));
        names_.resize(tree.names().size());
        xmlns_ = intern("xmlns");
        xml_ = intern("xml");
    }

    ~Copier() {
        // after a failure: what lies in blocks is not libxml2's to free
        if (doc_ != nullptr && options_.use == HandOver::Use::Read) doc_->children = doc_->last = nullptr;
    }
    Copier(const Copier&) = delete;
    Copier& operator=(const Copier&) = delete;

    HandedOver copy(NodeId root) {
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
        const xmlChar* prefix;
        xmlNs* ns;  // null: the default namespace is taken back
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
        if (text.size() >= INT_MAX) throw com::Failure(E_FAIL, "A single text is longer than 2 GB.");
        return static_cast<int>(text.size());
    }

    const Name& name(dom::NameId id) {
        Name& known = names_[id];
        if (known.local == nullptr) {
            const std::string_view text = tree_.names().text(id);
            const std::uint32_t prefix = tree_.names().prefixLength(id);
            if (prefix != 0) known.prefix = intern(text.substr(0, prefix));
            known.local = intern(prefix == 0 ? text : text.substr(prefix + 1));
        }
        return known;
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

    // Answers the last node that the copy stands for: a text takes in those after it.
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
        node.content = memory_.copyOf(content);
    }

    void copyInstruction(NodeId node, xmlNode* parent) {
        const std::string_view target = tree_.name(node);
        // an XML declaration that somebody put in as an instruction is none of the document's content
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
        if (options_.use == HandOver::Use::Change) {
            node->line = static_cast<unsigned short>(std::min(tree_.position(id).line, 65535u));
        }
        open_.push_back({node, declarations_.size()});
        extent_.depth = std::max(extent_.depth, open_.size());
        const std::uint32_t count = tree_.attributeCount(id);
        bool declares = !inherited_.empty();
        if (declares) declareInherited(*node);
        for (std::uint32_t i = 0; i < count; ++i) declares = declare(*node, id, i) || declares;
        node->ns = find(elementName.prefix, id, tree_.name(id));
        for (std::uint32_t i = 0; i < count; ++i) {
            if (!declares || !isDeclaration(name(tree_.attributeNameId(id, i)))) copyAttribute(*node, id, i);
        }
    }

    bool isDeclaration(const Name& attribute) const {
        return attribute.prefix == xmlns_ || (attribute.prefix == nullptr && attribute.local == xmlns_);
    }

    // True if the attribute is a declaration, which is then in force.
    bool declare(xmlNode& node, NodeId id, std::uint32_t index) {
        const Name& attribute = name(tree_.attributeNameId(id, index));
        if (!isDeclaration(attribute)) return false;
        const xmlChar* prefix = attribute.prefix == nullptr ? nullptr : attribute.local;
        if (prefix == xml_) return true;  // known without a declaration
        addDeclaration(node, prefix, tree_.attribute(id, index).value);
        return true;
    }

    void addDeclaration(xmlNode& node, const xmlChar* prefix, std::string_view uri) {
        auto* ns = memory_.zeroed<xmlNs>();
        ns->type = XML_LOCAL_NAMESPACE;
        xmlNs** end = &node.nsDef;
        while (*end != nullptr) end = &(*end)->next;
        *end = ns;
        ns->href = memory_.copyOf(uri);
        if (prefix != nullptr) ns->prefix = memory_.copyOf(view(prefix));
        declarations_.push_back({prefix, uri.empty() ? nullptr : ns});
    }

    // What an element inside a document has in scope, the innermost declaration of each prefix.
    void inherit(NodeId element) {
        for (NodeId at = tree_.parent(element); at != dom::kNoNode; at = tree_.parent(at)) {
            for (std::uint32_t i = 0; i < tree_.attributeCount(at); ++i) {
                const Name& attribute = name(tree_.attributeNameId(at, i));
                if (!isDeclaration(attribute) || attribute.local == xml_) continue;
                const xmlChar* prefix = attribute.prefix == nullptr ? nullptr : attribute.local;
                const bool known = std::any_of(inherited_.begin(), inherited_.end(),
                                               [&](const Inherited& one) { return one.prefix == prefix; });
                if (!known) inherited_.push_back({prefix, std::string(tree_.attribute(at, i).value)});
            }
        }
        // an element's own declarations go before; they are added when it is copied
        for (std::uint32_t i = 0; i < tree_.attributeCount(element); ++i) {
            const Name& attribute = name(tree_.attributeNameId(element, i));
            if (!isDeclaration(attribute)) continue;
            const xmlChar* prefix = attribute.prefix == nullptr ? nullptr : attribute.local;
            std::erase_if(inherited_, [&](const Inherited& one) { return one.prefix == prefix; });
        }
    }

    void declareInherited(xmlNode& node) {
        for (const Inherited& one : inherited_) {
            if (!one.uri.empty()) addDeclaration(node, one.prefix, one.uri);
        }
        inherited_.clear();
    }

    xmlNs* find(const xmlChar* prefix, NodeId element, std::string_view written) {
        for (std::size_t i = declarations_.size(); i-- > 0;) {
            if (declarations_[i].prefix != prefix) continue;
            if (declarations_[i].ns == nullptr && prefix != nullptr) break;
            return declarations_[i].ns;
        }
        if (prefix == nullptr) return nullptr;
        if (prefix == xml_) {
            return orThrow(xmlSearchNs(doc_.get(), reinterpret_cast<xmlNode*>(doc_.get()), xml_));
        }
        throw com::Failure(E_FAIL, at(element) + "The prefix of '" + std::string(written) +
                                       "' is not declared; an attribute 'xmlns:" + std::string(view(prefix)) +
                                       "' on the element or around it would declare it.");
    }

    void copyAttribute(xmlNode& node, NodeId id, std::uint32_t index) {
        const Name attributeName = name(tree_.attributeNameId(id, index));
        const dom::AttributeView attribute = tree_.attribute(id, index);
        xmlNs* ns =
            attributeName.prefix == nullptr ? nullptr : find(attributeName.prefix, id, attribute.name);
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
        if (attributeName.prefix == xml_ && view(attributeName.local) == "id") {
            // as the library's own parser does; a value that is no id, or not the first, is none
            (void)xmlAddID(nullptr, doc_.get(), copy->children->content, copy);
        }
    }

    void close() {
        declarations_.resize(open_.back().declarations);
        open_.pop_back();
    }

    std::string at(NodeId element) const { return placeText(options_.uri, tree_.position(element).line); }

    [[noreturn]] void tooDeep(NodeId element) const {
        throw com::Failure(E_FAIL, at(element) + "The document is nested more than " +
                                       std::to_string(options_.depthLimit) +
                                       " elements deep, which is too deep here.");
    }

    struct Inherited {
        const xmlChar* prefix;
        std::string uri;
    };

    const Tree& tree_;
    const HandOver& options_;
    DocHandle doc_;
    Memory memory_;
    std::vector<Name> names_;  // by name id
    const xmlChar* xmlns_ = nullptr;
    const xmlChar* xml_ = nullptr;
    std::vector<Declaration> declarations_;
    std::vector<Open> open_;
    Extent extent_;
    std::vector<Inherited> inherited_;  // for the first element
    xmlAttr* lastAttribute_ = nullptr;
    std::string joined_;
};

}  // namespace

HandedOver handOver(const Tree& tree, NodeId root, const HandOver& options) {
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
