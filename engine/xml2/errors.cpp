// libxml2 and libxslt report one failure in several pieces: some without a line, some that repeat each other,
// some with the names of functions. They are put together by the words that they begin with.
#include "engine/xml2/errors.h"

#include <algorithm>
#include <charconv>
#include <cstdarg>

#include "engine/libstate/libstate.h"
#include "engine/libstate/xslterrors.h"
#include "engine/text/worded.h"
#include "engine/xml2/uri.h"

namespace engine::xml2 {

using text::worded;

namespace {

constexpr std::size_t kMaxLines = 25;
constexpr std::size_t kLongestLine = 2000;  // bytes

// The library's words for work that goes on and on, and ours.
constexpr std::string_view kLimitReached = "Operation limit exceeded";
constexpr std::string_view kEndless =
    worded("Stopped as endless: this is far more work than a document of this size can ask for.");

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view kWhiteSpace = " \t\r\n";
    const std::size_t first = text.find_first_not_of(kWhiteSpace);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(kWhiteSpace) - first + 1);
}

// The words between `from` and `to` (the end if absent); empty if `from` is absent.
std::string_view between(std::string_view text, std::string_view from, std::string_view to) {
    const std::size_t start = text.find(from);
    if (start == std::string_view::npos) return {};
    text.remove_prefix(start + from.size());
    return text.substr(0, text.rfind(to));
}

bool isContext(std::string_view line) {
    for (const std::string_view start : {"compilation error", "runtime error", "error"}) {
        if (!line.starts_with(start)) continue;
        const std::string_view rest = line.substr(start.size());
        if (rest.empty() || rest.starts_with(": file ") || rest.starts_with(": element ")) return true;
    }
    return false;
}

// "runtime error: file URI line N element NAME", where each part but the first may be missing.
std::string contextLocation(std::string_view line) {
    std::string_view rest = between(line, ": file ", " element ");
    std::uint32_t number = 0;
    const std::size_t at = rest.rfind(" line ");
    if (at != std::string_view::npos) {
        const std::string_view digits = rest.substr(at + 6);
        (void)std::from_chars(digits.data(), digits.data() + digits.size(), number);
        rest = rest.substr(0, at);
    }
    return locationText(rest, number);
}

// The library's function names are of no use to the author of the document, and some lines say again what the
// line before said.
std::string plainWords(std::string_view line) {
    if (line.ends_with(kLimitReached)) return std::string(kEndless);
    if (line.find("rights for ") != std::string_view::npos && line.ends_with(" denied")) return {};
    for (const std::string_view prefix : {"xslt", "xmlXPath", "xmlXPtr", "exslt"}) {
        if (!line.starts_with(prefix)) continue;
        const std::size_t end = line.find_first_of(" :");
        if (end == std::string_view::npos || line.find(':') > end + 1) break;
        return std::string(trimmed(line.substr(line.find(':') + 1)));
    }
    return std::string(line);
}

}  // namespace

std::string locationText(std::string_view uri, std::uint32_t line) {
    std::string location = displayName(uri);
    if (line != 0) {
        if (!location.empty()) location += ", ";
        location += "line " + std::to_string(line);
    }
    if (!location.empty()) location += ": ";
    return location;
}

void Causes::keep(std::string line) {
    if (line.size() > kLongestLine) {
        std::size_t end = kLongestLine;
        while (end > 0 && (static_cast<unsigned char>(line[end]) & 0xC0u) == 0x80u) --end;
        line.resize(end);
        line += "...";
    }
    if (!lines_.empty() && lines_.back() == line) return;  // both channels report some errors
    if (lines_.size() == kMaxLines) {
        ++dropped_;
        return;
    }
    lines_.push_back(std::move(line));
}

void Causes::add(std::string_view text) {
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        const std::string_view line = trimmed(text.substr(0, end));
        if (!line.empty()) keep(std::string(line));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
}

