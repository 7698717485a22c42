// A walk without recursion over libxml2's result tree. What is not a document (two elements, text beside the
// root) is reported before the first event.
#include "engine/xslt/resultevents.h"

#include <string>
#include <string_view>
#include <vector>

#include "engine/com/status.h"
#include "engine/text/worded.h"
#include "engine/xml2/handles.h"

namespace engine::xslt {

namespace {

using text::worded;
using xml2::view;

class Nowhere final : public reader::Locator {
public:
    [[nodiscard]] source::Position position() const override { return {}; }
};

bool isWhite(std::string_view text) {
    return text.find_first_not_of(" \t\r\n") == std::string_view::npos;
}

void checkTopLevel(const xmlDoc& result) {
    const xmlNode* root = nullptr;
    for (const xmlNode* node = result.children; node != nullptr; node = node->next) {
        if (node->type == XML_ELEMENT_NODE) {
            if (root != nullptr) {
                throw com::Exception(E_FAIL,
                                     worded("The result of the transformation is not a document: '%1' is "
                                            "a second element beside '%2'.",
                                            view(node->name), view(root->name)));
            }
            root = node;
        } else if (node->type == XML_TEXT_NODE && !isWhite(view(node->content))) {
            throw com::Exception(
                E_FAIL, worded("The result of the transformation is not a document: it has text outside its "
                               "elements."));
        }
    }
    if (root == nullptr) {
        throw com::Exception(
            E_FAIL, worded("The result of the transformation is not a document: it has no element."));
    }
}

class Sender final {
public:
    explicit Sender(reader::EventSink& sink) : sink_(sink) {}

    void send(const xmlDoc& result) {
        sink_.startDocument(nowhere_);
        const xmlNode* node = result.children;
        while (node != nullptr) {
            begin(*node);
            if (node->type == XML_ELEMENT_NODE && node->children != nullptr) {
                node = node->children;
                continue;
            }
            end(*node);
            while (node->next == nullptr && node->parent != nullptr &&
                   node->parent->type == XML_ELEMENT_NODE) {
                node = node->parent;
                end(*node);
            }
            node = node->next;
        }
        sink_.endDocument();
    }

private:
    void begin(const xmlNode& node) {
        switch (node.type) {
            case XML_ELEMENT_NODE:
                beginElement(node);
                break;
            case XML_TEXT_NODE:
                sink_.characters(view(node.content));
                break;
            case XML_CDATA_SECTION_NODE:
                sink_.startCData();
                sink_.characters(view(node.content));
                sink_.endCData();
                break;
            case XML_COMMENT_NODE:
                sink_.comment(view(node.content));
                break;
            case XML_PI_NODE:
                sink_.processingInstruction(view(node.name), view(node.content));
                break;
            default:
                break;  // the DOCTYPE that an output instruction asks for
        }
    }

    void end(const xmlNode& node) {
        if (node.type != XML_ELEMENT_NODE) return;
        sink_.endElement(qualified(node.ns, node.name, name_));
    }

    static std::string_view qualified(const xmlNs* ns, const xmlChar* local, std::string& store) {
        if (ns == nullptr || ns->prefix == nullptr) return view(local);
        store.assign(view(ns->prefix));
        store += ':';
        store += view(local);
        return store;
    }

    void beginElement(const xmlNode& node) {
        std::size_t used = 0;
        attributes_.clear();
        const auto store = [&]() -> std::string& {
            if (used == texts_.size()) texts_.emplace_back();
            return texts_[used++];
        };
        std::size_t count = 0;
        for (const xmlNs* ns = node.nsDef; ns != nullptr; ns = ns->next) ++count;
        for (const xmlAttr* at = node.properties; at != nullptr; at = at->next) count += 2;
        if (texts_.size() < count) texts_.resize(count);  // before views are taken
        for (const xmlNs* ns = node.nsDef; ns != nullptr; ns = ns->next) {
            std::string_view name = "xmlns";
            if (ns->prefix != nullptr) {
                std::string& text = store();
                text.assign("xmlns:");
                text += view(ns->prefix);
                name = text;
            }
            attributes_.push_back({name, view(ns->href)});
        }
        for (const xmlAttr* at = node.properties; at != nullptr; at = at->next) {
            const std::string_view name = qualified(at->ns, at->name, store());
            attributes_.push_back({name, valueOf(*at, store())});
        }
        sink_.startElement(qualified(node.ns, node.name, name_), attributes_);
    }

    static std::string_view valueOf(const xmlAttr& attribute, std::string& store) {
        const xmlNode* text = attribute.children;
        if (text == nullptr) return {};
        if (text->next == nullptr) return view(text->content);
        store.clear();
        for (; text != nullptr; text = text->next) store += view(text->content);
        return store;
    }

    reader::EventSink& sink_;
    Nowhere nowhere_;
    std::string name_;
    std::vector<std::string> texts_;  // names and values put together for one element
    std::vector<reader::Attribute> attributes_;
};

}  // namespace

void sendEvents(const xmlDoc& result, reader::EventSink& sink) {
    checkTopLevel(result);
    Sender(sink).send(result);
}

}  // namespace engine::xslt
