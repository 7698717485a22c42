#include "KelBasicTypes/platform/posix/sharedblock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <new>
#include <thread>
#include <utility>

#include "KelBasicTypes/platform/fork.h"

namespace kel::platform {
namespace {

// Ahead of the contents; written last, so that a block whose maker died half-way is known as unfinished.
struct Header {
    alignas(16) std::atomic<std::uint32_t> ready;
};

constexpr std::uint32_t kReady = 0x4b6c4d31;
constexpr int kMaxAttempts = 1000;

int lockFile(int file, int operation) noexcept {
    int result = 0;
    do {
        result = flock(file, operation);
    } while (result != 0 && errno == EINTR);
    return result;
}

bool hasName(int file) noexcept {
    struct stat status {};
    return fstat(file, &status) == 0 && status.st_nlink > 0;
}

bool isSameFile(int a, int b) noexcept {
    struct stat first {};
    struct stat second {};
    return fstat(a, &first) == 0 && fstat(b, &second) == 0 && first.st_dev == second.st_dev &&
           first.st_ino == second.st_ino;
}

// The blocks that this process holds. Held over a fork, so that the child finds them whole.
constinit std::mutex blocksLock;
constinit SharedBlock* firstBlock = nullptr;

void lockBlocks() noexcept {
    blocksLock.lock();
}
void unlockBlocks() noexcept {
    blocksLock.unlock();
}

}  // namespace

SharedBlockHolder SharedBlock::attach(const char* name, Access access, std::size_t sizeInBytes,
                                      Initialize initialize) noexcept {
    static const bool isForkSafe = platform::callAroundFork(lockBlocks, unlockBlocks, unlockBlocks);
    if (!isForkSafe) return nullptr;
    auto* block = new (std::nothrow) SharedBlock;
    if (block == nullptr) return nullptr;
    const std::lock_guard guard(blocksLock);
    SharedBlock* const held = block->composePath(name) ? findHeld(block->path_) : nullptr;
    if (held == nullptr && block->path_[0] != '\0' && block->attachNamed(access, sizeInBytes, initialize)) {
        block->next_ = std::exchange(firstBlock, block);
    } else {
        delete block;
        block = held;
    }
    if (block != nullptr) ++block->holders_;
    return SharedBlockHolder(block);
}

SharedBlock* SharedBlock::findHeld(const char* path) noexcept {
    SharedBlock* block = firstBlock;
    while (block != nullptr && std::strcmp(block->path_, path) != 0) block = block->next_;
    return block;
}

void SharedBlockRelease::operator()(SharedBlock* block) const noexcept {
    const std::lock_guard guard(blocksLock);
    if (--block->holders_ != 0) return;
    SharedBlock** link = &firstBlock;
    while (*link != block) link = &(*link)->next_;
    *link = block->next_;
    delete block;
}

bool SharedBlock::attachNamed(Access access, std::size_t sizeInBytes, Initialize initialize) noexcept {
    // A round is lost only when another process removes or gives up the same name at the same moment.
    for (int attempt = 0; attempt < kMaxAttempts; ++attempt) {
        if (!openFile(access)) return false;
        if (lockFile(file_, LOCK_EX | LOCK_NB) != 0) {
            if (attachAsFurther(sizeInBytes)) return true;
        } else if (!hasName(file_)) {
            // its last holder removed the name between our open and our lock
        } else if (access == Access::OpenExisting) {
            shm_unlink(path_);
            return false;
        } else if (attachAsFirst(sizeInBytes, initialize)) {
            return true;
        }
        closeFile();
        std::this_thread::yield();
    }
    return false;
}

SharedBlock::~SharedBlock() {
    const bool wasAttached = contents_ != nullptr;
    if (!isAbandoned_) unmap();
    // A fork shares our lock with the other process, which may still hold the block. So the lock is given up
    // with the file, and the exclusive one, which only the last holder gets, is tried with the file opened
    // anew.
    const int again = wasAttached ? shm_open(path_, O_RDWR, 0) : -1;
    const bool isSame = again >= 0 && isSameFile(file_, again);
    closeFile();
    if (isSame && lockFile(again, LOCK_EX | LOCK_NB) == 0 && hasName(again)) shm_unlink(path_);
    if (again >= 0) close(again);
}

bool SharedBlock::composePath(const char* name) noexcept {
    if (name == nullptr || *name == '\0') return false;
    int used = std::snprintf(path_, sizeof path_, "/kel-%lu-", static_cast<unsigned long>(geteuid()));
    for (; *name != '\0'; ++name) {
        const auto byte = static_cast<unsigned char>(*name);
        const bool isPlain = (byte >= '0' && byte <= '9') || (byte >= 'A' && byte <= 'Z') ||
                             (byte >= 'a' && byte <= 'z') || byte == '_' || byte == '-' || byte == '.';
        const std::size_t left = sizeof path_ - static_cast<std::size_t>(used);
        const int added = std::snprintf(path_ + used, left, isPlain ? "%c" : "%%%02x", byte);
        if (added < 0 || static_cast<std::size_t>(added) >= left) {
            path_[0] = '\0';
            return false;
        }
        used += added;
    }
    return true;
}

// Another user may have put a file there before us; what others can write protects nothing.
bool SharedBlock::openFile(Access access) noexcept {
    file_ = shm_open(path_, O_RDWR | (access == Access::CreateOrOpen ? O_CREAT : 0), S_IRUSR | S_IWUSR);
    if (file_ < 0) return false;
    struct stat status {};
    const bool isOurs = fstat(file_, &status) == 0 && S_ISREG(status.st_mode) && status.st_uid == geteuid() &&
                        (status.st_mode & (S_IRWXG | S_IRWXO)) == 0;
    if (!isOurs) closeFile();
    return isOurs;
}

bool SharedBlock::attachAsFirst(std::size_t sizeInBytes, Initialize initialize) noexcept {
    // To nothing first: what dead processes left reads as zero.
    if (ftruncate(file_, 0) != 0 || ftruncate(file_, static_cast<off_t>(sizeof(Header) + sizeInBytes)) != 0 ||
        !map(sizeInBytes) || !initialize(contents_)) {
        shm_unlink(path_);  // still ours alone
        unmap();
        return false;
    }
    auto* header = reinterpret_cast<Header*>(static_cast<std::byte*>(contents_) - sizeof(Header));
    header->ready.store(kReady, std::memory_order_release);
    // Between the two locks another opener may find no holder, and remove or renew the block.
    if (lockFile(file_, LOCK_SH) == 0 && hasName(file_)) return true;
    unmap();
    return false;
}

bool SharedBlock::attachAsFurther(std::size_t sizeInBytes) noexcept {
    if (lockFile(file_, LOCK_SH) != 0 || !hasName(file_))
        return false;  // waits while the first one initialises
    struct stat status {};
    if (fstat(file_, &status) != 0 || status.st_size < static_cast<off_t>(sizeof(Header) + sizeInBytes))
        return false;
    if (!map(sizeInBytes)) return false;
    const auto* header = reinterpret_cast<const Header*>(static_cast<std::byte*>(contents_) - sizeof(Header));
    if (header->ready.load(std::memory_order_acquire) == kReady) return true;
    unmap();
    return false;
}

bool SharedBlock::map(std::size_t sizeInBytes) noexcept {
    const std::size_t size = sizeof(Header) + sizeInBytes;
    void* const start = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, file_, 0);
    if (start == MAP_FAILED) return false;
    contents_ = static_cast<std::byte*>(start) + sizeof(Header);
    mappedSize_ = size;
    return true;
}

void SharedBlock::unmap() noexcept {
    if (contents_ == nullptr) return;
    munmap(static_cast<std::byte*>(contents_) - sizeof(Header), mappedSize_);
    contents_ = nullptr;
}

void SharedBlock::closeFile() noexcept {
    if (file_ >= 0) close(file_);
    file_ = -1;
}

}  // namespace kel::platform
