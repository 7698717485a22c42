// A cursor over elements that hands each out as an object of its own, so that an element outlives the cursor
// and every step of it:
//
//     IPtr<IKelDOMXmlElementItrV2> books(shelf->getChildrenNamed(KelString(u"book")));
//     while (IPtr<IKelDOMXmlElementV2> book{books->takeNext()}) ...
//
// The older operations are there as well. `getElement()` returns the cursor's own handle as long as the
// cursor is the only one that counts on it: a handle that a caller holds stays on its element, and the cursor
// goes on with another. Over children it follows the live tree; over the result of an expression it goes
// through the elements that were selected. Ownership, failures and threads: as for IKelDOMXmlElementItr.
#pragma once

#include "msxml_parser/ikeldomxmlelementitr.h"

class IKelDOMXmlElementV2;

class IKelDOMXmlElementItrV2 : public virtual IKelDOMXmlElementItr {
public:
    static constexpr const char* interfaceName() noexcept { return "IKelDOMXmlElementItrV2"; }

    // A new handle with count 0 on the element that the cursor stands on, which moves on to the next before
    // it returns: the element may be removed. Null at the end.
    virtual IKelDOMXmlElementV2* takeNext() = 0;
    // As getElement(), with the operations of the second version at hand.
    virtual IKelDOMXmlElementV2* getElementV2() = 0;
    // The same, and the cursor moves on to the next before it returns. Null at the end.
    virtual IKelDOMXmlElementV2* getElementAndMove() = 0;
};
