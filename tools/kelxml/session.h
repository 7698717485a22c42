// kelxml's way to the component: a host, the component library loaded into it, and documents read through it.
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <utility>

#include "host/host.h"
#include "host/text.h"
#include "msxml_parser/ikeldomxml.h"
#include "tools/kelxml/temporaryfile.h"

namespace kelxml {

using ElementPtr = IPtr<IKelDOMXmlElement>;

class Session {
public:
    // Loads the library at `component`; an empty path means the one that belongs to this program (in the
    // build tree or where it is installed). Throws Failure.
    explicit Session(const std::filesystem::path& component);

    [[nodiscard]] const std::filesystem::path& libraryPath() const noexcept { return library_; }
    [[nodiscard]] kelhost::Host& host() noexcept { return host_; }
    [[nodiscard]] const kelhost::Component& component() const noexcept { return component_; }
    [[nodiscard]] IPtr<IKelDOMXmlV2> makeParser() const;

private:
    std::filesystem::path library_;
    kelhost::Host host_;
    kelhost::Component component_;
};

// What a verb reads: a file, or standard input or a named pipe kept in a temporary file, so that it can be
// read like one, and more than once.
class InputFile {
public:
    // Where standard input is kept. What names other files relative to itself (a style sheet, a schema) is
    // kept in the working folder, if that takes files, so that they are looked for there.
    enum class Kept { InTemporaryFolder, InWorkingFolder };

    explicit InputFile(std::string name,
                       Kept kept = Kept::InTemporaryFolder);  // "-": standard input. Throws Failure.
    InputFile(std::filesystem::path path, std::string name)
        : name_(std::move(name)), path_(std::move(path)) {}

    [[nodiscard]] const std::filesystem::path& path() const noexcept { return path_; }
    [[nodiscard]] const std::string& name() const noexcept { return name_; }  // as on the command line

    // Parses the file. Throws Failure with the parser's own code and message, in which the file has the name
    // it was given on the command line.
    [[nodiscard]] IPtr<IKelDOMXmlV2> load(const Session& session) const;

private:
    std::string name_;
    std::unique_ptr<TemporaryFile> spooled_;  // only for standard input and pipes
    std::filesystem::path path_;
};

// The message with the path replaced by a name that the user knows.
[[nodiscard]] std::string withName(std::string message, const InputFile& input);

// A file that cannot be read is told with what the system says about it, too.
[[nodiscard]] std::string describeError(int code, const std::string& message, const InputFile& input);

// "error 3: Error while reading ...", as a parser tells it, with the input's name in place of its path.
template <class Error>
[[nodiscard]] std::string describeError(Error& error, const InputFile& input) {
    return describeError(error.getCode(), kelhost::toUtf8(error.getMessage()), input);
}

}  // namespace kelxml
