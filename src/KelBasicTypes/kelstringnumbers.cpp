// Numbers as text. They are rendered as 8-bit text and widened.
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "KelBasicTypes/kelstring.h"

namespace {

template <class Number>
void render(KelString& out, const char* format, Number value) {
    std::vector<char> buffer(40);
    int length = std::snprintf(buffer.data(), buffer.size(), format, value);
    if (length >= static_cast<int>(buffer.size())) {
        buffer.resize(static_cast<std::size_t>(length) + 1);
        length = std::snprintf(buffer.data(), buffer.size(), format, value);
    }
    if (length < 0) length = 0;  // a format that the C library refuses renders nothing
    out.assignNarrow(std::string_view(buffer.data(), static_cast<std::size_t>(length)));
}

std::string printfFormat(const KelNumberFormat& format, const char* conversion) {
    std::string result = "%";
    if (format.flags != nullptr) result += format.flags;
    return result += conversion;
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
    render(*this, printfFormat(format, "d").c_str(), value);
}
KelString::KelString(long value, const KelNumberFormat& format) {
    render(*this, printfFormat(format, "ld").c_str(), value);
}
KelString::KelString(long long value, const KelNumberFormat& format) {
    render(*this, printfFormat(format, "lld").c_str(), value);
}
KelString::KelString(double value, const KelNumberFormat& format) {
    render(*this, printfFormat(format, floatConversion(format)).c_str(), value);
}
