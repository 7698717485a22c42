#include "KelBasicTypes/binnumbers.h"

#include <algorithm>
#include <limits>
#include <ostream>

#include "KelBasicTypes/assertion.h"
#include "KelBasicTypes/detail/bigendian.h"

namespace kel {
namespace {

constexpr std::size_t kWordWidth = 4;

// Whether `width` is possible and the bytes of all elements can be counted.
bool isCountable(std::size_t width, std::size_t maxWidth, std::size_t count) noexcept {
    return width >= 1 && width <= maxWidth && count <= std::numeric_limits<std::size_t>::max() / width;
}

// The bytes that an element cut by the end of a chunk lacks, and no more.
bool complete(BinInput& in, std::uint8_t* element, std::size_t have, std::size_t width) {
    while (have < width) {
        const auto more = in.fetch(width - have);
        if (more.empty()) return false;
        std::copy(more.begin(), more.end(), element + have);
        have += more.size();
    }
    return true;
}

template <class T>
bool read(BinInput& in, T* elements, std::size_t width, std::size_t count) {
    if (!isCountable(width, detail::kMaxElementWidth, count)) return false;
    while (count > 0) {
        const auto chunk = in.fetch(width * count);
        if (chunk.empty()) return false;
        const std::size_t whole = chunk.size() / width;
        detail::decode(chunk.data(), elements, width, whole);
        elements += whole;
        count -= whole;
        const auto rest = chunk.subspan(whole * width);
        if (rest.empty()) continue;
        std::uint8_t element[detail::kMaxElementWidth];
        std::copy(rest.begin(), rest.end(), element);
        if (!complete(in, element, rest.size(), width)) return false;
        detail::decode(element, elements++, width, 1);
        --count;
    }
    return true;
}

template <class T>
bool write(BinOutput& out, const T* elements, std::size_t width, std::size_t count) {
    if (!isCountable(width, detail::kMaxElementWidth, count)) return false;
    while (count > 0) {
        const auto room = out.directBuffer(width * count);
        const std::size_t run = room.size() / width;
        if (run == 0) return false;
        detail::encode(elements, room.data(), width, run);
        if (!out.commitDirect(run * width)) return false;
        elements += run;
        count -= run;
    }
    return true;
}

}  // namespace

bool readNumbers(BinInput& in, std::int16_t* elements, std::size_t width, std::size_t count) {
    return read(in, elements, width, count);
}
bool readNumbers(BinInput& in, std::uint16_t* elements, std::size_t width, std::size_t count) {
    return read(in, elements, width, count);
}
bool readNumbers(BinInput& in, std::int32_t* elements, std::size_t width, std::size_t count) {
    return read(in, elements, width, count);
}
bool readNumbers(BinInput& in, std::uint32_t* elements, std::size_t width, std::size_t count) {
    return read(in, elements, width, count);
}
bool readNumbers(BinInput& in, std::int64_t* elements, std::size_t width, std::size_t count) {
    return read(in, elements, width, count);
}
bool readNumbers(BinInput& in, std::uint64_t* elements, std::size_t width, std::size_t count) {
    return read(in, elements, width, count);
}

bool writeNumbers(BinOutput& out, const std::int16_t* elements, std::size_t width, std::size_t count) {
    return write(out, elements, width, count);
}
bool writeNumbers(BinOutput& out, const std::uint16_t* elements, std::size_t width, std::size_t count) {
    return write(out, elements, width, count);
}
bool writeNumbers(BinOutput& out, const std::int32_t* elements, std::size_t width, std::size_t count) {
    return write(out, elements, width, count);
}
bool writeNumbers(BinOutput& out, const std::uint32_t* elements, std::size_t width, std::size_t count) {
    return write(out, elements, width, count);
}
bool writeNumbers(BinOutput& out, const std::int64_t* elements, std::size_t width, std::size_t count) {
    return write(out, elements, width, count);
}
bool writeNumbers(BinOutput& out, const std::uint64_t* elements, std::size_t width, std::size_t count) {
    return write(out, elements, width, count);
}

bool readRecords(BinInput& in, void* records, std::size_t width, std::size_t count) {
    if (!isCountable(width, std::numeric_limits<std::size_t>::max(), count)) return false;
    auto* target = static_cast<std::uint8_t*>(records);
    for (std::size_t left = width * count; left > 0;) {
        const auto chunk = in.fetch(left);
        if (chunk.empty()) return false;
        target = std::copy(chunk.begin(), chunk.end(), target);
        left -= chunk.size();
    }
    return true;
}

bool writeRecords(BinOutput& out, const void* records, std::size_t width, std::size_t count) {
    if (!isCountable(width, std::numeric_limits<std::size_t>::max(), count)) return false;
    const auto* source = static_cast<const std::uint8_t*>(records);
    for (std::size_t left = width * count; left > 0;) {
        const auto room = out.directBuffer(left);
        if (room.empty()) return false;
        std::copy_n(source, room.size(), room.data());
        if (!out.commitDirect(room.size())) return false;
        source += room.size();
        left -= room.size();
    }
    return true;
}

bool readMagic(BinInput& in, std::int32_t expected, std::int32_t& magic) {
    if (!readNumbers(in, &magic, kWordWidth, 1)) return false;
    if (magic != expected) assertionFailed("magic_ == magic", "src/KelBasicTypes/binio", 578);
    return true;
}

bool readCompatibleVersion(BinInput& in, BinIO_Version expected) {
    std::int32_t word = 0;
    return readNumbers(in, &word, kWordWidth, 1) && BinIO_Version(word).isCompatibleWith(expected);
}

bool readIdenticalVersion(BinInput& in, BinIO_Version expected) {
    std::int32_t word = 0;
    return readNumbers(in, &word, kWordWidth, 1) && BinIO_Version(word) == expected;
}

bool writeWord(BinOutput& out, std::int32_t word) {
    return writeNumbers(out, &word, kWordWidth, 1);
}

std::int32_t peekWord(BinInput& in) {
    std::int32_t word = 0;
    if (!readNumbers(in, &word, kWordWidth, 1)) return -1;
    in.seek(in.tell() - static_cast<std::int64_t>(kWordWidth), true);
    return word;
}

}  // namespace kel

std::ostream& operator<<(std::ostream& out, BinIO_Version version) {
    return out << version.majorNumber() << ' ' << version.minorNumber();
}
