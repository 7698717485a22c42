// What a folder holds, and making and entering folders. Paths are the framework's: both separators are
// recognised, those that are added here are backslashes. Threads: any, but see changeDirectory.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "KelBasicTypes/kelstring.h"

namespace kel {

// What a name in a folder stands for.
enum class EntryKind {
    File,
    Folder,
    Other,  // a device, a pipe, a link that leads nowhere
};

struct DirectoryEntry {
    KelString name;                     // seen from the folder that was listed: "a.xml", "sub\\b.xml"
    EntryKind kind = EntryKind::Other;  // of what a link leads to
    bool isLink = false;                // a symbolic link
    bool isReadable = true;         // false: the system does not report size and time, or, for a folder that
                                    // was to be listed, what it holds
    std::uint64_t sizeInBytes = 0;  // of a file
    std::int64_t modifiedSeconds = 0;  // since the start of 1970, UTC
};

// What listDirectory looks for.
struct ListingOptions {
    // Of the last name of an entry: '*' stands for any units, '?' for one; "*.*" for everything, with a point
    // in it or without. Folders that do not fit are not listed but, recursively, looked into.
    KelString pattern = u"*";
    bool ignoresCase = false;  // of the letters A to Z
    bool isRecursive = false;  // into folders, but not through links, which may form circles
};

// What listDirectory found.
struct DirectoryListing {
    bool isRead = false;                  // whether the folder itself could be read
    std::string reason;                   // why not, as the system says it
    std::vector<DirectoryEntry> entries;  // by name, unit by unit; without "." and ".."
};

// An entry that cannot be looked at is listed as such; no entry ends the listing. May let out std::bad_alloc.
[[nodiscard]] DirectoryListing listDirectory(const KelString& folder, const ListingOptions& options = {});

// With all that is missing above it. True also when the folder exists. False: `reason`, if given, becomes
// what the system says; parents that were made by then stay.
bool createDirectory(const KelString& folder, std::string* reason = nullptr);

// Makes it the working directory of the whole process, which other threads notice. False: it stays what it
// was.
bool changeDirectory(const KelString& folder, std::string* reason = nullptr);

// Whether the whole name fits the pattern, as above. Cost: at most the product of both lengths.
[[nodiscard]] bool fitsPattern(std::u16string_view name, std::u16string_view pattern,
                               bool ignoresCase) noexcept;

}  // namespace kel
