// Any style sheet on any source: a result or a described failure, and the same once more, when the compiled
// style sheet may come from the first time.
#include "fuzz/documents.h"

namespace {

using namespace fuzz;

std::string transform(IXMLDOMDocument2& source, IXMLDOMDocument2& style) {
    Text result;
    if (FAILED(source.transformNode(&style, result.receive()))) return "failed: " + takeDescription();
    return result.utf8();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const NothingLost nothingLost;
    const Pair input = split(data, size);
    const DocumentRef style = parse(input.first);
    if (!style) return 0;
    DocumentRef source = parse(input.second);
    if (!source) source = parse("<a><b c='d'>e</b></a>");
    const std::string once = transform(*source, *style);
    const std::string again = transform(*source, *style);
    // Generated identifiers are addresses.
    if (once != again && input.first.find("generate-id") == std::string_view::npos) {
        fail("another result the second time", once + "\n---\n" + again);
    }
    DocumentRef target = newDocument();
    VARIANT output{};
    output.vt = VT_DISPATCH;
    output.pdispVal = target.get();
    if (FAILED(source->transformNodeToObject(style.get(), output))) (void)takeDescription();
    return 0;
}
