#include "KelBasicTypes/binfile.h"

#include <cstdio>
#include <filesystem>
#include <system_error>
#include <utility>

#include "KelBasicTypes/detail/fileactions.h"
#include "KelBasicTypes/kelstring.h"
#include "KelBasicTypes/platform/file.h"
#include "KelBasicTypes/platform/fileposition.h"
#include "KelBasicTypes/platform/nativepath.h"
#include "KelBasicTypes/platform/process.h"

using kel::platform::commitFile;
using kel::platform::openFile;
using kel::platform::Origin;
using kel::platform::seekFile;
using kel::platform::tellFile;

namespace {

Origin originOf(bool fromStart) noexcept {
    return fromStart ? Origin::Start : Origin::End;
}

}  // namespace

BinInputFile::BinInputFile(const KelString& path) : BinInputFile(openFile(path.view(), "rb").release()) {}

BinInputFile::BinInputFile(std::FILE* file) : file_(file) {
    if (file_ == nullptr || !seekFile(*file_, 0, Origin::End)) return;
    const std::int64_t end = tellFile(*file_);
    if (seekFile(*file_, 0, Origin::Start) && end > 0) setLength(end);
}

BinInputFile::~BinInputFile() = default;

std::size_t BinInputFile::readRaw(void* buffer, std::size_t byteCount) {
    return file_ == nullptr ? 0 : std::fread(buffer, 1, byteCount, file_.get());
}

std::int64_t BinInputFile::tell() {
    return file_ == nullptr ? -1 : tellFile(*file_);
}

bool BinInputFile::seek(std::int64_t position, bool fromStart) {
    return file_ != nullptr && seekFile(*file_, position, originOf(fromStart));
}

bool BinInputFile::good() const {
    return file_ != nullptr && std::ferror(file_.get()) == 0;
}

void BinInputFile::close() {
    file_.reset();
}

// "c": flushed is committed to the disk. Runtimes that do not know it leave that to flush().
BinOutputFile::BinOutputFile(const KelString& path)
    : file_(openFile(path.view(), "w+bc").release()), isCommitted_(true) {}

BinOutputFile::BinOutputFile(std::FILE* file) : file_(file), isCommitted_(false) {}

BinOutputFile::~BinOutputFile() {
    BinOutputFile::close();
}

bool BinOutputFile::flush() {
    if (file_ == nullptr || !flushBuffer()) return false;
    const bool isWhole = !std::exchange(hasLost_, false);
    return std::fflush(file_.get()) == 0 && (!isCommitted_ || commitFile(*file_)) && isWhole;
}

std::size_t BinOutputFile::writeRaw(const void* buffer, std::size_t byteCount) {
    if (file_ == nullptr) return 0;
    turnTo(Direction::Write);
    const std::size_t taken = std::fwrite(buffer, 1, byteCount, file_.get());
    if (taken < byteCount) hasLost_ = true;
    return taken;
}

std::size_t BinOutputFile::readRaw(void* buffer, std::size_t byteCount) {
    if (file_ == nullptr || !flushBuffer()) return 0;
    turnTo(Direction::Read);
    return std::fread(buffer, 1, byteCount, file_.get());
}

// A file open for both directions wants a positioning between a write and a read.
void BinOutputFile::turnTo(Direction direction) noexcept {
    if (direction_ != direction && direction_ != Direction::None) (void)seekFile(*file_, 0, Origin::Here);
    direction_ = direction;
}

std::int64_t BinOutputFile::tell() {
    return file_ == nullptr ? -1 : tellFile(*file_);
}

bool BinOutputFile::seek(std::int64_t position, bool fromStart) {
    if (file_ == nullptr || !flushBuffer()) return false;
    direction_ = Direction::None;
    return seekFile(*file_, position, originOf(fromStart));
}

bool BinOutputFile::good() const {
    return file_ != nullptr && std::ferror(file_.get()) == 0;
}

void BinOutputFile::close() {
    if (file_ == nullptr) return;
    (void)flushBuffer();  // reported by flush(), which careful callers call before
    file_.reset();
}

namespace kel::detail {

KelString unfinishedPath(const KelString& path) {
    char suffix[sizeof ".00000000-00000000.part"];
    std::snprintf(suffix, sizeof suffix, ".%08x-%08x.part", kel::platform::processId(),
                  static_cast<unsigned>(kel::platform::performanceCounter()));
    KelString name = path;
    name.appendNarrow(suffix);
    return name;
}

std::string replaceFile(std::u16string_view from, std::u16string_view to) {
    std::error_code failure;
    std::filesystem::rename(platform::nativePath(from), platform::nativePath(to), failure);
    return failure ? failure.message() : std::string();
}

void removeFile(std::u16string_view path) noexcept {
    try {
        std::error_code ignored;  // see the declaration
        std::filesystem::remove(platform::nativePath(path), ignored);
    } catch (const std::bad_alloc&) {
        // No memory for the name: the file stays.
    }
}

}  // namespace kel::detail
