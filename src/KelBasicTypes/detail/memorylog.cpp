#include <algorithm>
#include <cstdio>

#include "KelBasicTypes/detail/memorylog.h"
#include "KelBasicTypes/detail/quietlookup.h"
#include "KelBasicTypes/idatastore.h"
#include "KelBasicTypes/imemchecker.h"
#include "KelBasicTypes/kelstring.h"
#include "KelBasicTypes/platform/memorystatus.h"
#include "KelBasicTypes/platform/rawfile.h"

namespace kel::detail {
namespace {

constexpr std::uint32_t kKilobyte = 1024;
constexpr unsigned long long kManagerUnitInKilobytes = KelMM::IKelMManager::kUnitInBytes / kKilobyte;

// The log's text, in place: there may be no memory for it.
class LogText final {
public:
    // A label, the figure to the right of a field, a unit.
    void line(const char* label, unsigned long long figure, char unit) noexcept {
        const int length =
            std::snprintf(text_ + size_, sizeof text_ - size_, "%-18s%7llu%c\n", label, figure, unit);
        if (length > 0) size_ = std::min(size_ + static_cast<std::size_t>(length), sizeof text_ - 1);
    }
    void line(const char* words) noexcept {
        const int length = std::snprintf(text_ + size_, sizeof text_ - size_, "%s\n", words);
        if (length > 0) size_ = std::min(size_ + static_cast<std::size_t>(length), sizeof text_ - 1);
    }

    [[nodiscard]] const char* text() const noexcept { return text_; }
    [[nodiscard]] std::size_t size() const noexcept { return size_; }

private:
    char text_[1024];  // twelve lines of some 30 characters
    std::size_t size_ = 0;
};

MemoryFigures figures() {
    MemoryFigures result;
    const IPtr<IMemChecker> checker = findService<IMemChecker>();
    if (checker && checker->isAvailable()) {
        checker->figures(result, kKilobyte);
    } else {
        (void)systemFigures(result, kKilobyte);  // zeros where the system does not report it
    }
    return result;
}

void addManager(LogText& log, KelMM::IKelMManager* manager) {
    if (manager == nullptr) return log.line("kelmm not available");
    log.line("kelmm core now:", manager->coreInUse() * kManagerUnitInKilobytes, 'k');
    log.line("kelmm core limit:", manager->coreLimit() * kManagerUnitInKilobytes, 'k');
    log.line("kelmm swap now:", manager->swapInUse() * kManagerUnitInKilobytes, 'k');
    log.line("kelmm swap limit:", manager->swapLimit() * kManagerUnitInKilobytes, 'k');
}

KelString logFolder() noexcept {
    KelString folder;
    const IPtr<IDataStore> settings = findService<IDataStore>();
    try {
        if (settings) settings->readText("Directories/Logs Directory", folder);
    } catch (...) {
        folder.clear();  // a setting that cannot be read is not set
    }
    return folder;
}

KelString logPath() {
    KelString path = logFolder();
    const std::size_t length = path.length();
    const bool endsWithSeparator = length > 0 && (path[length - 1] == u'\\' || path[length - 1] == u'/');
    if (length > 0 && !endsWithSeparator) path.append(u'\\');
    path.append(u"memory.log");
    return path;
}

}  // namespace

void writeMemoryLog(std::uint64_t attemptedBytes, KelMM::IKelMManager* manager) {
    const KelString path = logPath();
    platform::RawFile file(path.view(), platform::RawFile::Creation::Replace);
    if (!file.isOpen()) return;
    LogText log;
    if (attemptedBytes != 0) {
        log.line("attempted:", attemptedBytes, 'b');
        log.line("");
    }
    const MemoryFigures now = figures();
    log.line("system free:", now.systemFree, 'k');
    log.line("system total:", now.systemTotal, 'k');
    log.line("swap free:", now.swapFree, 'k');
    log.line("swap total:", now.swapTotal, 'k');
    log.line("");
    addManager(log, manager);
    log.line("");
    (void)file.write(log.text(), log.size());  // a full disk cannot be reported any more
}

bool systemFigures(MemoryFigures& result, std::uint32_t divisor) noexcept {
    result = {};
    platform::MemoryStatus status;
    if (!platform::readMemoryStatus(status)) return false;
    const std::uint64_t unit = std::max<std::uint32_t>(divisor, 1);
    const auto beyond = [](std::uint64_t whole, std::uint64_t part) {
        return whole > part ? whole - part : 0;
    };
    const std::uint64_t swapTotal =
        std::min(beyond(status.totalVirtual, status.totalPhysical), status.totalPageFile);
    const std::uint64_t swapFree = std::min(
        {swapTotal, beyond(status.availableVirtual, status.availablePhysical), status.availablePageFile});
    result = {status.availablePhysical / unit, status.totalPhysical / unit, swapFree / unit,
              swapTotal / unit};
    return true;
}

}  // namespace kel::detail
