#include "KelBasicTypes/kelcstring.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <functional>
#include <istream>
#include <stdexcept>
#include <string>
#include <utility>

#include "KelBasicTypes/assertion.h"

namespace {

using Traits = std::char_traits<char>;

constexpr const char* kSourcePath = "src/KelBasicTypes/kelcstring";
constexpr std::int32_t kFindLine = 671;  // reported with a negative start; users know the assertion by it

std::string_view untilNul(std::string_view text) noexcept {
    return text.substr(0, text.find('\0'));
}

bool isSpace(char byte) {
    return std::isspace(static_cast<unsigned char>(byte)) != 0;
}
int lowered(char byte) {
    return std::tolower(static_cast<unsigned char>(byte));
}

// The C++ libraries word these failures differently.
template <class Number>
Number convert(Number (*parse)(const std::string&, std::size_t*), const KelCString& text, const char* name) {
    if (text.isEmpty()) return 0;
    try {
        return parse(text.c_str(), nullptr);
    } catch (const std::invalid_argument&) {
        throw std::invalid_argument(std::string("invalid ") + name + " argument");
    } catch (const std::out_of_range&) {
        throw std::out_of_range(std::string(name) + " argument out of range");
    }
}

}  // namespace

KelCString& KelCString::operator=(KelCString&& other) noexcept {
    if (this != &other) {
        clear();
        swap(other);
    }
    return *this;
}

void KelCString::swap(KelCString& other) noexcept {
    std::swap(text_, other.text_);
    std::swap(textBytes_, other.textBytes_);
    std::swap(length_, other.length_);
}

bool KelCString::startsWith(std::string_view prefix) const noexcept {
    prefix = untilNul(prefix);
    return std::strncmp(c_str(), prefix.data(), prefix.size()) == 0;
}

std::int32_t KelCString::compareIgnoreCase(std::string_view other) const noexcept {
    const std::string_view own = view();
    const std::size_t common = std::min(own.size(), other.size());
    for (std::size_t i = 0; i < common; ++i) {
        if (const int difference = lowered(own[i]) - lowered(other[i])) return difference;
    }
    if (own.size() == other.size()) return 0;
    return own.size() < other.size() ? -1 : 1;
}

std::int32_t KelCString::find(std::string_view needle, std::int32_t start) const {
    if (needle.size() > length_) return -1;
    if (needle.empty()) return 0;
    if (start < 0) {
        kel::assertionFailed("start >= 0", kSourcePath, kFindLine);
        return -1;
    }
    const std::size_t position = view().find(needle, static_cast<std::size_t>(start));
    return position == std::string_view::npos ? -1 : static_cast<std::int32_t>(position);
}

float KelCString::toFloat() const {
    return convert<float>(std::stof, *this, "stof");
}
double KelCString::toDouble() const {
    return convert<double>(std::stod, *this, "stod");
}

KelCString& KelCString::assign(std::string_view text) {
    text = untilNul(text);
    Traits::move(makeRoom(text.size(), 0), text.data(), text.size());  // part of ourselves always fits
    endText(text.size());
    return *this;
}

KelCString& KelCString::assignLowBytes(std::u16string_view text) {
    char* const begin = makeRoom(text.size(), 0);
    char* out = begin;
    for (const char16_t unit : text) {
        const auto byte = static_cast<char>(unit & 0xFF);
        if (byte == '\0') break;
        *out++ = byte;
    }
    endText(static_cast<std::size_t>(out - begin));
    return *this;
}

KelCString& KelCString::append(std::string_view text) {
    text = untilNul(text);
    const std::less_equal<> notAfter;  // a total order, also between unrelated objects
    const bool isOwn =
        text_ != nullptr && notAfter(text_, text.data()) && notAfter(text.data(), text_ + length_);
    if (isOwn) return append(std::string(text));  // growing gives our old buffer back
    const std::size_t before = length_;
    Traits::copy(makeRoom(before + text.size(), before) + before, text.data(), text.size());
    endText(before + text.size());
    return *this;
}

void KelCString::clear() noexcept {
    kel::giveBackBuffer(std::exchange(textBytes_, 0), std::exchange(text_, nullptr));
    length_ = 0;
}

KelCString& KelCString::replaceAll(std::string_view from, std::string_view to) {
    if (isEmpty() || from.empty()) return *this;
    KelCString result;
    std::int32_t copied = 0;
    const std::string_view text = view();
    for (std::int32_t at = find(from); at >= 0; at = find(from, copied)) {
        result.append(text.substr(static_cast<std::size_t>(copied), static_cast<std::size_t>(at - copied)));
        result.append(to);
        copied = at + static_cast<std::int32_t>(from.size());
    }
    result.append(text.substr(static_cast<std::size_t>(copied)));
    swap(result);
    return *this;
}

KelCString& KelCString::trim() {
    const std::string_view text = view();
    const auto first = std::find_if_not(text.begin(), text.end(), isSpace);
    const auto last = std::find_if_not(text.rbegin(), std::make_reverse_iterator(first), isSpace).base();
    return assign(std::string_view(first, last));
}

KelCString& KelCString::toUpper() {
    std::transform(text_, text_ + length_, text_, [](char byte) {
        return static_cast<char>(std::toupper(static_cast<unsigned char>(byte)));
    });
    return *this;
}

bool KelCString::readLine(std::istream& in) {
    std::string line;
    const bool isRead = static_cast<bool>(std::getline(in, line));
    assign(line);
    return isRead;
}

// Room for `bytes` and a NUL, with the first `keep` bytes of the text kept. A buffer that must grow at least
// doubles.
char* KelCString::makeRoom(std::size_t bytes, std::size_t keep) {
    if (bytes > kMaxBytes) throw std::length_error("KelCString: text is longer than 2147483646 bytes");
    if (textBytes_ > 0 && static_cast<std::size_t>(textBytes_) > bytes) return text_;
    const std::size_t wanted = keep == 0 ? bytes : std::max(bytes, std::min(2 * keep, kMaxBytes));
    std::int32_t granted = 0;
    auto* const text = static_cast<char*>(kel::takeBuffer(wanted + 1, granted));
    Traits::copy(text, text_, keep);
    kel::giveBackBuffer(textBytes_, text_);
    text_ = text;
    textBytes_ = granted;
    return text_;
}

void KelCString::endText(std::size_t bytes) noexcept {
    text_[bytes] = '\0';
    length_ = static_cast<std::uint32_t>(bytes);
}
