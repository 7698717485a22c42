#include "KelBasicTypes/platform/fileposition.h"

#include <io.h>
#include <windows.h>

#include <cstdint>

namespace kel::platform {

bool seekFile(std::FILE& file, std::int64_t offset, Origin origin) noexcept {
    const int whence = origin == Origin::Start ? SEEK_SET : origin == Origin::Here ? SEEK_CUR : SEEK_END;
    return _fseeki64(&file, offset, whence) == 0;
}

std::int64_t tellFile(std::FILE& file) noexcept {
    return _ftelli64(&file);
}

bool commitFile(std::FILE& file) noexcept {
    const int descriptor = _fileno(&file);
    if (_commit(descriptor) == 0) return true;
    const std::intptr_t handle = _get_osfhandle(descriptor);
    return handle != -1 && GetFileType(reinterpret_cast<HANDLE>(handle)) != FILE_TYPE_DISK;
}

}  // namespace kel::platform
