#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>

#include "host/text.h"
#include "msxml_parser/ikelsaxxml.h"
#include "tools/kelxml/complaint.h"
#include "tools/kelxml/epilogue.h"
#include "tools/kelxml/failure.h"
#include "tools/kelxml/message.h"
#include "tools/kelxml/output.h"
#include "tools/kelxml/place.h"
#include "tools/kelxml/platform/files.h"
#include "tools/kelxml/progress.h"
#include "tools/kelxml/verbs.h"

namespace kelxml {

namespace {

constexpr const char* kSaxClassName = "MSSAXXml";

std::string jsonString(const KelString& text) {
    std::string json = "\"";
    for (const char unit : kelhost::toUtf8(text)) {
        if (unit == '"' || unit == '\\') json += '\\';
        if (static_cast<unsigned char>(unit) >= 0x20) {
            json += unit;
            continue;
        }
        char escape[8];
        std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned int>(unit));
        json += escape;
    }
    return json + '"';
}

std::string notWellFormed(const InputFile& input, const std::string& why) {
    return tr("%1: the document is not well formed: %2", input.name(), why);
}

std::uint64_t countCharacters(std::u16string_view text) {
    std::uint64_t count = 0;
    for (const char16_t unit : text) count += (unit & 0xFC00) != 0xDC00 ? 1 : 0;  // a pair is one character
    return count;
}

// Counts what comes by and lets the two forms of the output say it.
class Reporter : public IKelSAXXmlHandler {
public:
    virtual ~Reporter() = default;
    Reporter(const Reporter&) = delete;
    Reporter& operator=(const Reporter&) = delete;

    void startElement(const KelString& name, int depth, const KelSAXXmlAttributes& attributes) final {
        ++elements_;
        attributes_ += attributes.size();
        ++open_;
        sayStart(kelhost::toUtf8(name), depth, attributes);
    }

    void characters(const KelString& text) final {
        characters_ += countCharacters(text.view());
        sayText(text);
    }

    void endElement(const KelString& name) final {
        --open_;
        sayEnd(kelhost::toUtf8(name));
    }

    // Throws Failure if the events cannot be all of a document. The parser does not say whether it was well
    // formed.
    void finish(const InputFile& input) {
        output_.finish();
        std::fprintf(stderr, "%s\n",
                     tr("%1: elements %2, attributes %3, characters %4", input.name(),
                        std::to_string(elements_), std::to_string(attributes_), std::to_string(characters_))
                         .c_str());
        if (elements_ == 0)
            throw Failure(kRefused, notWellFormed(input, tr("its events end before the first element")));
        if (open_ != 0) {
            throw Failure(kRefused, notWellFormed(input, tr("elements still open at its end: %1",
                                                            std::to_string(open_))));
        }
        if (const auto line = lineOfJunkAfterRoot(input.path())) {
            throw Failure(kRefused, notWellFormed(input, tr("line %1: nothing but comments and processing "
                                                            "instructions may follow the root element",
                                                            std::to_string(*line))));
        }
    }

    [[nodiscard]] Output& output() noexcept { return output_; }

protected:
    Reporter() = default;

    virtual void sayStart(const std::string& name, int depth, const KelSAXXmlAttributes& attributes) = 0;
    virtual void sayText(const KelString& text) = 0;
    virtual void sayEnd(const std::string& name) = 0;

    [[nodiscard]] std::size_t open() const noexcept { return open_; }  // elements

private:
    Output output_;
    std::uint64_t elements_ = 0;
    std::uint64_t attributes_ = 0;
    std::uint64_t characters_ = 0;
    std::size_t open_ = 0;
};

// One object a line, for programs.
class JsonReporter final : public Reporter {
public:
    void sayDocument(const std::string& file) {
        output().write(R"({"event":"document","file":)" + jsonString(kelhost::fromUtf8(file)) + "}\n");
    }

private:
    void sayStart(const std::string& name, int depth, const KelSAXXmlAttributes& attributes) override {
        std::string line = R"({"event":"start","name":")" + name + R"(","depth":)" + std::to_string(depth) +
                           R"(,"attributes":{)";
        const char* separator = "";
        for (const auto& [attribute, value] : attributes) {
            line += separator + jsonString(attribute) + ':' + jsonString(value);
            separator = ",";
        }
        output().write(line + "}}\n");
    }

    void sayText(const KelString& text) override {
        output().write(R"({"event":"text","text":)" + jsonString(text) + "}\n");
    }

    void sayEnd(const std::string& name) override {
        output().write(R"({"event":"end","name":")" + name + "\"}\n");
    }
};

// Indented, for people.
class PlainReporter final : public Reporter {
    static constexpr std::size_t kTextInCharacters = 60;
    static constexpr std::size_t kIndentedLevels = 40;

    void indent(std::size_t level) { output().write(std::string(2 * std::min(level, kIndentedLevels), ' ')); }

    void sayStart(const std::string& name, int /*depth*/, const KelSAXXmlAttributes& attributes) override {
        indent(open() - 1);
        output().write("start ", Ink::Dim);
        output().write(name, Ink::Name);
        for (const auto& [attribute, value] : attributes) {
            output().write(' ' + kelhost::toUtf8(attribute) + '=', Ink::Attribute);
            output().write('"' + oneLine(kelhost::toUtf8(value), kTextInCharacters) + '"');
        }
        output().write("\n");
    }

    void sayText(const KelString& text) override {
        indent(open());
        output().write("text  ", Ink::Dim);
        output().write(excerpt(text.view(), 0) + '\n', Ink::Text);
    }

    void sayEnd(const std::string& name) override {
        indent(open());
        output().write("end   ", Ink::Dim);
        output().write(name + "\n");
    }
};

void parse(const Session& session, const InputFile& input, Reporter& reporter) {
    std::optional<Progress> progress;
    if (!isTerminal(stdout)) progress.emplace(tr("reading %1", input.name()));
    const kelhost::Component& component = session.component();
    const auto parser = component.create<IKelSAXXmlV2>(component.classNamed(kSaxClassName));
    parser->pushHandler(&reporter);
    if (!parser->parseFile(kelhost::fromUtf8(kelhost::utf8Of(input.path())))) {
        throw Failure(kRefused, describeError(*parser->getError(), input));
    }
    reporter.finish(input);
}

}  // namespace

void events(Session& session, const EventsOptions& options) {
    const bool areSeveral = options.files.size() > 1;
    forEachFile(options.files, [&](const std::string& file) {
        const InputFile input(file);
        if (options.json) {
            JsonReporter reporter;
            if (areSeveral) reporter.sayDocument(file);
            parse(session, input, reporter);
        } else {
            PlainReporter reporter;
            if (areSeveral) reporter.output().writeHeading(file);
            parse(session, input, reporter);
        }
    });
}

}  // namespace kelxml
