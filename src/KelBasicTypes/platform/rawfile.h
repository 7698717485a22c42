// Files for when nothing can be allocated: no operation here takes memory from the heap.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace kel::platform {

class RawFile final {
public:
    enum class Creation {
        Replace,       // creates the file or empties it; readable by every user
        NewTemporary,  // must not exist yet; for reading and writing; gone once it is closed, however
                       // the process ends; where the system can, without a name from the start
    };

    // A framework path. Not open when the system fails.
    RawFile(std::u16string_view path, Creation creation) noexcept;
    RawFile(const RawFile&) = delete;
    RawFile& operator=(const RawFile&) = delete;
    ~RawFile();

    [[nodiscard]] bool isOpen() const noexcept { return handle_ != kNone; }
    // All bytes or false.
    [[nodiscard]] bool write(const void* bytes, std::size_t byteCount) noexcept;
    [[nodiscard]] bool read(void* bytes, std::size_t byteCount) noexcept;
    [[nodiscard]] bool seekToStart() noexcept;

private:
    static constexpr std::intptr_t kNone = -1;
    std::intptr_t handle_ = kNone;  // as wide as any system's
};

}  // namespace kel::platform
