// Libraries that read a document as a stream of events, ours among them. Each reads the file in pieces,
// resolves namespaces, and hands elements, attributes and characters to a receiver that counts them. Threads:
// one.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace bench {

struct EventCounts {
    std::uint64_t elements = 0;
    std::uint64_t attributes = 0;  // without namespace declarations
    std::uint64_t characters = 0;  // UTF-16 units, white space included

    // Of an element's attributes with one local name ours reports the first alone, so attributes are compared
    // with each other by demandEqualEvents and not here.
    [[nodiscard]] std::uint64_t result() const { return elements * 1'000'003 + characters; }
};

class StreamLibrary {
public:
    [[nodiscard]] virtual std::string_view name() const = 0;
    // Throws std::runtime_error when the document is rejected.
    [[nodiscard]] virtual EventCounts parse(const std::string& path) const = 0;

protected:
    ~StreamLibrary() = default;
};

const StreamLibrary& ourStreams();
const StreamLibrary& expatStreams();
const StreamLibrary& libxml2Streams();

[[nodiscard]] std::vector<const StreamLibrary*> streamLibraries();  // ours first
[[nodiscard]] EventCounts parseTextWithExpat(std::string_view text);

// Throws std::runtime_error unless all libraries report the same from it.
void demandEqualEvents(const std::string& path);
// How many attributes have the local name of an earlier one of their element.
[[nodiscard]] std::uint64_t countRepeatedLocalNames(const std::string& path);

// The UTF-16 length of UTF-8 text that a parser has accepted, also of a part cut between two code points.
[[nodiscard]] inline std::uint64_t utf16Length(std::string_view utf8) {
    std::uint64_t units = 0;
    for (const char c : utf8) {
        const auto byte = static_cast<unsigned char>(c);
        units += (byte & 0xC0u) != 0x80u;
        units += byte >= 0xF0u;
    }
    return units;
}

}  // namespace bench
