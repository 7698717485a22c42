// What walking a document finds. A walk hands every name, attribute and text to a sink as UTF-16, in document
// order within an element; the attributes' order is the library's own.
// Threads: one.
#pragma once

#include <cstdint>
#include <string_view>

namespace bench {

// For the clock: adds lengths up and touches nothing more.
class CountingSink {
public:
    void element(std::u16string_view name) {
        ++elements_;
        units_ += name.size();
    }
    void attribute(std::u16string_view name, std::u16string_view value) {
        ++attributes_;
        units_ += name.size() + value.size();
    }
    // Text that is white space between elements is dropped by some and kept by others, and so is not counted
    // in the result; `textUnits_` makes sure that the text was produced.
    void text(std::u16string_view text) { textUnits_ += text.size(); }

    // One number for elements, attributes and the length of names and values.
    [[nodiscard]] std::uint64_t result() const {
        return textUnits_ == ~std::uint64_t{0} ? 0 : (elements_ * 31 + attributes_) * 1'000'003 + units_;
    }

private:
    std::uint64_t elements_ = 0;
    std::uint64_t attributes_ = 0;
    std::uint64_t units_ = 0;
    std::uint64_t textUnits_ = 0;
};

// For the check: every unit counts but white space in texts. Sums of hashes, so that the order of attributes
// does not matter.
class DigestSink {
public:
    void element(std::u16string_view name) { sum_ += hash(name, 1); }
    void attribute(std::u16string_view name, std::u16string_view value) {
        sum_ += hash(value, hash(name, 2));
    }
    void text(std::u16string_view text) {
        std::uint64_t h = 3;
        for (const char16_t unit : text) {
            if (unit != u' ' && unit != u'\t' && unit != u'\n' && unit != u'\r') h = step(h, unit);
        }
        if (h != 3) sum_ += h;
    }
    [[nodiscard]] std::uint64_t result() const { return sum_; }

private:
    static std::uint64_t step(std::uint64_t h, char16_t unit) { return (h ^ unit) * 0x100000001B3u; }
    static std::uint64_t hash(std::u16string_view text, std::uint64_t h) {
        for (const char16_t unit : text) h = step(h, unit);
        return step(h, u'\n');
    }
    std::uint64_t sum_ = 0;
};

}  // namespace bench
