#include "tests/faults/injector.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <mutex>
#include <string_view>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

namespace faults {

namespace {

constinit std::atomic<bool> isArmed{false};
constinit std::atomic<Kind> armedKind{Kind::Allocation};
constinit std::atomic<std::uint32_t> left{0};
constinit std::atomic<std::int64_t> live{0};

bool fails(Kind kind) noexcept {
    if (!isArmed.load(std::memory_order_relaxed) || armedKind.load(std::memory_order_relaxed) != kind)
        return false;
    return left.load() != 0 && left.fetch_sub(1) == 1;
}

bool inject(Kind kind, int error = EIO) noexcept {
    if (!fails(kind)) return false;
    errno = error;
    return true;
}

// Blocks that were taken while tracking: an open hash table. What does not fit is left out.
class Blocks {
public:
    void add(void* block, const void* caller) noexcept {
        const std::lock_guard guard(lock_);
        for (std::size_t i = 0; i < kSize; ++i) {
            Entry& entry = entries_[(hash(block) + i) % kSize];
            if (entry.block != nullptr && entry.block != kGone) continue;
            entry = {block, caller};
            return;
        }
    }
    void remove(void* block) noexcept {
        const std::lock_guard guard(lock_);
        for (std::size_t i = 0; i < kSize; ++i) {
            Entry& entry = entries_[(hash(block) + i) % kSize];
            if (entry.block == nullptr) return;
            if (entry.block != block) continue;
            entry.block = kGone;
            return;
        }
    }
    void clear() noexcept { entries_ = {}; }
    [[nodiscard]] const auto& entries() const noexcept { return entries_; }

private:
    static constexpr std::size_t kSize = std::size_t{1} << 16;
    static inline char goneMark = 0;
    static inline void* const kGone = &goneMark;

public:
    struct Entry {
        void* block;
        const void* caller;
        [[nodiscard]] bool isLive() const noexcept { return block != nullptr && block != kGone; }
    };

private:
    static std::size_t hash(const void* block) noexcept {
        return reinterpret_cast<std::uintptr_t>(block) >> 4;
    }

