// What the parsers of one document share: the names and namespaces, and where the event being delivered
// starts.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory_resource>
#include <optional>

#include "engine/reader/events.h"
#include "engine/source/textsource.h"
#include "engine/text/chars.h"
#include "engine/text/worded.h"

namespace engine::reader::detail {

using namespace text;  // characters, names and words
using source::Fault;
using source::kNoOffset;
using source::TextSource;

inline constexpr const char* kDoctypeProhibited =
    worded("A DOCTYPE is not allowed here: documents with a document type declaration are rejected.");

class Context final : public Locator {
public:
    // Borrows both. `names` are the sink's; null: own ones are used, and forgotten when they become too many.
    Context(TextSource& source, Names* names) noexcept
        : source_(source), names_(names == nullptr ? own_.emplace() : *names), resolved_(names_, &memory_) {}
    Context(const Context&) = delete;
    Context& operator=(const Context&) = delete;
    ~Context() = default;

    [[nodiscard]] Position position() const override {
        return source_.holds(event) ? source_.positionOf(event) : Position{};
    }
    [[nodiscard]] std::uint64_t offset() const override { return event; }
    [[nodiscard]] const Namespaces* namespaces() const override { return &resolved_; }

    [[nodiscard]] TextSource& source() noexcept { return source_; }
    [[nodiscard]] Names& names() noexcept { return names_; }
    [[nodiscard]] bool ownsNames() const noexcept { return own_.has_value(); }
    // For what lives as long as this object and grows rarely: nothing is given back before.
    [[nodiscard]] std::pmr::memory_resource* memory() noexcept { return &memory_; }
    [[nodiscard]] Namespaces& resolved() noexcept { return resolved_; }

    std::uint64_t event = 0;    // where it starts
    bool isStandalone = false;  // as the XML declaration says

private:
    // A small document needs no more than the first few bytes, and so no heap.
    std::array<std::byte, 2048> firstMemory_;
    std::pmr::monotonic_buffer_resource memory_{firstMemory_.data(), firstMemory_.size()};
    TextSource& source_;
    std::optional<Names> own_;
    Names& names_;
    Namespaces resolved_;
};

}  // namespace engine::reader::detail
