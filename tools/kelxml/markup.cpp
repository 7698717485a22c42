#include "tools/kelxml/markup.h"

namespace kelxml {

std::string escapedValue(std::string_view utf8) {
    static constexpr std::string_view kEscaped = "&<\"'\t\n\r";
    std::string result;
    for (const char unit : utf8) {
        if (kEscaped.find(unit) == std::string_view::npos)
            result += unit;
        else
            result += "&#" + std::to_string(static_cast<int>(unit)) + ';';
    }
    return result;
}

}  // namespace kelxml
