#include "KelBasicTypes/platform/rawfile.h"

#include <windows.h>

#include <algorithm>

#include "KelBasicTypes/platform/windows/wide.h"

namespace kel::platform {
namespace {

constexpr std::size_t kMaxTransferInBytes = std::size_t{1} << 30;  // a call counts in 32 bits

HANDLE asHandle(std::intptr_t handle) noexcept {
    return reinterpret_cast<HANDLE>(handle);
}

// transfer(offset, count, &done) returns as the system's calls do.
template <class Transfer>
bool transferAll(std::size_t byteCount, Transfer transfer) noexcept {
    for (std::size_t done = 0; done < byteCount;) {
        DWORD part = 0;
        const auto max = static_cast<DWORD>(std::min(byteCount - done, kMaxTransferInBytes));
        if (transfer(done, max, &part) == 0 || part == 0) return false;
        done += part;
    }
    return true;
}

}  // namespace

RawFile::RawFile(std::u16string_view path, Creation creation) noexcept {
    const WidePath native(path);
    if (!native.isPath()) return;
    const HANDLE file =
        creation == Creation::Replace
            ? CreateFileW(native.get(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_ALWAYS,
                          FILE_ATTRIBUTE_NORMAL, nullptr)
            // Goes away with its handle, however the process ends.
            : CreateFileW(native.get(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_DELETE, nullptr, CREATE_NEW,
                          FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE, nullptr);
    handle_ = reinterpret_cast<std::intptr_t>(file);  // -1 where the system fails
}

RawFile::~RawFile() {
    if (isOpen()) (void)CloseHandle(asHandle(handle_));
}

bool RawFile::write(const void* bytes, std::size_t byteCount) noexcept {
    return transferAll(byteCount, [&](std::size_t at, DWORD max, DWORD* part) {
        return WriteFile(asHandle(handle_), static_cast<const char*>(bytes) + at, max, part, nullptr);
    });
}

bool RawFile::read(void* bytes, std::size_t byteCount) noexcept {
    return transferAll(byteCount, [&](std::size_t at, DWORD max, DWORD* part) {
        return ReadFile(asHandle(handle_), static_cast<char*>(bytes) + at, max, part, nullptr);
    });
}

bool RawFile::seekToStart() noexcept {
    return SetFilePointerEx(asHandle(handle_), LARGE_INTEGER{}, nullptr, FILE_BEGIN) != 0;
}

}  // namespace kel::platform
