// Any bytes at all as a file that a document loads, and as a text: the tree holds what the direct parser
// reports to a sink, reading in pieces; a rejected document is rejected at the same position in the same
// words.
#include <cstdio>
#include <cstdlib>
#include <string>

#include "engine/com/com.h"
#include "engine/text/utf.h"
#include "fuzz/inputfile.h"
#include "tests/conformance/subject.h"

namespace {

void expectEqual(const char* what, const conformance::Outcome& tree, const conformance::Outcome& events) {
    const bool isSame = tree.accepted == events.accepted && tree.reason == events.reason &&
                        (!tree.accepted || tree.canonical == events.canonical);
    if (isSame) return;
    std::fprintf(stderr, "%s: the tree differs\ntree: %s\n%s\nevents: %s\n%s\n", what, tree.reason.c_str(),
                 tree.canonical.c_str(), events.reason.c_str(), events.canonical.c_str());
    std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static fuzz::InputFile file;
    static const HRESULT started = CoInitialize(nullptr);
    (void)started;
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    file.write(bytes);
    const conformance::Outcome loaded = conformance::tryDocument(file.path());
    // A DOCTYPE is rejected by either, a load says more about it.
    const bool hasDoctype = loaded.reason.find("DOCTYPE") != std::string::npos;
    if (!hasDoctype) expectEqual("file", loaded, conformance::tryDirect(file.path()));

    const std::u16string text = engine::text::toUtf16(bytes);
    const conformance::Outcome fromText = conformance::tryDocumentText(text);
    const bool textHasDoctype = fromText.reason.find("DOCTYPE") != std::string::npos;
    if (!textHasDoctype) expectEqual("text", fromText, conformance::tryDirectText(text));
    return 0;
}
