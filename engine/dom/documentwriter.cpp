// A walk over the links of the tree. A start tag is left open until it is known whether anything stands in
// the element, so that an element without content is one tag.
#include "engine/dom/documentwriter.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "engine/com/status.h"
#include "engine/source/encoder.h"
#include "engine/text/chars.h"
#include "engine/text/worded.h"

namespace engine::dom {

namespace {

using com::Exception;
using source::Encoder;
using text::decodeAt;
using text::Decoded;
using text::isSpace;
using text::worded;
using Declaration = WriteSettings::Declaration;

constexpr std::size_t kBufferInBytes = std::size_t{64} << 10;
constexpr std::size_t kIndentedLevels = 100;

// What a byte asks for, in texts, in values of attributes, and where nothing is escaped.
enum : std::uint8_t { kEscapeInText = 1, kEscapeInValue = 2, kSuspect = 4, kReturn = 8, kNonAscii = 16 };

constexpr std::array<std::uint8_t, 256> makeClasses() {
    std::array<std::uint8_t, 256> classes{};
    for (std::size_t c = 0; c < 0x20; ++c) classes[c] = kSuspect;
    classes['\t'] = classes['\n'] = kEscapeInValue;
    classes['\r'] = kEscapeInText | kEscapeInValue | kReturn;
    classes['&'] = classes['<'] = kEscapeInText | kEscapeInValue;
    classes['>'] = kEscapeInText;
    classes['"'] = kEscapeInValue;
    for (std::size_t c = 0x80; c < 0x100; ++c) classes[c] = kNonAscii;
    classes[0xED] = classes[0xEF] = kNonAscii | kSuspect;  // surrogates; U+FFFE and U+FFFF
    return classes;
}
constexpr std::array<std::uint8_t, 256> kClasses = makeClasses();

std::uint8_t classOfByte(char c) noexcept {
    return kClasses[static_cast<unsigned char>(c)];
}

std::string codePoint(char32_t c) {
    char text[16];
    std::snprintf(text, sizeof text, "U+%04X", static_cast<unsigned>(c));
    return text;
}

[[noreturn]] void reject(const std::string& why) {
    throw Exception(E_INVALIDARG, why);
}

// The value of a part of an XML declaration, whose data begins after the target; empty if it has none.
std::string_view partOf(std::string_view data, std::string_view name) {
    std::size_t at = data.find(name);
    while (at != data.npos && at != 0 && !isSpace(data[at - 1])) at = data.find(name, at + 1);
    if (at == data.npos) return {};
    const std::size_t quote = data.find_first_of("\"'", at);
    if (quote == data.npos) return {};
    const std::size_t end = data.find(data[quote], quote + 1);
    return end == data.npos ? std::string_view() : data.substr(quote + 1, end - quote - 1);
}

bool isNameOfEncoding(std::string_view name) {
    return name.find_first_not_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789._-") ==
           name.npos;
}

// UTF-8 on its way to the sink.
class Buffer final {
public:
    Buffer(ByteSink& sink, Encoder& encoder)
        : sink_(sink),
          encoder_(encoder.isUtf8() ? nullptr : &encoder),
          start_(new char[kBufferInBytes]),
          at_(start_.get()),
          end_(at_ + kBufferInBytes) {
        if (!encoder.mark().empty()) sink_.put(encoder.mark());
    }

