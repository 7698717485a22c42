// The end of a process that runs out of memory, in the form that every platform can show.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "KelBasicTypes/outofmemory.h"
#include "KelBasicTypes/oxarealloc.h"
#include "ending.h"
#include "environment.h"
#include "failingheap.h"
#include "fakeservices.h"
#include "memoryservices.h"
#include "tempdirectory.h"
#include "tests/support/matching.h"

using kel::test::contentsOf;
using kel::test::FailingHeap;
using kel::test::kStatusOfMinusOne;
using kel::test::matches;
using kel::test::TempDirectory;

namespace {

constexpr const char* kFolderVariable = "KEL_TEST_FOLDER";

// The folder is the parent's in the process that ends, too, which may run the test from its start.
class OutOfMemoryDeathTest : public testing::Test {
protected:
    OutOfMemoryDeathTest() {
        const char* const parents = std::getenv(kFolderVariable);
        folder_ = parents != nullptr ? parents : own_.path();
        if (parents == nullptr) kel::test::setVariable(kFolderVariable, folder_.c_str());
        settings_->texts["Directories/Logs Directory"] = folder_;
        host_->offer<IDataStore>(*settings_);
    }
    ~OutOfMemoryDeathTest() override { kel::test::unsetVariable(kFolderVariable); }

    void useErrorService() {
        settings_->texts["Memory/UseErrorService"] = "true";
        host_->offer<IKelErrorService>(*errors_);
    }
    static void runOut() {
        const FailingHeap heap(
            [](const FailingHeap::Request& request) { return request.sizeInBytes > 1'000'000; });
        void* block = nullptr;
        kel::oxaMalloc(block, 2'000'000, 1);
    }
    // Moving goes through a file in a folder that is not there.
    void runOutGrowing() {
        settings_->texts["Directories/Temp Directory"] = folder_ + "/missing";
        void* block = nullptr;
        kel::oxaMalloc(block, 1, 100'000);
        const FailingHeap heap([](const FailingHeap::Request& request) { return request.isRealloc; });
        kel::oxaRealloc(block, 1, 100'000, 150'000, 300'000);
    }
    void expectLog(const std::string& attempted) const {
        const std::string log = contentsOf(folder_ + "/memory.log");
        EXPECT_TRUE(matches(
            log, "attempted:        " + attempted + "b\n\n(.+ +[0-9]+k\n){4}\nkelmm not available\n\n"));
        std::filesystem::remove(folder_ + "/memory.log");
    }

    TempDirectory own_;
    std::string folder_;
    FreshHost host_;
    IPtr<FakeSettings> settings_{new FakeSettings};
    IPtr<FakeErrorService> errors_{new FakeErrorService};
};

TEST_F(OutOfMemoryDeathTest, EndsWithLogAndReport) {
    useErrorService();
    EXPECT_EXIT(runOut(), testing::ExitedWithCode(kStatusOfMinusOne),
                ".error 1 realloc. While running this function, you have run out");
    expectLog("2000000");
}

TEST_F(OutOfMemoryDeathTest, EndsWithLogAndBox) {
    const auto scene = [] {
        [[maybe_unused]] const kel::test::ButtonPresser presser;
        runOut();
    };
    EXPECT_EXIT(scene(), testing::ExitedWithCode(kStatusOfMinusOne), kel::test::kOutOfMemoryBox);
    expectLog("2000000");
}

TEST_F(OutOfMemoryDeathTest, EndsWhenTheSpillFileCannotBeMade) {
    useErrorService();
    EXPECT_EXIT(runOutGrowing(), testing::ExitedWithCode(kStatusOfMinusOne), "run out of memory");
    expectLog(" 150000");
}

}  // namespace
