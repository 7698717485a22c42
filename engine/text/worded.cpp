#include "engine/text/worded.h"

namespace engine::text {

std::string filledIn(std::string_view text, std::initializer_list<std::string_view> arguments) {
    std::string result;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const char next = at + 1 < text.size() ? text[at + 1] : '\0';
        const auto index = static_cast<std::size_t>(next - '1');
        if (text[at] == '%' && '1' <= next && next <= '9' && index < arguments.size()) {
            result += arguments.begin()[index];
            ++at;
        } else {
            result += text[at];
        }
    }
    return result;
}

}  // namespace engine::text
