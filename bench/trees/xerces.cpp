#include <stdexcept>
#include <string>
#include <vector>
#include <xercesc/dom/DOM.hpp>
#include <xercesc/framework/LocalFileFormatTarget.hpp>
#include <xercesc/framework/LocalFileInputSource.hpp>
#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/parsers/XercesDOMParser.hpp>
#include <xercesc/sax/HandlerBase.hpp>
#include <xercesc/util/PlatformUtils.hpp>
#include <xercesc/util/XMLString.hpp>

#include "bench/trees.h"
#include "bench/utf16.h"

namespace bench {
namespace {

namespace xc = xercesc;

static_assert(sizeof(XMLCh) == sizeof(char16_t));

std::u16string_view view(const XMLCh* text) {
    return text == nullptr ? std::u16string_view()
                           : std::u16string_view(reinterpret_cast<const char16_t*>(text));
}

// The texts are UTF-16 already; they are copied as those of the others are.
const XMLCh* chars(const std::u16string& text) {
    return reinterpret_cast<const XMLCh*>(text.c_str());
}

const XMLCh* chars(const char16_t* text) {
    return reinterpret_cast<const XMLCh*>(text);
}

using Texts = std::vector<std::u16string>;

Texts toUtf16(const std::array<std::string, kPlanValues>& values) {
    Texts texts(values.size());
    for (std::size_t i = 0; i < values.size(); ++i) appendUtf16(values[i], texts[i]);
    return texts;
}

template <class Sink>
class Walker {
public:
    explicit Walker(Sink& sink) : sink_(sink) {}

    void walk(xc::DOMElement* root) {
        xc::DOMElement* element = root;
        while (element != nullptr) {
            visit(*element);
            element = following(element, root);
        }
    }

private:
    void visit(xc::DOMElement& element) {
        name_ = view(element.getTagName());
        sink_.element(name_);
        const xc::DOMNamedNodeMap& attributes = *element.getAttributes();
        for (XMLSize_t i = 0; i < attributes.getLength(); ++i) {
            const xc::DOMNode& attribute = *attributes.item(i);
            name_ = view(attribute.getNodeName());
            value_ = view(attribute.getNodeValue());
            sink_.attribute(name_, value_);
        }
        value_.clear();
        for (const xc::DOMNode* child = element.getFirstChild(); child != nullptr;
             child = child->getNextSibling()) {
            if (child->getNodeType() == xc::DOMNode::TEXT_NODE) value_ += view(child->getNodeValue());
        }
        sink_.text(value_);
    }

    static xc::DOMElement* following(xc::DOMElement* element, const xc::DOMElement* root) {
        if (xc::DOMElement* const child = element->getFirstElementChild()) return child;
        while (element != root) {
            if (xc::DOMElement* const next = element->getNextElementSibling()) return next;
            element = static_cast<xc::DOMElement*>(element->getParentNode());
        }
        return nullptr;
    }

    Sink& sink_;
    std::u16string name_;
    std::u16string value_;
};

class XercesTree final : public Tree {
public:
    explicit XercesTree(const xc::InputSource& source) {
        parser_.setValidationScheme(xc::XercesDOMParser::Val_Never);
        parser_.setDoNamespaces(true);
        parser_.setDoSchema(false);
        parser_.setLoadExternalDTD(false);
        parser_.setCreateEntityReferenceNodes(false);
        xc::HandlerBase reject;  // its defaults throw at the first fatal error
        parser_.setErrorHandler(&reject);
        try {
            parser_.parse(source);
        } catch (const xc::SAXException&) {
            throw std::runtime_error("Xerces-C rejects the document");
        } catch (const xc::XMLException&) {
            throw std::runtime_error("Xerces-C cannot read the document");
        }
        parser_.setErrorHandler(nullptr);
        document_ = parser_.getDocument();
    }
    explicit XercesTree(xc::DOMDocument* built) : built_(built), document_(built) {}
    XercesTree(const XercesTree&) = delete;
    XercesTree& operator=(const XercesTree&) = delete;
    ~XercesTree() override {
        if (built_ != nullptr) built_->release();
    }

