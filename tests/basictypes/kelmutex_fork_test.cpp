// What a forked child does to the names of its parent.
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "KelBasicTypes/kelmutex.h"
#include "childprocess.h"

using kel::test::ChildProcess;

TEST(KelMutex, AForkedChildThatClosesLeavesTheNameToItsParent) {
    const std::string name = "Kel test/forked" + std::to_string(getpid());
    KelMutex ours;
    ASSERT_TRUE(ours.create(name.c_str()));
    ChildProcess child([&] { ours.close(); });
    EXPECT_EQ(child.waitForStatus(), ChildProcess::kBodyReturned);
    KelMutex other;
    EXPECT_TRUE(other.open(name.c_str()));
}
