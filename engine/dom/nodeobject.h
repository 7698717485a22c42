// The COM objects for nodes: a virtual table, a count and an anchor. They count from 1.
#pragma once

#include "engine/com/blocks.h"
#include "engine/dom/livetree.h"
#include "engine/dom/nodeops.h"

namespace engine::dom {

// The node operations over an anchor; the rest is the deriving class's.
template <typename Interface>
class NodeImplementation : public Interface, protected Anchor {
public:
    ULONG AddRef() final { return ++count; }

    HRESULT get_nodeName(BSTR* name) final { return nodeops::getName(*this, name); }
    HRESULT get_nodeValue(VARIANT* value) final { return nodeops::getValue(*this, value); }
    HRESULT get_nodeType(DOMNodeType* type) final { return nodeops::getType(*this, type); }
    HRESULT get_parentNode(IXMLDOMNode** parent) final { return nodeops::getParent(*this, parent); }
    HRESULT get_childNodes(IXMLDOMNodeList** children) final { return nodeops::getChildren(*this, children); }
    HRESULT get_firstChild(IXMLDOMNode** child) final { return nodeops::getFirstChild(*this, child); }
    HRESULT get_nextSibling(IXMLDOMNode** sibling) final { return nodeops::getNextSibling(*this, sibling); }
    HRESULT get_attributes(IXMLDOMNamedNodeMap** attributes) final {
        return nodeops::getAttributes(*this, attributes);
    }
    HRESULT replaceChild(IXMLDOMNode* newChild, IXMLDOMNode* oldChild, IXMLDOMNode** replaced) final {
        return nodeops::replaceChild(*this, newChild, oldChild, replaced);
    }
    HRESULT appendChild(IXMLDOMNode* newChild, IXMLDOMNode** added) final {
        return nodeops::appendChild(*this, newChild, added);
    }
    HRESULT get_ownerDocument(IXMLDOMDocument** document) final { return nodeops::getOwner(*this, document); }
    HRESULT cloneNode(VARIANT_BOOL deep, IXMLDOMNode** copy) final {
        return nodeops::clone(*this, deep, copy);
    }
    HRESULT get_text(BSTR* text) final { return nodeops::getText(*this, text); }
    HRESULT put_text(BSTR text) final { return nodeops::putText(*this, text); }
    HRESULT transformNode(IXMLDOMNode* styleSheet, BSTR* text) final {
        return nodeops::transformToText(*this, styleSheet, text);
    }
    HRESULT transformNodeToObject(IXMLDOMNode* styleSheet, VARIANT output) final {
        return nodeops::transformToObject(*this, styleSheet, output);
    }

protected:
    NodeImplementation(LiveTree* liveTree, NodeId id) noexcept : Anchor{this, liveTree, id, 1} {}
    NodeImplementation(const NodeImplementation&) = delete;
    NodeImplementation& operator=(const NodeImplementation&) = delete;
    ~NodeImplementation() = default;

    HRESULT answer(REFIID iid, REFIID own, void** object) noexcept {
        if (object == nullptr) return E_POINTER;
        *object = nullptr;
        if (iid == own || iid == IID_IXMLDOMNode || iid == IID_IDispatch || iid == IID_IUnknown) {
            *object = static_cast<Interface*>(this);
        } else if (iid == kAnchorId) {
            *object = static_cast<Anchor*>(this);
        } else {
            return E_NOINTERFACE;
        }
        AddRef();
        return S_OK;
    }
};

// A node below the document node.
template <typename Interface, const IID& kId, typename Derived>
class BoundNode : public NodeImplementation<Interface>, public com::Pooled {
public:
    HRESULT QueryInterface(REFIID iid, void** object) final { return this->answer(iid, kId, object); }
    ULONG Release() final {
        const ULONG left = --this->count;
        if (left == 0) delete static_cast<Derived*>(this);
        return left;
    }

protected:
    BoundNode(LiveTree& tree, NodeId node) : NodeImplementation<Interface>(&tree, node) { tree.bind(*this); }
    ~BoundNode() { this->tree->unbind(*this); }
};

class TextObject final : public BoundNode<IXMLDOMText, IID_IXMLDOMText, TextObject> {
public:
    TextObject(LiveTree& tree, NodeId node) : BoundNode(tree, node) {}
};

class ProcessingInstructionObject final
    : public BoundNode<IXMLDOMProcessingInstruction, IID_IXMLDOMProcessingInstruction,
                       ProcessingInstructionObject> {
public:
    ProcessingInstructionObject(LiveTree& tree, NodeId node) : BoundNode(tree, node) {}
};

// Comments and CDATA sections: nobody asks for more of them than what a node has.
class PlainNodeObject final : public BoundNode<IXMLDOMNode, IID_IXMLDOMNode, PlainNodeObject> {
public:
    PlainNodeObject(LiveTree& tree, NodeId node) : BoundNode(tree, node) {}
};

class ElementObject final : public BoundNode<IXMLDOMElement, IID_IXMLDOMElement, ElementObject> {
public:
    ElementObject(LiveTree& tree, NodeId node) : BoundNode(tree, node) {}

    HRESULT get_tagName(BSTR* name) override { return nodeops::getName(*this, name); }
    HRESULT getAttribute(BSTR name, VARIANT* value) override {
        return nodeops::getAttribute(*this, name, value);
    }
    HRESULT setAttribute(BSTR name, VARIANT value) override {
        return nodeops::setAttribute(*this, name, value);
    }
};

}  // namespace engine::dom
