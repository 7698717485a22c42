// String support after the rules of Unicode and the user's locale; the 8-bit form is UTF-8.
// Threads: all operations may run together.
#pragma once

#include <memory>
#include <string>

#include <unicode/ucol.h>

#include "KelBasicTypes/ikelstrsupport.h"
#include "framework/object/implements.h"

namespace kelhost {

class IcuStrSupport final : public kel::Implements<IcuStrSupport, IKelStrSupport> {
public:
    static constexpr const char* kClassName = "IcuStrSupport";

    // Null: the locale of the user. "de_DE", "tr": that one.
    explicit IcuStrSupport(const char* locale = nullptr);

    std::string& toNarrow(const char16_t* text, std::string& result) override;

    // In the locale's order. Only equal texts compare equal: what the locale does not tell apart is ordered
    // by units.
    std::int32_t compare(const char16_t* a, const char16_t* b) override;

    bool isSpace(char16_t unit) override;
    bool isDigit(char16_t unit) override;

    // Each leaves the text alone if ICU cannot do it (no memory, no data).
    void normalise(KelString& text) override;  // to NFC
    void toLower(KelString& text) override;
    void toUpper(KelString& text) override;

private:
    std::string locale_;
    struct CloseCollator {
        void operator()(UCollator* collator) const noexcept { ucol_close(collator); }
    };
    std::unique_ptr<UCollator, CloseCollator>
        collator_;  // null if ICU has no data; comparison is then by units
};

}  // namespace kelhost
