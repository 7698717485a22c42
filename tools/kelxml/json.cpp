#include "tools/kelxml/json.h"

#include <cstdio>

#include "KelBasicTypes/utf8.h"

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

}  // namespace

std::string jsonString(std::string_view utf8) {
    std::string json;
    appendEscaped(json, kel::toUtf8(kel::fromUtf8(utf8)));
    return json;
}

void appendJsonString(std::string& json, std::u16string_view text) {
    appendEscaped(json, kel::toUtf8(text));
}

}  // namespace kelxml
