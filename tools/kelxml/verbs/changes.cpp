// Each change selects its elements first and then works on them one after the other, so that it does not meet
// what it has made itself.
#include <algorithm>
#include <cstdint>
#include <optional>
#include <utility>

#include "host/text.h"
#include "msxml_parser/comerror.h"
#include "msxml_parser/ikeldomxmlelementitr.h"
#include "tools/kelxml/report/message.h"
#include "tools/kelxml/report/outputtext.h"
#include "tools/kelxml/verbs/changes.h"

namespace kelxml {

namespace {

using Element = IPtr<IKelDOMXmlElementV2>;
using Elements = std::vector<Element>;

constexpr std::uint32_t kOutOfMemory = 0x8007000E;  // a status

struct AttributeTarget {
    std::string elements;  // the expression of their elements
    KelString name;
};

// "//book/@year" as "//book" and "year"; "//@year" as "//*[@year]" and "year".
std::optional<AttributeTarget> attributeIn(const std::string& expression) {
    const std::size_t at = expression.rfind('@');
    if (at == std::string::npos || (at > 0 && expression[at - 1] != '/')) return std::nullopt;
    const std::string name = expression.substr(at + 1);
    const bool isName = !name.empty() && name.find_first_of(" \t\r\n[]()|/*=<>'\",") == std::string::npos;
    if (!isName) return std::nullopt;
    std::string elements = at > 0 ? expression.substr(0, at - 1) : std::string(".");
    if (elements.empty() || elements.ends_with('/')) elements += "/*[@" + name + ']';
    return AttributeTarget{std::move(elements), kelhost::fromUtf8(name)};
}

struct Attribute {
    KelString name;
    KelString value;
};

std::vector<Attribute> attributesOf(IKelDOMXmlElement& element) {
    std::vector<Attribute> attributes;
    const int count = element.getAttributeCount();
    attributes.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i)
        attributes.push_back({element.getAttributeName(i), element.getAttributeValue(i)});
    return attributes;
}

void setAttributes(IKelDOMXmlElement& element, const std::vector<Attribute>& attributes) {
    for (const Attribute& attribute : attributes) element.setAttribute(attribute.name, attribute.value);
}

// Empty for the root element.
Element parentOf(IKelDOMXmlElement& element) {
    const ElementPtr parent(element.getParent());
    try {
        (void)parent->getAttributeCount();
    } catch (const _com_error&) {
        return {};
    }
    return Element(kel::queryInterface<IKelDOMXmlElementV2>(parent.get()));
}

// An element of its name, with its attributes and this text alone, replaces the element.
void setContent(IKelDOMXmlV3& document, IKelDOMXmlElementV2& element, const KelString& text) {
    const ElementPtr made(document.createElement(element.getName()));
    setAttributes(*made, attributesOf(element));
    if (!text.isEmpty()) made->setText(text);
    if (const Element parent = parentOf(element)) {
        parent->replaceChild(made.get(), &element);
        return;
    }
    document.replaceRootElement(made.get());
}

class Editor {
public:
    Editor(const Session& session, IKelDOMXmlV3& document, const Prefixes& prefixes, const Edit& edit)
        : session_(session), document_(document), prefixes_(prefixes), edit_(edit) {}

    std::size_t run() {
        if (edit_.kind == Edit::Kind::Rename) checkName(kelhost::fromUtf8(edit_.argument));
        if (const auto attribute = attributeIn(edit_.expression)) return changeAttributes(*attribute);
        Elements elements = selectElements(document_, edit_.expression);
        // From the last: a rename copies what is inside, which is then done already.
        std::reverse(elements.begin(), elements.end());
        const bool inserts = edit_.kind == Edit::Kind::Append || edit_.kind == Edit::Kind::Before ||
                             edit_.kind == Edit::Kind::After;
        if (inserts && !elements.empty()) readNew();
        for (const Element& element : elements) change(*element);
        return elements.size();
    }

private:
    // Elements and attributes may have the same names.
    void checkName(const KelString& name) const {
        try {
            const ElementPtr unused(document_.createElement(name));
        } catch (const _com_error& error) {
            if (static_cast<std::uint32_t>(error.Error()) == kOutOfMemory) throw;
            throw Exception(kWrongUsage, tr("'%1' is not a name", kelhost::toUtf8(name)));
        }
    }