    void walk(CountingSink& sink) override { Walker(sink).walk(document_->getDocumentElement()); }
    void walk(DigestSink& sink) override { Walker(sink).walk(document_->getDocumentElement()); }

    std::uint64_t saveToMemory() override {
        XMLCh* text = serialiser().writeToString(document_);
        const std::uint64_t length = xc::XMLString::stringLen(text);
        xc::XMLString::release(&text);
        return length;
    }

    void saveToFile(const std::string& path) override {
        xc::LocalFileFormatTarget target(path.c_str());
        xc::DOMLSOutput* const output = implementation().createLSOutput();
        output->setByteStream(&target);
        const bool written = serialiser().write(document_, output);
        output->release();
        if (!written) throw std::runtime_error("Xerces-C cannot write " + path);
    }

    std::function<void(std::size_t)> editor(const Plan& plan) override {
        std::vector<xc::DOMElement*> elements;
        for (xc::DOMElement* child = document_->getDocumentElement()->getFirstElementChild();
             child != nullptr; child = child->getNextElementSibling())
            elements.push_back(child);
        return [elements, texts = toUtf16(plan.texts)](std::size_t shift) {
            for (std::size_t i = 0; i < elements.size(); ++i)
                elements[i]->getFirstChild()->setNodeValue(chars(texts[(i + shift) % kPlanValues]));
        };
    }

    static xc::DOMImplementation& implementation() { return *xc::DOMImplementation::getImplementation(); }

private:
    static xc::DOMLSSerializer& serialiser() {
        static xc::DOMLSSerializer* const serialiser = [] {
            xc::DOMLSSerializer* const made = implementation().createLSSerializer();
            made->getDomConfig()->setParameter(xc::XMLUni::fgDOMWRTFormatPrettyPrint, true);
            return made;
        }();
        return *serialiser;
    }

    xc::XercesDOMParser parser_;
    xc::DOMDocument* built_ = nullptr;  // ours to release; null where the parser has the document
    xc::DOMDocument* document_ = nullptr;
};

class XercesTrees final : public TreeLibrary {
public:
    XercesTrees() { xc::XMLPlatformUtils::Initialize(); }
    [[nodiscard]] std::string_view name() const override { return "xerces-c"; }
    [[nodiscard]] std::unique_ptr<Tree> load(const std::string& path) const override {
        std::u16string units;
        appendUtf16(path, units);
        return std::make_unique<XercesTree>(xc::LocalFileInputSource(chars(units)));
    }
    [[nodiscard]] std::function<std::unique_ptr<Tree>()> loader(const std::string& text) const override {
        return [text]() -> std::unique_ptr<Tree> {
            return std::make_unique<XercesTree>(xc::MemBufInputSource(
                reinterpret_cast<const XMLByte*>(text.data()), text.size(), chars(u"text")));
        };
    }
    [[nodiscard]] std::unique_ptr<Tree> build(const Plan& plan) const override {
        const Texts ids = toUtf16(plan.ids);
        const Texts kinds = toUtf16(plan.kinds);
        const Texts texts = toUtf16(plan.texts);
        xc::DOMDocument* const document =
            XercesTree::implementation().createDocument(nullptr, chars(u"items"), nullptr);
        auto tree = std::make_unique<XercesTree>(document);
        xc::DOMElement* const root = document->getDocumentElement();
        for (std::uint64_t i = 0; i < plan.count; ++i) {
            xc::DOMElement* const child = document->createElement(chars(u"item"));
            child->setAttribute(chars(u"id"), chars(ids[i % kPlanValues]));
            child->setAttribute(chars(u"kind"), chars(kinds[i % kPlanValues]));
            child->appendChild(document->createTextNode(chars(texts[i % kPlanValues])));
            root->appendChild(child);
        }
        return tree;
    }
};

}  // namespace

const TreeLibrary& xercesTrees() {
    static const XercesTrees library;
    return library;
}

}  // namespace bench
