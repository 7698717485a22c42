#include "tools/kelxml/documents/session.h"

#include <array>
#include <fstream>
#include <system_error>
#include <utility>

#include "host/strsupport.h"
#include "host/text.h"
#include "tools/kelxml/files/source.h"
#include "tools/kelxml/platform/files.h"
#include "tools/kelxml/report/exception.h"
#include "tools/kelxml/report/message.h"

namespace kelxml {

namespace fs = std::filesystem;

namespace {

constexpr const char* kDomClassName = "MSDOMXml";
constexpr const char* kSaxClassName = "MSSAXXml";

// The build states where the library stands as seen from the program, installed and in its own tree.
constexpr std::array kLibraryPaths{KELXML_COMPONENT_INSTALLED, KELXML_COMPONENT_IN_BUILD_TREE};

fs::path findComponent() {
    const fs::path folder = programFolder();
    for (const char* path : kLibraryPaths) {
        fs::path candidate = (folder / path).lexically_normal();
        std::error_code unreadable;
        if (fs::exists(candidate, unreadable)) return candidate;
    }
    throw Exception(kWrongUsage,
                    tr("the component library was not found near %1; name it with --component PATH",
                       kelhost::utf8Of(folder)));
}

kelhost::Component loadComponent(kelhost::Host& host, const fs::path& library) {
    try {
        return host.load(library);
    } catch (const kelhost::HostError& error) {
        throw Exception(kWrongUsage, error.what());
    }
}

// Reads to the end even where the document stops early, as a pipe's writer expects.
void spool(Source& source, const fs::path& path) {
    std::ofstream file(path, std::ios::binary);
    const std::string content = source.readAll();
    file.write(content.data(), static_cast<std::streamsize>(content.size()));
    if (!file.flush())
        throw Exception(kRejected, tr("cannot keep %1 in %2", source.name(), kelhost::utf8Of(path)));
}

std::unique_ptr<TemporaryFile> fileIn(const fs::path& folder) {
    try {
        return std::unique_ptr<TemporaryFile>(new TemporaryFile(TemporaryFile::namedIn(folder)));
    } catch (const std::system_error&) {
        // A folder that takes no files; only relative names inside the input will not be found.
        return std::unique_ptr<TemporaryFile>(new TemporaryFile(TemporaryFile::inTemporaryFolder()));
    }
}

}  // namespace

// Nothing here depends on a locale's order or case, and ICU's collation would take a sixth of the start.
Session::Session(const fs::path& component)
    : library_(component.empty() ? findComponent() : component),
      host_({.strSupport = kelhost::makeInvariantStrSupport}),
      component_(loadComponent(host_, library_)) {}

IPtr<IKelDOMXmlV3> Session::makeParser() const {
    return component_.create<IKelDOMXmlV3>(component_.classNamed(kDomClassName));
}

IPtr<IKelSAXXmlV3> Session::makeReader() const {
    return component_.create<IKelSAXXmlV3>(component_.classNamed(kSaxClassName));
}

IPtr<IKelXmlFactory> Session::makeFactory() const {
    return component_.create<IKelXmlFactory>(component_.classNamed(kDomClassName));
}

InputFile::InputFile(std::string name) : name_(std::move(name)), path_(kelhost::pathOf(name_)) {
    Source source(name_, nullptr);  // reports the system's reason if it cannot be opened
    std::error_code unknown;
    const bool isPipe = name_ == "-" || fs::is_fifo(path_, unknown);
    if (!isPipe && isNameForComponent(name_)) return;
    try {
        const fs::path folder = path_.parent_path();
        const bool isBeside = !isPipe && !folder.empty() && isNameForComponent(kelhost::utf8Of(folder));
        spooled_ = fileIn(isBeside ? folder : fs::current_path());
    } catch (const std::system_error& error) {
        throw Exception(kRejected, tr("no temporary file for %1: %2", name_, error.what()));
    }
    path_ = spooled_->path();
    spool(source, path_);
}

std::string InputFile::withName(std::string message) const {
    const std::string path = kelhost::utf8Of(path_);
    if (path.empty() || path == name_) return message;
    for (std::size_t at = 0; (at = message.find(path, at)) != std::string::npos; at += name_.size())
        message.replace(at, path.size(), name_);
    return message;
}

}  // namespace kelxml
