// A growing list whose first entry has number 1.
#pragma once

#include <cstddef>
#include <utility>
#include <vector>

namespace kel {

template <class T>
class OneBasedList final {
public:
    explicit OneBasedList(std::size_t initialCapacity = 0) { entries_.reserve(initialCapacity); }

    void append(T entry) { entries_.push_back(std::move(entry)); }
    void clear() noexcept { entries_.clear(); }

    [[nodiscard]] std::size_t count() const noexcept { return entries_.size(); }

    // Borrowed until the list changes; null for 0 and for a number above the count.
    [[nodiscard]] const T* at(std::size_t number) const noexcept {
        return number == 0 || number > entries_.size() ? nullptr : &entries_[number - 1];
    }

private:
    std::vector<T> entries_;
};

}  // namespace kel
