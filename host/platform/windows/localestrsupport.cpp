#include "host/platform/localestrsupport.h"

#include <windows.h>

#include <algorithm>
#include <string_view>
#include <utility>

#include "KelBasicTypes/kelstring.h"
#include "host/platform/windows/wide.h"
#include "host/strsupport.h"

namespace kelhost {

using kel::platform::toUnits;
using kel::platform::toWide;

struct LocaleStrSupport::State {
    std::wstring locale;  // as the system spells it; empty: without a language's rules
};

namespace {

// "de_DE.UTF-8" is "de-DE" here, and the locale that goes by units alone has no name.
std::wstring systemName(std::string locale) {
    if (locale == "C" || locale.ends_with("POSIX")) return LOCALE_NAME_INVARIANT;
    locale.resize(std::min(locale.find_first_of(".@"), locale.size()));
    std::ranges::replace(locale, '_', '-');
    return platform::wideFromUtf8(locale);
}

bool isOfType(char16_t unit, WORD type) noexcept {
    WORD types = 0;
    return GetStringTypeW(CT_CTYPE1, toWide(&unit), 1, &types) != 0 && (types & type) != 0;
}

// Runs a transformation of the system, called as f(source, length, target, capacity), with the room it asks
// for.
template <class Transformation>
void transform(KelString& text, Transformation transformation) {
    const std::u16string_view source = text.view();
    if (source.empty()) return;
    const wchar_t* const units = toWide(source.data());
    const auto length = static_cast<int>(source.size());
    std::wstring target;
    // Twice: what some transformations return first is an estimate.
    for (int needed = transformation(units, length, nullptr, 0); needed > 0;) {
        target.resize(static_cast<std::size_t>(needed));
        const int written = transformation(units, length, target.data(), needed);
        if (written > 0)
            return (void)text.assign(
                std::u16string_view(toUnits(target.data()), static_cast<std::size_t>(written)));
        if (GetLastError() != ERROR_INSUFFICIENT_BUFFER || -written <= needed) return;
        needed = -written;
    }
}

void mapCase(KelString& text, const std::wstring& locale, DWORD direction) {
    transform(text, [&](const wchar_t* source, int length, wchar_t* target, int capacity) {
        return LCMapStringEx(locale.c_str(), direction | LCMAP_LINGUISTIC_CASING, source, length, target,
                             capacity, nullptr, nullptr, 0);
    });
}

}  // namespace

LocaleStrSupport::LocaleStrSupport(const char* locale)
    : state_([&] {
          wchar_t users[LOCALE_NAME_MAX_LENGTH] = L"";
          if (locale != nullptr) return std::make_unique<const State>(State{systemName(locale)});
          (void)GetUserDefaultLocaleName(users, LOCALE_NAME_MAX_LENGTH);  // none: without a language's rules
          return std::make_unique<const State>(State{users});
      }()) {}

LocaleStrSupport::~LocaleStrSupport() = default;

std::string& LocaleStrSupport::toNarrow(const char16_t* text, std::string& result) {
    result = kel::toUtf8(text);
    return result;
}

std::int32_t LocaleStrSupport::compare(const char16_t* a, const char16_t* b) {
    const int order = state_->locale.empty() ? CSTR_EQUAL
                                             : CompareStringEx(state_->locale.c_str(), 0, toWide(a), -1,
                                                               toWide(b), -1, nullptr, nullptr, 0);
    if (order != 0 && order != CSTR_EQUAL) return order - CSTR_EQUAL;
    return std::u16string_view(a).compare(b);
}

bool LocaleStrSupport::isSpace(char16_t unit) {
    return isOfType(unit, C1_SPACE);
}

bool LocaleStrSupport::isDigit(char16_t unit) {
    return isOfType(unit, C1_DIGIT);
}

void LocaleStrSupport::normalise(KelString& text) {
    transform(text, [](const wchar_t* source, int length, wchar_t* target, int capacity) {
        return NormalizeString(NormalizationC, source, length, target, capacity);
    });
}

void LocaleStrSupport::toLower(KelString& text) {
    mapCase(text, state_->locale, LCMAP_LOWERCASE);
}

void LocaleStrSupport::toUpper(KelString& text) {
    mapCase(text, state_->locale, LCMAP_UPPERCASE);
}

IPtr<IKelStrSupport> makeLocaleStrSupport(const std::string& locale) {
    return IPtr<IKelStrSupport>(new LocaleStrSupport(locale.empty() ? nullptr : locale.c_str()));
}

}  // namespace kelhost
