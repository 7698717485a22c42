#include <cstdio>
#include <string>

#include "host/text.h"
#include "tools/kelxml/failure.h"
#include "tools/kelxml/output.h"
#include "tools/kelxml/progress.h"
#include "tools/kelxml/verbs.h"

namespace kelxml {

namespace {

std::string targetNamespaceOf(const Session& session, const std::string& schema) {
    const IPtr<IKelDOMXmlV2> parser = InputFile(schema).load(session);
    return kelhost::toUtf8(ElementPtr(parser->getRootElement())->getAttribute(u"targetNamespace"));
}

// What is wrong with the document, and its name; empty if nothing is.
std::string check(const Session& session, const std::string& file, const std::string& uri,
                  const std::string& schema) {
    const InputFile input(file);
    try {
        const Progress progress("validating " + file);
        const IPtr<IKelDOMXmlV2> parser = input.load(session);
        if (parser->validate(kelhost::fromUtf8(uri), kelhost::fromUtf8(schema))) return "";
        return file + ": " + describeError(*parser->getError(), input);
    } catch (const Failure& failure) {
        return file + ": " + failure.what();
    }
}

}  // namespace

void validate(Session& session, const ValidateOptions& options) {
    const std::string uri =
        options.namespaceUri ? *options.namespaceUri : targetNamespaceOf(session, options.schema);
    Output output;
    std::size_t refused = 0;
    for (const std::string& file : options.files) {
        const std::string complaint = check(session, file, uri, options.schema);
        if (complaint.empty()) {
            output.write(file);
            output.write(": valid\n");
            continue;
        }
        if (options.files.size() == 1) throw Failure(kRefused, complaint);
        ++refused;
        output.finish();  // so that answers come in the order of the files
        std::fprintf(stderr, "kelxml: %s\n", complaint.c_str());
    }
    output.finish();
    if (refused == 0) return;
    throw Failure(kRefused, std::to_string(refused) + " of " + std::to_string(options.files.size()) +
                                " documents are not valid");
}

}  // namespace kelxml
