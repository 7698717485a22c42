#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xmlerror.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "bench/trees.h"
#include "bench/utf16.h"

namespace bench {
namespace {

// NOBLANKS: like us it then drops white space between elements. COMPACT favours it.
constexpr int kOptions = XML_PARSE_NOBLANKS | XML_PARSE_COMPACT | XML_PARSE_NONET | XML_PARSE_NOERROR |
                         XML_PARSE_NOWARNING | XML_PARSE_HUGE;

std::string_view view(const xmlChar* text) {
    return text == nullptr ? std::string_view() : std::string_view(reinterpret_cast<const char*>(text));
}

const xmlChar* chars(const char* text) {
    return reinterpret_cast<const xmlChar*>(text);
}

const xmlChar* chars(const std::string& text) {
    return chars(text.c_str());
}

template <class Sink>
class Walker {
public:
    explicit Walker(Sink& sink) : sink_(sink) {}

    void walk(const xmlNode* root) {
        for (const xmlNode* node = root; node != nullptr; node = following(node, root)) visit(*node);
    }

private:
    std::u16string_view qualified(const xmlNs* ns, const xmlChar* local) {
        name_.clear();
        if (ns != nullptr && ns->prefix != nullptr) {
            appendUtf16(view(ns->prefix), name_);
            name_ += u':';
        }
        appendUtf16(view(local), name_);
        return name_;
    }

    void visit(const xmlNode& element) {
        sink_.element(qualified(element.ns, element.name));
        for (const xmlNs* ns = element.nsDef; ns != nullptr; ns = ns->next) {
            name_ = ns->prefix == nullptr ? u"xmlns" : u"xmlns:";
            appendUtf16(view(ns->prefix), name_);
            sink_.attribute(name_, toUtf16(view(ns->href), value_));
        }
        for (const xmlAttr* a = element.properties; a != nullptr; a = a->next) {
            value_.clear();
            for (const xmlNode* part = a->children; part != nullptr; part = part->next)
                appendUtf16(view(part->content), value_);
            sink_.attribute(qualified(a->ns, a->name), value_);
        }
        value_.clear();
        for (const xmlNode* child = element.children; child != nullptr; child = child->next) {
            if (child->type == XML_TEXT_NODE) appendUtf16(view(child->content), value_);
        }
        sink_.text(value_);
    }

    static const xmlNode* element(const xmlNode* node) {
        while (node != nullptr && node->type != XML_ELEMENT_NODE) node = node->next;
        return node;
    }

    static const xmlNode* following(const xmlNode* node, const xmlNode* root) {
        if (const xmlNode* const child = element(node->children)) return child;
        for (; node != root; node = node->parent) {
            if (const xmlNode* const next = element(node->next)) return next;
        }
        return nullptr;
    }

    Sink& sink_;
    std::u16string name_;
    std::u16string value_;
};

class Libxml2Tree final : public Tree {
public:
    explicit Libxml2Tree(xmlDoc* document) : document_(document) {
        if (document_ == nullptr) throw std::runtime_error("libxml2 rejects the document");
    }
    Libxml2Tree(const Libxml2Tree&) = delete;
    Libxml2Tree& operator=(const Libxml2Tree&) = delete;
    ~Libxml2Tree() override { xmlFreeDoc(document_); }

    void walk(CountingSink& sink) override { Walker(sink).walk(xmlDocGetRootElement(document_)); }
    void walk(DigestSink& sink) override { Walker(sink).walk(xmlDocGetRootElement(document_)); }

    std::uint64_t saveToMemory() override {
        xmlChar* text = nullptr;
        int length = 0;
        xmlDocDumpFormatMemoryEnc(document_, &text, &length, "UTF-16LE", 1);
        if (text == nullptr) throw std::runtime_error("libxml2 cannot save");
        xmlFree(text);
        return static_cast<std::uint64_t>(length) / sizeof(char16_t);
    }

    void saveToFile(const std::string& path) override {
        if (xmlSaveFormatFileEnc(path.c_str(), document_, "UTF-8", 1) < 0)
            throw std::runtime_error("libxml2 cannot write " + path);
    }

    std::function<void(std::size_t)> editor(const Plan& plan) override {
        std::vector<xmlNode*> elements;
        for (xmlNode* child = xmlDocGetRootElement(document_)->children; child != nullptr;
             child = child->next)
            elements.push_back(child);
        // Of the text node, for that of the element is parsed for references.
        return [elements, texts = plan.texts](std::size_t shift) {
            for (std::size_t i = 0; i < elements.size(); ++i)
                xmlNodeSetContent(elements[i]->children, chars(texts[(i + shift) % kPlanValues]));
        };
    }

private:
    xmlDoc* document_;
};

class Libxml2Trees final : public TreeLibrary {
public:
    [[nodiscard]] std::string_view name() const override { return "libxml2"; }
    [[nodiscard]] std::unique_ptr<Tree> load(const std::string& path) const override {
        return std::make_unique<Libxml2Tree>(xmlReadFile(path.c_str(), nullptr, kOptions));
    }
    [[nodiscard]] std::function<std::unique_ptr<Tree>()> loader(const std::string& text) const override {
        return [text]() -> std::unique_ptr<Tree> {
            return std::make_unique<Libxml2Tree>(
                xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr, kOptions));
        };
    }
    [[nodiscard]] std::unique_ptr<Tree> build(const Plan& plan) const override {
        xmlDoc* const document = xmlNewDoc(chars("1.0"));
        auto tree = std::make_unique<Libxml2Tree>(document);
        xmlNode* const root = xmlNewDocNode(document, nullptr, chars("items"), nullptr);
        xmlDocSetRootElement(document, root);
        for (std::uint64_t i = 0; i < plan.count; ++i) {
            xmlNode* const child = xmlNewDocNode(document, nullptr, chars("item"), nullptr);
            xmlNewProp(child, chars("id"), chars(plan.ids[i % kPlanValues]));
            xmlNewProp(child, chars("kind"), chars(plan.kinds[i % kPlanValues]));
            xmlAddChild(child, xmlNewDocText(document, chars(plan.texts[i % kPlanValues])));
            xmlAddChild(root, child);
        }
        return tree;
    }
};

}  // namespace

const TreeLibrary& libxml2Trees() {
    static const Libxml2Trees library;
    return library;
}

}  // namespace bench
