#include "engine/xml2/handover.h"

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

constexpr std::string_view kXmlNamespace = "http://www.w3.org/XML/1998/namespace";
constexpr std::size_t kRoomInNode = 2 * sizeof(void*);  // from xmlNode::properties to the end of psvi

struct Name {
    const xmlChar* prefix = nullptr;  // null: none
    const xmlChar* local = nullptr;   // null: not looked up yet
};

class Copier final {
public:
    Copier(const Tree& tree, const HandOver& options) : tree_(tree), options_(options) {
        doc_.reset(orThrow(xmlNewDoc(chars("1.0"))));
        doc_->dict = options.dict != nullptr ? options.dict : orThrow(xmlDictCreate());
        if (options.dict != nullptr) (void)xmlDictReference(options.dict);
        doc_->URL = orThrow(xmlStrdup(chars(options.uri)));
        names_.resize(tree.names().size());
        xmlns_ = intern("xmlns");
        xml_ = intern("xml");
    }

    HandedOver copy(NodeId root) {
        if (tree_.kind(root) == NodeKind::Element) {
            inherit(root);
            copyNodes(root, root);
        } else if (tree_.firstChild(root) != dom::kNoNode) {
            copyNodes(tree_.firstChild(root), root);
        }
        return {std::move(doc_), depth_};
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
            case NodeKind::Comment: {
                const std::string text(tree_.content(node));
                link(xmlNewDocComment(doc_.get(), chars(text)), node, parent);
                return node;
            }
            case NodeKind::ProcessingInstruction: {
                const std::string target(tree_.name(node));
                const std::string data(tree_.content(node));
                link(xmlNewDocPI(doc_.get(), chars(target), data.empty() ? nullptr : chars(data)), node,
                     parent);
                return node;
            }
            default:
                return node;
        }
    }

    void link(xmlNode* node, NodeId id, xmlNode* parent) {
        (void)orThrow(node);
        node->_private = reinterpret_cast<void*>(std::uintptr_t{id});
        node->parent = parent;
        node->prev = parent->last;
        if (parent->last == nullptr) {
            parent->children = node;
        } else {
            parent->last->next = node;
        }
        parent->last = node;
        // libxml2 takes bigger lines from elsewhere, and nothing here needs them
        if (options_.lines && node->type == XML_ELEMENT_NODE) {
            node->line = static_cast<unsigned short>(std::min(tree_.position(id).line, 65535u));
        }
    }

    NodeId copyText(NodeId node, xmlNode* parent) {
        NodeId last = node;
        for (NodeId next = tree_.nextSibling(node); next != dom::kNoNode && isText(next);
             next = tree_.nextSibling(next)) {
            last = next;
        }
        if (last == node) {
            if (!tree_.content(node).empty()) link(newText(tree_.content(node)), node, parent);
            return node;
        }
        joined_.clear();
        for (NodeId at = node;; at = tree_.nextSibling(at)) {
            joined_ += tree_.content(at);
            if (at == last) break;
        }
        if (!joined_.empty()) link(newText(joined_), node, parent);
        return last;
    }

    bool isText(NodeId node) const {
        return tree_.kind(node) == NodeKind::Text || tree_.kind(node) == NodeKind::CData;
    }

    xmlNode* newText(std::string_view text) {
        const int size = length(text);
        xmlNode* node = orThrow(xmlNewDocTextLen(doc_.get(), nullptr, 0));
        const auto* bytes = reinterpret_cast<const xmlChar*>(text.data());
        if (isShared(text)) {
            node->content = const_cast<xmlChar*>(xmlDictLookup(doc_->dict, bytes, size));
        } else if (!options_.lines && text.size() < kRoomInNode) {
            node->content = reinterpret_cast<xmlChar*>(&node->properties);
            std::memcpy(node->content, text.data(), text.size());
        } else {
            node->content = xmlStrndup(bytes, size);
        }
        if (node->content == nullptr) {
            xmlFreeNode(node);
            throw std::bad_alloc();
        }
        return node;
    }

    // Texts that come again and again: layout, and the very short.
    static bool isShared(std::string_view text) {
        constexpr std::size_t kLongestLayout = 60;
        return text.size() <= 3 ||
               (text.size() < kLongestLayout && text.find_first_not_of(" \t\r\n") == std::string_view::npos);
    }

    void copyElement(NodeId id, xmlNode* parent) {
        if (options_.depthLimit != 0 && open_.size() == options_.depthLimit) tooDeep(id);
        const Name elementName = name(tree_.nameId(id));
        xmlNode* node = orThrow(
            xmlNewDocNodeEatName(doc_.get(), nullptr, const_cast<xmlChar*>(elementName.local), nullptr));
        link(node, id, parent);
        open_.push_back({node, declarations_.size()});
        depth_ = std::max(depth_, open_.size());
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
        const std::string text(uri);
        xmlNs* ns = orThrow(xmlNewNs(nullptr, chars(text), prefix));
        xmlNs** end = &node.nsDef;
        while (*end != nullptr) end = &(*end)->next;
        *end = ns;
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
        xmlAttr* copy =
            orThrow(xmlNewNsPropEatName(nullptr, ns, const_cast<xmlChar*>(attributeName.local), nullptr));
        copy->doc = doc_.get();
        copy->parent = &node;
        if (node.properties == nullptr) {
            node.properties = copy;
        } else {
            copy->prev = lastAttribute_;
            lastAttribute_->next = copy;
        }
        lastAttribute_ = copy;
        copy->children = copy->last = newText(attribute.value);
        copy->children->parent = reinterpret_cast<xmlNode*>(copy);
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
    std::vector<Name> names_;  // by name id
    const xmlChar* xmlns_ = nullptr;
    const xmlChar* xml_ = nullptr;
    std::vector<Declaration> declarations_;
    std::vector<Open> open_;
    std::size_t depth_ = 0;
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
