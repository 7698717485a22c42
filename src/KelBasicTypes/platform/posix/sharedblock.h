// A named block of memory that all processes of one user share, and that lives as long as one of them holds
// it.
//
// Each process that holds a block keeps a shared file lock on it. Locks end with their process, however it
// ends, so a process that gets the exclusive lock knows that the block has no holder: an opener then removes
// what dead processes left, a creator makes its contents anew, the last one to close removes the name. Inside
// a process all holders of a name share one mapping: a mutex that a thread holds must stay at its address.
// Threads: any.
#pragma once

#include <cstddef>
#include <memory>

namespace kel::platform {

class SharedBlock;

struct SharedBlockRelease {
    void operator()(SharedBlock* block) const noexcept;
};
using SharedBlockHolder = std::unique_ptr<SharedBlock, SharedBlockRelease>;

class SharedBlock final {
public:
    enum class Access { CreateOrOpen, OpenExisting };

    // Makes the contents of a fresh block, which is all zero; false gives the attempt up.
    using Initialize = bool (*)(void* contents) noexcept;

    // Null when the name is empty or too long, when it has no holder (OpenExisting) or when the system
    // rejects.
    [[nodiscard]] static SharedBlockHolder attach(const char* name, Access access, std::size_t sizeInBytes,
                                                  Initialize initialize) noexcept;
    SharedBlock(const SharedBlock&) = delete;
    SharedBlock& operator=(const SharedBlock&) = delete;

    [[nodiscard]] void* contents() const noexcept { return contents_; }

    // Leaves the memory mapped for the rest of the process: a thread may still have pointers into it.
    void abandonMapping() noexcept { isAbandoned_ = true; }

private:
    static constexpr std::size_t kMaxPathLength = 250;

    friend struct SharedBlockRelease;

    SharedBlock() noexcept = default;
    ~SharedBlock();
    [[nodiscard]] static SharedBlock* findHeld(const char* path) noexcept;
    [[nodiscard]] bool attachNamed(Access access, std::size_t sizeInBytes, Initialize initialize) noexcept;
    [[nodiscard]] bool composePath(const char* name) noexcept;
    [[nodiscard]] bool openFile(Access access) noexcept;
    [[nodiscard]] bool attachAsFirst(std::size_t sizeInBytes, Initialize initialize) noexcept;
    [[nodiscard]] bool attachAsFurther(std::size_t sizeInBytes) noexcept;
    [[nodiscard]] bool map(std::size_t sizeInBytes) noexcept;
    void unmap() noexcept;
    void closeFile() noexcept;

    char path_[kMaxPathLength + 1] = {};
    int file_ = -1;
    void* contents_ = nullptr;
    std::size_t mappedSize_ = 0;
    bool isAbandoned_ = false;
    int holders_ = 0;              // in this process; guarded, like the next, by the lock of all blocks
    SharedBlock* next_ = nullptr;  // of those that this process holds
};

}  // namespace kel::platform
