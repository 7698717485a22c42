// A forward cursor over the child elements of one element, in document order; text, comments and the like are
// passed over. A new one stands on the first child element, or at the end.
// It follows the live tree: removing the element it stands on ends the walk there.
// Ownership, failures and threads: as for IKelDOMXmlElement.
#pragma once

#include "framework/object/kelunknown.h"

class IKelDOMXmlElement;

class IKelDOMXmlElementItr : public virtual IKelUnknown {
public:
    static constexpr const char* interfaceName() noexcept { return "IKelDOMXmlElementItr"; }

    virtual void first() = 0;  // back to the first child element, at any time
    virtual void next() = 0;   // at the end: stays there
    virtual bool isEnd() = 0;  // whether it stands on no element

    // Null at the end. shared false: a new handle with count 0 that keeps its element. shared true: as below.
    IKelDOMXmlElement* getElement(bool shared) { return getElementAs(shared); }
    // Null at the end. The iterator's own handle, the same object at every position: asked again after `next`
    // it stands on the new element. It dies with the iterator unless the caller holds a reference.
    IKelDOMXmlElement* getElement() { return getSharedElement(); }

    // 3. and 4. What the two above call: overloads would not keep their slots, as some compilers lay them out
    // in reverse.
    virtual IKelDOMXmlElement* getElementAs(bool shared) = 0;
    virtual IKelDOMXmlElement* getSharedElement() = 0;
};
