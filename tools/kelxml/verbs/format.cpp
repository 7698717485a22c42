#include <algorithm>
#include <filesystem>
#include <string>

#include "host/text.h"
#include "tools/kelxml/documents/document.h"
#include "tools/kelxml/files/result.h"
#include "tools/kelxml/report/exception.h"
#include "tools/kelxml/report/message.h"
#include "tools/kelxml/verbs/verbs.h"

namespace kelxml {

namespace {

void checkTargets(const FormatOptions& options) {
    if (options.inPlace && !options.out.empty())
        throw Exception(kWrongUsage, tr("--in-place and --output exclude each other"));
    if (options.checkOnly) return;
    if (!options.inPlace && options.files.size() > 1)
        throw Exception(kWrongUsage, tr("several documents can only be formatted with --in-place"));
}

unsigned layoutOf(const FormatOptions& options) {
    if (options.indent == "tab") return IKelDOMXmlV3::kIndent;
    return IKelDOMXmlV3::indentBlanks(static_cast<unsigned>(std::stoi(options.indent)));
}

void write(IKelDOMXmlV3& document, Sink& sink, unsigned layout, const std::string& file) {
    if (!document.writeStream(sink, layout, KelString()))
        throw Exception(kRejected, diagnosticOf(document, file));
}

// Straight: what was loaded and not changed can be written in its encoding, so there is no result to hold
// back until it is known to be good.
class StandardOutput final : public Sink {
public:
    explicit StandardOutput(Output& output) : output_(output) {}

private:
    void take(std::string_view bytes) override { output_.writeBytes(bytes); }

    Output& output_;
};

bool isFormatted(IKelDOMXmlV3& document, unsigned layout, const std::string& file) {
    Comparison comparison(kelhost::pathOf(file));
    write(document, comparison, layout, file);
    return comparison.isSame();
}

void formatOne(const Session& session, const FormatOptions& options, Task& task) {
    const unsigned layout = layoutOf(options);
    const std::string& file = task.file();
    const bool isFile = isReplaceable(file);
    if (options.checkOnly && !isFile && std::filesystem::exists(kelhost::pathOf(file)))
        throw Exception(kWrongUsage, tr("--check needs files that can be read twice"));
    const DocumentPtr document = loadDocument(session, task, loadOptions(options.allowDtd));
    task.progress().setPhase(tr("writing"));
    if (options.checkOnly) {
        if (!isFormatted(*document, layout, file))
            task.report({Severity::Error, file, tr("the document is not formatted")});
        return;
    }
    const bool isInPlace = options.inPlace && isFile;
    if (isInPlace && isFormatted(*document, layout, file)) return;
    if (!isInPlace && (options.out.empty() || options.out == "-")) {
        StandardOutput output(task.output());
        return write(*document, output, layout, file);
    }
    Result result(isInPlace ? file : options.out, task.output());
    write(*document, result, layout, file);
    result.deliver();
}

}  // namespace

void format(Session& session, const FormatOptions& options) {
    checkTargets(options);
    if (options.checkOnly && std::ranges::count(options.files, "-") > 0)
        throw Exception(kWrongUsage, tr("--check needs files that can be read twice"));
    forEachFile(options.files,
                [&]() -> Work { return [&](Task& task) { formatOne(session, options, task); }; });
}

}  // namespace kelxml
