#include <algorithm>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "KelBasicTypes/binfile.h"
#include "tools/kelxml/documents/compare.h"
#include "tools/kelxml/documents/document.h"
#include "tools/kelxml/documents/unwritable.h"
#include "tools/kelxml/files/result.h"
#include "tools/kelxml/platform/files.h"
#include "tools/kelxml/report/exception.h"
#include "tools/kelxml/report/message.h"
#include "tools/kelxml/verbs/verbs.h"

namespace kelxml {

namespace {

constexpr std::size_t kDifferencesShown = 5;

// Notices the bytes "<![CDATA[" as they go by, in any encoding that has them as ASCII with or without zero
// bytes around. A false alarm, from a comment say, costs time and changes nothing.
class CDataWatch {
public:
    void see(std::string_view bytes) {
        static constexpr std::string_view kStart = "<![CDATA[";
        if (found_ == HiddenText::Possible) return;
        std::ranges::copy_if(bytes, std::back_inserter(window_), [](char byte) { return byte != '\0'; });
        if (window_.find(kStart) != std::string::npos) found_ = HiddenText::Possible;
        if (window_.size() >= kStart.size()) window_.erase(0, window_.size() - (kStart.size() - 1));
    }

    [[nodiscard]] HiddenText found() const noexcept { return found_; }

private:
    std::string window_;
    HiddenText found_ = HiddenText::None;
};

std::string listOf(const std::vector<Difference>& differences) {
    std::string list;
    for (const Difference& difference : differences)
        list += "\n  " + difference.path + ": " + difference.what;
    if (differences.size() == kDifferencesShown)
        list += "\n  (" + tr("further differences are not listed") + ')';
    return list;
}

// The file is written here and not by the parser, which does not report what the disk does not take.
void write(IKelDOMXml& parser, Result& result, const std::string& file) {
    KelString text;
    if (!parser.saveToString(text)) throw Exception(kRejected, diagnosticOf(parser, file));
    result.write(withPlatformLineEnds(text.narrow()));
}

// What is wrong with the result; empty if nothing is.
std::string check(const Session& session, IKelDOMXml& original, Result& result, HiddenText hidden) {
    const DocumentPtr copy = session.makeParser();
    BinInputFile written(result.openAgain().release());
    if (!copy->loadStream(written, 0)) {
        const Diagnostic error = diagnosticOf(*copy, {});
        const std::string position = std::to_string(error.line) + ':' + std::to_string(error.column) + ": ";
        return tr("the result would not be well formed: %1", position + error.reason) +
               listOf(findUnwritable(*ElementPtr(original.getRootElement()), *copy, kDifferencesShown));
    }
    const std::vector<Difference> differences =
        compareTrees(*ElementPtr(original.getRootElement()), *ElementPtr(copy->getRootElement()), hidden,
                     kDifferencesShown);
    return differences.empty() ? "" : tr("the result would differ from the document:") + listOf(differences);
}

void saveOne(const Session& session, const SaveOptions& options, Task& task) {
    CDataWatch watch;
    Source source(task.file(), &task.progress());
    source.setObserver([&watch](std::string_view bytes) { watch.see(bytes); });
    const DocumentPtr original = loadDocument(session, source, loadOptions(options.allowDtd));
    Result result(options.out, task.output());
    task.progress().setPhase(tr("writing"));
    write(*original, result, task.file());
    task.progress().setPhase(tr("reading back"));
    const std::string wrong = check(session, *original, result, watch.found());
    if (!wrong.empty() && !options.force) {
        throw Exception(kRejected, wrong + '\n' + tr("Nothing was written; --force writes it all the same."));
    }
    if (!wrong.empty()) task.report({Severity::Warning, task.file(), wrong});
    result.deliver();
}

}  // namespace

void save(Session& session, const SaveOptions& options) {
    forEachFile({options.file},
                [&]() -> Work { return [&](Task& task) { saveOne(session, options, task); }; });
}

}  // namespace kelxml
