// `kelxml events`: the receiver counts and joins what the parser reports, and one of two writers shows it, as
// lines for people or as JSON.
#include <algorithm>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "host/text.h"
#include "tools/kelxml/documents/document.h"
#include "tools/kelxml/documents/elementpath.h"
#include "tools/kelxml/report/message.h"
#include "tools/kelxml/report/outputtext.h"
#include "tools/kelxml/verbs/verbs.h"

namespace kelxml {

namespace {

using Attributes = std::span<const KelSAXXmlAttribute>;
using Declarations = std::span<const KelSAXXmlDeclaration>;

// A longer text is reported in pieces: memory stays constant.
constexpr std::size_t kTextInUnits = std::size_t{1} << 20;

std::uint64_t countCharacters(std::u16string_view text) {
    std::uint64_t count = 0;
    for (const char16_t unit : text) count += (unit & 0xFC00) != 0xDC00 ? 1 : 0;  // a pair is one character
    return count;
}

// Counts what comes by, puts the pieces of texts together, and lets the two forms of the output show it.
class Reporter : public IKelSAXXmlHandlerV2 {
public:
    explicit Reporter(Output& output) : output_(output) {}
    virtual ~Reporter() = default;
    Reporter(const Reporter&) = delete;
    Reporter& operator=(const Reporter&) = delete;

    void startDocument() final {}
    void endDocument() final { flushText(); }
    void startElement(const KelSAXXmlName& name, Attributes attributes, Declarations declarations) final {
        flushText();
        ++elements_;
        attributes_ += attributes.size();
        ++open_;
        showStart(name, attributes, declarations);
    }
    void endElement(const KelSAXXmlName& name) final {
        flushText();
        --open_;
        showEnd(name);
    }
    void characters(std::u16string_view text) final {
        characters_ += countCharacters(text);
        text_ += text;
        if (text_.size() < kTextInUnits) return;
        const bool isSplit = (text_.back() & 0xFC00) == 0xD800;  // the other half of a pair is to come
        const char16_t half = text_.back();
        if (isSplit) text_.pop_back();
        flushText();
        if (isSplit) text_ += half;
    }
    void startCData() final {}
    void endCData() final {}
    void comment(std::u16string_view text) final {
        flushText();
        showComment(text);
    }
    void processingInstruction(std::u16string_view target, std::u16string_view data) final {
        flushText();
        showInstruction(target, data);
    }

    // Also of what was read before an error.
    [[nodiscard]] Diagnostic summary(const std::string& file) {
        flushText();
        return {Severity::Note, file,
                tr("elements %1, attributes %2, characters %3", std::to_string(elements_),
                   std::to_string(attributes_), std::to_string(characters_))};
    }

protected:
    virtual void showStart(const KelSAXXmlName& name, Attributes attributes, Declarations declarations) = 0;
    virtual void showEnd(const KelSAXXmlName& name) = 0;
    virtual void showText(std::u16string_view text) = 0;
    virtual void showComment(std::u16string_view text) = 0;
    virtual void showInstruction(std::u16string_view target, std::u16string_view data) = 0;

    [[nodiscard]] Output& output() noexcept { return output_; }
    [[nodiscard]] std::size_t open() const noexcept { return open_; }  // elements

private:
    void flushText() {
        if (text_.empty()) return;
        showText(text_);
        text_.clear();
    }

    Output& output_;
    std::u16string text_;
    std::uint64_t elements_ = 0;
    std::uint64_t attributes_ = 0;
    std::uint64_t characters_ = 0;
    std::size_t open_ = 0;
};

// One object a line, for programs; docs/events.schema.json describes it.
class JsonReporter final : public Reporter {
public:
    using Reporter::Reporter;

private:
    void showStart(const KelSAXXmlName& name, Attributes attributes, Declarations declarations) override {
        begin("start");
        member("name", name.qualified);
        if (!name.namespaceUri.empty()) member("namespace", name.namespaceUri);
        line_ += ",\"depth\":" + std::to_string(open() - 1) + ",\"attributes\":{";
        const char* separator = "";
        for (const KelSAXXmlAttribute& attribute : attributes) {
            line_ += separator;
            pair(attribute.name.qualified, attribute.value);
            separator = ",";
        }
        line_ += '}';
        if (!declarations.empty()) showDeclarations(declarations);
        end();
    }
    void showDeclarations(Declarations declarations) {
        line_ += ",\"declarations\":{";
        const char* separator = "";
        for (const KelSAXXmlDeclaration& declaration : declarations) {
            line_ += separator;
            pair(declaration.prefix, declaration.namespaceUri);
            separator = ",";
        }
        line_ += '}';
    }
    void showEnd(const KelSAXXmlName& name) override {
        begin("end");
        member("name", name.qualified);
        end();
    }
    void showText(std::u16string_view text) override {
        begin("text");
        member("text", text);
        end();
    }
    void showComment(std::u16string_view text) override {
        begin("comment");
        member("text", text);
        end();
    }
    void showInstruction(std::u16string_view target, std::u16string_view data) override {
        begin("instruction");
        member("target", target);
        member("data", data);
        end();
    }

