// Strings with their length before them, in blocks of the thread's cache.
#include <limits>
#include <new>
#include <string_view>

#include "engine/com/blocks.h"
#include "engine/com/com.h"
#include "engine/com/status.h"
#include "engine/text/block.h"
#include "engine/text/utf.h"

namespace engine::com {

namespace {

// The block's class is kept, for a string may turn out shorter than the block was taken for.
struct Header {
    std::uint32_t sizeClass;
    std::uint32_t lengthInBytes;  // directly before the text, where the platform has it
};
static_assert(sizeof(Header) == 8);

constexpr std::size_t kLongest = (std::numeric_limits<std::uint32_t>::max() - 64) / sizeof(OLECHAR);

Header* headerOf(const OLECHAR* text) noexcept {
    return reinterpret_cast<Header*>(const_cast<OLECHAR*>(text)) - 1;
}

// Room for `length` units and the zero after them, which the caller writes; null when memory runs out.
BSTR takeString(std::size_t length) noexcept {
    if (length > kLongest) return nullptr;
    const std::size_t lengthInBytes = length * sizeof(OLECHAR);
    const std::size_t sizeInBytes = sizeof(Header) + lengthInBytes + sizeof(OLECHAR);
    const std::size_t sizeClass = detail::classOf(sizeInBytes);
    void* block =
        sizeClass == detail::kNoClass ? detail::newBlock(sizeInBytes) : detail::takeOfClass(sizeClass);
    if (block == nullptr) return nullptr;
    const Header header{static_cast<std::uint32_t>(sizeClass), static_cast<std::uint32_t>(lengthInBytes)};
    return reinterpret_cast<OLECHAR*>(new (block) Header(header) + 1);
}

}  // namespace

BSTR makeBstr(std::string_view utf8) {
    // No text has more units than bytes. What a short one leaves unused is not worth counting first.
    constexpr std::size_t kShort = 1000;
    BSTR result = takeString(utf8.size() <= kShort ? utf8.size() : text::utf16Length(utf8));
    if (result == nullptr) throw std::bad_alloc();
    const std::size_t length = text::convertToUtf16(utf8, result);
    headerOf(result)->lengthInBytes = static_cast<std::uint32_t>(length * sizeof(OLECHAR));
    result[length] = 0;
    return result;
}

// Two stores at most, of fixed length: the zeros after the text are written, too, and end a short one.
BSTR makeBstrOfBlock(const char* block, std::size_t length) {
    using text::Units;
    const Units low = Units::widened(block);
    const Units high = Units::widened(block + Units::kCount);
    if (!(low | high).isAscii()) return makeBstr(std::string_view(block, length));
    const bool isShort = length < Units::kCount;
    BSTR result = takeString(isShort ? Units::kCount : text::kBlock);
    if (result == nullptr) throw std::bad_alloc();
    headerOf(result)->lengthInBytes = static_cast<std::uint32_t>(length * sizeof(OLECHAR));
    low.store(result);
    if (!isShort) {
        high.store(result + Units::kCount);
        result[length] = 0;
    }
    return result;
}

BSTR makeBstr(std::u16string_view text) {
    BSTR result =
        text.size() > kLongest ? nullptr : SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
    if (result == nullptr) throw std::bad_alloc();
    return result;
}

}  // namespace engine::com

BSTR SysAllocStringLen(const OLECHAR* text, UINT length) noexcept {
    BSTR result = engine::com::takeString(length);
    if (result == nullptr) return nullptr;
    if (text != nullptr) engine::text::copyUnits(text, length, result);
    result[length] = 0;
    return result;
}

BSTR SysAllocString(const OLECHAR* text) noexcept {
    if (text == nullptr) return nullptr;
    const std::size_t length = std::u16string_view(text).size();
    if (length > std::numeric_limits<UINT>::max()) return nullptr;
    return SysAllocStringLen(text, static_cast<UINT>(length));
}

void SysFreeString(BSTR text) noexcept {
    if (text == nullptr) return;
    engine::com::Header* header = engine::com::headerOf(text);
    const std::size_t sizeClass = header->sizeClass;
    if (sizeClass == engine::com::detail::kNoClass) {
        engine::com::detail::dropBlock(header, sizeClass);
    } else {
        engine::com::detail::giveOfClass(header, sizeClass);
    }
}

UINT SysStringLen(const OLECHAR* text) noexcept {
    if (text == nullptr) return 0;
    return engine::com::headerOf(text)->lengthInBytes / UINT{sizeof(OLECHAR)};
}