    void put(char c) {
        if (at_ == end_) flush();
        *at_++ = c;
    }
    void put(std::string_view text) {
        if (text.size() > static_cast<std::size_t>(end_ - at_)) return putLong(text);
        std::memcpy(at_, text.data(), text.size());
        at_ += text.size();
    }
    void put(char c, std::size_t count) {
        for (; count != 0; --count) put(c);
    }
    void finish() {
        flush();
        if (encoder_ == nullptr) return;
        encoder_->finish(bytes_);
        if (!bytes_.empty()) sink_.put(bytes_);
    }

private:
    void putLong(std::string_view text) {
        while (!text.empty()) {
            if (at_ == end_) flush();
            const std::size_t now = std::min(text.size(), static_cast<std::size_t>(end_ - at_));
            std::memcpy(at_, text.data(), now);
            at_ += now;
            text.remove_prefix(now);
        }
    }
    // A character that is not complete stays for the next time.
    void flush() {
        const char* end = at_;
        if (encoder_ != nullptr && end != start_.get()) {
            while (end != start_.get() && (static_cast<unsigned char>(end[-1]) & 0xC0) == 0x80) --end;
            const auto lead = end == start_.get() ? '\0' : end[-1];
            const std::size_t have = static_cast<std::size_t>(at_ - end) + 1;
            const auto byte = static_cast<unsigned char>(lead);
            const std::size_t want = byte < 0x80 ? 1 : byte < 0xE0 ? 2 : byte < 0xF0 ? 3 : 4;
            end = have < want ? end - 1 : at_;
        }
        const std::string_view whole(start_.get(), static_cast<std::size_t>(end - start_.get()));
        if (encoder_ == nullptr) {
            if (!whole.empty()) sink_.put(whole);
        } else {
            encoder_->append(whole, bytes_);
            if (!bytes_.empty()) sink_.put(bytes_);
            bytes_.clear();
        }
        const auto rest = static_cast<std::size_t>(at_ - end);
        std::memmove(start_.get(), end, rest);
        at_ = start_.get() + rest;
    }

    ByteSink& sink_;
    Encoder* encoder_;  // null: the bytes are what is written
    std::unique_ptr<char[]> start_;
    char* at_;
    char* end_;
    std::string bytes_;
};

// Which prefixes are declared where the walk stands.
class Prefixes final {
public:
    explicit Prefixes(const Tree& tree) : tree_(tree), counts_(tree.names().size() + 1) {}

    // A start tag; the flags are those of all its attributes' names together.
    void enter(NodeId element) {
        const std::uint32_t count = tree_.attributeCount(element);
        std::uint8_t flags = tree_.names().flags(tree_.nameId(element));
        bool declares = false;
        for (std::uint32_t i = 0; i < count; ++i) {
            const NameId name = tree_.attributeNameId(element, i);
            const std::uint8_t own = tree_.names().flags(name);
            flags |= own;
            if ((own & Names::kDeclaration) == 0) continue;
            if (const NameId prefix = tree_.names().prefix(name); prefix != tables::kNoName) {
                ++counts_[prefix];
                declares = true;
            }
        }
        if (declares) declaring_.push_back(element);
        if ((flags & Names::kPrefixed) != 0) check(element);
    }
    void leave(NodeId element) {
        if (declaring_.empty() || declaring_.back() != element) return;
        declaring_.pop_back();
        for (std::uint32_t i = 0; i < tree_.attributeCount(element); ++i) {
            const NameId name = tree_.attributeNameId(element, i);
            if ((tree_.names().flags(name) & Names::kDeclaration) == 0) continue;
            if (const NameId prefix = tree_.names().prefix(name); prefix != tables::kNoName)
                --counts_[prefix];
        }
    }

private:
    void check(NodeId element) const {
        checkName(tree_.nameId(element));
        for (std::uint32_t i = 0; i < tree_.attributeCount(element); ++i) {
            const NameId name = tree_.attributeNameId(element, i);
            if ((tree_.names().flags(name) & Names::kPrefixed) != 0) checkName(name);
        }
    }
    void checkName(NameId name) const {
        const NameId prefix = tree_.names().prefix(name);
        if (prefix == tables::kNoName || counts_[prefix] != 0 || tree_.names().text(prefix) == "xml") return;
        reject(worded("The prefix of '%1' is not declared on its element or around it.",
                      tree_.names().text(name)));
    }

    const Tree& tree_;
    std::vector<std::uint32_t> counts_;  // by prefix
    std::vector<NodeId> declaring_;      // the open elements that declare prefixes
};

class Writer final {
public:
    Writer(const Tree& tree, const WriteSettings& settings, std::string_view declaration, Encoder& encoder,
           std::string_view encodingName, ByteSink& sink)
        : tree_(tree),
          settings_(settings),
          declaration_(declaration),
          encoder_(encoder),
          encodingName_(encodingName),
          stops_(encoder.isUnicode() ? std::uint8_t{0} : std::uint8_t{kNonAscii}),
          out_(sink, encoder),
          prefixes_(tree) {}

