// The bytes of a file, of standard input ("-") or of a pipe, as they come. The file is opened here and not by
// the component, so that every name that the system has can be given, and what the system says is known.
// Threads: one at a time.
#pragma once

#include <cstdio>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

#include "KelBasicTypes/binfile.h"
#include "KelBasicTypes/binio.h"
#include "tools/kelxml/report/exception.h"
#include "tools/kelxml/report/progress.h"

namespace kelxml {

class Source final : public BinInput {
public:
    // Throws Exception, with the file's name and the system's reason. `progress` is borrowed and learns of
    // every byte; null: nothing does.
    explicit Source(const std::string& name, Progress* progress);

    [[nodiscard]] const std::string& name() const noexcept { return name_; }  // as on the command line
    // What the system said when reading failed; empty: it did not.
    [[nodiscard]] const std::string& failure() const noexcept { return failure_; }
    [[nodiscard]] Exception readException() const;

    // Called with every piece that is delivered from here on.
    void setObserver(std::function<void(std::string_view)> observer) { observer_ = std::move(observer); }

    // Reads up to so many bytes, which are delivered first later on. True: there are no more.
    [[nodiscard]] bool readAhead(std::size_t byteCount);
    // Everything that is left. Throws Exception.
    [[nodiscard]] std::string readAll();

    std::size_t readRaw(void* buffer, std::size_t byteCount) override;
    [[nodiscard]] std::int64_t tell() override { return position_; }
    bool seek(std::int64_t /*position*/, bool /*fromStart*/) override { return false; }
    [[nodiscard]] bool good() const override { return failure_.empty(); }
    void close() override {}

private:
    std::size_t readFile(void* buffer, std::size_t byteCount);
    std::string readUpTo(std::size_t byteCount);

    std::string name_;
    Progress* progress_;
    kel::FileStream owned_;  // null: standard input
    std::FILE* file_;
    std::function<void(std::string_view)> observer_;
    std::string ahead_;
    std::size_t aheadTaken_ = 0;
    std::int64_t position_ = 0;
    std::string failure_;
};

}  // namespace kelxml
