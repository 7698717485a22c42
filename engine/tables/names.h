// The qualified names of one document, each kept once, with what a parser asks about a name: whether it is
// one, whether it has a prefix, whether it declares a namespace. All of that is found out when a name first
// appears. Threads: as the document that the names belong to.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>
#include <string_view>

#include "engine/tables/table.h"
#include "engine/text/block.h"

namespace engine::tables {

using NameId = std::uint32_t;
inline constexpr NameId kNoName = 0xFFFFFFFF;

class Names final {
public:
    static constexpr std::uint32_t kMax = (1u << 27) - 8;  // what a node's record has room for
    static constexpr std::size_t kReadableBytes = 16;      // see internAt

    enum Flag : std::uint8_t {
        kPrefixed = 1,      // has a prefix other than xmlns
        kDeclaration = 2,   // xmlns or xmlns:...
        kNotQualified = 4,  // more than one colon, or nothing that a name may start with on one side of it
        kNotAName = 8,      // holds, or starts with, a character that names may not
    };

    Names() noexcept;

    // The id of `name`, a new one if needed; ids count from 0. Throws as Table does, unchanged then.
    [[nodiscard]] NameId intern(std::string_view name);
    enum class Origin : std::uint8_t {
        Unknown,
        Scanned,  // a parser has seen that it is not empty and holds what names may, as far as it is ASCII
    };
    // The same for a text in a buffer of which kReadableBytes from its start may be read.
    [[nodiscard, gnu::always_inline]] NameId internAt(const char* name, std::size_t length, Origin origin) {
        const Start start = startOf(name, length);
        const std::uint32_t hash = hashOf(start, name, length);
        for (std::uint32_t at = hash & mask_;; at = (at + 1) & mask_) {
            const std::uint32_t slot = slots_[at];
            if (slot == 0) return add({name, length}, start, hash, origin);
            if (isAt(slot - 1, start, name, length)) return slot - 1;
        }
    }
    [[nodiscard]] std::optional<NameId> find(std::string_view name) const noexcept;

    // After this name, if the text at `at` begins with it, else null. The text ends in a NUL, after which
    // kReadableBytes may be read; whether the name ends there, too, is the caller's to see.
    [[nodiscard, gnu::always_inline]] const char* endAt(NameId id, const char* at) const noexcept {
        const Record& record = records_[id];
        const std::uint32_t same = text::Block::load(at).equal(text::Block::load(record.start.bytes()));
        const auto length = static_cast<std::uint32_t>(std::countr_zero(~same | 1u << kReadableBytes));
        const bool isThere =
            length >= record.length || (length == kReadableBytes && isRestAt(record, at + kReadableBytes));
        return isThere ? at + record.length : nullptr;
    }

    [[nodiscard]] std::string_view text(NameId id) const noexcept {  // lives until the next new name
        const Record& record = records_[id];
        return {bytes_.data() + record.offset, record.length};
    }
    // The first kReadableBytes of a name, zeros after a shorter one; lives as long.
    [[nodiscard]] const char* start(NameId id) const noexcept { return records_[id].start.bytes(); }
    [[nodiscard]] std::uint32_t length(NameId id) const noexcept { return records_[id].length; }
    [[nodiscard]] std::uint8_t flags(NameId id) const noexcept {
        return static_cast<std::uint8_t>(records_[id].prefixAndFlags & kFlagMask);
    }
    // What stands before the first colon; of a declaration the prefix that it declares. kNoName: there is
    // none.
    [[nodiscard]] NameId prefix(NameId id) const noexcept {
        return (records_[id].prefixAndFlags >> kFlagBits) - 1;
    }
    [[nodiscard]] std::uint32_t prefixLength(NameId id) const noexcept {  // in bytes, 0: no prefix
        constexpr std::uint32_t kXmlns = 5;
        if ((flags(id) & kDeclaration) != 0) return length(id) > kXmlns ? kXmlns : 0;
        const NameId before = prefix(id);
        return before == kNoName ? 0 : length(before);
    }
    [[nodiscard]] std::string_view localName(NameId id) const noexcept {
        const std::uint32_t prefix = prefixLength(id);
        return text(id).substr(prefix == 0 ? 0 : prefix + 1);
    }
    [[nodiscard]] std::uint32_t size() const noexcept { return records_.size(); }
    [[nodiscard]] std::size_t sizeInBytes() const noexcept;
    void trim();
    void clear() noexcept;  // forgets all names; their ids are used again
    // Forgets all names but those of `kept` and their prefixes, and replaces the ids there. The generation
    // distinguishes one set of ids from the next.
    void compact(std::span<NameId* const> kept);
    [[nodiscard]] std::uint32_t generation() const noexcept { return generation_; }

private:
    // The first sixteen bytes of a name, zeros after a shorter one.
    struct Start {
        std::uint64_t low;
        std::uint64_t high;
        [[nodiscard]] const char* bytes() const noexcept { return reinterpret_cast<const char*>(this); }
    };
    struct Record {
        Start start;
        std::uint32_t offset;
        std::uint32_t length;
        std::uint32_t prefixAndFlags;  // the id of the prefix plus 1, above the flags
        std::uint32_t hash;
    };
    static constexpr std::uint32_t kFlagBits = 4;
    static constexpr std::uint32_t kFlagMask = (1u << kFlagBits) - 1;
    static constexpr std::uint32_t kFirstSlots = 64;

