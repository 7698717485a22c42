#include "host/errorservice.h"

#include <cstdio>

#include "KelBasicTypes/detail/utf8encode.h"
#include "host/text.h"

namespace kelhost {

namespace {

// A sink of bytes that asks for no memory: memory may be what has run out.
class StandardError {
public:
    StandardError() = default;
    StandardError(const StandardError&) = delete;
    StandardError& operator=(const StandardError&) = delete;
    ~StandardError() { flush(); }

    void push_back(char byte) noexcept {
        if (size_ == sizeof bytes_) flush();
        bytes_[size_++] = byte;
    }

private:
    void flush() noexcept {
        std::fwrite(bytes_, 1, size_, stderr);
        size_ = 0;
    }

    char bytes_[512];
    std::size_t size_ = 0;
};

void writeToStandardError(std::u16string_view message, std::int32_t level, const char* operation) {
    std::fputs(level == ErrorService::kLevelWarning ? "warning" : "error", stderr);
    if (*operation != '\0') std::fprintf(stderr, " (%s)", operation);
    std::fputs(": ", stderr);
    StandardError out;
    kel::detail::appendUtf8(out, message);
    out.push_back('\n');
}

}  // namespace

void ErrorService::report(const KelString& message, const std::int32_t& level, const char* operation) {
    const std::lock_guard guard(lock_);
    if (receiver_) {
        receiver_({toUtf8(message), level, operation});
    } else {
        writeToStandardError(message.view(), level, operation);
    }
}

}  // namespace kelhost
