// The cursors whose elements live on: over the children of one name, and over the result of an expression.
// Their operations are documented with their interface. Threads: one at a time, the document's thread.
#pragma once

#include <string>
#include <string_view>

#include "framework/object/implements.h"
#include "framework/object/iptr.h"
#include "msxml_parser/detail/dom/msdomxmlelement.h"
#include "msxml_parser/detail/nodes.h"
#include "msxml_parser/detail/pooled.h"
#include "msxml_parser/ikeldomxmlelementitrv2.h"

class MSDOMXmlElementItrV2 final
    : public kel::Implements<MSDOMXmlElementItrV2, IKelDOMXmlElementItr, IKelDOMXmlElementItrV2>,
      public msxml::Pooled {
public:
    static constexpr const char* kClassName = "MSDOMXmlElementItrV2";
    using NodeList = msxml::ComPtr<IXMLDOMNodeList>;

    // New cursors with count 0, on the first element; E_OUTOFMEMORY when there is no memory. An empty name
    // represents all; the nodes of a list are elements.
    [[nodiscard]] static MSDOMXmlElementItrV2* overChildren(msxml::Element parent, std::u16string_view name);
    [[nodiscard]] static MSDOMXmlElementItrV2* overChildrenIfAny(const msxml::Element& parent,
                                                                 std::u16string_view name);  // null: none
    [[nodiscard]] static MSDOMXmlElementItrV2* overList(NodeList list);

    void first() override;
    void next() override;
    bool isEnd() override { return !current_; }
    IKelDOMXmlElement* getElementAs(bool shared) override;
    IKelDOMXmlElement* getSharedElement() override;
    IKelDOMXmlElementV2* takeNext() override;
    IKelDOMXmlElementV2* getElementV2() override;
    IKelDOMXmlElementV2* getElementAndMove() override;

private:
    MSDOMXmlElementItrV2(msxml::Element parent, std::u16string_view name, msxml::Element first);
    MSDOMXmlElementItrV2(NodeList list) noexcept;
    [[nodiscard]] msxml::Element listed() const;
    [[nodiscard]] MSDOMXmlElement* sharedElement();

    const msxml::Element parent_;  // empty: the list
    const std::u16string name_;
    const NodeList list_;
    LONG index_ = 0;          // in the list
    msxml::Element current_;  // empty at the end
    IPtr<MSDOMXmlElement> shared_;
};
