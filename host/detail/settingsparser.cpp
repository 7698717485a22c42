// Line by line, in one pass. A fault ends it with the line and the position in it.
#include "host/detail/settingsparser.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>

#include "host/settings.h"
#include "host/text.h"

namespace kelhost {

namespace {

constexpr std::string_view kWhiteSpace = " \t";
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

enum class Kind { TruthValue, Number };

// Keys that the component library reads as something other than text.
struct TypedKey {
    std::string_view key;
    Kind kind;
};
constexpr std::array kTypedKeys{
    TypedKey{"Memory/UseErrorService", Kind::TruthValue},
    TypedKey{"Memory/MemLimit", Kind::Number},
};

char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

std::string_view trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(kWhiteSpace);
    return first == std::string_view::npos
               ? text.substr(text.size())
               : text.substr(first, text.find_last_not_of(kWhiteSpace) - first + 1);
}

class Parser {
public:
    Parser(std::string_view content, const std::string& name) : rest_(content), name_(name) {
        if (rest_.starts_with(kByteOrderMark)) rest_.remove_prefix(kByteOrderMark.size());
    }

    SettingValues values() {
        while (!rest_.empty()) readLine();
        return std::move(values_);
    }

private:
    void readLine() {
        ++number_;
        const std::size_t end = std::min(rest_.find('\n'), rest_.size());
        line_ = rest_.substr(0, end);
        rest_.remove_prefix(std::min(end + 1, rest_.size()));
        if (line_.ends_with('\r')) line_.remove_suffix(1);
        checkText();
        const std::string_view text = trimmed(line_);
        if (text.empty() || text.front() == '#' || text.front() == ';') return;
        if (text.front() == '[') return readSection(text);
        readSetting(text);
    }

    void checkText() const {
        const std::size_t nul = line_.find('\0');
        if (nul != std::string_view::npos) reject(nul, "a byte 0 is no text");
        // Decoding marks each byte that is not UTF-8 by U+FFFD: the text then no longer reads as it stands.
        std::size_t at = 0;
        for (const char16_t unit : kel::fromUtf8(line_)) {
            constexpr char16_t kReplacement = 0xFFFD;
            const bool isHighHalf = (unit & 0xFC00) == 0xD800;
            if (unit == kReplacement && line_.substr(at, 3) != "\xEF\xBF\xBD")
                reject(at, "this is not UTF-8");
            at += isHighHalf ? 4 : (unit & 0xFC00) == 0xDC00 ? 0 : unit < 0x80 ? 1 : unit < 0x800 ? 2 : 3;
        }
    }

    void readSection(std::string_view text) {
        if (!text.ends_with(']'))
            reject(positionOf(text) + text.size(), "the section's name does not end with ']'");
        const std::string_view section = trimmed(text.substr(1, text.size() - 2));
        if (section.empty()) reject(positionOf(text), "the section has no name");
        section_ = section;
    }

    void readSetting(std::string_view text) {
        const std::size_t equals = text.find('=');
        if (equals == std::string_view::npos)
            reject(positionOf(text), "neither a setting, 'Name = value', nor a section, '[Name]'");
        const std::string_view name = trimmed(text.substr(0, equals));
        if (name.empty()) reject(positionOf(text), "the setting has no name");
        std::string key = section_.empty() ? std::string(name) : section_ + '/' + std::string(name);
        const std::string_view value = valueOf(trimmed(text.substr(equals + 1)));
        checkType(key, value);
        const auto [line, isNew] = lines_.try_emplace(key, number_);
        if (!isNew)
            reject(positionOf(name), key + " is set already, in line " + std::to_string(line->second));
        values_.emplace(std::move(key), value);
    }

    [[nodiscard]] std::string_view valueOf(std::string_view text) const {
        if (!text.starts_with('"')) return text;
        if (text.size() < 2 || !text.ends_with('"')) reject(positionOf(text), "the quoted value has no end");
        return text.substr(1, text.size() - 2);
    }

    void checkType(const std::string& key, std::string_view value) const {
        const auto typed = std::ranges::find(kTypedKeys, key, &TypedKey::key);
        if (typed == kTypedKeys.end()) return;
        if (typed->kind == Kind::TruthValue && !truthValueOf(value))
            reject(positionOf(value), key + " is yes or no, not '" + std::string(value) + "'");
        if (typed->kind == Kind::Number && !numberOf(value))
            reject(positionOf(value), key + " is a number, not '" + std::string(value) + "'");
    }

    [[nodiscard]] std::size_t positionOf(std::string_view part) const {
        return static_cast<std::size_t>(part.data() - line_.data());
    }

    [[noreturn]] void reject(std::size_t at, const std::string& reason) const {
        const auto isStart = [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; };
        const auto characters = std::ranges::count_if(line_.substr(0, at), isStart);
        throw SettingsError(name_, number_, static_cast<std::size_t>(characters) + 1, reason);
    }

    std::string_view rest_;
    const std::string& name_;
    std::string_view line_;  // without its end
    std::size_t number_ = 0;
    std::string section_;
    SettingValues values_;
    std::map<std::string, std::size_t> lines_;  // where a key was set
};

}  // namespace

SettingValues parseSettings(std::string_view content, const std::string& name) {
    return Parser(content, name).values();
}

std::optional<bool> truthValueOf(std::string_view text) {
    std::string word(text);
    std::ranges::transform(word, word.begin(), lower);
    if (word == "true" || word == "yes" || word == "on" || word == "1") return true;
    if (word == "false" || word == "no" || word == "off" || word == "0") return false;
    return std::nullopt;
}

std::optional<double> numberOf(std::string_view text) {
    double number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || stop != end) return std::nullopt;
    return number;
}

}  // namespace kelhost