    void write() {
        writeDeclaration();
        for (NodeId node = tree_.firstChild(kDocumentNode); node != kNoNode; node = tree_.nextSibling(node)) {
            if (tree_.kind(node) == NodeKind::ProcessingInstruction && tree_.name(node) == "xml") continue;
            writeSubtree(node);
            out_.put('\n');
        }
        out_.finish();
    }

private:
    // How the content of an open element is laid out.
    struct Layout {
        bool indents = false;    // each child on a line of its own
        bool isFixed = false;    // in mixed content: no white space is added further down
        bool preserves = false;  // xml:space
    };

    void writeDeclaration() {
        if (settings_.declaration == Declaration::Never) return;
        const bool isText = settings_.declaration == Declaration::WithoutEncoding;
        const bool isNeeded = !isText && (!settings_.encoding.empty() || !encoder_.isUtf8());
        if (declaration_.empty() && !isNeeded) return;
        const std::string_view declared = partOf(declaration_, "encoding");
        if (!isText && declared == encodingName_ && !declaration_.empty()) {
            out_.put("<?xml ");
            out_.put(declaration_);
        } else {
            const std::string_view version = partOf(declaration_, "version");
            const std::string_view standalone = partOf(declaration_, "standalone");
            out_.put("<?xml version=\"");
            out_.put(version.empty() ? "1.0" : version);
            if (!isText && (!declared.empty() || isNeeded)) {
                out_.put("\" encoding=\"");
                out_.put(encodingName_);
            }
            if (!standalone.empty()) {
                out_.put("\" standalone=\"");
                out_.put(standalone);
            }
            out_.put('"');
        }
        out_.put("?>\n");
    }

    void writeSubtree(NodeId root) {
        NodeId at = root;
        while (true) {
            beforeChild();
            open(at);
            if (tree_.firstChild(at) != kNoNode && tree_.kind(at) == NodeKind::Element) {
                if (settings_.indent) layouts_.push_back(layoutOf(at));
                at = tree_.firstChild(at);
                continue;
            }
            if (tree_.kind(at) == NodeKind::Element) close(at);
            while (at != root && tree_.nextSibling(at) == kNoNode) {
                at = tree_.parent(at);
                if (settings_.indent) leaveLayout();
                close(at);
            }
            if (at == root) return;
            at = tree_.nextSibling(at);
        }
    }

    void leaveLayout() {
        const Layout layout = layouts_.back();
        layouts_.pop_back();
        if (layout.indents) breakLine();
    }

    [[nodiscard]] Layout layoutOf(NodeId element) const {
        Layout layout = layouts_.empty() ? Layout() : layouts_.back();
        layout.indents = false;
        if (const auto space = tree_.findAttribute(element, "xml:space")) {
            const std::string_view value = tree_.attribute(element, *space).value;
            if (value == "preserve" || value == "default") layout.preserves = value == "preserve";
        }
        if (layout.isFixed) return layout;
        bool hasElements = false;
        for (NodeId child = tree_.firstChild(element); child != kNoNode; child = tree_.nextSibling(child)) {
            const NodeKind kind = tree_.kind(child);
            hasElements = hasElements || kind == NodeKind::Element;
            layout.isFixed = layout.isFixed || kind == NodeKind::Text || kind == NodeKind::CData;
        }
        layout.indents = hasElements && !layout.isFixed && !layout.preserves;
        return layout;
    }

    void beforeChild() {
        if (!layouts_.empty() && layouts_.back().indents) breakLine();
    }
    void breakLine() {
        endTag();
        out_.put('\n');
        // Deeper levels do not begin further right: the spaces of a deep document would outgrow it by far.
        const std::size_t level = std::min(layouts_.size(), kIndentedLevels);
        out_.put(settings_.indentBy, level * settings_.indentCount);
    }

    // The start tag that still lacks its end gets it: something stands in the element.
    void endTag() {
        if (!isOpen_) return;
        out_.put('>');
        isOpen_ = false;
    }

