// The cursor over child elements. Its operations are documented with their interface.
// Threads: one at a time, the document's thread.
#pragma once

#include "framework/object/implements.h"
#include "framework/object/iptr.h"
#include "msxml_parser/detail/dom/msdomxmlelement.h"
#include "msxml_parser/detail/nodes.h"
#include "msxml_parser/detail/pooled.h"
#include "msxml_parser/ikeldomxmlelementitr.h"

class MSDOMXmlElementItr final : public kel::Implements<MSDOMXmlElementItr, IKelDOMXmlElementItr>,
                                 public msxml::Pooled {
public:
    static constexpr const char* kClassName = "MSDOMXmlElementItr";

    // A new cursor with count 0, on the first child element; null when memory runs out. An empty parent has
    // no children.
    [[nodiscard]] static MSDOMXmlElementItr* create(msxml::Node parent);

    void first() override;
    void next() override;
    bool isEnd() override { return !current_; }
    IKelDOMXmlElement* getElementAs(bool shared) override;
    IKelDOMXmlElement* getSharedElement() override;

private:
    explicit MSDOMXmlElementItr(msxml::Node parent) noexcept;

    const msxml::Node parent_;
    msxml::Element current_;  // empty at the end
    IPtr<MSDOMXmlElement> shared_;
};
