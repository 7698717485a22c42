#include "tools/kelxml/files/source.h"

#include <algorithm>
#include <cerrno>
#include <system_error>

#include "host/text.h"
#include "tools/kelxml/platform/files.h"
#include "tools/kelxml/report/exception.h"

namespace kelxml {

namespace {

constexpr std::size_t kBlockInBytes = std::size_t{1} << 16;

Exception unreadable(const std::string& name, const std::string& reason) {
    Diagnostic diagnostic(Severity::Error, name.empty() ? "''" : name, reason);  // an empty name must show
    diagnostic.code = 1;  // what the component calls a file that cannot be read
    return {kRejected, std::move(diagnostic)};
}

kel::FileStream open(const std::string& name) {
    if (name == "-") return nullptr;
    errno = 0;
    kel::FileStream file(openAs(kelhost::pathOf(name), "r"));
    if (file == nullptr) throw unreadable(name, std::generic_category().message(errno == 0 ? EIO : errno));
    return file;
}

}  // namespace

Source::Source(const std::string& name, Progress* progress)
    : name_(name), progress_(progress), owned_(open(name)), file_(owned_ == nullptr ? stdin : owned_.get()) {
    setOption(false);
}

Exception Source::readException() const {
    return unreadable(name_, failure_);
}

bool Source::readAhead(std::size_t byteCount) {
    ahead_ = readUpTo(byteCount);
    aheadTaken_ = 0;
    position_ = 0;
    return ahead_.size() < byteCount;
}

std::size_t Source::readRaw(void* buffer, std::size_t byteCount) {
    std::size_t given = 0;
    if (aheadTaken_ < ahead_.size()) {
        given = ahead_.copy(static_cast<char*>(buffer), byteCount, aheadTaken_);
        aheadTaken_ += given;
        if (aheadTaken_ == ahead_.size()) ahead_ = {};
        if (ahead_.empty()) aheadTaken_ = 0;
    } else {
        given = readFile(buffer, byteCount);
    }
    position_ += static_cast<std::int64_t>(given);
    if (observer_) observer_({static_cast<const char*>(buffer), given});
    return given;
}

std::size_t Source::readFile(void* buffer, std::size_t byteCount) {
    if (!failure_.empty()) return 0;
    errno = 0;
    const std::size_t given = std::fread(buffer, 1, byteCount, file_);
    if (given < byteCount && std::ferror(file_) != 0)
        failure_ = std::generic_category().message(errno == 0 ? EIO : errno);
    if (progress_ != nullptr) progress_->advance(given);
    return given;
}

std::string Source::readUpTo(std::size_t byteCount) {
    std::string bytes;
    while (bytes.size() < byteCount) {
        const std::size_t block = std::min(kBlockInBytes, byteCount - bytes.size());
        bytes.resize(bytes.size() + block);
        const std::size_t given = readRaw(bytes.data() + bytes.size() - block, block);
        bytes.resize(bytes.size() - block + given);
        if (given == 0) break;
    }
    return bytes;
}

std::string Source::readAll() {
    std::string bytes = readUpTo(std::string::npos);
    if (!failure_.empty()) throw readException();
    return bytes;
}

}  // namespace kelxml
