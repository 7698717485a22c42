#include "engine/source/input.h"

#include <utility>

#include "engine/text/utf.h"

namespace engine::source {
namespace {

int hexValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

std::string unescaped(std::string_view url) {
    std::string path;
    for (std::size_t i = 0; i < url.size(); ++i) {
        if (url[i] == '%' && i + 2 < url.size() && hexValue(url[i + 1]) >= 0 && hexValue(url[i + 2]) >= 0) {
            path += static_cast<char>(hexValue(url[i + 1]) * 16 + hexValue(url[i + 2]));
            i += 2;
        } else {
            path += url[i];
        }
    }
    return path;
}

bool startsWithIgnoringCase(std::string_view text, std::string_view lowerCasePrefix) {
    if (text.size() < lowerCasePrefix.size()) return false;
    for (std::size_t i = 0; i < lowerCasePrefix.size(); ++i) {
        const char c = text[i];
        if ((c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c) != lowerCasePrefix[i]) return false;
    }
    return true;
}

// A scheme of one letter would be a drive.
bool hasScheme(std::string_view text) {
    const std::size_t end = text.find("://");
    if (end == std::string_view::npos || end < 2) return false;
    return text.find_first_not_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789+-.") == end;
}

}  // namespace

Input Input::bytes(std::string_view bytes) noexcept {
    Input input;
    input.bytes_ = bytes;
    return input;
}

Input Input::text(std::u16string_view text) noexcept {
    Input input;
    input.kind_ = Kind::Text;
    input.text_ = text;
    return input;
}

Input Input::stream(ByteStream& stream) noexcept {
    Input input;
    input.kind_ = Kind::Stream;
    input.stream_ = &stream;
    return input;
}

Input Input::file(std::string path) {
    Input input;
    input.kind_ = Kind::File;
    input.path_ = std::move(path);
    return input;
}

Input Input::location(std::u16string_view pathOrUrl) {
    std::string location = text::toUtf8(pathOrUrl);
    if (startsWithIgnoringCase(location, "file:")) {
        std::string_view rest = std::string_view(location).substr(5);
        if (rest.starts_with("//")) {
            rest.remove_prefix(2);
            if (startsWithIgnoringCase(rest, "localhost/")) rest.remove_prefix(9);
            if (!rest.starts_with('/')) {  // file://host/...
                Input rejected = file(std::move(location));
                rejected.kind_ = Kind::Rejected;
                return rejected;
            }
        }
        return file(unescaped(rest.substr(0, rest.find_first_of("?#"))));
    }
    if (hasScheme(location)) {
        Input rejected = file(std::move(location));
        rejected.kind_ = Kind::Rejected;
        return rejected;
    }
    for (char& c : location) {
        if (c == '\\') c = '/';
    }
    return file(std::move(location));
}

}  // namespace engine::source
