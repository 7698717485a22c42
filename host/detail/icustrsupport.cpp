#include "host/detail/icustrsupport.h"

#include <string>
#include <string_view>

#include <unicode/uchar.h>
#include <unicode/uloc.h>
#include <unicode/unorm2.h>
#include <unicode/ustring.h>

#include "KelBasicTypes/kelstring.h"
#include "KelBasicTypes/utf8.h"

namespace kelhost {

namespace {

// Runs an ICU transformation, called as f(target, capacity, source, length, &status), again with the room it
// asks for.
template <class Transformation>
void transform(KelString& text, Transformation transformation) {
    const std::u16string_view source = text.view();
    const auto length = static_cast<std::int32_t>(source.size());
    std::u16string target(source.size(), u'\0');
    UErrorCode status = U_ZERO_ERROR;
    std::int32_t needed = transformation(target.data(), length, source.data(), length, &status);
    if (status == U_BUFFER_OVERFLOW_ERROR) {
        target.resize(static_cast<std::size_t>(needed));
        status = U_ZERO_ERROR;
        needed = transformation(target.data(), needed, source.data(), length, &status);
    }
    if (U_SUCCESS(status))
        text.assign(std::u16string_view(target).substr(0, static_cast<std::size_t>(needed)));
}

}  // namespace

IcuStrSupport::IcuStrSupport(const char* locale) : locale_(locale != nullptr ? locale : uloc_getDefault()) {
    UErrorCode status = U_ZERO_ERROR;
    collator_.reset(ucol_open(locale_.c_str(), &status));
    if (U_FAILURE(status)) collator_.reset();
}

std::string& IcuStrSupport::toNarrow(const char16_t* text, std::string& result) {
    result = kel::toUtf8(text);
    return result;
}

std::int32_t IcuStrSupport::compare(const char16_t* a, const char16_t* b) {
    // Asking the collator is safe for several threads at a time as long as nobody changes its attributes.
    const UCollationResult order = collator_ ? ucol_strcoll(collator_.get(), a, -1, b, -1) : UCOL_EQUAL;
    return order != UCOL_EQUAL ? order : u_strcmp(a, b);
}

bool IcuStrSupport::isSpace(char16_t unit) {
    return u_isUWhiteSpace(unit) != 0;
}

bool IcuStrSupport::isDigit(char16_t unit) {
    return u_isdigit(unit) != 0;
}

void IcuStrSupport::normalise(KelString& text) {
    transform(text, [](char16_t* target, std::int32_t capacity, const char16_t* source, std::int32_t length,
                       UErrorCode* status) {
        const UNormalizer2* const normaliser = unorm2_getNFCInstance(status);
        return unorm2_normalize(normaliser, source, length, target, capacity, status);
    });
}

void IcuStrSupport::toLower(KelString& text) {
    transform(text, [this](char16_t* target, std::int32_t capacity, const char16_t* source,
                           std::int32_t length, UErrorCode* status) {
        return u_strToLower(target, capacity, source, length, locale_.c_str(), status);
    });
}

void IcuStrSupport::toUpper(KelString& text) {
    transform(text, [this](char16_t* target, std::int32_t capacity, const char16_t* source,
                           std::int32_t length, UErrorCode* status) {
        return u_strToUpper(target, capacity, source, length, locale_.c_str(), status);
    });
}

}  // namespace kelhost
