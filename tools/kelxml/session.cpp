#include "tools/kelxml/session.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <fstream>
#include <system_error>
#include <utility>

#include "host/text.h"
#include "tools/kelxml/failure.h"
#include "tools/kelxml/message.h"
#include "tools/kelxml/platform/files.h"

namespace kelxml {

namespace fs = std::filesystem;

namespace {

constexpr const char* kDomClassName = "MSDOMXml";

// The build states where the library stands as seen from the program, installed and in its own tree.
constexpr std::array kLibraryPlaces{KELXML_COMPONENT_INSTALLED, KELXML_COMPONENT_IN_BUILD_TREE};

fs::path findComponent() {
    const fs::path folder = programFolder();
    for (const char* place : kLibraryPlaces) {
        fs::path candidate = (folder / place).lexically_normal();
        std::error_code unreadable;
        if (fs::exists(candidate, unreadable)) return candidate;
    }
    throw Failure(kWrongUsage,
                  tr("the component library was not found near %1; name it with --component PATH",
                     kelhost::utf8Of(folder)));
}

kelhost::Component loadComponent(kelhost::Host& host, const fs::path& library) {
    try {
        return host.load(library);
    } catch (const kelhost::HostError& error) {
        throw Failure(kWrongUsage, error.what());
    }
}

// Reads to the end even where the document stops early, as a pipe's writer expects.
void spool(std::FILE* from, const std::string& name, const fs::path& path) {
    std::ofstream file(path, std::ios::binary);
    std::array<char, 1 << 16> block{};
    std::size_t size = 0;
    while ((size = std::fread(block.data(), 1, block.size(), from)) > 0) {
        file.write(block.data(), static_cast<std::streamsize>(size));
    }
    if (std::ferror(from) != 0)
        throw Failure(kRefused, tr("cannot read %1: %2", name, std::generic_category().message(errno)));
    if (!file.flush()) throw Failure(kRefused, tr("cannot keep %1 in %2", name, kelhost::utf8Of(path)));
}

std::unique_ptr<TemporaryFile> placeFor(InputFile::Kept kept) {
    if (kept == InputFile::Kept::InWorkingFolder) {
        try {
            return std::unique_ptr<TemporaryFile>(
                new TemporaryFile(TemporaryFile::inFolder(fs::current_path())));
        } catch (const std::system_error&) {
            // A folder that takes no files; only relative names inside the input will not be found.
        }
    }
    return std::unique_ptr<TemporaryFile>(new TemporaryFile(TemporaryFile::inTemporaryFolder()));
}

int closeIfOpen(std::FILE* file) {
    return file == nullptr ? 0 : std::fclose(file);
}

// What the system says when somebody tries to read the file; empty if it can be read.
std::string whyUnreadable(const fs::path& path) {
    std::error_code unknown;
    if (fs::is_directory(path, unknown)) return std::generic_category().message(EISDIR);
    errno = 0;
    const std::ifstream file(path, std::ios::binary);
    return file || errno == 0 ? "" : std::generic_category().message(errno);
}

}  // namespace

Session::Session(const fs::path& component)
    : library_(component.empty() ? findComponent() : component), component_(loadComponent(host_, library_)) {}

IPtr<IKelDOMXmlV2> Session::makeParser() const {
    return component_.create<IKelDOMXmlV2>(component_.classNamed(kDomClassName));
}

InputFile::InputFile(std::string name, Kept kept) : name_(std::move(name)), path_(kelhost::pathOf(name_)) {
    std::error_code unknown;
    const bool isStandardInput = name_ == "-";
    if (!isStandardInput && !fs::is_fifo(path_, unknown)) return;
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> pipe(
        isStandardInput ? nullptr : std::fopen(name_.c_str(), "rb"), closeIfOpen);
    if (!isStandardInput && pipe == nullptr) return;  // the parser is the one to say so
    const std::string source = isStandardInput ? tr("standard input") : name_;
    try {
        spooled_ = placeFor(kept);
    } catch (const std::system_error& error) {
        throw Failure(kRefused, tr("no temporary file for %1: %2", source, error.what()));
    }
    path_ = spooled_->path();
    spool(isStandardInput ? stdin : pipe.get(), source, path_);
}

IPtr<IKelDOMXmlV2> InputFile::load(const Session& session) const {
    IPtr<IKelDOMXmlV2> parser = session.makeParser();
    if (!parser->loadFromFile(kelhost::fromUtf8(kelhost::utf8Of(path_)))) {
        throw Failure(kRefused, describeError(*parser->getError(), *this));
    }
    return parser;
}

std::string describeError(int code, const std::string& message, const InputFile& input) {
    const std::string text = withName(tr("error %1: %2", std::to_string(code), message), input);
    const std::string reason =
        code == IKelDOMXml::kFileNotReadable ? whyUnreadable(input.path()) : std::string();
    return reason.empty() ? text : text + " (" + reason + ')';
}

std::string withName(std::string message, const InputFile& input) {
    const std::string path = kelhost::utf8Of(input.path());
    const std::size_t at = path.empty() ? std::string::npos : message.find(path);
    return at == std::string::npos ? message : message.replace(at, path.size(), input.name());
}

}  // namespace kelxml
