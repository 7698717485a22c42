// Documents are validated while they are read. A value of type xs:ID that occurs twice shows in a tree only:
// where there is a doubt, a document of usual length is read again, as a tree, and what that shows is
// reported. Each thread compiles the schema once.
#include <algorithm>
#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "host/text.h"
#include "tools/kelxml/documents/compiled.h"
#include "tools/kelxml/documents/document.h"
#include "tools/kelxml/files/result.h"
#include "tools/kelxml/report/message.h"
#include "tools/kelxml/verbs/verbs.h"

namespace kelxml {

namespace {

class Violations final : public IKelXmlViolationHandler {
public:
    explicit Violations(const std::string& file) : file_(file) {}

    // From now on each is reported as it is found, and so are those before.
    void reportTo(Task& task) {
        task_ = &task;
        for (const Diagnostic& diagnostic : kept_) task.report(diagnostic);
        kept_.clear();
    }

    bool violation(const KelXmlViolation& found) override {
        Diagnostic diagnostic(Severity::Error, file_, kel::toUtf8(found.reason));
        diagnostic.line = found.line;
        diagnostic.column = found.column;
        diagnostic.code = IKelXmlError::kNotValid;
        diagnostic.path = kel::toUtf8(found.path);
        if (task_ != nullptr) {
            task_->report(diagnostic);
        } else {
            kept_.push_back(std::move(diagnostic));
        }
        return true;
    }

private:
    const std::string& file_;
    Task* task_ = nullptr;
    std::vector<Diagnostic> kept_;
};

constexpr std::size_t kTreeInBytes = std::size_t{16} << 20;  // the longest document that is made a tree

class Validation {
public:
    Validation(const Session& session, IKelXmlSchema& schema, Task& task)
        : session_(session), schema_(schema), task_(task) {}

    void run() {
        Source source(task_.file(), &task_.progress());
        if (isReplaceable(task_.file()))
            validateFile(source);
        else if (source.readAhead(kTreeInBytes))
            validateTree(source);
        else
            validateStream(source);
    }

private:
    void validateFile(Source& source) {
        std::error_code unknown;
        const std::uintmax_t size = std::filesystem::file_size(kelhost::pathOf(task_.file()), unknown);
        if (unknown || size > kTreeInBytes) return validateStream(source);
        if (schema_.mayRepeatIds()) return validateTree(source);  // this engine cannot say of which document
        Violations violations(task_.file());
        const bool isValid = schema_.validateStream(source, &violations);
        if (!schema_.mayRepeatIds() || (!isValid && !isValidated())) {
            if (isValid || isValidated()) violations.reportTo(task_);
            return conclude(isValid, source);
        }
        Source again(task_.file(), nullptr);
        validateTree(again);
    }

    void validateTree(Source& source) {
        Violations violations(task_.file());
        violations.reportTo(task_);
        const DocumentPtr document = loadDocument(session_, source, IKelDOMXmlV3::kAllowDoctype);
        conclude(schema_.validate(document.get(), &violations), source);
    }

    void validateStream(Source& source) {
        Violations violations(task_.file());
        violations.reportTo(task_);
        conclude(schema_.validateStream(source, &violations), source);
    }

    [[nodiscard]] bool isValidated() const {
        return schema_.getError()->getCode() == IKelXmlError::kNotValid;
    }

    void conclude(bool isValid, const Source& source) {
        if (!isValid && !isValidated()) throw exceptionOf(*schema_.getError(), source);
        if (isValid && !isSuppressed(Severity::Note))
            task_.output().write(tr("%1: valid", task_.file()) + '\n');
    }

    const Session& session_;
    IKelXmlSchema& schema_;
    Task& task_;
};

}  // namespace

void validate(Session& session, const ValidateOptions& options) {
    if (options.schema == "-" && std::ranges::count(options.files, "-") > 0)
        throw Exception(kWrongUsage, tr("standard input can be read only once"));
    const InputFile file(options.schema);
    forEachFile(options.files, [&]() -> Work {
        auto schema =
            std::make_shared<IPtr<IKelXmlSchema>>(compileSchema(session, file, options.namespaceUri));
        return [&session, schema](Task& task) { Validation(session, **schema, task).run(); };
    });
}

}  // namespace kelxml
