// What a string leaves to the host's string support, with the fallbacks for a host that offers none.
#include <algorithm>
#include <cctype>
#include <cstring>

#include "KelBasicTypes/ikelstrsupport.h"
#include "KelBasicTypes/kelstring.h"
#include "KelBasicTypes/stringsupport.h"

namespace {

constexpr char16_t kFirstNonAscii = 128;

// The C library classifies bytes only.
bool isClass(int (*classify)(int), char16_t unit) {
    return unit <= 0xFF && classify(unit) != 0;
}

bool isInside(const KelString& text, std::int32_t index) {
    return index >= 0 && static_cast<std::size_t>(index) < text.length();
}

KelString shiftLetters(const KelString& text, char16_t first, char16_t last, int distance) {
    if (text.isNull()) return {};
    std::u16string shifted(text.view());
    for (char16_t& unit : shifted) {
        if (first <= unit && unit <= last) unit = static_cast<char16_t>(unit + distance);
    }
    return shifted;
}

}  // namespace

bool KelString::isDigit(std::int32_t index) const {
    if (!isInside(*this, index)) return false;
    const char16_t unit = text_[index];
    IKelStrSupport* const support = kel::stringSupport();
    return support != nullptr ? support->isDigit(unit) : isClass(std::isdigit, unit);
}

bool KelString::isSpace(std::int32_t index) const {
    if (!isInside(*this, index)) return false;
    const char16_t unit = text_[index];
    IKelStrSupport* const support = kel::stringSupport();
    return support != nullptr ? support->isSpace(unit) : isClass(std::isspace, unit);
}

std::int32_t KelString::compare(const KelString& other) const {
    if (IKelStrSupport* const support = kel::stringSupport()) return support->compare(c_str(), other.c_str());
    return view().compare(other.view());
}

KelString KelString::toLower() const {
    IKelStrSupport* const support = kel::stringSupport();
    if (support == nullptr) return shiftLetters(*this, u'A', u'Z', u'a' - u'A');
    KelString result(view());
    support->toLower(result);
    return result;
}

KelString KelString::toUpper() const {
    IKelStrSupport* const support = kel::stringSupport();
    if (support == nullptr) return shiftLetters(*this, u'a', u'z', u'A' - u'a');
    KelString result(view());
    support->toUpper(result);
    return result;
}

KelString KelString::mapWhitespace(char16_t replacement) const {
    IKelStrSupport* const support = kel::stringSupport();
    if (support == nullptr) return *this;
    KelString result(view());
    support->normalise(result);
    if (replacement == u' ') return result;
    std::u16string mapped(result.view());
    std::replace_if(
        mapped.begin(), mapped.end(), [&](char16_t unit) { return support->isSpace(unit); }, replacement);
    return result.assign(std::u16string_view(mapped));
}

const char* KelString::narrow() const& {
    if (narrow_ != nullptr && narrowBytes_ == 0) return narrow_;
    std::string converted;
    if (IKelStrSupport* const support = kel::stringSupport()) {
        support->toNarrow(c_str(), converted);
    } else {
        converted.reserve(length());
        for (const char16_t unit : view()) {
            if (unit < kFirstNonAscii) converted.push_back(static_cast<char>(unit));
        }
    }
    storeNarrow(converted);
    return narrow_;
}

void KelString::storeNarrow(std::string_view text) const {
    const std::size_t bytes = text.size() + 1;
    if (narrow_ == nullptr || static_cast<std::size_t>(narrowBytes_) < bytes) {
        std::int32_t granted = 0;
        auto* const block = static_cast<char*>(kel::takeBuffer(bytes, granted));
        kel::giveBackBuffer(narrowBytes_, narrow_);
        narrow_ = block;
        narrowBytes_ = granted;
    }
    std::memcpy(narrow_, text.data(), text.size());
    narrow_[text.size()] = '\0';
}
