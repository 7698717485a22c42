// A growing list whose first entry has number 1. Threads: one at a time for each list.
#pragma once

#include <cstddef>
#include <utility>
#include <vector>

namespace kel {

template <class T>
class OneBasedList final {
public:
    // Empty, with room for so many entries.
    explicit OneBasedList(std::size_t initialCapacity = 0) { entries_.reserve(initialCapacity); }

    // The entry gets the next number.
    void append(T entry) { entries_.push_back(std::move(entry)); }
    // Borrowed entries die.
    void clear() noexcept { entries_.clear(); }

    // The number of the last entry.
    [[nodiscard]] std::size_t count() const noexcept { return entries_.size(); }

    // Borrowed until the list changes; null for 0 and for a number above the count.
    [[nodiscard]] const T* at(std::size_t number) const noexcept {
        return number == 0 || number > entries_.size() ? nullptr : &entries_[number - 1];
    }

private:
    std::vector<T> entries_;
};

}  // namespace kel
