// The DOM parser: expressions.
#include <string>
#include <utility>

#include "msxml_parser/detail/dom/msdomxml.h"
#include "msxml_parser/detail/dom/msdomxmlelement.h"
#include "msxml_parser/detail/dom/msdomxmlelementitrv2.h"
#include "msxml_parser/detail/dom/msdomxmlnodeitr.h"
#include "msxml_parser/detail/enginespecific.h"
#include "msxml_parser/detail/failure.h"
#include "msxml_parser/detail/text.h"
#include "msxml_parser/detail/xmltext.h"

using msxml::BStr;
using msxml::check;
using msxml::fail;
using msxml::Node;

namespace {

using NodeList = msxml::ComPtr<IXMLDOMNodeList>;

// Whether both are the same object.
bool isSame(const msxml::ComPtr<IXMLDOMDocument2>& one, const msxml::ComPtr<IXMLDOMDocument>& other) {
    return one.as<IUnknown>().get() == other.as<IUnknown>().get();
}

bool areElements(const NodeList& nodes) {
    LONG count = 0;
    check(nodes->get_length(&count), nodes);
    for (LONG i = 0; i < count; ++i) {
        Node node;
        check(nodes->get_item(i, node.receive()), nodes);
        if (msxml::typeOf(node) != NODE_ELEMENT) return false;
    }
    return true;
}

}  // namespace

bool MSDOMXml::setPrefix(const KelString& prefix, const KelString& uri) {
    return msxml::atBorder([&] {
        const std::u16string name(prefix.view());
        if (!msxml::isUnprefixedName(name) || name == u"xml" || name == u"xmlns" || !document_) return false;
        auto prefixes = prefixes_;
        if (uri.isEmpty()) {
            prefixes.erase(name);
        } else {
            prefixes[name] = std::u16string(uri.view());
        }
        std::u16string declarations;
        for (const auto& [declared, value] : prefixes)
            declarations.append(u"xmlns:")
                .append(declared)
                .append(u"=\"")
                .append(msxml::escapedValue(value))
                .append(u"\" ");
        const BStr property(u"SelectionNamespaces");
        const msxml::Variant text(declarations);
        if (FAILED(document_->setProperty(property.get(), text.get()))) return false;
        prefixes_ = std::move(prefixes);
        return true;
    });
}

// Runs `use` with the node that the expression starts at. Reports what the engine rejects.
template <typename Use>
bool MSDOMXml::evaluateAt(const KelString& expression, IKelDOMXmlElement* context, Use&& use) {
    error_.clear();
    if (!document_) return fail(error_, kNoDocument, "Error while reading Xml : No DOM Object");
    return msxml::atBorder([&] {
        Node contextNode = document_;
        if (context != nullptr) {
            const auto* const ours = kel::queryInterface<MSDOMXmlElement>(context);
            msxml::ComPtr<IXMLDOMDocument> owner;
            if (ours != nullptr)
                check(ours->engineElement()->get_ownerDocument(owner.receive()), ours->engineElement());
            if (ours == nullptr || !isSame(document_, owner))
                return fail(error_, kInvalidElement, "Invalid Element Type");
            contextNode = ours->engineElement();
        }
        try {
            return use(contextNode, BStr(expression.view()));
        } catch (const _com_error& error) {
            if (error.Error() == E_OUTOFMEMORY) throw;
            const KelString reason = msxml::descriptionOf(error);
            error_.setDetails({0, msxml::expressionColumn(document_)}, reason);
            return fail(error_, kBadExpression, "Error in expression %1 : %2", expression, reason);
        }
    });
}

IKelDOMXmlElementItrV2* MSDOMXml::select(const KelString& expression, IKelDOMXmlElement* context) {
    IKelDOMXmlElementItrV2* result = nullptr;
    (void)evaluateAt(expression, context, [&](const Node& contextNode, const BStr& text) {
        NodeList nodes;
        check(contextNode->selectNodes(text.get(), nodes.receive()), contextNode);
        if (!areElements(nodes)) {
            return fail(error_, kNotElements,
                        "Error in expression %1 : It selects nodes that are not elements", expression);
        }
        result = MSDOMXmlElementItrV2::overList(std::move(nodes));
        return true;
    });
    return result;
}

IKelDOMXmlNodeItr* MSDOMXml::selectNodes(const KelString& expression, IKelDOMXmlElement* context) {
    IKelDOMXmlNodeItr* result = nullptr;
    (void)evaluateAt(expression, context, [&](const Node& contextNode, const BStr& text) {
        NodeList nodes;
        check(contextNode->selectNodes(text.get(), nodes.receive()), contextNode);
        result = MSDOMXmlNodeItr::create(std::move(nodes));
        return true;
    });
    return result;
}

IKelDOMXmlElementV2* MSDOMXml::selectFirst(const KelString& expression, IKelDOMXmlElement* context) {
    IKelDOMXmlElementV2* result = nullptr;
    (void)evaluateAt(expression, context, [&](const Node& contextNode, const BStr& text) {
        Node node;
        check(contextNode->selectSingleNode(text.get(), node.receive()), contextNode);
        if (!node) return true;
        if (msxml::typeOf(node) != NODE_ELEMENT) {
            return fail(error_, kNotElements,
                        "Error in expression %1 : It selects nodes that are not elements", expression);
        }
        result = MSDOMXmlElement::create(node.as<IXMLDOMElement>());
        if (result == nullptr) throw _com_error(E_OUTOFMEMORY);
        return true;
    });
    return result;
}

bool MSDOMXml::evaluateText(const KelString& expression, IKelDOMXmlElement* context, KelString& out) {
    return evaluateAt(expression, context, [&](const Node& contextNode, const BStr& text) {
        BStr value;
        msxml::evaluate(document_, contextNode, text, value);
        msxml::assign(out, value.view());
        return true;
    });
}

bool MSDOMXml::evaluateNumber(const KelString& expression, IKelDOMXmlElement* context, double& out) {
    return evaluateAt(expression, context, [&](const Node& contextNode, const BStr& text) {
        msxml::evaluate(document_, contextNode, text, out);
        return true;
    });
}

bool MSDOMXml::evaluateTruth(const KelString& expression, IKelDOMXmlElement* context, bool& out) {
    return evaluateAt(expression, context, [&](const Node& contextNode, const BStr& text) {
        msxml::evaluate(document_, contextNode, text, out);
        return true;
    });
}
