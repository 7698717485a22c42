#include "KelBasicTypes/platform/fileposition.h"

#include <sys/types.h>
#include <unistd.h>

#include <cerrno>

namespace kel::platform {

static_assert(sizeof(off_t) == sizeof(std::int64_t));

bool seekFile(std::FILE& file, std::int64_t offset, Origin origin) noexcept {
    const int whence = origin == Origin::Start ? SEEK_SET : origin == Origin::Here ? SEEK_CUR : SEEK_END;
    return fseeko(&file, offset, whence) == 0;
}

std::int64_t tellFile(std::FILE& file) noexcept {
    return ftello(&file);
}

bool commitFile(std::FILE& file) noexcept {
    return fsync(fileno(&file)) == 0 || errno == EINVAL || errno == EROFS || errno == ENOTSUP;
}

}  // namespace kel::platform
