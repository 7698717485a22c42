// A light handle on one element of a document. It copies nothing: every operation reads or edits the tree,
// and two handles on one element see each other's edits.
//
// Failure: what the engine rejects leaves as `_com_error` (msxml_parser/comerror.h) with the engine's status;
// a handle that stands on nothing (the parent of a root element, the root of an empty document) throws
// E_POINTER on first use. Ownership: elements and iterators that an operation returns come with reference
// count 0; take them into an IPtr. A handle keeps its document alive, and releasing it never removes the
// element from the tree. Texts: UTF-16 units. The narrow forms keep the low byte of each unit: characters
// above U+00FF are lost. The forms with an output argument return that argument and reuse its buffer.
// Threads: one at a time, the document's thread.
#pragma once

#include <cstdio>

#include "KelBasicTypes/kelcstring.h"
#include "KelBasicTypes/kelstring.h"
#include "framework/object/kelunknown.h"

class IKelDOMXmlElementItr;

class IKelDOMXmlElement : public virtual IKelUnknown {
public:
    static constexpr const char* interfaceName() noexcept { return "IKelDOMXmlElement"; }

    virtual IKelDOMXmlElement* clone() = 0;  // deep; the copy belongs to no parent

    // Names, values and texts are to be had in up to three forms: into a narrow string, into a wide one, and
    // by value. Callers use these; the virtual operations behind them have a name each.
    KelString& getName(KelString& out) { return getNameWide(out); }  // with its prefix
    KelString getName() { return getNameCopy(); }
    // Attributes by position, from 0, in document order, namespace declarations included. Outside: E_POINTER.
    KelCString& getAttributeValue(int index, KelCString& out) { return getAttributeValueNarrow(index, out); }
    KelString& getAttributeValue(int index, KelString& out) { return getAttributeValueWide(index, out); }
    KelString getAttributeValue(int index) { return getAttributeValueCopy(index); }
    // Attributes by qualified name; an absent one is empty.
    KelCString& getAttribute(const KelString& name, KelCString& out) { return getAttributeNarrow(name, out); }
    KelString& getAttribute(const KelString& name, KelString& out) { return getAttributeWide(name, out); }
    KelString getAttribute(const KelString& name) { return getAttributeCopy(name); }
    // Qualified names by position, as for the values.
    KelCString& getAttributeName(int index, KelCString& out) { return getAttributeNameNarrow(index, out); }
    KelString& getAttributeName(int index, KelString& out) { return getAttributeNameWide(index, out); }
    KelString getAttributeName(int index) { return getAttributeNameCopy(index); }
    // The element's own text nodes joined; neither CDATA sections nor the text of child elements.
    KelCString& getText(KelCString& out) { return getTextNarrow(out); }
    KelString& getText(KelString& out) { return getTextWide(out); }
    KelString getText() { return getTextCopy(); }

    // 1. and 2. From here on, as everywhere, the order of declaration is the order of the slots. Overloads
    // would spoil it: some compilers lay them out in reverse.
    virtual KelString& getNameWide(KelString& out) = 0;
    virtual KelString getNameCopy() = 0;
    // Puts a new element of this name in the place of the old one, with copies of all its children but
    // without its attributes. Other handles stay on the old element, which then has no parent. An element
    // without a parent: E_POINTER, nothing changed. The name it has already: nothing happens.
    virtual void setName(const KelString& name) = 0;

    // 4. to 9.
    virtual KelCString& getAttributeValueNarrow(int index, KelCString& out) = 0;
    virtual KelString& getAttributeValueWide(int index, KelString& out) = 0;
    virtual KelString getAttributeValueCopy(int index) = 0;
    virtual KelCString& getAttributeNarrow(const KelString& name, KelCString& out) = 0;
    virtual KelString& getAttributeWide(const KelString& name, KelString& out) = 0;
    virtual KelString getAttributeCopy(const KelString& name) = 0;
    virtual void setAttribute(const KelString& name, const KelString& value) = 0;  // creates or overwrites
    virtual int getAttributeCount() = 0;  // namespace declarations included
    // 12. to 17.
    virtual KelCString& getAttributeNameNarrow(int index, KelCString& out) = 0;
    virtual KelString& getAttributeNameWide(int index, KelString& out) = 0;
    virtual KelString getAttributeNameCopy(int index) = 0;
    virtual KelCString& getTextNarrow(KelCString& out) = 0;
    virtual KelString& getTextWide(KelString& out) = 0;
    virtual KelString getTextCopy() = 0;
    // Replaces the first text node alone, or appends one after all children if there is none.
    virtual void setText(const KelString& text) = 0;

    // The first of that name, null if none; an iterator that stands on the first child element. Of a handle
    // that stands on nothing both throw at once, not on first use of the result.
    virtual IKelDOMXmlElement* getChild(const KelString& name) = 0;
    virtual IKelDOMXmlElementItr* getChildren() = 0;
    // Appends; an element that has a parent moves. Null and elements of another implementation: nothing
    // happens.
    virtual void addChild(IKelDOMXmlElement* child) = 0;

    virtual bool isSpecialA() = 0;  // false
    virtual bool isSpecialB() = 0;  // false

    virtual IKelDOMXmlElement*
    getParent() = 0;  // never null; of a root element: a handle that stands on nothing

    // Writes the element and what is below it as XML text, one element a line, starting at `indent` and going
    // deeper by `indentUnit`. Mixed content is written with its whole text first and again inside the
    // children. Without a file all text is appended to `out`. With one, `out` is scratch: what it held is
    // written first and it is empty afterwards. `wide` writes UTF-16 units in memory order and ends lines
    // with "\r\n"; otherwise 8-bit text (host's string support, else ASCII alone) and "\n". The file is
    // borrowed; write errors are not reported. Returns true. Whatever depth: no stack is used.
    virtual bool write(std::FILE* file, KelString& out, const KelString& indent, const KelString& indentUnit,
                       bool wide) = 0;
};
