// An input as a file, which goes with the process.
#pragma once

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

namespace fuzz {

class InputFile final {
public:
    void write(std::string_view content) {
        if (!file_) fail("no temporary file");
        std::rewind(file_.get());
        if (std::fwrite(content.data(), 1, content.size(), file_.get()) != content.size() ||
            std::fflush(file_.get()) != 0 ||
            ftruncate(fileno(file_.get()), static_cast<off_t>(content.size())) != 0)
            fail("cannot write the input");
    }
    [[nodiscard]] std::string path() const { return "/proc/self/fd/" + std::to_string(fileno(file_.get())); }

private:
    struct Closer {
        void operator()(std::FILE* file) const { (void)std::fclose(file); }
    };
    [[noreturn]] static void fail(const char* what) {
        std::fprintf(stderr, "%s\n", what);
        std::abort();
    }
    std::unique_ptr<std::FILE, Closer> file_{std::tmpfile()};
};

}  // namespace fuzz