    [[nodiscard]] static Start startOf(const char* name, std::size_t length) noexcept {
        std::uint64_t low;
        std::uint64_t high;
        std::memcpy(&low, name, 8);
        std::memcpy(&high, name + 8, 8);
        Start mask;
        std::memcpy(&mask, kMasks + kReadableBytes - (length < kReadableBytes ? length : kReadableBytes),
                    sizeof mask);
        return {low & mask.low, high & mask.high};
    }
    [[nodiscard]] std::uint32_t hashOf(const Start& start, const char* name,
                                       std::size_t length) const noexcept {
        std::uint64_t hash = mix(start.low ^ secret_[0], start.high ^ secret_[1] ^ length);
        if (length > kReadableBytes) hash = hashRest(hash, name, length);
        return static_cast<std::uint32_t>(hash);
    }
    [[nodiscard]] bool isAt(NameId id, const Start& start, const char* name,
                            std::size_t length) const noexcept {
        const Record& record = records_[id];
        return record.start.low == start.low && record.start.high == start.high && record.length == length &&
               (length <= kReadableBytes || text(id) == std::string_view(name, length));
    }
    [[nodiscard]] bool isRestAt(const Record& record, const char* at) const noexcept {
        return std::strncmp(at, bytes_.data() + record.offset + kReadableBytes,
                            record.length - kReadableBytes) == 0;
    }
    // Both halves of the product: a hash that cannot be predicted without the secret.
    [[nodiscard]] static std::uint64_t mix(std::uint64_t a, std::uint64_t b) noexcept {
        __extension__ using Product = unsigned __int128;
        const Product product = static_cast<Product>(a) * b;
        return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
    }
    static const unsigned char kMasks[2 * kReadableBytes];  // sixteen times 0xFF, sixteen times 0

    [[nodiscard]] std::uint64_t hashRest(std::uint64_t hash, const char* name,
                                         std::size_t length) const noexcept;
    [[nodiscard]] NameId add(std::string_view name, const Start& start, std::uint32_t hash, Origin origin);
    [[nodiscard]] static bool isPlainStart(const Start& start, std::size_t length) noexcept;
    // Not part of `add`, which has registers enough without them.
    [[nodiscard, gnu::noinline]] std::uint32_t examine(std::string_view name, Origin origin);
    [[nodiscard]] NameId prefixFor(std::string_view prefix);
    [[gnu::noinline]] void growSlots();

    // Differs from document to document, so that no document can be written whose names all meet in one slot.
    std::uint64_t secret_[2];
    Table<Record> records_{kMax};
    Table<char> bytes_;
    // Open addressing, a power of two, at most half full; 0 is free, else the id plus 1. The first few need
    // no heap.
    std::uint32_t* slots_ = firstSlots_;
    std::uint32_t mask_ = kFirstSlots - 1;
    Table<std::uint32_t> manySlots_;
    std::uint32_t firstSlots_[kFirstSlots] = {};
    std::uint32_t generation_ = 0;
    NameId lastPrefix_ = kNoName;  // names of one prefix come together
};

}  // namespace engine::tables
