#include "KelBasicTypes/directories.h"

#include <cstddef>
#include <cstdio>
#include <new>
#include <string_view>
#include <utility>

#include "KelBasicTypes/detail/resetbasictypes.h"
#include "KelBasicTypes/idatastore.h"
#include "KelBasicTypes/ikeldirservice.h"
#include "KelBasicTypes/kelstring.h"
#include "KelBasicTypes/platform/criticalsection.h"
#include "KelBasicTypes/platform/process.h"
#include "framework/object/sptr.h"

namespace kel {
namespace {

constexpr std::u16string_view kBackslashStep = u"\\..\\";
constexpr std::u16string_view kSlashStep = u"/../";

bool isSeparator(char16_t unit) noexcept {
    return unit == u'\\' || unit == u'/';
}

bool isLetter(char16_t unit) noexcept {
    return (unit >= u'A' && unit <= u'Z') || (unit >= u'a' && unit <= u'z');
}

struct DirectoryServiceSlot {
    platform::CriticalSection lock;
    bool isLookedUp = false;
    IPtr<IKelDirService> service;
};

// Never destroyed, for paths may be made while the process ends; in place, for one is made when it has run
// out of memory.
DirectoryServiceSlot& slot() {
    alignas(DirectoryServiceSlot) static std::byte storage[sizeof(DirectoryServiceSlot)];
    static auto& theSlot = *new (storage) DirectoryServiceSlot;
    return theSlot;
}

// Looked up once and then kept. Borrowed, null if there is none.
IKelDirService* directoryService() {
    DirectoryServiceSlot& theSlot = slot();
    const platform::SectionGuard guard(theSlot.lock);
    if (!theSlot.isLookedUp) theSlot.service = SPtr<IKelDirService>();
    theSlot.isLookedUp = true;
    return theSlot.service.get();
}

// What stays before the last name; a separator that is the root stays.
std::u16string_view parentOf(std::u16string_view directory) noexcept {
    const std::size_t separator = directory.find_last_of(u"\\/");
    if (separator == std::u16string_view::npos) return directory;
    const bool isRoot = separator == 0 || directory[separator - 1] == u':';
    return directory.substr(0, isRoot ? separator + 1 : separator);
}

// Where the name that the step takes away begins, with its separator; npos when there is none.
std::size_t startOfStep(std::u16string_view path, std::size_t step) noexcept {
    const std::u16string_view before = path.substr(0, step);
    const std::size_t backslash = before.rfind(u'\\');
    return backslash != std::u16string_view::npos ? backslash : before.rfind(u'/');
}

}  // namespace

bool isAbsolutePath(const KelString& path) {
    const std::u16string_view text = path.view();
    return !text.empty() &&
           (isSeparator(text[0]) || (text.size() > 1 && isLetter(text[0]) && text[1] == u':'));
}

bool collapseParentSteps(KelString& path) {
    bool isChanged = false;
    for (;;) {
        const std::u16string_view text = path.view();
        std::size_t step = text.find(kBackslashStep);
        if (step == std::u16string_view::npos) step = text.find(kSlashStep);
        if (step == std::u16string_view::npos) return isChanged;
        const std::size_t start = startOfStep(text, step);
        if (start == std::u16string_view::npos) return isChanged;
        path = path.replaceRange(start, step + kBackslashStep.size() - 1,
                                 {});  // the separator after the dots stays
        isChanged = true;
    }
}

void makeAbsolute(KelString& path) {
    if (isAbsolutePath(path)) return;
    KelString directory(platform::currentDirectory());
    collapseParentSteps(directory);
    std::u16string_view parent = directory.view();
    std::u16string_view rest = path.view();
    for (;;) {
        if (rest.starts_with(u".\\")) {
            rest.remove_prefix(2);
        } else if (rest.starts_with(u"..\\")) {
            parent = parentOf(parent);
            rest.remove_prefix(3);
        } else {
            break;
        }
    }
    if (parent.empty()) return;
    KelString whole(parent);
    if (!isSeparator(parent.back())) whole.append(u'\\');
    whole.append(rest);
    collapseParentSteps(whole);
    path = std::move(whole);
}

std::string specialDirectory(const char* name) {
    IKelDirService* const service = directoryService();
    return service != nullptr ? service->directory(name) : std::string();
}

bool makeTempFileName(KelString& path) {
    const auto counter = static_cast<unsigned>(platform::performanceCounter());
    KelString folder;
    if (const SPtr<IDataStore> settings; settings) settings->readText("Directories/Temp Directory", folder);
    if (folder.isEmpty()) folder.assignNarrow(specialDirectory("temp"));
    char name[sizeof "\\kel-00000000-00000000-temp"];
    std::snprintf(name, sizeof name, "\\kel-%08x-%08x-temp", platform::processId(), counter);
    folder.appendNarrow(name);
    path = std::move(folder);
    return true;
}

namespace detail {

void resetDirectories() {
    slot().service.reset();
    slot().isLookedUp = false;
}

}  // namespace detail
}  // namespace kel
