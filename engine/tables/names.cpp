// An open-addressing table over records. A record holds the first sixteen bytes of its name, so that looking
// up a name of usual length compares two words and touches neither the name's bytes nor any other record. The
// hash is a multiplication by secrets of the document's own.
#include "engine/tables/names.h"

#include <atomic>
#include <chrono>
#include <string>
#include <vector>

#include "engine/text/chars.h"

namespace engine::tables {

namespace {

constexpr std::uint32_t kFirstBytes = 256;

std::uint64_t wordAt(const char* from) noexcept {
    std::uint64_t word;
    std::memcpy(&word, from, sizeof word);
    return word;
}

// A name as most are: ASCII without a colon, and no declaration.
bool isPlainName(std::string_view name) noexcept {
    using namespace text;
    if (name.empty() || (classOf(name[0]) & kNameStart) == 0) return false;
    unsigned all = kNameChar;
    unsigned any = 0;
    for (const char c : name) {
        all &= classOf(c);
        any |= classOf(c);
    }
    return all != 0 && (any & (kNonAscii | kColon)) == 0 && name != "xmlns";
}

bool isNameText(std::string_view name) {
    using namespace text;
    const char* at = name.data();
    const char* const end = at + name.size();
    for (std::uint8_t wanted = kNameStart; at < end; wanted = kNameChar) {
        while (at < end && (classOf(*at) & (wanted | kNonAscii)) == wanted) {
            wanted = kNameChar;
            ++at;
        }
        if (at == end) return true;
        if ((classOf(*at) & kNonAscii) == 0) return false;
        const Decoded next = decodeAt(at);
        if (wanted == kNameStart ? !isNameStart(next.character) : !isNameCharacter(next.character))
            return false;
        at += next.length;
    }
    return true;
}

bool isAscii(std::string_view text) noexcept {
    unsigned all = 0;
    for (const char c : text) all |= static_cast<unsigned char>(c);
    return all < 0x80;
}

bool startsName(const char* at) noexcept {
    const std::uint8_t found = text::classOf(*at);
    if ((found & text::kNonAscii) != 0) return text::isNameStart(text::decodeAt(at).character);
    return (found & text::kNameStart) != 0;
}

}  // namespace

const unsigned char Names::kMasks[2 * kReadableBytes] = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF,
                                                         0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};

// A clock is slow to ask for each of many small documents: it is asked once, and the documents are counted.
Names::Names() noexcept {
    static std::atomic<std::uint64_t> documents =
        static_cast<std::uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count());
    const std::uint64_t document = documents.fetch_add(0x9E3779B97F4A7C15u, std::memory_order_relaxed);
    secret_[0] = mix(document, reinterpret_cast<std::uintptr_t>(this) ^ 0xA0761D6478BD642Fu);
    secret_[1] = mix(secret_[0] ^ 0xE7037ED1A0B428DBu, 0x8EBC6AF09C88C6E3u);
}

std::uint64_t Names::hashRest(std::uint64_t hash, const char* name, std::size_t length) const noexcept {
    for (std::size_t at = kReadableBytes; at + 8 < length; at += 8)
        hash = mix(hash ^ wordAt(name + at), secret_[1]);
    return mix(hash ^ wordAt(name + length - 8), secret_[0]);
}

NameId Names::intern(std::string_view name) {
    if (name.size() >= kReadableBytes) return internAt(name.data(), name.size(), Origin::Unknown);
    char readable[kReadableBytes] = {};
    name.copy(readable, name.size());
    return internAt(readable, name.size(), Origin::Unknown);
}

std::optional<NameId> Names::find(std::string_view name) const noexcept {
    char readable[kReadableBytes] = {};
    const char* from = name.data();
    if (name.size() < kReadableBytes) {
        name.copy(readable, name.size());
        from = readable;
    }
    const Start start = startOf(from, name.size());
    for (std::uint32_t at = hashOf(start, from, name.size()) & mask_;; at = (at + 1) & mask_) {
        const std::uint32_t slot = slots_[at];
        if (slot == 0) return std::nullopt;
        if (isAt(slot - 1, start, from, name.size())) return slot - 1;
    }
}

