// The cursor over nodes that an expression selected. Its operations are documented with their interface.
// Threads: one at a time, the document's thread.
#pragma once

#include "framework/object/implements.h"
#include "msxml_parser/detail/nodes.h"
#include "msxml_parser/detail/pooled.h"
#include "msxml_parser/ikeldomxmlnodeitr.h"

class MSDOMXmlNodeItr final : public kel::Implements<MSDOMXmlNodeItr, IKelDOMXmlNodeItr>,
                              public msxml::Pooled {
public:
    static constexpr const char* kClassName = "MSDOMXmlNodeItr";
    using NodeList = msxml::ComPtr<IXMLDOMNodeList>;

    // A new cursor with count 0, on the first node; E_OUTOFMEMORY when there is no memory.
    [[nodiscard]] static MSDOMXmlNodeItr* create(NodeList list);

    void first() override;
    void next() override;
    bool isEnd() override { return !current_; }
    int getKind() override;
    KelString& getName(KelString& out) override;
    KelString& getValue(KelString& out) override;
    IKelDOMXmlElementV2* getElement() override;

private:
    explicit MSDOMXmlNodeItr(NodeList list) noexcept;
    void moveTo(LONG index);

    const NodeList list_;
    LONG index_ = 0;
    msxml::Node current_;  // empty at the end
    DOMNodeType kind_ = NODE_INVALID;
};
