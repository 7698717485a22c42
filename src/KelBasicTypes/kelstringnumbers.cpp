// Numbers as text. They are rendered as 8-bit text and widened.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <string_view>
#include <type_traits>

#include "KelBasicTypes/kelstring.h"
#include "KelBasicTypes/oxarealloc.h"

namespace {

// A few bytes in place, more from the guarded allocation: a number does not fail for lack of memory.
template <std::size_t N>
class Bytes final {
public:
    explicit Bytes(std::size_t count) {
        if (count > N) kel::oxaMalloc(large_, 1, count);
    }
    Bytes(const Bytes&) = delete;
    Bytes& operator=(const Bytes&) = delete;
    ~Bytes() { kel::oxaFree(large_); }

    [[nodiscard]] char* data() noexcept { return large_ == nullptr ? small_ : static_cast<char*>(large_); }

private:
    char small_[N];
    void* large_ = nullptr;
};

constexpr std::size_t kBufferSize = 40;

// What stays of a floating-point number's text. Intentional: a text exactly as long as the buffer, or as
// twice that and so on, loses its last character. See behaviour.md, "A number of exactly 40 characters".
std::size_t keptOf(std::size_t length) noexcept {
    std::size_t buffer = kBufferSize;
    while (buffer < length) buffer *= 2;
    return buffer == length ? length - 1 : length;
}

template <class Number>
void render(KelString& out, const char* format, Number value) {
    char text[kBufferSize];
    const int length = std::snprintf(text, sizeof text, format, value);
    const auto size = static_cast<std::size_t>(std::max(length, 0));  // a rejected format renders nothing
    if (size < sizeof text) {
        out.assignNarrow(std::string_view(text, size));
        return;
    }
    Bytes<sizeof text> longer(size + 1);
    std::snprintf(longer.data(), size + 1, format, value);
    out.assignNarrow(std::string_view(longer.data(), std::is_floating_point_v<Number> ? keptOf(size) : size));
}

template <class Number>
void render(KelString& out, const KelNumberFormat& format, const char* conversion, Number value) {
    const char* const flags = format.flags == nullptr ? "" : format.flags;
    const std::size_t size = std::strlen(flags) + std::strlen(conversion) + sizeof "%";
    Bytes<20> whole(size);
    std::snprintf(whole.data(), size, "%%%s%s", flags, conversion);
    render(out, whole.data(), value);
}

const char* floatConversion(const KelNumberFormat& format) {
    if (!format.general) return "f";
    return format.exponent ? "e" : "g";
}

constexpr double kLargestFixed = 1e10;

}  // namespace

KelString::KelString(int value) {
    render(*this, "%d", value);
}
KelString::KelString(unsigned value) {
    render(*this, "%u", value);
}
KelString::KelString(long value) {
    render(*this, "%ld", value);
}
KelString::KelString(long long value) {
    render(*this, "%lld", value);
}
KelString::KelString(double value) {
    render(*this, std::fabs(value) > kLargestFixed ? "%e" : "%f", value);
}

KelString::KelString(int value, const KelNumberFormat& format) {
    render(*this, format, "d", value);
}
KelString::KelString(long value, const KelNumberFormat& format) {
    render(*this, format, "ld", value);
}
KelString::KelString(long long value, const KelNumberFormat& format) {
    render(*this, format, "lld", value);
}
KelString::KelString(double value, const KelNumberFormat& format) {
    render(*this, format, floatConversion(format), value);
}
