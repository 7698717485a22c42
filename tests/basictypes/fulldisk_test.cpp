// What flushing a stream reports, and what it asks of the disk.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <string>

#include "KelBasicTypes/binfile.h"
#include "KelBasicTypes/binnumbers.h"
#include "KelBasicTypes/kelstring.h"
#include "childprocess.h"
#include "tempdirectory.h"

using namespace kel;
using kel::test::ChildProcess;
using kel::test::TempDirectory;

namespace {

int commits = 0;

}  // namespace

// In place of the system's, in this whole test program.
extern "C" int fsync(int file) {
    ++commits;
    return static_cast<int>(syscall(SYS_fsync, file));
}

TEST(BinFile, AFullDiskIsReported) {
    const TempDirectory directory;
    ChildProcess child([&] {
        signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{5000, RLIM_INFINITY};
        setrlimit(RLIMIT_FSIZE, &limit);
        BinOutputFile out(KelString(directory.file("full")));
        const std::string bytes(6000, 'x');
        const bool flushed = writeRecords(out, bytes.data(), bytes.size(), 1) && out.flush();
        if (flushed || out.good()) _exit(1);
        const rlimit more{RLIM_INFINITY, RLIM_INFINITY};
        setrlimit(RLIMIT_FSIZE, &more);
        if (!out.seek(0, true) || !writeRecords(out, bytes.data(), bytes.size(), 1) || !out.flush()) _exit(2);
    });
    EXPECT_EQ(child.waitForStatus(), ChildProcess::kBodyReturned);
}

TEST(BinFile, FlushReportsNoErrorOfAReadBefore) {
    const TempDirectory directory;
    BinOutputFile out(std::fopen(directory.file("written").c_str(), "wb"));
    char byte = 0;
    EXPECT_EQ(out.readRaw(&byte, 1), 0U);
    EXPECT_FALSE(out.good());
    EXPECT_TRUE(writeRecords(out, "all of it", 9, 1) && out.flush());
    EXPECT_EQ(kel::test::contentsOf(directory.file("written")), "all of it");
}

TEST(BinFile, OnlyAFileOpenedByItsNameIsBroughtToTheDisk) {
    const TempDirectory directory;
    BinOutputFile wrapped(std::fopen(directory.file("wrapped").c_str(), "wb"));
    BinOutputFile named(KelString(directory.file("named")));
    commits = 0;
    EXPECT_TRUE(writeRecords(wrapped, "x", 1, 1) && wrapped.flush());
    EXPECT_EQ(commits, 0);
    EXPECT_TRUE(writeRecords(named, "x", 1, 1) && named.flush());
    EXPECT_EQ(commits, 1);
}
