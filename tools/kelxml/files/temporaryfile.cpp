#include "tools/kelxml/files/temporaryfile.h"

#include <random>
#include <string>
#include <system_error>
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

fs::path folderOf(const fs::path& target) {
    return target.has_parent_path() ? target.parent_path() : fs::path(".");
}

}  // namespace

TemporaryFile::TemporaryFile(const fs::path& folder, Access access, Name name)
    : unnamed_(name == Name::IfNeeded ? UnnamedFile::in(folder, access) : std::nullopt) {
    if (unnamed_)
        path_ = unnamed_->path();
    else
        createNamed(folder, access);
}

void TemporaryFile::createNamed(const fs::path& folder, Access access) {
    const UninterruptedWork both;  // create and register
    fs::path path;
    do {
        path = folder / randomName();
    } while (!createFile(path, access));
    registerTemporaryFile(path);
    path_ = std::move(path);
}

void TemporaryFile::giveNameIn(const fs::path& folder) {
    fs::path path;
    do {
        path = folder / randomName();
    } while (!unnamed_->giveName(path));
    registerTemporaryFile(path);
    unnamed_.reset();
    path_ = std::move(path);
}

TemporaryFile TemporaryFile::beside(const fs::path& target) {
    return {folderOf(target), Access::Usual, Name::IfNeeded};
}

TemporaryFile TemporaryFile::inTemporaryFolder() {
    std::error_code error;
    const fs::path folder = fs::temp_directory_path(error);
    if (error) throw std::system_error(error, "TMPDIR");
    return {folder, Access::Private, Name::IfNeeded};
}

TemporaryFile TemporaryFile::namedIn(const fs::path& folder) {
    return {folder, Access::Private, Name::Always};
}

TemporaryFile::~TemporaryFile() {
    if (path_.empty() || unnamed_) return;
    const UninterruptedWork both;  // remove and forget
    removeFile(path_);
    forgetTemporaryFile(path_);
}

void TemporaryFile::replace(const fs::path& target) {
    settleFile(path_, target);
    const UninterruptedWork all;  // give a name, rename and forget: a name that stays would be litter
    if (unnamed_) giveNameIn(folderOf(target));
    replaceFile(target, path_);
    forgetTemporaryFile(path_);
    path_.clear();
}

}  // namespace kelxml
