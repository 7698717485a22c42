#include "tools/kelxml/documents/compiled.h"

#include <filesystem>
#include <span>
#include <sstream>

#include "host/text.h"
#include "tools/kelxml/documents/document.h"

namespace kelxml {

namespace {

constexpr std::string_view kLineMark = ", line ";
constexpr std::size_t kDigits = 9;

// The root element's, and then it is enough.
class TargetNamespace final : public KelSAXXmlEvents {
public:
    explicit TargetNamespace(IKelSAXXmlV3& reader) : reader_(reader) {}

    [[nodiscard]] const std::string& uri() const noexcept { return uri_; }
    void startElement(const KelSAXXmlName& /*name*/, std::span<const KelSAXXmlAttribute> attributes,
                      std::span<const KelSAXXmlDeclaration> /*declarations*/) override {
        for (const KelSAXXmlAttribute& attribute : attributes) {
            if (attribute.name.qualified == u"targetNamespace") uri_ = kel::toUtf8(attribute.value);
        }
        reader_.stop();
    }

private:
    IKelSAXXmlV3& reader_;
    std::string uri_;
};

// A file that is not well formed is reported as any document would be.
void demandDocument(const Session& session, const InputFile& file) {
    const DocumentPtr parser = session.makeParser();
    if (!parser->loadFile(file.componentPath(), IKelDOMXmlV3::kAllowDoctype))
        throw Exception(kRejected, diagnosticOf(*parser, file.name()));
}

std::string targetNamespaceOf(const Session& session, const InputFile& file) {
    const IPtr<IKelSAXXmlV3> reader = session.makeReader();
    TargetNamespace found(*reader);
    if (!reader->readFile(file.componentPath(), found)) demandDocument(session, file);
    return found.uri();
}

// The engine names files by their absolute paths.
std::string nameFor(const std::string& path, const InputFile& file) {
    std::error_code unknown;
    const std::filesystem::path absolute = std::filesystem::absolute(file.path(), unknown).lexically_normal();
    return path == kelhost::utf8Of(absolute) ? file.name() : file.withName(path);
}

// A cause a line: each is reported, with the file that it is in.
[[noreturn]] void reject(const Diagnostic& diagnostic, const InputFile& file) {
    if (diagnostic.line > 0 || diagnostic.code == IKelXmlError::kFileNotReadable)
        throw Exception(kRejected, diagnostic);
    std::istringstream causes(diagnostic.reason);
    for (std::string cause; std::getline(causes, cause);) {
        Diagnostic single = diagnosticOfCause(Severity::Error, cause, file);
        single.code = diagnostic.code;
        report(single);
    }
    throw Reported(kRejected);
}

}  // namespace

Diagnostic diagnosticOfCause(Severity severity, const std::string& cause, const InputFile& file) {
    Diagnostic diagnostic(severity, file.name(), file.withName(cause));
    const std::size_t mark = cause.find(kLineMark);
    const std::size_t digits = mark == std::string::npos ? mark : mark + kLineMark.size();
    const std::size_t end =
        digits == std::string::npos ? digits : cause.find_first_not_of("0123456789", digits);
    const bool isPlaced = end != std::string::npos && end > digits && end - digits <= kDigits &&
                          cause.compare(end, 2, ": ") == 0;
    if (!isPlaced) return diagnostic;
    diagnostic.file = nameFor(cause.substr(0, mark), file);
    diagnostic.line = std::stoi(cause.substr(digits, end - digits));
    diagnostic.reason = file.withName(cause.substr(end + 2));
    return diagnostic;
}

IPtr<IKelXmlSchema> compileSchema(const Session& session, const InputFile& file,
                                  const std::optional<std::string>& namespaceUri) {
    const std::string uri = namespaceUri ? *namespaceUri : targetNamespaceOf(session, file);
    IPtr<IKelXmlSchema> schema(session.makeFactory()->createSchema());
    if (!schema->addFile(kelhost::fromUtf8(uri), file.componentPath())) {
        demandDocument(session, file);
        reject(diagnosticOf(*schema->getError(), file.name()), file);
    }
    return schema;
}

IPtr<IKelXslStyleSheet> compileStyleSheet(const Session& session, const InputFile& file,
                                          IKelXslMessageHandler& messages) {
    IPtr<IKelXslStyleSheet> sheet(session.makeFactory()->createStyleSheet());
    sheet->setMessageHandler(&messages);
    if (!sheet->compileFile(file.componentPath()))
        reject(diagnosticOf(*sheet->getError(), file.name()), file);
    return sheet;
}

}  // namespace kelxml
