// A chained hash table with a fixed series of bucket counts; the newest entry of a bucket heads its chain.
// Threads: const operations may run together; a change needs the table to itself.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace kel {

// The first bucket count of the series that is greater than n. The series ends at 1073741827, which then
// stands for every larger one: chains grow longer instead.
[[nodiscard]] constexpr std::uint32_t nextTableSize(std::uint32_t n) noexcept {
    constexpr std::array<std::uint32_t, 31> kSizes{
        2,        3,        5,        11,        17,        37,        67,        131,
        257,      521,      1031,     2053,      4099,      8209,      16411,     32771,
        65537,    131101,   262147,   524309,    1048583,   2097169,   4194319,   8388617,
        16777259, 33554467, 67108879, 134217757, 268435459, 536870923, 1073741827};
    const auto* const size = std::upper_bound(kSizes.begin(), kSizes.end(), n);
    return size == kSizes.end() ? kSizes.back() : *size;
}

// Hash is a function object: Key -> std::uint32_t.
template <class Key, class Value, class Hash>
class ChainedTable final {
public:
    // A key with its value, and its place in the table.
    struct Entry {
        std::uint32_t bucket;  // index of its chain
        Key key;               // not to be changed: the bucket follows from it
        Value value;           // what was put in last under this key
        std::uint32_t next;    // index in entries_, kNone at the end of the chain
    };

    // An empty table of the first bucket count greater than that.
    explicit ChainedTable(std::uint32_t atLeastBuckets) : heads_(nextTableSize(atLeastBuckets), kNone) {}

    // How many entries there are, and how many buckets they share.
    [[nodiscard]] std::size_t count() const noexcept { return entries_.size(); }
    [[nodiscard]] std::size_t bucketCount() const noexcept { return heads_.size(); }

    // Borrowed until the next insertion; null if absent.
    [[nodiscard]] const Entry* find(const Key& key) const {
        for (std::uint32_t at = heads_[bucketOf(key)]; at != kNone; at = entries_[at].next) {
            if (entries_[at].key == key) return &entries_[at];
        }
        return nullptr;
    }

    // A key that exists gets the new value.
    void insertOrReplace(Key key, Value value) {
        if (const Entry* const present = find(key)) {
            entries_[static_cast<std::size_t>(present - entries_.data())].value = std::move(value);
            return;
        }
        const std::uint32_t bucket = bucketOf(key);
        entries_.push_back(Entry{bucket, std::move(key), std::move(value), heads_[bucket]});
        heads_[bucket] = static_cast<std::uint32_t>(entries_.size() - 1);
        if (10 * entries_.size() >= 8 * heads_.size()) rehash();
    }

    // Walks all entries, bucket by bucket and along each chain. Null at the end.
    [[nodiscard]] const Entry* first() const noexcept { return headFrom(0); }
    [[nodiscard]] const Entry* after(const Entry& entry) const noexcept {
        return entry.next == kNone ? headFrom(entry.bucket + 1) : &entries_[entry.next];
    }

private:
    static constexpr std::uint32_t kNone = 0xFFFFFFFF;

    [[nodiscard]] std::uint32_t bucketOf(const Key& key) const {
        return Hash{}(key) % static_cast<std::uint32_t>(heads_.size());
    }

    [[nodiscard]] const Entry* headFrom(std::size_t bucket) const noexcept {
        while (bucket < heads_.size() && heads_[bucket] == kNone) ++bucket;
        return bucket < heads_.size() ? &entries_[heads_[bucket]] : nullptr;
    }

    void rehash() {
        const std::uint32_t size = nextTableSize(static_cast<std::uint32_t>(heads_.size()));
        heads_.assign(size, kNone);
        for (std::uint32_t at = 0; at < entries_.size(); ++at) {
            Entry& entry = entries_[at];
            entry.bucket = bucketOf(entry.key);
            entry.next = std::exchange(heads_[entry.bucket], at);
        }
    }

    std::vector<Entry> entries_;  // in order of insertion
    std::vector<std::uint32_t> heads_;
};

}  // namespace kel
