#include "host/platform/localestrsupport.h"

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include <unicode/uchar.h>
#include <unicode/ucol.h>
#include <unicode/uloc.h>
#include <unicode/unorm2.h>
#include <unicode/ustring.h>

#include "KelBasicTypes/kelstring.h"
#include "KelBasicTypes/utf8.h"
#include "host/strsupport.h"

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

struct CloseCollator {
    void operator()(UCollator* collator) const noexcept { ucol_close(collator); }
};

}  // namespace

// Made when it is first asked for: many programs never compare, and ICU's data take time and memory.
struct LocaleStrSupport::State {
    explicit State(const char* name) {
        if (name != nullptr) given = name;
    }

    [[nodiscard]] const char* locale() const { return given ? given->c_str() : uloc_getDefault(); }
    // Null if ICU has no data; comparison is then by units.
    [[nodiscard]] const UCollator* collator() const {
        std::call_once(isOpened, [this] {
            UErrorCode status = U_ZERO_ERROR;
            opened.reset(ucol_open(locale(), &status));
            if (U_FAILURE(status)) opened.reset();
        });
        return opened.get();
    }

    std::optional<std::string> given;  // nothing: the user's
    mutable std::once_flag isOpened;
    mutable std::unique_ptr<UCollator, CloseCollator> opened;
};

LocaleStrSupport::LocaleStrSupport(const char* locale) : state_(std::make_unique<const State>(locale)) {}

LocaleStrSupport::~LocaleStrSupport() = default;

std::string& LocaleStrSupport::toNarrow(const char16_t* text, std::string& result) {
    result = kel::toUtf8(text);
    return result;
}

std::int32_t LocaleStrSupport::compare(const char16_t* a, const char16_t* b) {
    // Asking the collator is safe for several threads at a time while its attributes do not change.
    const UCollator* const collator = state_->collator();
    const UCollationResult order = collator != nullptr ? ucol_strcoll(collator, a, -1, b, -1) : UCOL_EQUAL;
    return order != UCOL_EQUAL ? order : u_strcmp(a, b);
}

bool LocaleStrSupport::isSpace(char16_t unit) {
    return u_isUWhiteSpace(unit) != 0;
}

bool LocaleStrSupport::isDigit(char16_t unit) {
    return u_isdigit(unit) != 0;
}

void LocaleStrSupport::normalise(KelString& text) {
    transform(text, [](char16_t* target, std::int32_t capacity, const char16_t* source, std::int32_t length,
                       UErrorCode* status) {
        const UNormalizer2* const normaliser = unorm2_getNFCInstance(status);
        return unorm2_normalize(normaliser, source, length, target, capacity, status);
    });
}

void LocaleStrSupport::toLower(KelString& text) {
    transform(text, [this](char16_t* target, std::int32_t capacity, const char16_t* source,
                           std::int32_t length, UErrorCode* status) {
        return u_strToLower(target, capacity, source, length, state_->locale(), status);
    });
}

void LocaleStrSupport::toUpper(KelString& text) {
    transform(text, [this](char16_t* target, std::int32_t capacity, const char16_t* source,
                           std::int32_t length, UErrorCode* status) {
        return u_strToUpper(target, capacity, source, length, state_->locale(), status);
    });
}

IPtr<IKelStrSupport> makeLocaleStrSupport(const std::string& locale) {
    return IPtr<IKelStrSupport>(new LocaleStrSupport(locale.empty() ? nullptr : locale.c_str()));
}

}  // namespace kelhost
