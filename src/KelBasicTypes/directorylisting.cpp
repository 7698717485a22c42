#include "KelBasicTypes/directorylisting.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <system_error>
#include <utility>

#include "KelBasicTypes/platform/nativepath.h"

namespace kel {

namespace fs = std::filesystem;

namespace {

char16_t folded(char16_t unit, bool ignoresCase) noexcept {
    return ignoresCase && unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + (u'a' - u'A')) : unit;
}

EntryKind kindOf(fs::file_type type) noexcept {
    if (type == fs::file_type::regular) return EntryKind::File;
    return type == fs::file_type::directory ? EntryKind::Folder : EntryKind::Other;
}

std::int64_t secondsOf(fs::file_time_type time) {
    const auto system = fs::file_time_type::clock::to_sys(time);
    return std::chrono::floor<std::chrono::seconds>(system.time_since_epoch()).count();
}

DirectoryEntry describe(const fs::directory_entry& found, const KelString& name) {
    std::error_code failure;
    DirectoryEntry entry;
    entry.name = name;
    entry.isLink = found.is_symlink(failure);
    entry.kind = kindOf(found.status(failure).type());
    entry.isReadable = !failure && platform::nativePath(platform::unitsOf(found.path().filename())) ==
                                       found.path().filename();
    if (entry.kind == EntryKind::File) {
        const std::uintmax_t size = found.file_size(failure);
        entry.isReadable = entry.isReadable && !failure;
        if (!failure) entry.sizeInBytes = size;
    }
    const fs::file_time_type time = found.last_write_time(failure);
    entry.isReadable = entry.isReadable && !failure;
    if (!failure) entry.modifiedSeconds = secondsOf(time);
    return entry;
}

class Lister {
public:
    Lister(fs::path root, const ListingOptions& options)
        : root_(std::move(root)), options_(options), isAnyName_(options.pattern == u"*.*") {}

    DirectoryListing list() {
        DirectoryListing result;
        const std::error_code failure = listFolder(KelString(u""), result.entries);
        result.isRead = !failure;
        if (failure) result.reason = failure.message();
        // Folders still to be looked into: no recursion, for the depth of folders has no limit.
        while (!failure && !pending_.empty()) {
            const auto [name, entryAt] = std::move(pending_.back());
            pending_.pop_back();
            if (listFolder(name, result.entries) && entryAt != kNotListed)
                result.entries[entryAt].isReadable = false;
        }
        std::ranges::sort(result.entries, {}, [](const DirectoryEntry& entry) { return entry.name.view(); });
        return result;
    }

private:
    static constexpr std::size_t kNotListed = static_cast<std::size_t>(-1);

    std::error_code listFolder(const KelString& folder, std::vector<DirectoryEntry>& entries) {
        std::error_code failure;
        const fs::path path = folder.isEmpty() ? root_ : root_ / platform::nativePath(folder.view());
        for (fs::directory_iterator at(path, failure), end; !failure && at != end; at.increment(failure))
            note(*at, folder, entries);
        return failure;
    }

    void note(const fs::directory_entry& found, const KelString& folder,
              std::vector<DirectoryEntry>& entries) {
        const std::u16string lastName = platform::unitsOf(found.path().filename());
        KelString name = folder;
        if (!folder.isEmpty()) name.append(u'\\');
        name.append(std::u16string_view(lastName));
        DirectoryEntry entry = describe(found, name);
        const bool isToBeEntered = options_.isRecursive && entry.kind == EntryKind::Folder && !entry.isLink;
        const bool isListed =
            isAnyName_ || fitsPattern(lastName, options_.pattern.view(), options_.ignoresCase);
        if (isToBeEntered) pending_.emplace_back(name, isListed ? entries.size() : kNotListed);
        if (isListed) entries.push_back(std::move(entry));
    }

    fs::path root_;
    const ListingOptions& options_;
    bool isAnyName_;
    std::vector<std::pair<KelString, std::size_t>> pending_;  // with the folder's own entry
};

bool report(const std::error_code& failure, std::string* reason) {
    if (failure && reason != nullptr) *reason = failure.message();
    return !failure;
}

}  // namespace

// Where a '*' stands, the shortest stretch is tried first; a mismatch after it makes that stretch one unit
// longer. Only the last '*' has ever to be gone back to.
bool fitsPattern(std::u16string_view name, std::u16string_view pattern, bool ignoresCase) noexcept {
    constexpr std::size_t kNone = std::u16string_view::npos;
    std::size_t at = 0;
    std::size_t in = 0;
    std::size_t star = kNone;  // in the pattern
    std::size_t resume = 0;    // in the name
    while (at < name.size()) {
        if (in < pattern.size() && pattern[in] == u'*') {
            star = in++;
            resume = at;
        } else if (in < pattern.size() && (pattern[in] == u'?' || folded(pattern[in], ignoresCase) ==
                                                                      folded(name[at], ignoresCase))) {
            ++in;
            ++at;
        } else if (star != kNone) {
            in = star + 1;
            at = ++resume;
        } else {
            return false;
        }
    }
    return pattern.find_first_not_of(u'*', in) == kNone;
}

DirectoryListing listDirectory(const KelString& folder, const ListingOptions& options) {
    return Lister(platform::nativePath(folder.view()), options).list();
}

bool createDirectory(const KelString& folder, std::string* reason) {
    std::error_code failure;
    const fs::path path = platform::nativePath(folder.view());
    fs::create_directories(path, failure);
    if (!failure && !fs::is_directory(path, failure) && !failure)
        failure = std::make_error_code(std::errc::not_a_directory);
    return report(failure, reason);
}

bool changeDirectory(const KelString& folder, std::string* reason) {
    std::error_code failure;
    fs::current_path(platform::nativePath(folder.view()), failure);
    return report(failure, reason);
}

}  // namespace kel
