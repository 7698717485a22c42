// kelxml's way to the component: a host, and the component library loaded into it. Threads: const operations
// of a session may run together.
#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "host/host.h"
#include "host/text.h"
#include "msxml_parser/ikeldomxmlv3.h"
#include "msxml_parser/ikelsaxxmlv3.h"
#include "msxml_parser/ikelxmlfactory.h"
#include "tools/kelxml/files/temporaryfile.h"

namespace kelxml {

using ElementPtr = IPtr<IKelDOMXmlElement>;

class Session {
public:
    // Loads the library at `component`; an empty path means the one that belongs to this program (in the
    // build tree or where it is installed). Throws Exception.
    explicit Session(const std::filesystem::path& component);

    [[nodiscard]] const std::filesystem::path& libraryPath() const noexcept { return library_; }
    [[nodiscard]] kelhost::Host& host() noexcept { return host_; }
    [[nodiscard]] const kelhost::Component& component() const noexcept { return component_; }

    // Each belongs to the thread that makes it.
    [[nodiscard]] IPtr<IKelDOMXmlV3> makeParser() const;
    [[nodiscard]] IPtr<IKelSAXXmlV3> makeReader() const;  // never given back: one for many documents
    [[nodiscard]] IPtr<IKelXmlFactory> makeFactory() const;

private:
    std::filesystem::path library_;
    kelhost::Host host_;
    kelhost::Component component_;
};

// A file that the component opens by itself, for it names other files relative to itself (a style sheet, a
// schema). Standard input, a named pipe and a file whose name the component cannot be given are kept in a
// temporary file: that of a file in its folder, the others in the working folder, if it takes files.
class InputFile {
public:
    explicit InputFile(std::string name);  // "-": standard input. Throws Exception.

    [[nodiscard]] const std::filesystem::path& path() const noexcept { return path_; }
    [[nodiscard]] KelString componentPath() const { return kelhost::fromUtf8(kelhost::utf8Of(path_)); }
    [[nodiscard]] const std::string& name() const noexcept { return name_; }  // as on the command line

    // The message with the path replaced by the name that the user knows.
    [[nodiscard]] std::string withName(std::string message) const;

private:
    std::string name_;
    std::unique_ptr<TemporaryFile> spooled_;
    std::filesystem::path path_;
};

}  // namespace kelxml
