#include "engine/dom/names.h"

#include <chrono>
#include <cstring>

namespace engine::dom {

namespace {

__extension__ using Product = unsigned __int128;

std::uint64_t mix(std::uint64_t a, std::uint64_t b) noexcept {
    const Product product = static_cast<Product>(a) * b;
    return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
}

template <typename Word>
Word load(const char* from) noexcept {
    Word word;
    std::memcpy(&word, from, sizeof word);
    return word;
}

// The last bytes of a name of `size`, 8 at most, in one word; read in pieces of fixed length that may
// overlap.
std::uint64_t lastWord(const char* at, std::size_t left, std::size_t size) noexcept {
    if (size >= 8) return load<std::uint64_t>(at + left - 8);
    if (size >= 4) return std::uint64_t{load<std::uint32_t>(at)} << 32 | load<std::uint32_t>(at + size - 4);
    if (size >= 2) return std::uint64_t{load<std::uint16_t>(at)} << 16 | load<std::uint16_t>(at + size - 2);
    return size == 0 ? 0 : static_cast<unsigned char>(*at);
}

}  // namespace

Names::Names() noexcept
    : secret_(mix(static_cast<std::uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count()) ^
                      reinterpret_cast<std::uintptr_t>(this),
                  0x9E3779B97F4A7C15u) |
              1) {}

std::uint32_t Names::hashOf(std::string_view name) const noexcept {
    std::uint64_t hash = secret_ ^ name.size();
    const char* at = name.data();
    std::size_t left = name.size();
    for (; left > 8; at += 8, left -= 8)
        hash = mix(hash ^ load<std::uint64_t>(at), 0xA0761D6478BD642Fu ^ secret_);
    hash = mix(hash ^ lastWord(at, left, name.size()), 0xE7037ED1A0B428DBu ^ secret_);
    return static_cast<std::uint32_t>(hash ^ (hash >> 32));
}

std::uint32_t Names::slotOf(std::string_view name, std::uint32_t hash) const noexcept {
    const std::uint32_t mask = slots_.size() - 1;
    for (std::uint32_t at = hash & mask;; at = (at + 1) & mask) {
        const std::uint32_t slot = slots_[at];
        if (slot == 0) return at;
        const Record& record = records_[slot - 1];
        if (record.hash == hash && record.length == name.size() && text(slot - 1) == name) return at;
    }
}

std::optional<NameId> Names::find(std::string_view name) const noexcept {
    if (slots_.size() == 0) return std::nullopt;
    const std::uint32_t slot = slots_[slotOf(name, hashOf(name))];
    if (slot == 0) return std::nullopt;
    return slot - 1;
}

NameId Names::intern(std::string_view name) {
    const std::uint32_t hash = hashOf(name);
    if (slots_.size() != 0) {
        if (const std::uint32_t slot = slots_[slotOf(name, hash)]; slot != 0) return slot - 1;
    }
    if (records_.size() * std::uint64_t{2} >= slots_.size()) growSlots();
    if (name.size() > bytes_.most()) detail::tableIsFull();
    const std::size_t colon = name.find(':');
    const auto length = static_cast<std::uint32_t>(name.size());
    records_.reserve(1);
    const std::uint32_t offset = bytes_.size();
    std::memcpy(bytes_.extend(length), name.data(), length);
    slots_[slotOf(name, hash)] = records_.size() + 1;
    records_.append({offset, length, colon == name.npos ? 0 : static_cast<std::uint32_t>(colon), hash});
    return records_.size() - 1;
}

void Names::growSlots() {
    const std::uint32_t count = slots_.size() == 0 ? 64 : slots_.size() * 2;
    Table<std::uint32_t> slots;
    std::memset(slots.extend(count), 0, std::size_t{count} * sizeof(std::uint32_t));
    for (NameId id = 0; id < records_.size(); ++id) {
        std::uint32_t at = records_[id].hash & (count - 1);
        while (slots[at] != 0) at = (at + 1) & (count - 1);
        slots[at] = id + 1;
    }
    slots_ = std::move(slots);
}

std::size_t Names::sizeInBytes() const noexcept {
    return std::size_t{records_.capacity()} * sizeof(Record) + bytes_.capacity() +
           std::size_t{slots_.capacity()} * sizeof(std::uint32_t);
}

void Names::trim() {
    records_.trim();
    bytes_.trim();
}

}  // namespace engine::dom
