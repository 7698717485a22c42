// What the second version of an element adds: attributes and children that go again, names taken apart, the
// position in the source, and children by name. Every element handle of the component has this interface; ask
// for it by its name, or take it from an operation that returns it.
//
// Ownership, failures and threads are as for IKelDOMXmlElement: results come with reference count 0, and what
// the engine rejects leaves as `_com_error`. An argument that must be an element and is null, or of another
// implementation, is E_INVALIDARG. Operations with an output argument replace its content and return it.
#pragma once

#include "KelBasicTypes/kelstring.h"
#include "msxml_parser/ikeldomxmlelement.h"

class IKelDOMXmlElementItrV2;

class IKelDOMXmlElementV2 : public virtual IKelDOMXmlElement {
public:
    static constexpr const char* interfaceName() noexcept { return "IKelDOMXmlElementV2"; }

    // By qualified name, as written. Removing returns false if there was no such attribute; the positions of
    // those after it change.
    virtual bool hasAttribute(const KelString& name) = 0;
    virtual bool removeAttribute(const KelString& name) = 0;

    // The parts of the element's name. Without a prefix, or in no namespace: empty; so is the namespace of a
    // prefix that is not declared on the element or around it.
    virtual KelString& getNamespaceUri(KelString& out) = 0;
    virtual KelString& getPrefix(KelString& out) = 0;
    virtual KelString& getLocalName(KelString& out) = 0;

    // All text in the element, CDATA sections and the texts of descendants included, in document order.
    virtual KelString& getAllText(KelString& out) = 0;

    // A child that has a parent moves. `before` is a child element of this element; null: at the end. It is
    // E_INVALIDARG for `before`, `child` and `replaced` not to be children of this element where they must
    // be.
    virtual void insertChild(IKelDOMXmlElement* child, IKelDOMXmlElement* before) = 0;
    // The handles on what was taken out stay valid: the element then has no parent.
    virtual void removeChild(IKelDOMXmlElement* child) = 0;
    virtual void replaceChild(IKelDOMXmlElement* replacement, IKelDOMXmlElement* replaced) = 0;
    // Takes this element out of its parent or document; without either nothing happens.
    virtual void removeFromParent() = 0;

    // Where the element's start tag stands in what was loaded, from 1, columns in characters; edits change
    // nothing about it. 0: unknown, as of elements that were not loaded, and of all elements on Windows,
    // whose engine keeps no positions. Linear in the source the first time, then constant on average.
    virtual int getLine() = 0;
    virtual int getColumn() = 0;

    // Over the child elements of this qualified name, all child elements if `name` is empty.
    virtual IKelDOMXmlElementItrV2* getChildrenNamed(const KelString& name) = 0;
    // The same; null if there are none, which is quick to find out.
    virtual IKelDOMXmlElementItrV2* findChildren(const KelString& name) = 0;
};
