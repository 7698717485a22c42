// Documents of usual length are validated as trees, in which an xs:ID that occurs twice is found; longer ones
// while they are read, in constant memory. Each thread compiles the schema once.
#include <algorithm>
#include <memory>
#include <string>

#include "host/text.h"
#include "tools/kelxml/compiled.h"
#include "tools/kelxml/document.h"
#include "tools/kelxml/message.h"
#include "tools/kelxml/verbs.h"

namespace kelxml {

namespace {

class Violations final : public IKelXmlViolationHandler {
public:
    explicit Violations(Task& task) : task_(task) {}

    bool violation(const KelXmlViolation& found) override {
        Diagnostic diagnostic(Severity::Error, task_.file(), kel::toUtf8(found.reason));
        diagnostic.line = found.line;
        diagnostic.column = found.column;
        diagnostic.code = IKelXmlError::kNotValid;
        diagnostic.path = kel::toUtf8(found.path);
        task_.report(diagnostic);
        return true;
    }

private:
    Task& task_;
};

constexpr std::size_t kTreeInBytes = std::size_t{16} << 20;  // the longest document that is made a tree

bool isValidTree(const Session& session, IKelXmlSchema& schema, Source& source, Violations& violations) {
    const DocumentPtr document = loadDocument(session, source, IKelDOMXmlV3::kAllowDoctype);
    return schema.validate(document.get(), &violations);
}

void check(const Session& session, IKelXmlSchema& schema, Task& task) {
    Source source(task.file(), &task.progress());
    Violations violations(task);
    const bool isShort = source.readAhead(kTreeInBytes);
    const bool isValid = isShort ? isValidTree(session, schema, source, violations)
                                 : schema.validateStream(source, &violations);
    if (!isValid && schema.getError()->getCode() != IKelXmlError::kNotValid)
        throw failureOf(*schema.getError(), source);
    if (isValid && !isSuppressed(Severity::Note)) task.output().write(tr("%1: valid", task.file()) + '\n');
}

}  // namespace

void validate(Session& session, const ValidateOptions& options) {
    if (options.schema == "-" && std::ranges::count(options.files, "-") > 0)
        throw Failure(kWrongUsage, tr("standard input can be read only once"));
    const InputFile file(options.schema);
    forEachFile(options.files, [&]() -> Work {
        auto schema =
            std::make_shared<IPtr<IKelXmlSchema>>(compileSchema(session, file, options.namespaceUri));
        return [&session, schema](Task& task) { check(session, **schema, task); };
    });
}

}  // namespace kelxml
