#include "KelBasicTypes/platform/rawfile.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>

#include "KelBasicTypes/detail/utf8encode.h"

namespace kel::platform {
namespace {

constexpr std::size_t kMaxTransferInBytes = std::size_t{1} << 30;  // systems cut longer ones

int openAs(const char* path, RawFile::Creation creation) noexcept {
    constexpr int kCommon = O_CREAT | O_CLOEXEC | O_NOCTTY;
    int descriptor = -1;
    do {
        descriptor = creation == RawFile::Creation::Replace ? open(path, kCommon | O_WRONLY | O_TRUNC, 0644)
                                                            : open(path, kCommon | O_RDWR | O_EXCL, 0600);
    } while (descriptor < 0 && errno == EINTR);
    return descriptor;
}

int descriptorOf(std::intptr_t handle) noexcept {
    return static_cast<int>(handle);
}

// Repeats a transfer until all is done, or something other than a signal ends it.
template <class Transfer>
bool transferAll(std::size_t byteCount, Transfer transfer) noexcept {
    for (std::size_t done = 0; done < byteCount;) {
        const ssize_t part = transfer(done, std::min(byteCount - done, kMaxTransferInBytes));
        if (part > 0) done += static_cast<std::size_t>(part);
        if (part == 0 || (part < 0 && errno != EINTR)) return false;
    }
    return true;
}

}  // namespace

RawFile::RawFile(std::u16string_view path, Creation creation) noexcept {
    detail::BoundedBytes<PATH_MAX> native;
    detail::appendUtf8(native, path);
    native.push_back('\0');
    if (path.empty() || !native.isComplete || path.find(u'\0') != std::u16string_view::npos) return;
    std::replace(native.bytes, native.bytes + native.size, '\\', '/');
    handle_ = openAs(native.bytes, creation);
    if (isOpen() && creation == Creation::NewTemporary) unlink(native.bytes);
}

RawFile::~RawFile() {
    if (isOpen()) close(descriptorOf(handle_));
}

bool RawFile::write(const void* bytes, std::size_t byteCount) noexcept {
    return transferAll(byteCount, [&](std::size_t at, std::size_t max) {
        return ::write(descriptorOf(handle_), static_cast<const char*>(bytes) + at, max);
    });
}

bool RawFile::read(void* bytes, std::size_t byteCount) noexcept {
    return transferAll(byteCount, [&](std::size_t at, std::size_t max) {
        return ::read(descriptorOf(handle_), static_cast<char*>(bytes) + at, max);
    });
}

bool RawFile::seekToStart() noexcept {
    return lseek(descriptorOf(handle_), 0, SEEK_SET) == 0;
}

}  // namespace kel::platform
