#include <stdexcept>
#include <string>
#include <xercesc/dom/DOM.hpp>
#include <xercesc/framework/LocalFileFormatTarget.hpp>
#include <xercesc/parsers/XercesDOMParser.hpp>
#include <xercesc/sax/HandlerBase.hpp>
#include <xercesc/util/PlatformUtils.hpp>
#include <xercesc/util/XMLString.hpp>

#include "bench/trees.h"

namespace bench {
namespace {

namespace xc = xercesc;

static_assert(sizeof(XMLCh) == sizeof(char16_t));

std::u16string_view view(const XMLCh* text) {
    return text == nullptr ? std::u16string_view()
                           : std::u16string_view(reinterpret_cast<const char16_t*>(text));
}

// The texts are UTF-16 already; they are copied as those of the others are.
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
    explicit XercesTree(const std::string& path) {
        parser_.setValidationScheme(xc::XercesDOMParser::Val_Never);
        parser_.setDoNamespaces(true);
        parser_.setDoSchema(false);
        parser_.setLoadExternalDTD(false);
        parser_.setCreateEntityReferenceNodes(false);
        xc::HandlerBase refuse;  // its defaults throw at the first fatal error
        parser_.setErrorHandler(&refuse);
        try {
            parser_.parse(path.c_str());
        } catch (const xc::SAXException&) {
            throw std::runtime_error("Xerces-C refuses " + path);
        } catch (const xc::XMLException&) {
            throw std::runtime_error("Xerces-C cannot read " + path);
        }
        parser_.setErrorHandler(nullptr);
    }

    void walk(CountingSink& sink) override { Walker(sink).walk(parser_.getDocument()->getDocumentElement()); }
    void walk(DigestSink& sink) override { Walker(sink).walk(parser_.getDocument()->getDocumentElement()); }

    std::uint64_t saveToMemory() override {
        XMLCh* text = serialiser().writeToString(parser_.getDocument());
        const std::uint64_t length = xc::XMLString::stringLen(text);
        xc::XMLString::release(&text);
        return length;
    }

    void saveToFile(const std::string& path) override {
        xc::LocalFileFormatTarget target(path.c_str());
        xc::DOMLSOutput* const output = implementation().createLSOutput();
        output->setByteStream(&target);
        const bool written = serialiser().write(parser_.getDocument(), output);
        output->release();
        if (!written) throw std::runtime_error("Xerces-C cannot write " + path);
    }

private:
    static xc::DOMImplementationLS& implementation() { return *xc::DOMImplementation::getImplementation(); }

    static xc::DOMLSSerializer& serialiser() {
        static xc::DOMLSSerializer* const serialiser = [] {
            xc::DOMLSSerializer* const made = implementation().createLSSerializer();
            made->getDomConfig()->setParameter(xc::XMLUni::fgDOMWRTFormatPrettyPrint, true);
            return made;
        }();
        return *serialiser;
    }

    xc::XercesDOMParser parser_;
};

class XercesTrees final : public TreeLibrary {
public:
    XercesTrees() { xc::XMLPlatformUtils::Initialize(); }
    [[nodiscard]] std::string_view name() const override { return "xerces-c"; }
    [[nodiscard]] std::unique_ptr<Tree> load(const std::string& path) const override {
        return std::make_unique<XercesTree>(path);
    }
};

}  // namespace

const TreeLibrary& xercesTrees() {
    static const XercesTrees library;
    return library;
}

}  // namespace bench