void Causes::add(std::string_view uri, std::uint32_t line, std::string_view text) {
    std::string single = locationText(uri, line);
    for (const char c : trimmed(text)) single += c == '\n' ? ' ' : c;
    keep(std::move(single));
}

void Causes::add(const xmlError& error) {
    isOutOfMemory_ = isOutOfMemory_ || reportsAllocationError(error);
    if (error.level < XML_ERR_ERROR || error.message == nullptr || complete_) return;
    std::string text(trimmed(error.message));
    if (text == kLimitReached) text = kEndless;
    if (error.domain == XML_FROM_XPATH && error.str1 != nullptr) {
        text = error.int1 > 0 ? worded("XPath expression '%1': %2 at character %3", error.str1, text,
                                       std::to_string(error.int1 + 1))
                              : worded("XPath expression '%1': %2", error.str1, text);
    }
    const auto line = error.line > 0 ? static_cast<std::uint32_t>(error.line) : 0;
    const std::string_view file = error.file == nullptr ? std::string_view() : error.file;
    if (file.empty() && line == 0) {
        unlocated_.push_back(std::move(text));
    } else {
        add(file, line, text);
    }
}

void Causes::keepUnlocated(const std::string& context) {
    for (const std::string& text : unlocated_) {
        keep(context + text);
        complete_ = complete_ || text.ends_with(kEndless);
    }
    unlocated_.clear();
}

void Causes::addText(std::string_view piece) {
    for (const char c : piece) {
        if (c == '\n') {
            finishLine(pending_, true);
        } else if (pending_.size() <= kLongestLine) {
            pending_ += c;
        }
    }
}

void Causes::addUnlocated(std::string_view piece) {
    for (const char c : piece) {
        if (c == '\n') {
            finishLine(pendingUnlocated_, false);
        } else if (pendingUnlocated_.size() <= kLongestLine) {
            pendingUnlocated_ += c;
        }
    }
}

void Causes::finishLine(std::string& pending, bool isLocated) {
    const std::string line(trimmed(pending));
    pending.clear();
    if (line.empty() || complete_) return;
    if (isLocated && isContext(line)) {
        context_ = contextLocation(line);
        if (!context_.empty()) keepUnlocated(context_);
        return;
    }
    std::string said = plainWords(line);
    if (said.empty()) return;
    if (!isLocated || context_.empty()) {
        unlocated_.push_back(std::move(said));
        return;
    }
    // what follows is a dump of everything that is open, or the same once more for each level
    const bool isLast =
        line.find("potential infinite template recursion") != std::string::npos || said == kEndless;
    keep(context_ + said);
    complete_ = isLast;
}

std::string Causes::text() {
    finishLine(pending_, true);
    finishLine(pendingUnlocated_, false);
    keepUnlocated({});
    std::string all;
    for (const std::string& line : lines_) {
        if (!all.empty()) all += '\n';
        all += line;
    }
    if (dropped_ != 0) all += '\n' + worded("... and %1 more", std::to_string(dropped_));
    return all;
}

bool reportsAllocationError(const xmlError& error) noexcept {
    if (error.code != XML_ERR_NO_MEMORY) return false;
    return error.message == nullptr ||
           std::string_view(error.message).find("limit") == std::string_view::npos;
}

void listenStructured(void* context, ErrorPointer error) noexcept {
    if (context == nullptr || error == nullptr) return;
    const libstate::KeepErrno keep;
    try {
        static_cast<Causes*>(context)->add(*error);
    } catch (...) {
        return;
    }
}

void listenUnlocated(void* context, const char* format, ...) noexcept {
    if (context == nullptr) return;
    const libstate::KeepErrno keep;
    std::va_list arguments;
    va_start(arguments, format);
    try {
        static_cast<Causes*>(context)->addUnlocated(libstate::formatted(format, arguments));
    } catch (...) {
        // the line is lost, as the header says
    }
    va_end(arguments);
}

}  // namespace engine::xml2