    void begin(const char* event) { line_ = std::string("{\"event\":\"") + event + '"'; }
    void member(const char* name, std::u16string_view value) {
        line_ += std::string(",\"") + name + "\":";
        appendJsonString(line_, value);
    }
    void pair(std::u16string_view name, std::u16string_view value) {
        appendJsonString(line_, name);
        line_ += ':';
        appendJsonString(line_, value);
    }
    void end() {
        line_ += "}\n";
        output().writeBytes(line_);
    }

    std::string line_;
};

// Indented, for people.
class PlainReporter final : public Reporter {
public:
    using Reporter::Reporter;

private:
    static constexpr std::size_t kTextInCharacters = 60;
    static constexpr std::size_t kIndentedLevels = 40;

    void indent(std::size_t level) { output().write(std::string(2 * std::min(level, kIndentedLevels), ' ')); }
    void begin(std::size_t level, const char* label) {
        indent(level);
        output().write(label, Ink::Dim);
    }
    void attribute(const std::string& name, std::u16string_view value) {
        output().write(' ' + name + '=', Ink::Attribute);
        output().write('"' + oneLine(kel::toUtf8(value), kTextInCharacters) + '"');
    }

    void showStart(const KelSAXXmlName& name, Attributes attributes, Declarations declarations) override {
        begin(open() - 1, "start ");
        output().write(kel::toUtf8(name.qualified), Ink::Name);
        for (const KelSAXXmlDeclaration& each : declarations)
            attribute(each.prefix.empty() ? "xmlns" : "xmlns:" + kel::toUtf8(each.prefix), each.namespaceUri);
        for (const KelSAXXmlAttribute& each : attributes)
            attribute(kel::toUtf8(each.name.qualified), each.value);
        output().write("\n");
    }
    void showEnd(const KelSAXXmlName& name) override {
        begin(open(), "end   ");
        output().write(kel::toUtf8(name.qualified) + "\n");
    }
    void showText(std::u16string_view text) override {
        begin(open(), "text  ");
        output().write(excerpt(text, 0) + '\n', Ink::Text);
    }
    void showComment(std::u16string_view text) override {
        begin(open(), "note  ");
        output().write(excerpt(text, 0) + '\n', Ink::Dim);
    }
    void showInstruction(std::u16string_view target, std::u16string_view data) override {
        begin(open(), "instr ");
        output().write(kel::toUtf8(target), Ink::Name);
        output().write(' ' + excerpt(data, 0) + '\n');
    }
};

void read(IKelSAXXmlV3& reader, Source& source, Reporter& reporter, Task& task) {
    const bool isWhole = reader.readStream(source, reporter);
    const Diagnostic summary = reporter.summary(task.file());
    task.output().finish();  // what came before an error is shown
    if (!isWhole) throw exceptionOf(reader, source);
    task.report(summary);
}

void reportEvents(IKelSAXXmlV3& reader, const EventsOptions& options, Task& task) {
    Source source(task.file(), &task.progress());
    if (options.json) {
        if (task.isOneOfSeveral())
            task.output().writeBytes(R"({"event":"document","file":)" + jsonString(task.file()) + "}\n");
        JsonReporter reporter(task.output());
        return read(reader, source, reporter, task);
    }
    if (task.isOneOfSeveral()) task.output().writeHeading(task.file());
    PlainReporter reporter(task.output());
    read(reader, source, reporter, task);
}

}  // namespace

void events(Session& session, const EventsOptions& options) {
    forEachFile(options.files, [&]() -> Work {
        const auto reader = std::make_shared<IPtr<IKelSAXXmlV3>>(session.makeReader());
        return [reader, &options](Task& task) { reportEvents(**reader, options, task); };
    });
}

}  // namespace kelxml