    std::size_t changeAttributes(const AttributeTarget& target) {
        checkName(target.name);
        const KelString argument = kelhost::fromUtf8(edit_.argument);
        std::size_t count = 0;
        for (const Element& element : selectElements(document_, target.elements)) {
            if (edit_.kind != Edit::Kind::Set && !element->hasAttribute(target.name)) continue;
            ++count;
            changeAttribute(*element, target.name, argument);
        }
        return count;
    }

    void changeAttribute(IKelDOMXmlElementV2& element, const KelString& name, const KelString& argument) {
        switch (edit_.kind) {
            case Edit::Kind::Set:
                return element.setAttribute(name, argument);
            case Edit::Kind::Delete:
                return (void)element.removeAttribute(name);
            case Edit::Kind::Rename: {
                const KelString value = element.getAttribute(name);
                (void)element.removeAttribute(name);
                return element.setAttribute(argument, value);
            }
            default:
                throw Exception(kWrongUsage, tr("elements cannot be inserted at '%1'", edit_.expression));
        }
    }

    void change(IKelDOMXmlElementV2& element) {
        switch (edit_.kind) {
            case Edit::Kind::Set:
                return setContent(document_, element, kelhost::fromUtf8(edit_.argument));
            case Edit::Kind::Delete:
                return element.removeFromParent();
            case Edit::Kind::Rename: {
                const std::vector<Attribute> attributes = attributesOf(element);
                element.setName(kelhost::fromUtf8(edit_.argument));
                return setAttributes(element, attributes);
            }
            case Edit::Kind::Append:
                for (const ElementPtr& each : new_) element.addChild(ElementPtr(each->clone()).get());
                return;
            default:
                return insertBeside(element);
        }
    }

    void insertBeside(IKelDOMXmlElementV2& element) {
        const Element parent = parentOf(element);
        if (!parent) throw Exception(kRejected, tr("a document has one root element only"));
        ElementPtr first;
        for (const ElementPtr& each : new_) {
            const ElementPtr copy(each->clone());
            parent->insertChild(copy.get(), &element);
            if (!first) first = copy;
        }
        // There is no "after": the element goes before what was put before it.
        if (edit_.kind == Edit::Kind::After) parent->insertChild(&element, first.get());
    }

    // The elements to insert, read once, with the prefixes that the document has.
    void readNew() {
        std::string wrapped = "<wrapper";
        for (const auto& [prefix, uri] : prefixes_) {
            if (prefix != "_" && prefix != "xml")
                wrapped += " xmlns:" + prefix + "='" + escapedValue(uri) + '\'';
        }
        wrapped += '>' + edit_.argument + "</wrapper>";
        source_ = session_.makeParser();
        const bool isRead = source_->loadBytes(wrapped.data(), wrapped.size(), IKelDOMXmlV3::kKeepWhiteSpace);
        if (!isRead) {
            throw Exception(kWrongUsage,
                            tr("'%1' is not XML: %2", edit_.argument, diagnosticOf(*source_, {}).reason));
        }
        const ElementPtr root(source_->getRootElement());
        for (const IPtr<IKelDOMXmlElementItr> each(root->getChildren()); !each->isEnd(); each->next())
            new_.push_back(ElementPtr(each->getElement(false)));
        if (new_.empty()) throw Exception(kWrongUsage, tr("'%1' has no element", edit_.argument));
    }

    const Session& session_;
    IKelDOMXmlV3& document_;
    const Prefixes& prefixes_;
    const Edit& edit_;
    DocumentPtr source_;
    std::vector<ElementPtr> new_;
};

}  // namespace

std::size_t apply(const Edit& edit, const Session& session, IKelDOMXmlV3& document,
                  const Prefixes& prefixes) {
    return Editor(session, document, prefixes, edit).run();
}

}  // namespace kelxml
