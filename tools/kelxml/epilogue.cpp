// A scanner that knows just enough markup to find the end of the root element: what it passes over on its way
// has been parsed before and is well formed. It reads units of one byte, or of two in UTF-16.
#include "tools/kelxml/epilogue.h"

#include <array>
#include <cctype>
#include <fstream>
#include <string>
#include <string_view>

namespace kelxml {

namespace {

constexpr int kEnd = -1;

enum class Form { Bytes, Utf16LittleEndian, Utf16BigEndian, Unknown };

// Encodings that say "next, bytes mean something else" by sequences of ASCII.
bool shifts(std::string head) {
    for (char& unit : head) unit = static_cast<char>(std::tolower(static_cast<unsigned char>(unit)));
    head.resize(std::min(head.find("?>"), head.size()));
    for (const char* name : {"iso-2022", "utf-7", "hz-gb", "ebcdic"}) {
        if (head.find(name) != std::string::npos) return true;
    }
    return false;
}

Form formOf(const std::string& head) {
    using namespace std::string_view_literals;
    const auto startsWith = [&head](std::string_view bytes) { return head.starts_with(bytes); };
    if (startsWith("\xFF\xFE\0\0"sv) || startsWith("<\0\0\0"sv)) return Form::Unknown;
    if (startsWith("\xFF\xFE"sv) || startsWith("<\0"sv)) return Form::Utf16LittleEndian;
    if (startsWith("\xFE\xFF"sv) || startsWith("\0<"sv)) return Form::Utf16BigEndian;
    const std::size_t start = startsWith("\xEF\xBB\xBF"sv) ? 3 : 0;
    const bool isMarkup = start < head.size() && "< \t\r\n"sv.find(head[start]) != std::string_view::npos;
    return isMarkup && !shifts(head) ? Form::Bytes : Form::Unknown;
}

class Units {
public:
    explicit Units(const std::filesystem::path& path) : file_(path, std::ios::binary) {
        fill();
        form_ = formOf(std::string(block_.data(), std::min<std::size_t>(size_, 200)));
    }

    [[nodiscard]] bool areKnown() const { return form_ != Form::Unknown; }
    [[nodiscard]] std::uint64_t line() const { return line_; }

    int next() {
        const int first = byte();
        if (first == kEnd) return kEnd;
        int unit = first;
        if (form_ != Form::Bytes) {
            const int second = byte();
            if (second == kEnd) return kEnd;
            unit = form_ == Form::Utf16LittleEndian ? second << 8 | first : first << 8 | second;
        }
        if (unit == '\r' || (unit == '\n' && last_ != '\r')) ++line_;
        return last_ = unit;
    }

private:
    int byte() {
        if (at_ == size_ && !fill()) return kEnd;
        return static_cast<unsigned char>(block_[at_++]);
    }

    bool fill() {
        at_ = 0;
        file_.read(block_.data(), static_cast<std::streamsize>(block_.size()));
        size_ = static_cast<std::size_t>(file_.gcount());
        return size_ > 0;
    }

    std::ifstream file_;
    std::array<char, 1 << 16> block_{};
    std::size_t at_ = 0;
    std::size_t size_ = 0;
    Form form_ = Form::Unknown;
    int last_ = 0;
    std::uint64_t line_ = 1;
};

class Scanner {
public:
    explicit Scanner(Units& units) : units_(units) {}

    std::optional<std::uint64_t> run() {
        for (int unit = units_.next(); unit != kEnd; unit = units_.next()) {
            const std::uint64_t line = units_.line();
            const bool isFine = unit == '<' ? markup() : !isRootDone_ || isBlank(unit);
            if (!isFine) return line;
        }
        return std::nullopt;
    }

private:
    static bool isBlank(int unit) { return unit == ' ' || unit == '\t' || unit == '\n' || unit == '\r'; }

    // All of these: false for what may not stand after the root element, or does not end.
    bool markup() {
        const int unit = units_.next();
        if (unit == '?') return instruction();
        if (unit == '!') return declaration();
        if (isRootDone_) return false;
        if (unit == '/') {
            isRootDone_ = --depth_ == 0;
            return skipPast(">");
        }
        return startTag(unit);
    }

    bool instruction() {
        std::string target;
        int unit = units_.next();
        for (; unit != kEnd && !isBlank(unit) && unit != '?'; unit = units_.next()) {
            if (target.size() < 4) target += static_cast<char>(unit < 0x80 ? std::tolower(unit) : '?');
        }
        if (isRootDone_ && (target.empty() || target == "xml")) return false;
        return unit == '?' ? skipRest("?>", 1) : skipPast("?>");
    }

    bool declaration() {
        const int unit = units_.next();
        if (unit == '-') return units_.next() == '-' && comment();
        if (isRootDone_) return false;
        return unit == '[' ? skipPast("]]>") : documentType();
    }

    // Two dashes end a comment or are a mistake.
    bool comment() { return skipPast("--") && units_.next() == '>'; }

    bool startTag(int unit) {
        int last = 0;
        for (; unit != '>'; last = unit, unit = units_.next()) {
            if (unit == kEnd) return false;
            if ((unit == '"' || unit == '\'') && !skipQuoted(unit)) return false;
        }
        if (last != '/') ++depth_;
        isRootDone_ = depth_ == 0;
        return true;
    }

    // With its internal subset, whose declarations, comments and instructions may hold anything.
    bool documentType() {
        bool isInSubset = false;
        for (int unit = units_.next(); unit != kEnd; unit = units_.next()) {
            if (unit == '>' && !isInSubset) return true;
            if (unit == '[') isInSubset = true;
            if (unit == ']') isInSubset = false;
            if ((unit == '"' || unit == '\'') && !skipQuoted(unit)) return false;
            if (unit != '<') continue;
            unit = units_.next();
            if (unit == '?' && !skipPast("?>")) return false;
            if (unit == '!' && units_.next() == '-' && !(units_.next() == '-' && comment())) return false;
        }
        return false;
    }

    bool skipQuoted(int quote) {
        for (int unit = units_.next(); unit != quote; unit = units_.next()) {
            if (unit == kEnd) return false;
        }
        return true;
    }

    bool skipPast(std::string_view end) { return skipRest(end, 0); }

    // `seen` units of `end` have gone by. All of its units but the last are the same, or there are two.
    bool skipRest(std::string_view end, std::size_t seen) {
        while (seen < end.size()) {
            const int unit = units_.next();
            if (unit == kEnd) return false;
            if (unit == end[seen])
                ++seen;
            else if (unit != end[0] || seen == 0)
                seen = 0;
            // Else one more of the leading units: as many of them as before stand right here.
        }
        return true;
    }

    Units& units_;
    std::uint64_t depth_ = 0;
    bool isRootDone_ = false;
};

}  // namespace

std::optional<std::uint64_t> lineOfJunkAfterRoot(const std::filesystem::path& file) {
    std::error_code absent;
    if (!std::filesystem::is_regular_file(file, absent)) return std::nullopt;
    Units units(file);
    if (!units.areKnown()) return std::nullopt;
    return Scanner(units).run();
}

}  // namespace kelxml
