// Where a verb's result stands until it is known to be good, and how it then gets to where it is wanted.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "tools/kelxml/temporaryfile.h"

namespace kelxml {

enum class LineEnds { Given, Platform };  // written as they are; as text files have them here

// Every operation throws Failure when the system refuses; what stood at the target is then untouched, unless
// it is a device or pipe that took the beginning.
class Result {
public:
    explicit Result(const std::string& out);  // empty or "-": standard output

    // A new file, empty, to write the result into.
    [[nodiscard]] const std::filesystem::path& path() const noexcept { return temporary_.path(); }
    void write(std::string_view bytes, LineEnds lineEnds = LineEnds::Given);

    // Takes the place of a file, or is copied to standard output, a device or a pipe. Throws ReaderGone, too.
    void deliver();

private:
    std::filesystem::path target_;  // empty or "-": standard output
    TemporaryFile temporary_;
};

}  // namespace kelxml
