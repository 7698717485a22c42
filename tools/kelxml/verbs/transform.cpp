#include <algorithm>
#include <atomic>
#include <filesystem>
#include <memory>
#include <sstream>
#include <string>

#include "host/text.h"
#include "tools/kelxml/documents/compiled.h"
#include "tools/kelxml/documents/document.h"
#include "tools/kelxml/files/result.h"
#include "tools/kelxml/report/message.h"
#include "tools/kelxml/verbs/verbs.h"

namespace kelxml {

namespace {

// What the style sheet says and what the engine passes over. Of the copies that threads compile for
// themselves one reports what was passed over while compiling.
class Messages final : public IKelXslMessageHandler {
public:
    Messages(const InputFile& style, bool isReporting) : style_(style), isReporting_(isReporting) {}

    void setTask(Task* task) noexcept { task_ = task; }

    void message(std::u16string_view text, bool isLast) override {
        if (task_ != nullptr && !isLast)
            task_->report({Severity::Note, task_->file(), withoutEnd(kel::toUtf8(text))});
    }
    void warning(std::u16string_view text) override {
        const Diagnostic diagnostic =
            diagnosticOfCause(Severity::Warning, withoutEnd(kel::toUtf8(text)), style_);
        if (task_ != nullptr)
            task_->report(diagnostic);
        else if (isReporting_)
            report(diagnostic);
    }

private:
    static std::string withoutEnd(std::string text) {
        while (text.ends_with('\n')) text.pop_back();
        return text;
    }

    const InputFile& style_;
    bool isReporting_;
    Task* task_ = nullptr;  // null while the style sheet is compiled
};

// The style sheet of one thread.
class Transformer {
public:
    Transformer(const Session& session, const InputFile& style, const TransformOptions& options,
                bool isReporting)
        : session_(session),
          style_(style),
          options_(options),
          messages_(style, isReporting),
          sheet_(compileStyleSheet(session, style, messages_)) {
        setParameters(*sheet_, options.parameters);
    }
    Transformer(const Transformer&) = delete;
    Transformer& operator=(const Transformer&) = delete;

    void transform(Task& task) {
        const DocumentPtr document = loadDocument(session_, task, loadOptions(options_.allowDtd));
        task.progress().setPhase(tr("transforming"));
        Result result(targetFor(task.file()), task.output());
        messages_.setTask(&task);
        const bool isDone = sheet_->transformToStream(document.get(), result);
        messages_.setTask(nullptr);
        if (!isDone) reject(task);
        result.deliver();
    }

private:
    [[nodiscard]] std::string targetFor(const std::string& file) const {
        if (options_.folder.empty()) return options_.out;
        std::filesystem::path name =
            file == "-" ? std::filesystem::path("standard-input") : kelhost::pathOf(file).filename();
        if (!options_.extension.empty()) name.replace_extension(kelhost::pathOf(options_.extension));
        return kelhost::utf8Of(kelhost::pathOf(options_.folder) / name);
    }

    // The engine names each cause on a line of its own.
    [[noreturn]] void reject(Task& task) const {
        const Diagnostic whole = diagnosticOf(*sheet_->getError(), task.file());
        std::istringstream causes(whole.reason);
        for (std::string cause; std::getline(causes, cause);) {
            Diagnostic single = diagnosticOfCause(Severity::Error, cause, style_);
            if (single.line == 0) single.file = task.file();
            single.code = whole.code;
            task.report(single);
        }
        throw Reported(kRejected);
    }

    const Session& session_;
    const InputFile& style_;
    const TransformOptions& options_;
    Messages messages_;
    IPtr<IKelXslStyleSheet> sheet_;
};

void checkTargets(const TransformOptions& options) {
    if (options.style == "-" && std::ranges::count(options.files, "-") > 0)
        throw Exception(kWrongUsage, tr("standard input can be read only once"));
    if (!options.out.empty() && !options.folder.empty())
        throw Exception(kWrongUsage, tr("--output and --folder exclude each other"));
    if (options.files.size() > 1 && !options.out.empty() && options.out != "-")
        throw Exception(kWrongUsage, tr("several results need a --folder, or standard output"));
}

}  // namespace

void transform(Session& session, const TransformOptions& options) {
    checkTargets(options);
    const InputFile style(options.style);
    std::atomic<bool> isFirst{true};
    forEachFile(options.files, [&]() -> Work {
        const auto transformer =
            std::make_shared<Transformer>(session, style, options, isFirst.exchange(false));
        return [transformer](Task& task) { transformer->transform(task); };
    });
}

}  // namespace kelxml
