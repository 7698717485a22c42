#include "tools/kelxml/resulttext.h"

#include <string_view>

#include "host/text.h"

namespace kelxml {

namespace {

void replaceFirst(std::string& text, std::string_view from, std::string_view to, std::size_t before) {
    const std::size_t at = text.find(from);
    if (at < before) text.replace(at, from.size(), to);
}

}  // namespace

std::string utf8Of(const KelString& result) {
    std::string text = kelhost::toUtf8(result);
    if (text.starts_with("<?xml ")) {
        replaceFirst(text, R"(encoding="UTF-16")", R"(encoding="UTF-8")", text.find("?>"));
    } else {
        // What the serialiser puts into the head of an HTML document.
        replaceFirst(text, R"(<meta http-equiv="Content-Type" content="text/html; charset=UTF-16">)",
                     R"(<meta http-equiv="Content-Type" content="text/html; charset=UTF-8">)",
                     std::string::npos);
    }
    return text;
}

}  // namespace kelxml
