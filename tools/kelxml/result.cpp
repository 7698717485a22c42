#include "tools/kelxml/result.h"

#include <cerrno>
#include <fstream>
#include <system_error>

#include "host/text.h"
#include "tools/kelxml/failure.h"
#include "tools/kelxml/message.h"
#include "tools/kelxml/output.h"

namespace kelxml {

namespace fs = std::filesystem;

namespace {

template <class Action>
auto orFailure(Action action) {
    try {
        return action();
    } catch (const std::system_error& error) {
        throw Failure(kRefused, tr("cannot write the result: %1", error.what()));
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

TemporaryFile makeTemporary(const fs::path& target) {
    return orFailure([&] {
        if (fs::is_directory(target)) throwSystemError(EISDIR, target);
        return canReplace(target) ? TemporaryFile::beside(target) : TemporaryFile::inTemporaryFolder();
    });
}

void copyToDevice(const fs::path& from, const fs::path& device) {
    std::ifstream source(from, std::ios::binary);
    std::ofstream sink(device, std::ios::binary);
    if (source.peek() != std::ifstream::traits_type::eof()) sink << source.rdbuf();
    if (!sink.flush()) throwSystemError(errno, device);
}

}  // namespace

Result::Result(const std::string& out) : target_(resolve(out)), temporary_(makeTemporary(target_)) {}

void Result::write(std::string_view bytes, LineEnds lineEnds) {
    orFailure([&] {
        std::ofstream file(path(), lineEnds == LineEnds::Given ? std::ios::binary : std::ios::out);
        file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        if (!file.flush()) throwSystemError(errno, path());
    });
}

void Result::deliver() {
    if (target_.empty()) {
        Output output;
        output.copyFile(path());
        output.finish();
        return;
    }
    orFailure([&] {
        if (canReplace(target_))
            temporary_.takePlaceOf(target_);
        else
            copyToDevice(path(), target_);
    });
}

}  // namespace kelxml
