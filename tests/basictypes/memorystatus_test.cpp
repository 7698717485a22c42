// What control groups make of the machine's memory.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "KelBasicTypes/platform/posix/memorystatusroots.h"
#include "tempdirectory.h"

using kel::platform::MemoryStatus;
using kel::platform::readMemoryStatus;
using kel::test::TempDirectory;

namespace {

void writeFile(const std::string& path, const std::string& text) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream(path) << text;
}

}  // namespace

TEST(MemoryStatusContract, CountsTheTightestControlGroupAsTheMachine) {
    const TempDirectory temp;
    const std::string proc = temp.file("proc");
    const std::string groups = temp.file("cgroup");
    const kel::platform::MemoryStatusRoots roots{proc.c_str(), groups.c_str()};
    writeFile(proc + "/meminfo",
              "MemTotal:       1000 kB\nMemFree:  100 kB\nMemAvailable:    800 kB\nSwapTotal: 50 "
              "kB\nSwapFree: 20 kB\n");
    MemoryStatus status;
    const auto expect = [&](std::uint64_t total, std::uint64_t available) {
        ASSERT_TRUE(readMemoryStatus(status, roots));
        EXPECT_EQ(status.totalPhysical, total);
        EXPECT_EQ(status.availablePhysical, available);
        EXPECT_EQ(status.totalPageFile, 50U * 1024);
        EXPECT_EQ(status.totalVirtual, total + 50 * 1024);
        EXPECT_EQ(status.availableVirtual, available + 20 * 1024);
    };
    expect(1000 * 1024, 800 * 1024);

    writeFile(proc + "/self/cgroup", "3:cpu:/other\n2:memory:/job/step\n0::/unified\n");
    writeFile(groups + "/memory/job/step/memory.limit_in_bytes", "9223372036854771712\n");
    writeFile(groups + "/memory/job/memory.limit_in_bytes", "500000\n");
    writeFile(groups + "/memory/job/memory.usage_in_bytes", "300000\n");
    writeFile(groups + "/memory/job/memory.stat", "inactive_file 1\ntotal_inactive_file 100000\n");
    expect(500000, 300000);

    writeFile(groups + "/unified/memory.max", "max\n");
    expect(500000, 300000);
    writeFile(groups + "/memory.max", "400000\n");
    writeFile(groups + "/memory.current", "500000\n");
    expect(400000, 0);

    std::filesystem::remove(proc + "/meminfo");  // the system is asked, and knows of no page file
    ASSERT_TRUE(readMemoryStatus(status, roots));
    EXPECT_EQ(status.totalPhysical, 400000U);
    EXPECT_EQ(status.totalPageFile, 0U);
}
