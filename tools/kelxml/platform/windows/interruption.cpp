// The system calls a function of ours on a thread of its own: a lock holds it back. A file that is open for
// writing at that moment cannot be removed here and stays.
#include "tools/kelxml/platform/interruption.h"

#include <windows.h>

#include <algorithm>
#include <array>

#include "KelBasicTypes/platform/criticalsection.h"

namespace kelxml {

namespace {

using Path = std::array<wchar_t, 1024>;
std::array<Path, 16> registered{};  // guarded by the lock

kel::platform::CriticalSection& lock() {
    static auto& section = *new kel::platform::CriticalSection;  // the process may end while it is held
    return section;
}

BOOL WINAPI onInterruption(DWORD /*kind*/) {
    lock().enter();  // for good: nothing is registered any more
    for (const Path& path : registered) {
        if (path[0] != L'\0') (void)DeleteFileW(path.data());
    }
    return FALSE;  // and so to the default handler, which ends the program
}

}  // namespace

void removeTemporaryFilesWhenInterrupted() noexcept {
    (void)lock();                                       // made here, not in the middle of an interruption
    (void)SetConsoleCtrlHandler(onInterruption, TRUE);  // no console: no interruption
}

UninterruptedWork::UninterruptedWork() noexcept {
    lock().enter();
}

UninterruptedWork::~UninterruptedWork() {
    lock().leave();
}

void registerTemporaryFile(const std::filesystem::path& path) noexcept {
    const auto slot = std::ranges::find_if(registered, [](const Path& each) { return each[0] == L'\0'; });
    const std::wstring& name = path.native();
    if (slot == registered.end() || name.size() >= slot->size()) return;
    std::copy_n(name.c_str(), name.size() + 1, slot->data());
}

void forgetTemporaryFile(const std::filesystem::path& path) noexcept {
    const auto slot =
        std::ranges::find_if(registered, [&path](const Path& each) { return path.native() == each.data(); });
    if (slot != registered.end() && !path.empty()) slot->front() = L'\0';
}

}  // namespace kelxml
