#include "tools/kelxml/temporaryfile.h"

#include <random>
#include <string>
#include <utility>

#include "tools/kelxml/platform/interruption.h"

namespace kelxml {

namespace fs = std::filesystem;

namespace {

std::string randomName() {
    static constexpr char kLetters[] = "abcdefghijklmnopqrstuvwxyz0123456789";
    std::random_device random;
    std::string name = ".kelxml-";
    for (int i = 0; i < 12; ++i) name += kLetters[random() % (sizeof kLetters - 1)];
    return name;
}

}  // namespace

TemporaryFile::TemporaryFile(const fs::path& folder, Access access) {
    const UninterruptedWork both;  // create and register
    fs::path path;
    do {
        path = folder / randomName();
    } while (!createFile(path, access));
    registerTemporaryFile(path);
    path_ = std::move(path);
}

TemporaryFile TemporaryFile::beside(const fs::path& target) {
    return {target.has_parent_path() ? target.parent_path() : fs::path("."), Access::Usual};
}

TemporaryFile TemporaryFile::inTemporaryFolder() {
    return inFolder(fs::temp_directory_path());
}

TemporaryFile TemporaryFile::inFolder(const fs::path& folder) {
    return {folder, Access::Private};
}

TemporaryFile::~TemporaryFile() {
    if (path_.empty()) return;
    const UninterruptedWork both;  // remove and forget
    removeFile(path_);
    forgetTemporaryFile(path_);
}

void TemporaryFile::takePlaceOf(const fs::path& target) {
    settleFile(path_, target);
    const UninterruptedWork both;  // rename and forget
    replaceFile(target, path_);
    forgetTemporaryFile(path_);
    path_.clear();
}

}  // namespace kelxml
