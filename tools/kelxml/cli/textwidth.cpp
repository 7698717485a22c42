#include "tools/kelxml/cli/textwidth.h"

#include <algorithm>

#include "KelBasicTypes/utf8.h"

namespace kelxml {

namespace {

// The blocks that our messages may hold: kana, ideographs, full-width forms, CJK punctuation.
bool isWide(char16_t unit) {
    return (unit >= 0x3000 && unit < 0xA000) || (unit >= 0xFF00 && unit < 0xFF61);
}

// A line must not begin with these.
bool mustFollow(char16_t unit) {
    static constexpr std::u16string_view kClosing = u"、。」』）ー，．：；！？っゃゅょッャュョ";
    return kClosing.find(unit) != std::u16string_view::npos;
}

std::size_t widthOf(std::u16string_view text) {
    std::size_t width = text.size();
    for (const char16_t unit : text) width += isWide(unit) ? 1 : 0;
    return width;
}

// Where the piece that starts at `start` ends: what cannot be broken.
std::size_t pieceEnd(std::u16string_view text, std::size_t start) {
    std::size_t at = start + 1;
    if (text[start] == u' ') return at;
    while (at < text.size() && text[at] != u' ') {
        const bool mayBreak = (isWide(text[at]) || isWide(text[at - 1])) && !mustFollow(text[at]) &&
                              text[at - 1] != u'「' && text[at - 1] != u'（';
        if (mayBreak) break;
        ++at;
    }
    return at;
}

}  // namespace

std::vector<std::string> wrapped(std::string_view utf8, std::size_t widthInColumns) {
    const std::u16string text = kel::fromUtf8(utf8);
    std::vector<std::string> lines;
    std::u16string line;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = pieceEnd(text, at);
        const std::u16string_view piece(text.data() + at, end - at);
        at = end;
        const bool isSpace = piece == u" ";
        if (isSpace && line.empty()) continue;
        if (!isSpace && !line.empty() && widthOf(line) + widthOf(piece) > widthInColumns) {
            while (line.back() == u' ') line.pop_back();
            lines.push_back(kel::toUtf8(line));
            line.clear();
        }
        line += piece;
    }
    if (!line.empty()) lines.push_back(kel::toUtf8(line));
    return lines;
}

std::vector<std::string> pieces(std::string_view utf8) {
    const std::u16string text = kel::fromUtf8(utf8);
    std::vector<std::string> result;
    for (std::size_t at = 0, end = 0; at < text.size(); at = end) {
        end = pieceEnd(text, at);
        result.push_back(kel::toUtf8(std::u16string_view(text).substr(at, end - at)));
    }
    return result;
}

}  // namespace kelxml
