#include "malformed.h"

#include <utility>

namespace {

// Positions are looked for from the middle on, so that line and column mean something.
std::size_t fromTheMiddle(const std::string& content, const char* what) {
    const std::size_t found = content.find(what, content.size() / 2);
    return found != std::string::npos ? found : content.rfind(what);
}

std::string replaceAt(std::string content, std::size_t at, std::size_t length, const char* replacement) {
    return content.replace(at, length, replacement);
}

}  // namespace

std::vector<MalformedVariant> makeMalformed(const std::string& content) {
    std::vector<MalformedVariant> variants;
    variants.push_back({"truncated", "the file ends in the middle", content.substr(0, content.size() / 2)});
    if (const std::size_t at = fromTheMiddle(content, "</"); at != std::string::npos) {
        variants.push_back({"mismatched", "an end tag that closes something else",
                            replaceAt(content, at, content.find('>', at) + 1 - at, "</oops>")});
        variants.push_back(
            {"ampersand", "an unescaped ampersand", replaceAt(content, at, 0, "Salt & Pepper")});
        variants.push_back(
            {"prefix", "a prefix that was never declared", replaceAt(content, at, 0, "<geo:point/>")});
    }
    if (const std::size_t at = fromTheMiddle(content, "=\""); at != std::string::npos) {
        variants.push_back(
            {"unquoted", "an attribute without its quotes", replaceAt(content, at + 1, 1, "")});
    }
    variants.push_back({"two-roots", "something after the root element", content + "<again/>\n"});
    variants.push_back({"doctype", "a DOCTYPE, which is rejected for safety",
                        "<!DOCTYPE a [<!ENTITY b 'c'>]>\n<a>&b;</a>\n"});
    return variants;
}
