// Writing a document through what this platform's engine has: its own `save`, which takes encoding and
// declaration from an instruction "xml", and lays nothing out. So whatever is to be different from the
// document as it stands is changed in a copy.
#include <algorithm>
#include <string>
#include <vector>

#include "msxml_parser/detail/enginespecific.h"
#include "msxml_parser/detail/text.h"

namespace msxml {

namespace {

constexpr std::size_t kIndentedLevels = 100;  // as our own engine has it

using Document = ComPtr<IXMLDOMDocument2>;
using Declaration = WriteSettings::Declaration;

Node instructionOf(const Document& document) {
    for (Node child = firstChildOf(document); child; child = nextSiblingOf(child)) {
        if (typeOf(child) == NODE_ELEMENT) break;
        BStr name;
        check(child->get_nodeName(name.receive()), child);
        if (typeOf(child) == NODE_PROCESSING_INSTRUCTION && name.view() == u"xml") return child;
    }
    return {};
}

// The value of a part of a declaration; empty if it has none.
std::u16string partOf(std::u16string_view data, std::u16string_view name) {
    const std::size_t at = data.find(name);
    const std::size_t quote = at == data.npos ? data.npos : data.find_first_of(u"\"'", at);
    if (quote == data.npos) return {};
    const std::size_t end = data.find(data[quote], quote + 1);
    return end == data.npos ? std::u16string() : std::u16string(data.substr(quote + 1, end - quote - 1));
}

void declare(const Document& document, const WriteSettings& settings) {
    const Node old = instructionOf(document);
    BStr data;
    Node removed;
    if (old) {
        check(old->get_text(data.receive()), old);
        check(document->removeChild(old.get(), removed.receive()), document);
    }
    const bool isText = settings.declaration == Declaration::WithoutEncoding;
    if (settings.declaration == Declaration::Never || (isText && !old)) return;
    const std::u16string version = partOf(data.view(), u"version");
    const std::u16string standalone = partOf(data.view(), u"standalone");
    std::u16string parts = u"version=\"" + (version.empty() ? u"1.0" : version) + u'"';
    if (!isText) parts += u" encoding=\"" + settings.encoding + u'"';
    if (!standalone.empty()) parts += u" standalone=\"" + standalone + u'"';
    ComPtr<IXMLDOMProcessingInstruction> made;
    const BStr target(u"xml");
    const BStr content(parts);
    check(document->createProcessingInstruction(target.get(), content.get(), made.receive()), document);
    const Variant before(firstChildOf(document).get());
    Node added;
    check(document->insertBefore(made.get(), before.get(), added.receive()), document);
}

struct Layout {
    bool indents = false;
    bool isFixed = false;  // mixed content, or inside it
    bool preserves = false;
};

Layout layoutOf(const Element& element, Layout layout) {
    const BStr name(u"xml:space");
    Variant space;
    check(element->getAttribute(name.get(), space.receive()), element);
    if (space.text() == u"preserve" || space.text() == u"default")
        layout.preserves = space.text() == u"preserve";
    layout.indents = false;
    if (layout.isFixed) return layout;
    bool hasElements = false;
    for (Node child = firstChildOf(element); child; child = nextSiblingOf(child)) {
        const DOMNodeType type = typeOf(child);
        hasElements = hasElements || type == NODE_ELEMENT;
        layout.isFixed = layout.isFixed || type == NODE_TEXT || type == NODE_CDATA_SECTION;
    }
    layout.indents = hasElements && !layout.isFixed && !layout.preserves;
    return layout;
}

// A new line before `next`; an empty one means the end.
void breakLine(const Document& document, const Element& parent, const Node& next,
               const std::u16string& indentUnit, std::size_t depth) {
    std::u16string line = u"\n";
    for (std::size_t level = std::min(depth, kIndentedLevels); level != 0; --level) line += indentUnit;
    const BStr text(line);
    ComPtr<IXMLDOMText> made;
    check(document->createTextNode(text.get(), made.receive()), document);
    const Variant before(next.get());
    Node added;
    check(parent->insertBefore(made.get(), before.get(), added.receive()), parent);
}

void indent(const Document& document, const std::u16string& indentUnit) {
    struct Open {
        Element element;
        Layout layout;
        Node next;  // the child to go on with
    };
    Element root;
    check(document->get_documentElement(root.receive()), document);
    if (!root) return;
    std::vector<Open> open;
    open.push_back({root, layoutOf(root, {}), firstChildOf(root)});
    while (!open.empty()) {
        Open& top = open.back();
        if (!top.next) {
            if (top.layout.indents) breakLine(document, top.element, {}, indentUnit, open.size() - 1);
            open.pop_back();
            continue;
        }
        const Node child = top.next;
        top.next = nextSiblingOf(child);
        if (top.layout.indents) breakLine(document, top.element, child, indentUnit, open.size());
        if (const Element element = child.as<IXMLDOMElement>())
            open.push_back({element, layoutOf(element, top.layout), firstChildOf(element)});
    }
}

}  // namespace

void writeDocument(const Document& document, IStream& stream, const WriteSettings& settings) {
    VARIANT target;
    VariantInit(&target);
    target.vt = VT_UNKNOWN;
    target.punkVal = &stream;  // borrowed, never cleared
    const bool isAsItIs = settings.declaration == Declaration::AsLoaded && settings.encoding.empty();
    if (isAsItIs && !settings.indent) return check(document->save(target), document);
    Node copy;
    check(document->cloneNode(VARIANT_TRUE, copy.receive()), document);
    const Document changed = copy.as<IXMLDOMDocument2>();
    check(changed->put_preserveWhiteSpace(VARIANT_TRUE), changed);
    if (!isAsItIs) declare(changed, settings);
    if (settings.indent) indent(changed, settings.indentUnit);
    check(changed->save(target), changed);
}

}  // namespace msxml