    void open(NodeId node) {
        const std::string_view content = tree_.content(node);
        switch (tree_.kind(node)) {
            case NodeKind::Element:
                endTag();
                openElement(node);
                break;
            case NodeKind::Text:
                if (content.empty()) break;
                endTag();
                writeEscaped(node, content, kEscapeInText);
                break;
            case NodeKind::CData:
                endTag();
                writeCData(node, content);
                break;
            case NodeKind::Comment:
                endTag();
                out_.put("<!--");
                writePlain(node, content);
                out_.put("-->");
                break;
            case NodeKind::ProcessingInstruction:
                endTag();
                out_.put("<?");
                writePlain(node, tree_.name(node));
                if (!content.empty()) out_.put(' ');
                writePlain(node, content);
                out_.put("?>");
                break;
            default:  // the DOCTYPE
                writePlain(node, content);
                break;
        }
    }

    void openElement(NodeId element) {
        prefixes_.enter(element);
        out_.put('<');
        writeName(element, tree_.name(element));
        for (std::uint32_t i = 0; i < tree_.attributeCount(element); ++i) {
            const AttributeView attribute = tree_.attribute(element, i);
            out_.put(' ');
            writeName(element, attribute.name);
            out_.put("=\"");
            writeEscaped(element, attribute.value, kEscapeInValue);
            out_.put('"');
        }
        isOpen_ = true;
    }

    void close(NodeId element) {
        prefixes_.leave(element);
        if (isOpen_) {
            out_.put("/>");
            isOpen_ = false;
            return;
        }
        out_.put("</");
        out_.put(tree_.name(element));
        out_.put('>');
    }

    void writeName(NodeId node, std::string_view name) {
        if (encoder_.isUnicode()) return out_.put(name);
        writePlain(node, name);
    }

    // `escaped`: the class of bytes that stand for markup here.
    void writeEscaped(NodeId node, std::string_view text, std::uint8_t escaped) {
        const auto stops = static_cast<std::uint8_t>(escaped | kSuspect | stops_);
        const char* at = text.data();
        const char* const end = at + text.size();
        while (true) {
            const char* const run = at;
            while (at != end && (classOfByte(*at) & stops) == 0) ++at;
            out_.put({run, static_cast<std::size_t>(at - run)});
            if (at == end) return;
            at = writeStop(node, at, end, escaped);
        }
    }

    const char* writeStop(NodeId node, const char* at, const char* end, std::uint8_t escaped) {
        switch ((classOfByte(*at) & escaped) == 0 ? '\0' : *at) {
            case '&':
                return out_.put("&amp;"), at + 1;
            case '<':
                return out_.put("&lt;"), at + 1;
            case '>':
                return out_.put("&gt;"), at + 1;
            case '"':
                return out_.put("&quot;"), at + 1;
            case '\t':
            case '\n':
            case '\r':
                return writeReference(static_cast<char32_t>(*at)), at + 1;
            default:
                break;
        }
        const Decoded next = checked(node, at, end);
        if (isWritable(next.character)) {
            out_.put({at, next.length});
        } else {
            writeReference(next.character);
        }
        return at + next.length;
    }

    // Sections that must be interrupted for a reference end before it and go on after it.
    void writeCData(NodeId node, std::string_view text) {
        out_.put("<![CDATA[");
        const char* at = text.data();
        const char* const end = at + text.size();
        const auto stops = static_cast<std::uint8_t>(kReturn | kSuspect | stops_);
        while (true) {
            const char* const run = at;
            while (at != end && (classOfByte(*at) & stops) == 0) ++at;
            out_.put({run, static_cast<std::size_t>(at - run)});
            if (at == end) break;
            const Decoded next = checked(node, at, end);
            if (next.character != '\r' && isWritable(next.character)) {
                out_.put({at, next.length});
            } else {
                out_.put("]]>");
                writeReference(next.character);
                out_.put("<![CDATA[");
            }
            at += next.length;
        }
        out_.put("]]>");
    }

