// A gettext catalogue (.mo), read whole and checked before use: a damaged file is rejected, never trusted.
// Threads: constant once it is read.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "host/detail/pluralrule.h"

namespace kelhost {

class Catalogue {
public:
    // Throws std::runtime_error: the path and what is wrong with the file.
    [[nodiscard]] static Catalogue read(const std::filesystem::path& file);
    // `content` is the file's bytes. Throws std::runtime_error: what is wrong with it.
    [[nodiscard]] static Catalogue parse(std::string content);

    // Empty when there is no translation. Lives as long as this object.
    [[nodiscard]] std::string_view find(std::string_view key) const noexcept;

    // The form of a text that the catalogue's rule gives for the count; the only form of one that has no
    // more.
    [[nodiscard]] std::string_view find(std::string_view key, std::uint64_t count) const noexcept;

    [[nodiscard]] std::vector<std::string_view> keys() const;

private:
    // Where a text stands; views would dangle once the object moves.
    struct Range {
        std::uint32_t offset;
        std::uint32_t length;
    };
    struct Entry {
        Range key;
        Range text;
        std::uint32_t lengthOfForms;  // of the text with all its forms, a NUL between two
    };

    [[nodiscard]] std::string_view at(const Range& range) const noexcept {
        return std::string_view(content_).substr(range.offset, range.length);
    }
    [[nodiscard]] Range checkedRange(std::uint64_t descriptor, bool isSwapped) const;
    void checkEncoding() const;

    [[nodiscard]] std::string_view headerField(std::string_view name) const noexcept;

    std::string content_;
    PluralRule rule_;
    std::vector<Entry> entries_;  // sorted by key; each range is inside content_
};

}  // namespace kelhost
