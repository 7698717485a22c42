// Entries that only POSIX systems have: links, names that are no text, folders without permission.
#include <gtest/gtest.h>

#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "KelBasicTypes/directorylisting.h"
#include "KelBasicTypes/utf8.h"
#include "tests/basictypes/tempdirectory.h"

namespace fs = std::filesystem;

TEST(PosixListing, OddEntriesAreListedAndEndNothing) {
    const kel::test::TempDirectory folder;
    fs::create_directories(folder.file("sub"));
    std::ofstream(folder.file("sub/file")) << "1";
    fs::create_directory_symlink(folder.path(), folder.file("sub/circle"));
    fs::create_symlink("nowhere", folder.file("dangling"));
    std::ofstream(folder.file("no\xFFtext")) << "1";
    std::ofstream(folder.file("back\\slash")) << "1";
    fs::create_directory(folder.file("shut"));
    fs::permissions(folder.file("shut"), fs::perms::none);

    kel::ListingOptions options;
    options.isRecursive = true;
    const kel::DirectoryListing listing =
        kel::listDirectory(KelString(kel::fromUtf8(folder.path())), options);
    ASSERT_TRUE(listing.isRead);
    std::string text;
    for (const kel::DirectoryEntry& entry : listing.entries) {
        text += kel::toUtf8(entry.name.view()) + (entry.isLink ? "@" : "") + (entry.isReadable ? "" : "!") +
                (entry.kind == kel::EntryKind::Folder ? "/" : "") + ' ';
    }
    const std::string shut = geteuid() == 0 ? "shut/ " : "shut!/ ";  // root reads everything
    EXPECT_EQ(text, "back\\slash! dangling@! no\uFFFDtext! " + shut + "sub/ sub\\circle@/ sub\\file ");
}
