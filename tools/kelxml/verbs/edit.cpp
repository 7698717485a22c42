#include <string>

#include "tools/kelxml/files/result.h"
#include "tools/kelxml/report/message.h"
#include "tools/kelxml/verbs/changes.h"
#include "tools/kelxml/verbs/verbs.h"

namespace kelxml {

namespace {

void editOne(const Session& session, const EditOptions& options, Task& task) {
    const DocumentPtr document =
        loadDocument(session, task, loadOptions(options.allowDtd, IKelDOMXmlV3::kKeepWhiteSpace));
    const Prefixes prefixes = declarePrefixes(*document, parsePrefixes(options.prefixes));
    std::size_t changes = 0;
    for (const Edit& edit : options.edits) {
        const std::size_t count = apply(edit, session, *document, prefixes);
        changes += count;
        if (count == 0)
            task.report(
                {Severity::Warning, task.file(), tr("expression '%1' selects nothing", edit.expression)});
    }
    const bool isInPlace = options.inPlace && isReplaceable(task.file());
    if (isInPlace && changes == 0) return;
    task.progress().setPhase(tr("writing"));
    Result result(isInPlace ? task.file() : options.out, task.output());
    if (!document->writeStream(result, 0, KelString()))
        throw Exception(kRejected, diagnosticOf(*document, task.file()));
    result.deliver();
}

}  // namespace

void edit(Session& session, const EditOptions& options) {
    if (options.edits.empty())
        throw Exception(
            kWrongUsage,
            tr("there is nothing to change: give --set, --delete, --rename, --append, --before or --after"));
    if (options.inPlace && !options.out.empty())
        throw Exception(kWrongUsage, tr("--in-place and --output exclude each other"));
    if (!options.inPlace && options.files.size() > 1)
        throw Exception(kWrongUsage, tr("several documents can only be changed with --in-place"));
    (void)parsePrefixes(options.prefixes);  // wrong ones are reported once, before anything is read
    forEachFile(options.files,
                [&]() -> Work { return [&](Task& task) { editOne(session, options, task); }; });
}

}  // namespace kelxml
