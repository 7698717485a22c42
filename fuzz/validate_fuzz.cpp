// Any schema and any document: both are accepted or rejected with a description, with the same result each
// time.
#include "fuzz/documents.h"
#include "fuzz/inputfile.h"

namespace {

using namespace fuzz;

std::string validate(IXMLDOMDocument2& document) {
    Ref<IXMLDOMParseError> error;
    if (FAILED(document.validate(error.receive()))) return "failed: " + takeDescription();
    LONG code = 0;
    Text reason;
    (void)error->get_errorCode(&code);
    (void)error->get_reason(reason.receive());
    if (code != 0 && reason.utf8().empty()) fail("invalid for no reason");
    return std::to_string(code) + ' ' + reason.utf8();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static InputFile file;
    const NothingLost nothingLost;
    const Pair input = split(data, size);
    file.write(input.first);
    Ref<IXMLDOMSchemaCollection> schemas;
    (void)CoCreateInstance(CLSID_XMLSchemaCache60, nullptr, CLSCTX_ALL, IID_IXMLDOMSchemaCollection,
                           reinterpret_cast<void**>(schemas.receive()));
    for (const char* const uri : {"", "urn:s"}) {
        if (FAILED(schemas->add(Text(uri).get(), Text(file.path()).variant()))) (void)takeDescription();
    }
    const DocumentRef document = parse(input.second);
    if (!document) return 0;
    VARIANT attached{};
    attached.vt = VT_DISPATCH;
    attached.pdispVal = schemas.get();
    (void)document->putref_schemas(attached);
    const std::string once = validate(*document);
    if (validate(*document) != once) fail("another result the second time", once);
    return 0;
}
