// The position of a virtual operation in its interface's own table, read from a pointer to it. Hosts are
// built apart from components and meet them at these positions.
#pragma once

#include <cstddef>
#include <cstring>

namespace slots_detail {
struct Plain {
    virtual void operation() {}

protected:
    ~Plain() = default;
};
}  // namespace slots_detail

// The Itanium C++ ABI, in which a pointer to a member is two words; in the other one it is a function's
// address.
inline constexpr bool kCanReadSlots = sizeof(&slots_detail::Plain::operation) == 2 * sizeof(void*);

// The first word is the offset in the table, plus one where the second does not mark virtual operations
// (ARM).
template <class Operation>
std::ptrdiff_t slotOf(Operation operation) {
    std::ptrdiff_t offset = 0;
    std::memcpy(&offset, &operation, sizeof offset);
    return offset / static_cast<std::ptrdiff_t>(sizeof(void*));
}
