// Physical memory is that of the machine or of the tightest control group above this process, whichever is
// less; the page file is the swap space; virtual memory is both together. Without the process file system
// only the physical memory is known.
#include "KelBasicTypes/platform/memorystatus.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string_view>

#include "KelBasicTypes/platform/posix/memorystatusroots.h"

namespace kel::platform {
namespace {

constexpr std::uint64_t kKilobyte = 1024;
constexpr std::size_t kMaxPathLength = 1024;

// The first bytes of a small file.
class FileText final {
public:
    explicit FileText(const char* path) noexcept {
        const int file = open(path, O_RDONLY | O_CLOEXEC);
        if (file < 0) return;
        ssize_t got = 0;
        while (size_ < sizeof text_ && (got = read(file, text_ + size_, sizeof text_ - size_)) > 0) {
            size_ += static_cast<std::size_t>(got);
        }
        close(file);
    }

    [[nodiscard]] std::string_view view() const noexcept { return {text_, size_}; }

private:
    char text_[8192];
    std::size_t size_ = 0;
};

std::optional<std::uint64_t> numberAt(std::string_view text) noexcept {
    text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
    std::uint64_t number = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
    if (result.ec != std::errc()) return std::nullopt;
    return number;
}

// The number after a key that starts a line.
std::optional<std::uint64_t> numberAfter(std::string_view text, std::string_view key) noexcept {
    for (std::size_t at = text.find(key); at != std::string_view::npos; at = text.find(key, at + 1)) {
        if (at == 0 || text[at - 1] == '\n') return numberAt(text.substr(at + key.size()));
    }
    return std::nullopt;
}

struct GroupFiles {
    const char* mount;       // below the mount point of the control groups
    const char* controller;  // between the colons of the group's line
    const char* limit;
    const char* usage;
    const char* reclaimable;  // the key in memory.stat of what the system takes back by itself
};

constexpr GroupFiles kGroupFiles[] = {
    {"", "::", "memory.max", "memory.current", "inactive_file "},
    {"/memory", ":memory:", "memory.limit_in_bytes", "memory.usage_in_bytes", "total_inactive_file "},
};

std::string_view groupOf(std::string_view processGroups, const char* controller) noexcept {
    const std::size_t at = processGroups.find(controller);
    if (at == std::string_view::npos) return {};
    const std::string_view group = processGroups.substr(at + std::strlen(controller));
    return group.substr(0, group.find('\n'));
}

std::optional<std::uint64_t> readNumber(std::string_view directory, const char* file,
                                        const char* key) noexcept {
    char path[kMaxPathLength];
    const int length = std::snprintf(path, sizeof path, "%.*s/%s", static_cast<int>(directory.size()),
                                     directory.data(), file);
    if (length < 0 || static_cast<std::size_t>(length) >= sizeof path) return std::nullopt;
    const FileText text(path);
    return key == nullptr ? numberAt(text.view()) : numberAfter(text.view(), key);
}

void applyGroup(MemoryStatus& status, std::string_view directory, const GroupFiles& files) noexcept {
    const auto limit = readNumber(directory, files.limit, nullptr);  // "max" is no number
    if (!limit) return;
    status.totalPhysical = std::min(status.totalPhysical, *limit);
    const std::uint64_t usage = readNumber(directory, files.usage, nullptr).value_or(0);
    const std::uint64_t reclaimable = readNumber(directory, "memory.stat", files.reclaimable).value_or(0);
    const std::uint64_t used = usage - std::min(usage, reclaimable);
    status.availablePhysical = std::min(status.availablePhysical, *limit - std::min(*limit, used));
}

// The group and all above it; in a container the group's own path may not exist, its root then does.
void applyGroups(MemoryStatus& status, const MemoryStatusRoots& roots, const GroupFiles& files) noexcept {
    char path[kMaxPathLength];
    std::snprintf(path, sizeof path, "%s/self/cgroup", roots.process);
    const FileText processGroups(path);
    const std::string_view group = groupOf(processGroups.view(), files.controller);
    if (group.empty()) return;
    const int length = std::snprintf(path, sizeof path, "%s%s%.*s", roots.controlGroups, files.mount,
                                     static_cast<int>(group.size()), group.data());
    if (length < 0 || static_cast<std::size_t>(length) >= sizeof path) return;
    const std::size_t rootLength = std::strlen(roots.controlGroups) + std::strlen(files.mount);
    std::string_view directory(path, static_cast<std::size_t>(length));
    while (directory.size() >= rootLength) {
        applyGroup(status, directory, files);
        if (directory.size() == rootLength) break;
        directory = directory.substr(0, std::max(directory.rfind('/'), rootLength));
    }
}

bool readMachine(MemoryStatus& status, const MemoryStatusRoots& roots) noexcept {
    char path[kMaxPathLength];
    std::snprintf(path, sizeof path, "%s/meminfo", roots.process);
    const FileText info(path);
    const auto kilobytes = [&](const char* key) { return numberAfter(info.view(), key); };
    const auto total = kilobytes("MemTotal:");
    if (!total) return false;
    auto available = kilobytes("MemAvailable:");
    if (!available) available = kilobytes("MemFree:");
    status.totalPhysical = *total * kKilobyte;
    status.availablePhysical = available.value_or(0) * kKilobyte;
    status.totalPageFile = kilobytes("SwapTotal:").value_or(0) * kKilobyte;
    status.availablePageFile = kilobytes("SwapFree:").value_or(0) * kKilobyte;
    return true;
}

bool askSystem(MemoryStatus& status) noexcept {
    const long pages = sysconf(_SC_PHYS_PAGES);
    const long pageSize = sysconf(_SC_PAGESIZE);
    if (pages <= 0 || pageSize <= 0) return false;
    status.totalPhysical = static_cast<std::uint64_t>(pages) * static_cast<std::uint64_t>(pageSize);
    return true;
}

}  // namespace

bool readMemoryStatus(MemoryStatus& status, const MemoryStatusRoots& roots) noexcept {
    status = MemoryStatus{};
    if (!readMachine(status, roots) && !askSystem(status)) return false;
    for (const GroupFiles& files : kGroupFiles) applyGroups(status, roots, files);
    status.totalVirtual = status.totalPhysical + status.totalPageFile;
    status.availableVirtual = status.availablePhysical + status.availablePageFile;
    return true;
}

bool readMemoryStatus(MemoryStatus& status) noexcept {
    return readMemoryStatus(status, MemoryStatusRoots{});
}

}  // namespace kel::platform
