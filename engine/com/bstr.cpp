// Strings with their length before them, in blocks of the thread's cache.
#include <cstring>
#include <limits>
#include <new>
#include <string_view>

#include "engine/com/blocks.h"
#include "engine/com/com.h"

namespace {

struct Header {
    std::uint32_t reserved;
    std::uint32_t lengthInBytes;  // directly before the text, where the platform has it
};
static_assert(sizeof(Header) == 8);

std::size_t sizeInBytes(std::size_t lengthInBytes) {
    return sizeof(Header) + lengthInBytes + sizeof(OLECHAR);
}

}  // namespace

BSTR SysAllocStringLen(const OLECHAR* text, UINT length) noexcept {
    constexpr UINT kLongest = (std::numeric_limits<std::uint32_t>::max() - 64) / sizeof(OLECHAR);
    if (length > kLongest) return nullptr;
    const std::uint32_t lengthInBytes = length * std::uint32_t{sizeof(OLECHAR)};
    void* block = engine::com::takeBlock(sizeInBytes(lengthInBytes));
    if (block == nullptr) return nullptr;
    auto* header = new (block) Header{0, lengthInBytes};
    auto* units = reinterpret_cast<OLECHAR*>(header + 1);
    if (text != nullptr && length != 0) std::memcpy(units, text, lengthInBytes);
    units[length] = 0;
    return units;
}

BSTR SysAllocString(const OLECHAR* text) noexcept {
    if (text == nullptr) return nullptr;
    const std::size_t length = std::u16string_view(text).size();
    if (length > std::numeric_limits<UINT>::max()) return nullptr;
    return SysAllocStringLen(text, static_cast<UINT>(length));
}

void SysFreeString(BSTR text) noexcept {
    if (text == nullptr) return;
    Header* header = reinterpret_cast<Header*>(text) - 1;
    engine::com::giveBlock(header, sizeInBytes(header->lengthInBytes));
}

UINT SysStringLen(const OLECHAR* text) noexcept {
    if (text == nullptr) return 0;
    return (reinterpret_cast<const Header*>(text) - 1)->lengthInBytes / UINT{sizeof(OLECHAR)};
}
