// A stream on a disk that takes no more.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>
#include <string>

#include "KelBasicTypes/binfile.h"
#include "KelBasicTypes/binnumbers.h"
#include "KelBasicTypes/kelstring.h"
#include "childprocess.h"
#include "tempdirectory.h"

using namespace kel;
using kel::test::ChildProcess;
using kel::test::TempDirectory;

TEST(BinFile, AFullDiskIsReported) {
    const TempDirectory directory;
    ChildProcess child([&] {
        signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{5000, 5000};
        setrlimit(RLIMIT_FSIZE, &limit);
        BinOutputFile out(KelString(directory.file("full")));
        const std::string bytes(6000, 'x');
        const bool flushed = writeRecords(out, bytes.data(), bytes.size(), 1) && out.flush();
        if (flushed || out.good()) _exit(1);
    });
    EXPECT_EQ(child.waitForStatus(), ChildProcess::kBodyReturned);
}
