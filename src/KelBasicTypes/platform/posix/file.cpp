#include "KelBasicTypes/platform/file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <string>

#include "KelBasicTypes/utf8.h"

namespace kel::platform {

namespace {

// The path as the system spells it: UTF-8 with slashes.
std::string nativePath(std::u16string_view path) {
    std::string bytes = toUtf8(path);
    std::replace(bytes.begin(), bytes.end(), '\\', '/');
    return bytes;
}

bool isRejected(std::u16string_view path) {
    return path.empty() || path.find(u'\0') != std::u16string_view::npos;
}

bool isDirectory(int descriptor) {
    struct stat status {};
    return fstat(descriptor, &status) == 0 && S_ISDIR(status.st_mode);
}

// The owner's own bit decides for the owner, whatever an access list says of others; for anybody else the
// system is asked, which looks the path up once more.
bool mayRead(const struct stat& about, const std::string& native) {
    if (about.st_uid == geteuid() && (about.st_mode & S_IRUSR) != 0) return true;
    return faccessat(AT_FDCWD, native.c_str(), R_OK, AT_EACCESS) == 0;
}

}  // namespace

FileHandle openFile(std::u16string_view path, const char* mode) {
    if (isRejected(path)) return nullptr;
    const std::string closedOnExec = std::string(mode) + "e";
    FileHandle file(std::fopen(nativePath(path).c_str(), closedOnExec.c_str()));
    if (file != nullptr && isDirectory(fileno(file.get())))
        return nullptr;  // opens for reading, but reads nothing
    return file;
}

bool closeFile(FileHandle file) noexcept {
    return file != nullptr && std::fclose(file.release()) == 0;
}

bool canOpenForReading(std::u16string_view path) {
    if (isRejected(path)) return false;
    const std::string native = nativePath(path);
    // Not opened: a pipe's writer that waits for a reader would have had its only one.
    struct stat about {};
    return stat(native.c_str(), &about) == 0 && !S_ISDIR(about.st_mode) && mayRead(about, native);
}

}  // namespace kel::platform
