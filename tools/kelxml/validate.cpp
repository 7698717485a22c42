#include <algorithm>
#include <string>

#include "host/text.h"
#include "tools/kelxml/complaint.h"
#include "tools/kelxml/failure.h"
#include "tools/kelxml/message.h"
#include "tools/kelxml/output.h"
#include "tools/kelxml/progress.h"
#include "tools/kelxml/verbs.h"

namespace kelxml {

namespace {

struct Schema {
    const InputFile& file;
    std::string namespaceUri;
};

std::string targetNamespaceOf(const Session& session, const InputFile& schema) {
    const IPtr<IKelDOMXmlV2> parser = schema.load(session);
    return kelhost::toUtf8(ElementPtr(parser->getRootElement())->getAttribute(u"targetNamespace"));
}

void check(const Session& session, const std::string& file, const Schema& schema) {
    const InputFile input(file);
    const IPtr<IKelDOMXmlV2> parser = loadWithProgress(session, input);
    const Progress progress(tr("validating %1", file));
    const bool isValid = parser->validate(kelhost::fromUtf8(schema.namespaceUri),
                                          kelhost::fromUtf8(kelhost::utf8Of(schema.file.path())));
    if (!isValid) throw Failure(kRefused, describeError(*parser->getError(), input));
}

// The component names the document in the failures of a load only.
[[noreturn]] void rethrowWithName(const std::string& file, const InputFile& schema) {
    Complaint complaint = complaintOfCurrentException();
    throw Failure(complaint.status, file + ": " + withName(std::move(complaint.message), schema));
}

}  // namespace

void validate(Session& session, const ValidateOptions& options) {
    if (options.schema == "-" && std::ranges::count(options.files, "-") > 0)
        throw Failure(kWrongUsage, tr("standard input can be read only once"));
    const InputFile schemaFile(options.schema, InputFile::Kept::InWorkingFolder);
    const Schema schema{
        schemaFile, options.namespaceUri ? *options.namespaceUri : targetNamespaceOf(session, schemaFile)};
    forEachFile(options.files, [&](const std::string& file) {
        try {
            check(session, file, schema);
        } catch (...) {
            rethrowWithName(file, schemaFile);
        }
        writeText(tr("%1: valid", file) + '\n');
    });
}

}  // namespace kelxml