NameId Names::add(std::string_view name, const Start& start, std::uint32_t hash, Origin origin) {
    if (name.size() > bytes_.max()) detail::tableIsFull();
    const bool isPlain = origin == Origin::Scanned ? isPlainStart(start, name.size()) : isPlainName(name);
    const std::uint32_t prefixAndFlags = isPlain ? 0 : examine(name, origin);
    if (std::uint64_t{records_.size()} * 2 > mask_) growSlots();
    if (records_.capacity() == 0) {
        records_.reserve(kFirstSlots / 2);
        bytes_.reserve(kFirstBytes);
    }
    records_.reserve(1);
    const auto length = static_cast<std::uint32_t>(name.size());
    const std::uint32_t offset = bytes_.size();
    if (length <= kReadableBytes) {
        bytes_.reserve(kReadableBytes);
        std::memcpy(bytes_.extend(length), start.bytes(), kReadableBytes);  // of a known length: no call
    } else {
        std::memcpy(bytes_.extend(length), name.data(), length);
    }
    std::uint32_t at = hash & mask_;
    while (slots_[at] != 0) at = (at + 1) & mask_;
    slots_[at] = records_.size() + 1;
    *records_.extend(1) = {start, offset, length, prefixAndFlags, hash};
    return records_.size() - 1;
}

// Whether what looks like a name is one as most are, seen by its first bytes: short, ASCII, without a colon.
bool Names::isPlainStart(const Start& start, std::size_t length) noexcept {
    constexpr std::uint64_t kOnes = 0x0101010101010101;
    constexpr std::uint64_t kHighBits = 0x80 * kOnes;
    const auto colons = [](std::uint64_t word) {
        const std::uint64_t differences = word ^ (':' * kOnes);
        return (differences - kOnes) & ~differences;
    };
    const std::uint64_t found = start.low | start.high | colons(start.low) | colons(start.high);
    const bool isXmlns = start.low == wordAt("xmlns\0\0") && start.high == 0;
    return (found & kHighBits) == 0 && length <= kReadableBytes && !isXmlns;
}

// What is to be known about a new name. Its prefix, or the prefix that it declares, becomes a name by itself.
std::uint32_t Names::examine(std::string_view name, Origin origin) {
    if (name == "xmlns") return kDeclaration;
    const bool isSeen = origin == Origin::Scanned && isAscii(name);
    std::uint32_t flags = isSeen || isNameText(name) ? 0 : kNotAName;
    const std::size_t colon = name.find(':');
    if (colon == std::string_view::npos) return flags;
    const std::string_view prefix = name.substr(0, colon);
    const std::string_view local = name.substr(colon + 1);
    const bool isQualified = !prefix.empty() && !local.empty() && local.find(':') == std::string_view::npos &&
                             startsName(local.data());
    if (!isQualified) flags |= kNotQualified;
    const bool isDeclaration = prefix == "xmlns";
    flags |= isDeclaration ? kDeclaration : kPrefixed;
    const std::string_view named = isDeclaration ? local : prefix;
    return named.empty() ? flags : (prefixFor(named) + 1) << kFlagBits | flags;
}

NameId Names::prefixFor(std::string_view prefix) {
    if (lastPrefix_ == kNoName || text(lastPrefix_) != prefix) {
        const std::string copy(prefix);  // it may stand in our own bytes, which move when there are more
        lastPrefix_ = intern(copy);
    }
    return lastPrefix_;
}

void Names::growSlots() {
    const std::uint32_t count = (mask_ + 1) * 2;
    Table<std::uint32_t> slots;
    std::memset(slots.extend(count), 0, std::size_t{count} * sizeof(std::uint32_t));
    for (NameId id = 0; id < records_.size(); ++id) {
        std::uint32_t at = records_[id].hash & (count - 1);
        while (slots[at] != 0) at = (at + 1) & (count - 1);
        slots[at] = id + 1;
    }
    manySlots_ = std::move(slots);
    slots_ = manySlots_.data();
    mask_ = count - 1;
}

void Names::compact(std::span<NameId* const> kept) {
    std::vector<std::string> texts;
    texts.reserve(kept.size());
    for (const NameId* id : kept) texts.emplace_back(text(*id));
    records_.truncate(0);
    bytes_.truncate(0);
    lastPrefix_ = kNoName;
    std::memset(slots_, 0, (std::size_t{mask_} + 1) * sizeof(std::uint32_t));
    for (std::size_t i = 0; i < kept.size(); ++i) *kept[i] = intern(texts[i]);
    ++generation_;
}

void Names::clear() noexcept {
    records_ = Table<Record>(kMax);
    bytes_ = Table<char>();
    manySlots_ = Table<std::uint32_t>();
    slots_ = firstSlots_;
    mask_ = kFirstSlots - 1;
    std::memset(firstSlots_, 0, sizeof firstSlots_);
    lastPrefix_ = kNoName;
    ++generation_;
}

std::size_t Names::sizeInBytes() const noexcept {
    return std::size_t{records_.capacity()} * sizeof(Record) + bytes_.capacity() +
           std::size_t{manySlots_.capacity()} * sizeof(std::uint32_t);
}

void Names::trim() {
    records_.trim();
    bytes_.trim();
}

}  // namespace engine::tables
