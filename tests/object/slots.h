// The position of a virtual operation in its interface's own table, read from a pointer to it. Hosts are
// built apart from components and meet them at these positions.
#pragma once

#include <cstddef>
#include <cstring>

// For the C++ ABI in which such a pointer holds the table offset plus one (x86; others are not tested).
template <class Operation>
std::ptrdiff_t slotOf(Operation operation) {
    std::ptrdiff_t offset = 0;
    std::memcpy(&offset, &operation, sizeof offset);
    return (offset - 1) / static_cast<std::ptrdiff_t>(sizeof(void*));
}
