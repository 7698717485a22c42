// A named block of memory that all processes of one user share, and that lives as long as one of them holds
// it.
//
// Each holder keeps a shared file lock on the block. Locks end with their process, however it ends, so
// whoever gets the exclusive lock knows that nobody holds the block: an opener then removes what dead
// processes left, a creator makes its contents anew, the last one to close removes the name. Threads: a block
// belongs to one thread at a time; blocks of one name to as many as there are.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <memory>

namespace kel::platform {

class SharedBlock final {
public:
    enum class Access { CreateOrOpen, OpenExisting };

    // Makes the contents of a fresh block, which is all zero; false gives the attempt up.
    using Initialize = bool (*)(void* contents) noexcept;

    // Null when the name is empty or too long, when nobody holds it (OpenExisting) or when the system
    // refuses.
    [[nodiscard]] static std::unique_ptr<SharedBlock> attach(const char* name, Access access,
                                                             std::size_t sizeInBytes,
                                                             Initialize initialize) noexcept;
    SharedBlock(const SharedBlock&) = delete;
    SharedBlock& operator=(const SharedBlock&) = delete;
    ~SharedBlock();

    [[nodiscard]] void* contents() const noexcept { return contents_; }

    // Leaves the memory mapped for the rest of the process: somebody may still have pointers into it.
    void abandonMapping() noexcept { contents_ = nullptr; }

private:
    static constexpr std::size_t kMaxPathLength = 250;

    SharedBlock() noexcept = default;
    [[nodiscard]] bool composePath(const char* name) noexcept;
    [[nodiscard]] bool openFile(Access access) noexcept;
    [[nodiscard]] bool attachAsFirst(std::size_t sizeInBytes, Initialize initialize) noexcept;
    [[nodiscard]] bool attachAsFurther(std::size_t sizeInBytes) noexcept;
    [[nodiscard]] bool map(std::size_t sizeInBytes) noexcept;
    [[nodiscard]] bool hasName() const noexcept;
    void unmap() noexcept;
    void closeFile() noexcept;

    char path_[kMaxPathLength + 1] = {};
    int file_ = -1;
    void* contents_ = nullptr;
    std::size_t mappedSize_ = 0;
    pid_t process_ = 0;  // a forked child shares the lock and must not give it up for its parent
};

}  // namespace kel::platform
