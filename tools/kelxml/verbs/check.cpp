#include <memory>

#include "tools/kelxml/documents/document.h"
#include "tools/kelxml/verbs/verbs.h"

namespace kelxml {

namespace {

class Ignorant final : public KelSAXXmlEvents {};

}  // namespace

void check(Session& session, const CheckOptions& options) {
    forEachFile(options.files, [&]() -> Work {
        const auto reader = std::make_shared<IPtr<IKelSAXXmlV3>>(session.makeReader());
        return [reader](Task& task) {
            Source source(task.file(), &task.progress());
            Ignorant nothing;
            if (!(*reader)->readStream(source, nothing)) throw exceptionOf(**reader, source);
        };
    });
}

}  // namespace kelxml
