// Any schema and any document: both are taken or refused with a description, with the same answer each time.
#include <unistd.h>

#include <cstdio>
#include <memory>

#include "fuzz/documents.h"

namespace {

using namespace fuzz;

// The schema's file, which goes with the process.
class SchemaFile final {
public:
    void write(std::string_view content) {
        if (!file_) fail("no temporary file");
        std::rewind(file_.get());
        if (std::fwrite(content.data(), 1, content.size(), file_.get()) != content.size() ||
            std::fflush(file_.get()) != 0 ||
            ftruncate(fileno(file_.get()), static_cast<off_t>(content.size())) != 0)
            fail("cannot write the schema");
    }
    [[nodiscard]] std::string path() const { return "/proc/self/fd/" + std::to_string(fileno(file_.get())); }

private:
    struct Closer {
        void operator()(std::FILE* file) const { (void)std::fclose(file); }
    };
    std::unique_ptr<std::FILE, Closer> file_{std::tmpfile()};
};

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
    static SchemaFile file;
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
    if (validate(*document) != once) fail("another answer the second time", once);
    return 0;
}
