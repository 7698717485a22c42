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
#include <new>
#include <thread>

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

}  // namespace

std::unique_ptr<SharedBlock> SharedBlock::attach(const char* name, Access access, std::size_t sizeInBytes,
                                                 Initialize initialize) noexcept {
    std::unique_ptr<SharedBlock> block(new (std::nothrow) SharedBlock);
    if (!block || !block->composePath(name)) return nullptr;
    // A round is lost only when another process removes or gives up the same name at the same moment.
    for (int attempt = 0; attempt < kMaxAttempts; ++attempt) {
        if (!block->openFile(access)) return nullptr;
        if (lockFile(block->file_, LOCK_EX | LOCK_NB) != 0) {
            if (block->attachAsFurther(sizeInBytes)) return block;
        } else if (!block->hasName()) {
            // its last holder removed the name between our open and our lock
        } else if (access == Access::OpenExisting) {
            shm_unlink(block->path_);
            block->closeFile();
            return nullptr;
        } else if (block->attachAsFirst(sizeInBytes, initialize)) {
            return block;
        }
        block->closeFile();
        std::this_thread::yield();
    }
    return nullptr;
}

SharedBlock::~SharedBlock() {
    unmap();
    if (file_ < 0) return;
    // Trying for the exclusive lock gives up the shared one first, so of two that close together one
    // succeeds.
    if (process_ == getpid() && lockFile(file_, LOCK_EX | LOCK_NB) == 0 && hasName()) shm_unlink(path_);
    closeFile();
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
        if (added < 0 || static_cast<std::size_t>(added) >= left) return false;
        used += added;
    }
    return true;
}

bool SharedBlock::openFile(Access access) noexcept {
    file_ = shm_open(path_, O_RDWR | (access == Access::CreateOrOpen ? O_CREAT : 0), 0600);
    process_ = getpid();
    return file_ >= 0;
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
    // Between the two locks another opener may find nobody here, and remove or renew the block.
    if (lockFile(file_, LOCK_SH) == 0 && hasName()) return true;
    unmap();
    return false;
}

bool SharedBlock::attachAsFurther(std::size_t sizeInBytes) noexcept {
    if (lockFile(file_, LOCK_SH) != 0 || !hasName()) return false;  // waits while the first one initialises
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

bool SharedBlock::hasName() const noexcept {
    struct stat status {};
    return fstat(file_, &status) == 0 && status.st_nlink > 0;
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
