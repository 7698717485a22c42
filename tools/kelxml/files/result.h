// Where a verb's result stands until it is known to be good, and how it then gets to where it is wanted.
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

#include "KelBasicTypes/binfile.h"
#include "tools/kelxml/files/sink.h"
#include "tools/kelxml/files/temporaryfile.h"
#include "tools/kelxml/report/output.h"

namespace kelxml {

// Whether `file`, as on the command line, can be replaced, and read twice: no pipe, no standard input.
[[nodiscard]] bool isReplaceable(const std::string& file);

// Every operation throws Exception when the system fails; what stood at the target is then untouched,
// unless it is a device or pipe that took the beginning.
class Result final : public Sink {
public:
    // Empty or "-": standard output, which is borrowed.
    Result(const std::string& out, Output& standardOutput);

    void write(std::string_view bytes) { take(bytes); }

    // All that was written, to be read from its start. Throws Exception.
    [[nodiscard]] kel::FileStream openAgain();

    // Takes the place of a file, or is copied to standard output, a device or a pipe. Throws ReaderGone, too.
    void deliver();

private:
    void take(std::string_view bytes) override;
    void spill();
    void settle();
    void copyTo(std::FILE* device);

    std::filesystem::path target_;  // empty: standard output
    Output& standardOutput_;
    std::string kept_;  // of what is not written to a file of its own, as long as it is short
    std::unique_ptr<TemporaryFile> temporary_;  // null: not needed yet
    kel::FileStream file_;                      // the temporary one, while it is written
};

// Holds what is written against a file.
class Comparison final : public Sink {
public:
    explicit Comparison(const std::filesystem::path& file);  // one that cannot be read is different

    // Called when everything is written.
    [[nodiscard]] bool isSame();

private:
    void take(std::string_view bytes) override;

    kel::FileStream file_;
    bool isSameSoFar_;
    std::string block_;
};

}  // namespace kelxml