    // Where no reference can stand.
    void writePlain(NodeId node, std::string_view text) {
        const char* at = text.data();
        const char* const end = at + text.size();
        const auto stops = static_cast<std::uint8_t>(kReturn | kSuspect | stops_);
        while (at != end) {
            if ((classOfByte(*at) & stops) == 0) {
                ++at;
                continue;
            }
            const Decoded next = checked(node, at, end);
            if (next.character == '\r' || !isWritable(next.character)) {
                reject(worded("%1 cannot be written in %2 here, and %3 cannot contain a reference to it.",
                              codePoint(next.character), encodingName_, describe(node)));
            }
            at += next.length;
        }
        out_.put(text);
    }

    [[nodiscard]] bool isWritable(char32_t c) { return c < 0x80 || encoder_.isUnicode() || encoder_.has(c); }

    // A character that XML knows.
    [[nodiscard]] Decoded checked(NodeId node, const char* at, const char* end) const {
        Decoded next = decodeAt(at);
        next.length = std::min(next.length, static_cast<std::size_t>(end - at));
        if (!text::isXmlCharacter(next.character)) {
            reject(worded("The text of %1 contains %2, which an XML document cannot contain.", describe(node),
                          codePoint(next.character)));
        }
        return next;
    }

    void writeReference(char32_t c) {
        char text[16];
        const int length = std::snprintf(text, sizeof text, "&#%u;", static_cast<unsigned>(c));
        out_.put({text, static_cast<std::size_t>(length)});
    }

    [[nodiscard]] std::string describe(NodeId node) const {
        switch (tree_.kind(node)) {
            case NodeKind::Element:
                return worded("the element '%1'", tree_.name(node));
            case NodeKind::Text:
            case NodeKind::CData:
                return tree_.parent(node) == kNoNode ? worded("a text") : describe(tree_.parent(node));
            case NodeKind::ProcessingInstruction:
                return worded("the processing instruction '%1'", tree_.name(node));
            case NodeKind::Comment:
                return worded("a comment");
            default:
                return worded("the DOCTYPE");
        }
    }

    const Tree& tree_;
    const WriteSettings& settings_;
    std::string_view declaration_;
    Encoder& encoder_;
    std::string_view encodingName_;
    std::uint8_t stops_;  // kNonAscii where not every character can be written
    Buffer out_;
    Prefixes prefixes_;
    bool isOpen_ = false;          // a start tag lacks its end
    std::vector<Layout> layouts_;  // of the open elements, if they are indented
};

// What an instruction "xml" of the document says, or what its source begins with.
std::string_view declarationOf(const Tree& tree) {
    for (NodeId at = tree.firstChild(kDocumentNode); at != kNoNode; at = tree.nextSibling(at)) {
        if (tree.kind(at) == NodeKind::ProcessingInstruction && tree.name(at) == "xml")
            return tree.content(at);
    }
    constexpr std::string_view kStart = "<?xml";
    const std::string_view source = tree.source();
    if (!source.starts_with(kStart) || source.size() == kStart.size() || !isSpace(source[kStart.size()]))
        return {};
    std::string_view data = source.substr(0, source.find("?>")).substr(kStart.size());
    while (!data.empty() && isSpace(data.front())) data.remove_prefix(1);
    while (!data.empty() && isSpace(data.back())) data.remove_suffix(1);
    return data;
}

}  // namespace

void writeDocument(const Tree& tree, const WriteSettings& settings, ByteSink& sink) {
    const std::string_view declaration = declarationOf(tree);
    std::string_view name = settings.encoding;
    if (settings.declaration == Declaration::WithoutEncoding || name.empty()) {
        name = partOf(declaration, "encoding");
        if (settings.declaration == Declaration::WithoutEncoding || name.empty()) name = "UTF-8";
    }
    const std::unique_ptr<Encoder> encoder = isNameOfEncoding(name) ? Encoder::create(name) : nullptr;
    if (encoder == nullptr) reject(worded("The encoding '%1' is not known.", name));
    if (settings.declaration == Declaration::Never && !encoder->isUtf8() && encoder->mark().empty()) {
        reject(worded("A document in the encoding '%1' needs an XML declaration.", name));
    }
    Writer(tree, settings, declaration, *encoder, name, sink).write();
}

}  // namespace engine::dom
