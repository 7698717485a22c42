#include "tools/kelxml/session.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <fstream>
#include <system_error>
#include <utility>

#include "tools/kelxml/failure.h"

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
    throw Failure(kWrongUsage, "the component library was not found near " + folder.string() +
                                   "; name it with --component PATH");
}

kelhost::Component loadComponent(kelhost::Host& host, const fs::path& library) {
    try {
        return host.load(library.empty() ? findComponent() : library);
    } catch (const kelhost::HostError& error) {
        throw Failure(kWrongUsage, error.what());
    }
}

// Copies standard input to the file; reads to its end even where the document stops early, as a pipe's writer
// expects.
void spoolStandardInput(const fs::path& path) {
    std::ofstream file(path, std::ios::binary);
    std::array<char, 1 << 16> block{};
    std::size_t size = 0;
    while ((size = std::fread(block.data(), 1, block.size(), stdin)) > 0) {
        file.write(block.data(), static_cast<std::streamsize>(size));
    }
    if (std::ferror(stdin) != 0) {
        throw Failure(kRefused, "cannot read standard input: " + std::generic_category().message(errno));
    }
    if (!file.flush()) throw Failure(kRefused, "cannot keep standard input in " + path.string());
}

}  // namespace

Session::Session(const fs::path& component) : component_(loadComponent(host_, component)) {}

IPtr<IKelDOMXmlV2> Session::makeParser() const {
    return component_.create<IKelDOMXmlV2>(component_.classNamed(kDomClassName));
}

InputFile::InputFile(std::string name) : name_(std::move(name)), path_(name_) {
    if (name_ != "-") return;
    try {
        spooled_ = std::unique_ptr<TemporaryFile>(new TemporaryFile(TemporaryFile::inTemporaryFolder()));
    } catch (const std::system_error& error) {
        throw Failure(kRefused, std::string("no temporary file for standard input: ") + error.what());
    }
    path_ = spooled_->path();
    spoolStandardInput(path_);
}

IPtr<IKelDOMXmlV2> InputFile::load(const Session& session) const {
    IPtr<IKelDOMXmlV2> parser = session.makeParser();
    if (!parser->loadFromFile(kelhost::fromUtf8(path_.string()))) {
        throw Failure(kRefused, describeError(*parser->getError(), *this));
    }
    return parser;
}

std::string withName(std::string message, const InputFile& input) {
    const std::string path = input.path().string();
    const std::size_t at = path.empty() ? std::string::npos : message.find(path);
    return at == std::string::npos ? message : message.replace(at, path.size(), input.name());
}

}  // namespace kelxml
