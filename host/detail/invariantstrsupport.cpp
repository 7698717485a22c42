#include <cstdint>
#include <string>
#include <string_view>

#include "KelBasicTypes/kelstring.h"
#include "KelBasicTypes/utf8.h"
#include "framework/object/implements.h"
#include "host/strsupport.h"

namespace kelhost {

namespace {

class InvariantStrSupport final : public kel::Implements<InvariantStrSupport, IKelStrSupport> {
public:
    static constexpr const char* kClassName = "InvariantStrSupport";

    std::string& toNarrow(const char16_t* text, std::string& result) override {
        result = kel::toUtf8(text);
        return result;
    }

    std::int32_t compare(const char16_t* a, const char16_t* b) override {
        return std::u16string_view(a).compare(b);
    }

    bool isSpace(char16_t unit) override { return unit == u' ' || (unit >= u'\t' && unit <= u'\r'); }
    bool isDigit(char16_t unit) override { return unit >= u'0' && unit <= u'9'; }

    void normalise(KelString& /*text*/) override {}
    void toLower(KelString& text) override { shift(text, u'A', u'Z', u'a' - u'A'); }
    void toUpper(KelString& text) override { shift(text, u'a', u'z', u'A' - u'a'); }

private:
    static void shift(KelString& text, char16_t first, char16_t last, int by) {
        std::u16string units(text.view());
        for (char16_t& unit : units) {
            if (unit >= first && unit <= last) unit = static_cast<char16_t>(unit + by);
        }
        text.assign(std::u16string_view(units));
    }
};

}  // namespace

IPtr<IKelStrSupport> makeInvariantStrSupport(const std::string& /*locale*/) {
    return IPtr<IKelStrSupport>(new InvariantStrSupport);
}

}  // namespace kelhost
