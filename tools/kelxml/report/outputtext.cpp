#include "tools/kelxml/report/outputtext.h"

#include <cstdio>

#include "KelBasicTypes/utf8.h"
#include "host/text.h"

namespace kelxml {

namespace {

void appendEscaped(std::string& json, std::string_view utf8) {
    json += '"';
    for (const char unit : utf8) {
        if (static_cast<unsigned char>(unit) < 0x20) {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned int>(unit));
            json += escape;
            continue;
        }
        if (unit == '"' || unit == '\\') json += '\\';
        json += unit;
    }
    json += '"';
}

void replaceFirst(std::string& text, std::string_view from, std::string_view to, std::size_t before) {
    const std::size_t at = text.find(from);
    if (at < before) text.replace(at, from.size(), to);
}

}  // namespace

std::string jsonString(std::string_view utf8) {
    std::string json;
    appendEscaped(json, kel::toUtf8(kel::fromUtf8(utf8)));
    return json;
}

void appendJsonString(std::string& json, std::u16string_view text) {
    appendEscaped(json, kel::toUtf8(text));
}

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
