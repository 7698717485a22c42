// What libxml2 and libxslt say on their way to a failure, in order, put into lines that a person can act on:
// "FILE, line N: what is wrong". Threads: as the call that they listen to.
#pragma once

#include <libxml/xmlerror.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace engine::xml2 {

namespace detail {
template <typename Function>
struct ErrorOf;
template <typename Error>
struct ErrorOf<void (*)(void*, Error)> {
    using type = Error;
};
}  // namespace detail

// What a structured handler is given: a pointer to const in newer versions of the library.
using ErrorPointer = detail::ErrorOf<xmlStructuredErrorFunc>::type;

// A file, its address or nothing, and a line or 0, worded as the start of a sentence; "" for nothing.
[[nodiscard]] std::string locationText(std::string_view uri, std::uint32_t line);

class Causes final {
public:
    // Without location or duplicate check; `text` may have several lines.
    void add(std::string_view text);
    void add(std::string_view uri, std::uint32_t line, std::string_view text);
    // A report of libxml2; warnings are left out.
    void add(const xmlError& error);
    // A piece of libxml2's running text, which has no locations; a line waits for the next context.
    void addUnlocated(std::string_view piece);
    // A piece of libxslt's running text: contexts ("runtime error: file F line N element E") apply to the
    // lines after them.
    void addText(std::string_view piece);

    [[nodiscard]] bool empty() const noexcept {
        return lines_.empty() && pending_.empty() && pendingUnlocated_.empty() && unlocated_.empty();
    }
    // A report said that an allocation failed. Not every one is reported: see libstate::AllocationError.
    [[nodiscard]] bool isOutOfMemory() const noexcept { return isOutOfMemory_; }
    [[nodiscard]] std::size_t size() const noexcept { return lines_.size(); }
    // One cause a line, without a trailing newline. Long lists end with how many there are in all.
    [[nodiscard]] std::string text();

private:
    void finishLine(std::string& pending, bool isLocated);
    void keep(std::string line);
    void keepUnlocated(const std::string& context);

    std::vector<std::string> lines_;
    std::size_t dropped_ = 0;
    bool isOutOfMemory_ = false;
    bool complete_ = false;         // nothing after this is reported
    std::string pending_;           // the line that addText is in the middle of
    std::string pendingUnlocated_;  // and addUnlocated
    std::string context_;           // the location that the next lines belong to
    // An XPath expression is compiled by itself, so what is said of it has no location; the context comes
    // after.
    std::vector<std::string> unlocated_;
};

// Whether a report of libxml2's says that an allocation failed. It uses the same number for limits of its
// own.
[[nodiscard]] bool reportsAllocationError(const xmlError& error) noexcept;

// The handlers for libxml2's and libxslt's channels; `context` is a Causes. They let no exception out: short
// of memory a line is lost, never the failure.
void listenStructured(void* context, ErrorPointer error) noexcept;
void listenUnlocated(void* context, const char* format, ...) noexcept __attribute__((format(printf, 2, 3)));

}  // namespace engine::xml2
