// String support after the rules of Unicode and the user's locale; the 8-bit form is UTF-8.
// Threads: all operations may run together.
#pragma once

#include <memory>
#include <string>

#include "KelBasicTypes/ikelstrsupport.h"
#include "framework/object/implements.h"

namespace kelhost {

class LocaleStrSupport final : public kel::Implements<LocaleStrSupport, IKelStrSupport> {
public:
    static constexpr const char* kClassName = "LocaleStrSupport";

    // Null: the locale of the user. "de_DE", "tr": that one.
    explicit LocaleStrSupport(const char* locale = nullptr);
    ~LocaleStrSupport() override;

    std::string& toNarrow(const char16_t* text, std::string& result) override;

    // In the locale's order. Only equal texts compare equal: what the locale does not distinguish is ordered
    // by units.
    std::int32_t compare(const char16_t* a, const char16_t* b) override;

    bool isSpace(char16_t unit) override;
    bool isDigit(char16_t unit) override;

    // Each leaves the text alone if the system cannot do it (no memory, no data).
    void normalise(KelString& text) override;  // to NFC
    void toLower(KelString& text) override;
    void toUpper(KelString& text) override;

private:
    struct State;  // constant once it is made
    std::unique_ptr<const State> state_;
};

}  // namespace kelhost
