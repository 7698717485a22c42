// The element handle over an engine element. Its operations are documented with their interface.
// Threads: one at a time, the document's thread.
#pragma once

#include <atomic>
#include <cstdint>

#include "framework/object/implements.h"
#include "msxml_parser/detail/nodes.h"
#include "msxml_parser/detail/pooled.h"
#include "msxml_parser/ikeldomxmlelement.h"
#include "msxml_parser/ikeldomxmlelementv2.h"

namespace msxml {

// How many attributes were removed through any handle: a handle that remembers an attribute by its position
// looks it up again when this has changed.
inline std::atomic<std::uint32_t> attributeRemovals{0};

}  // namespace msxml

class MSDOMXmlElement : public kel::Implements<MSDOMXmlElement, IKelDOMXmlElement>,
                        public virtual IKelDOMXmlElementV2,
                        public msxml::Pooled {
public:
    using Later = kel::InterfaceList<IKelDOMXmlElementV2>;
    static constexpr const char* kClassName = "MSDOMXmlElement";
    static constexpr const char* interfaceName() noexcept { return kClassName; }

    explicit MSDOMXmlElement(
        msxml::Element element) noexcept;  // may be empty: a handle that stands on nothing

    // A new handle with count 0; null when memory runs out.
    [[nodiscard]] static MSDOMXmlElement* create(msxml::Element element) noexcept;

    [[nodiscard]] const msxml::Element& engineElement() const noexcept { return element_; }
    void standOn(msxml::Element element) noexcept {
        forgetAttributes();
        element_ = std::move(element);
    }

    IKelDOMXmlElement* clone() override;

    using IKelDOMXmlElement::getName;
    KelCString& getName(KelCString& out) { return getNameNarrow(out); }
    virtual KelCString& getNameNarrow(KelCString& out);  // beyond the interface
    KelString& getNameWide(KelString& out) override;
    KelString getNameCopy() override;
    void setName(const KelString& name) override;

    KelCString& getAttributeValueNarrow(int index, KelCString& out) override;
    KelString& getAttributeValueWide(int index, KelString& out) override;
    KelString getAttributeValueCopy(int index) override;
    KelCString& getAttributeNarrow(const KelString& name, KelCString& out) override;
    KelString& getAttributeWide(const KelString& name, KelString& out) override;
    KelString getAttributeCopy(const KelString& name) override;
    void setAttribute(const KelString& name, const KelString& value) override;
    int getAttributeCount() override;
    KelCString& getAttributeNameNarrow(int index, KelCString& out) override;
    KelString& getAttributeNameWide(int index, KelString& out) override;
    KelString getAttributeNameCopy(int index) override;

    KelCString& getTextNarrow(KelCString& out) override;
    KelString& getTextWide(KelString& out) override;
    KelString getTextCopy() override;
    void setText(const KelString& text) override;

    IKelDOMXmlElement* getChild(const KelString& name) override;
    IKelDOMXmlElementItr* getChildren() override;
    void addChild(IKelDOMXmlElement* child) override;
    bool isSpecialA() override { return false; }
    bool isSpecialB() override { return false; }
    IKelDOMXmlElement* getParent() override;

    bool write(std::FILE* file, KelString& out, const KelString& indent, const KelString& indentUnit,
               bool wide) override;

    bool hasAttribute(const KelString& name) override;
    bool removeAttribute(const KelString& name) override;
    KelString& getNamespaceUri(KelString& out) override;
    KelString& getPrefix(KelString& out) override;
    KelString& getLocalName(KelString& out) override;
    KelString& getAllText(KelString& out) override;
    void insertChild(IKelDOMXmlElement* child, IKelDOMXmlElement* before) override;
    void removeChild(IKelDOMXmlElement* child) override;
    void replaceChild(IKelDOMXmlElement* replacement, IKelDOMXmlElement* replaced) override;
    void removeFromParent() override;
    int getLine() override;
    int getColumn() override;
    IKelDOMXmlElementItrV2* getChildrenNamed(const KelString& name) override;
    IKelDOMXmlElementItrV2* findChildren(const KelString& name) override;

private:
    template <typename String>
    String& readName(String& out) const;
    template <typename String>
    String& readAttributeValue(int index, String& out);
    template <typename String>
    String& readAttribute(const KelString& name, String& out) const;
    template <typename String>
    String& readAttributeName(int index, String& out);
    template <typename String>
    String& readText(String& out) const;

    [[nodiscard]] const msxml::ComPtr<IXMLDOMNamedNodeMap>& attributes();
    [[nodiscard]] const msxml::Node& attributeAt(int index);
    void forgetAttributes() noexcept;
    [[nodiscard]] msxml::ComPtr<IXMLDOMDocument> ownerDocument() const;

    msxml::Element element_;
    // The element's attributes and the one asked for last, both live, for they are asked for one by one and
    // each by name and value.
    msxml::ComPtr<IXMLDOMNamedNodeMap> attributes_;
    msxml::Node attribute_;
    int attributeIndex_ = -1;
    std::uint32_t removalsSeen_ = 0;
};
