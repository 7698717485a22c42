// A cursor over the nodes that an expression selected, of every kind, in document order: what IKelDOMXmlV3
// returns for expressions such as //@id or //text(). A new one stands on the first, or at the end; edits
// change nothing about what was selected. Ownership, failures and threads: as for IKelDOMXmlElementItr.
#pragma once

#include "framework/object/kelunknown.h"

class IKelDOMXmlElementV2;
class KelString;

class IKelDOMXmlNodeItr : public virtual IKelUnknown {
public:
    static constexpr const char* interfaceName() noexcept { return "IKelDOMXmlNodeItr"; }

    // What a node is, by the numbers of the DOM.
    enum Kind : int {
        kNone = 0,  // at the end
        kElement = 1,
        kAttribute = 2,
        kText = 3,
        kCData = 4,
        kInstruction = 7,
        kComment = 8,
        kDocument = 9,
    };

    virtual void first() = 0;   // back to the first node, at any time
    virtual void next() = 0;    // at the end: stays there
    virtual bool isEnd() = 0;   // past the last node
    virtual int getKind() = 0;  // one of Kind
    // Both replace the content of `out` and return it. The name of an element or attribute, the target of an
    // instruction; empty for all others.
    virtual KelString& getName(KelString& out) = 0;
    // As XPath's string() gives it: all text of an element or document, the content of the others; a text
    // with those that follow it directly.
    virtual KelString& getValue(KelString& out) = 0;
    // A new handle with count 0. Null: the node is no element.
    virtual IKelDOMXmlElementV2* getElement() = 0;
};
