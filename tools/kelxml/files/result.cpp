// A short result waits in memory, a long one in an unnamed file. Delivered, it replaces its target by a
// rename, with the owner and mode that the target had, or is copied to what cannot be replaced.
#include "tools/kelxml/files/result.h"

#include <cerrno>
#include <system_error>
#include <vector>

#include "host/text.h"
#include "tools/kelxml/platform/files.h"
#include "tools/kelxml/report/exception.h"
#include "tools/kelxml/report/message.h"

namespace kelxml {

namespace fs = std::filesystem;

namespace {

// Longer results for standard output go to a file for the time being.
constexpr std::size_t kKeptInBytes = std::size_t{8} << 20;
constexpr std::size_t kBlockInBytes = std::size_t{1} << 16;

template <class Action>
auto orThrow(Action action) {
    try {
        return action();
    } catch (const std::system_error& error) {
        throw Exception(kRejected, tr("cannot write the result: %1", error.what()));
    }
}

[[noreturn]] void throwSystemError(int error, const fs::path& path) {
    throw std::system_error(error, std::generic_category(), kelhost::utf8Of(path));
}

// A link stays a link: the file that it points to is replaced.
fs::path resolve(const std::string& out) {
    if (out == "-") return {};
    std::error_code absent;
    const fs::path named = kelhost::pathOf(out);
    const fs::path target = fs::canonical(named, absent);
    return absent ? named : target;
}

// Devices and pipes are written to; only files, and what does not exist yet, can be replaced.
bool canReplace(const fs::path& target) {
    return !target.empty() && (!fs::exists(target) || fs::is_regular_file(target));
}

kel::FileStream openFile(const fs::path& path, const char* mode) {
    kel::FileStream file(openAs(path, mode));
    if (file == nullptr) throwSystemError(errno, path);
    return file;
}

}  // namespace

bool isReplaceable(const std::string& file) {
    std::error_code absent;
    return file != "-" && fs::is_regular_file(kelhost::pathOf(file), absent);
}

Result::Result(const std::string& out, Output& standardOutput)
    : target_(resolve(out)), standardOutput_(standardOutput) {
    orThrow([&] {
        if (fs::is_directory(target_)) throwSystemError(EISDIR, target_);
        if (!canReplace(target_)) return;
        temporary_.reset(new TemporaryFile(TemporaryFile::beside(target_)));
        file_ = openFile(temporary_->path(), "w");
    });
}

void Result::take(std::string_view bytes) {
    if (temporary_ == nullptr && kept_.size() + bytes.size() > kKeptInBytes) spill();
    if (temporary_ == nullptr) {
        kept_ += bytes;
        return;
    }
    orThrow([&] {
        if (std::fwrite(bytes.data(), 1, bytes.size(), file_.get()) != bytes.size())
            throwSystemError(errno, target_);
    });
}

void Result::spill() {
    orThrow([&] {
        temporary_.reset(new TemporaryFile(TemporaryFile::inTemporaryFolder()));
        file_ = openFile(temporary_->path(), "w");
        if (std::fwrite(kept_.data(), 1, kept_.size(), file_.get()) != kept_.size())
            throwSystemError(errno, temporary_->path());
    });
    kept_ = {};
}

void Result::settle() {
    if (file_ == nullptr) return;
    const bool isWritten = std::fflush(file_.get()) == 0;
    const int error = errno;
    file_.reset();
    if (!isWritten) throwSystemError(error, target_);
}

kel::FileStream Result::openAgain() {
    if (temporary_ == nullptr) spill();
    return orThrow([&] {
        settle();
        return openFile(temporary_->path(), "r");
    });
}

void Result::copyTo(std::FILE* device) {
    const auto put = [&](std::string_view bytes) {
        if (device == nullptr) return standardOutput_.writeBytes(bytes);
        if (std::fwrite(bytes.data(), 1, bytes.size(), device) != bytes.size())
            throwSystemError(errno, target_);
    };
    put(kept_);
    if (temporary_) {
        const kel::FileStream from = openFile(temporary_->path(), "r");
        std::vector<char> block(kBlockInBytes);
        for (std::size_t size = 1; size > 0;) {
            size = std::fread(block.data(), 1, block.size(), from.get());
            put({block.data(), size});
        }
        if (std::ferror(from.get()) != 0) throwSystemError(errno, temporary_->path());
    }
    if (device != nullptr && std::fflush(device) != 0) throwSystemError(errno, target_);
}

void Result::deliver() {
    orThrow([&] {
        settle();
        if (target_.empty()) return copyTo(nullptr);
        if (canReplace(target_)) return temporary_->replace(target_);
        copyTo(openFile(target_, "w").get());
    });
}

Comparison::Comparison(const fs::path& file) : file_(openAs(file, "r")), isSameSoFar_(file_ != nullptr) {}

void Comparison::take(std::string_view bytes) {
    if (!isSameSoFar_) return;
    block_.resize(bytes.size());
    const std::size_t size = std::fread(block_.data(), 1, block_.size(), file_.get());
    isSameSoFar_ = size == bytes.size() && block_ == bytes;
}

bool Comparison::isSame() {
    return isSameSoFar_ && std::fgetc(file_.get()) == EOF && std::ferror(file_.get()) == 0;
}

}  // namespace kelxml