    std::mutex lock_;
    std::array<Entry, kSize> entries_{};
};

constinit Blocks blocks;
constinit std::atomic<bool> isTracking{false};

void taken(void* block, const void* caller) noexcept {
    if (block == nullptr) return;
    ++live;
    if (isTracking.load(std::memory_order_relaxed)) blocks.add(block, caller);
}

void given(void* block) noexcept {
    if (block == nullptr) return;
    --live;
    if (isTracking.load(std::memory_order_relaxed)) blocks.remove(block);
}

// The C library's function of that name.
template <typename Function>
Function* next(Function*, const char* name) noexcept {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

void arm(Kind kind, std::uint32_t number) noexcept {
    armedKind = kind;
    left = number;
    isArmed = true;
}

bool disarm() noexcept {
    isArmed = false;
    return left == 0;
}

std::int64_t liveBlocks() noexcept {
    return live;
}

bool isLibrarys(const void* address) noexcept {
    Dl_info info{};
    if (dladdr(address, &info) == 0 || info.dli_fname == nullptr) return false;
    const std::string_view file = info.dli_fname;
    return file.find("libxml2") != std::string_view::npos || file.find("libxslt") != std::string_view::npos;
}

void trackBlocks() noexcept {
    blocks.clear();
    isTracking = true;
}

std::int64_t trackedLibraryBlocks() noexcept {
    isTracking = false;
    return std::count_if(blocks.entries().begin(), blocks.entries().end(), [](const Blocks::Entry& entry) {
        return entry.isLive() && isLibrarys(entry.caller);
    });
}

}  // namespace faults

using faults::inject;
using faults::Kind;
using faults::next;

// The names with which glibc lets a program put its own allocator around it.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* block);

void* malloc(std::size_t size) {
    if (inject(Kind::Allocation, ENOMEM)) return nullptr;
    void* block = __libc_malloc(size);
    faults::taken(block, __builtin_return_address(0));
    return block;
}
void* calloc(std::size_t count, std::size_t size) {
    if (inject(Kind::Allocation, ENOMEM)) return nullptr;
    void* block = __libc_calloc(count, size);
    faults::taken(block, __builtin_return_address(0));
    return block;
}
void* realloc(void* block, std::size_t size) {
    if (inject(Kind::Allocation, ENOMEM)) return nullptr;
    void* moved = __libc_realloc(block, size);
    if (moved == nullptr && size != 0) return nullptr;
    faults::given(block);
    faults::taken(moved, __builtin_return_address(0));
    return moved;
}
void* aligned_alloc(std::size_t alignment, std::size_t size) {
    if (inject(Kind::Allocation, ENOMEM)) return nullptr;
    void* block = __libc_memalign(alignment, size);
    faults::taken(block, __builtin_return_address(0));
    return block;
}
int posix_memalign(void** block, std::size_t alignment, std::size_t size) {
    *block = aligned_alloc(alignment, size);
    return *block == nullptr ? ENOMEM : 0;
}
void free(void* block) {
    faults::given(block);
    __libc_free(block);
}

int open(const char* path, int flags, ...) {
    std::va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    if (inject(Kind::Open)) return -1;
    static auto* const real = next(&::open, "open");
    return real(path, flags, mode);
}
int open64(const char* path, int flags, ...) __attribute__((alias("open")));
std::FILE* fopen(const char* path, const char* mode) {
    if (inject(Kind::Open)) return nullptr;
    static auto* const real = next(&::fopen, "fopen");
    return real(path, mode);
}
std::FILE* fopen64(const char* path, const char* mode) __attribute__((alias("fopen")));
ssize_t read(int file, void* buffer, std::size_t size) {
    if (inject(Kind::Read)) return -1;
    static auto* const real = next(&::read, "read");
    return real(file, buffer, size);
}
std::size_t fread(void* buffer, std::size_t size, std::size_t count, std::FILE* file) {
    if (inject(Kind::Read)) return file->_flags |= _IO_ERR_SEEN, 0;
    static auto* const real = next(&::fread, "fread");
    return real(buffer, size, count, file);
}
ssize_t write(int file, const void* buffer, std::size_t size) {
    if (inject(Kind::Write)) return -1;
    static auto* const real = next(&::write, "write");
    return real(file, buffer, size);
}
ssize_t writev(int file, const iovec* parts, int count) {
    if (inject(Kind::Write)) return -1;
    static auto* const real = next(&::writev, "writev");
    return real(file, parts, count);
}
int stat(const char* path, struct stat* found) {
    if (inject(Kind::Stat)) return -1;
    using Function = int(const char*, struct stat*);
    static auto* const real = next(static_cast<Function*>(nullptr), "stat");
    return real(path, found);
}
int stat64(const char* path, struct stat64* found) __attribute__((alias("stat")));
int fstat(int file, struct stat* found) {
    if (inject(Kind::Stat)) return -1;
    using Function = int(int, struct stat*);
    static auto* const real = next(static_cast<Function*>(nullptr), "fstat");
    return real(file, found);
}
int fstat64(int file, struct stat64* found) __attribute__((alias("fstat")));
char* getcwd(char* buffer, std::size_t size) {
    if (inject(Kind::Stat)) return nullptr;
    static auto* const real = next(&::getcwd, "getcwd");
    return real(buffer, size);
}
void* mmap(void* at, std::size_t size, int access, int flags, int file, off_t offset) {
    if (inject(Kind::Map, ENOMEM)) return MAP_FAILED;
    static auto* const real = next(&::mmap, "mmap");
    return real(at, size, access, flags, file, offset);
}
void* mmap64(void* at, std::size_t size, int access, int flags, int file, off_t offset)
    __attribute__((alias("mmap")));
}
