#include "KelBasicTypes/oxarealloc.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "KelBasicTypes/assertion.h"
#include "KelBasicTypes/detail/resetbasictypes.h"
#include "environment.h"
#include "failingheap.h"
#include "fakeservices.h"
#include "memoryservices.h"
#include "tempdirectory.h"

using kel::kSameAsMinimum;
using kel::oxaFree;
using kel::oxaMalloc;
using kel::oxaRealloc;
using kel::test::FailingHeap;
using kel::test::TempDirectory;

namespace {

// A block of words whose old contents are recognisable.
class Words final {
public:
    explicit Words(std::uint64_t count) : count_(count), filled_(count) {
        EXPECT_EQ(oxaMalloc(block_, sizeof(std::uint32_t), count), count);
        for (std::uint64_t i = 0; i < count; ++i) at(i) = static_cast<std::uint32_t>(i + 1);
    }
    Words(const Words&) = delete;
    Words& operator=(const Words&) = delete;
    ~Words() { oxaFree(block_); }

    std::uint64_t grow(std::uint64_t minimum, std::uint64_t maximum) {
        count_ = oxaRealloc(block_, sizeof(std::uint32_t), count_, minimum, maximum);
        for (std::uint64_t i = 0; i < count_; ++i) {
            EXPECT_EQ(at(i), i < filled_ ? i + 1 : 0) << "element " << i;
        }
        return count_;
    }
    [[nodiscard]] void* block() const { return block_; }

private:
    std::uint32_t& at(std::uint64_t i) { return static_cast<std::uint32_t*>(block_)[i]; }

    void* block_ = nullptr;
    std::uint64_t count_;
    std::uint64_t filled_;
};

}  // namespace

TEST(OxaRealloc, GrowsBetweenMinimumAndMaximumAndClearsWhatIsNew) {
    Words words(10);
    void* const before = words.block();
    EXPECT_EQ(words.grow(10, 500), 10U);
    EXPECT_EQ(words.block(), before);
    EXPECT_EQ(words.grow(5, 12), 10U) << "nothing to grow";
    EXPECT_EQ(words.grow(15, 20), 20U);
    EXPECT_EQ(words.grow(33, kSameAsMinimum), 33U);
}

TEST(OxaRealloc, AllocatesWhatIsNotThereYet) {
    void* block = nullptr;
    EXPECT_EQ(oxaRealloc(block, 4, 0, 4, 100), 4U);
    ASSERT_NE(block, nullptr);
    oxaFree(block);
    block = nullptr;
    EXPECT_EQ(oxaRealloc(block, 4, 7, 4, 100), 4U);
    ASSERT_NE(block, nullptr);
    oxaFree(block);
    EXPECT_EQ(oxaMalloc(block, 0, 5), 5U);
    oxaFree(block);
}

TEST(OxaRealloc, RaisesAMaximumBelowTheMinimumAndTakesIt) {
    static std::string raised;
    raised.clear();
    const auto before =
        kel::setAssertionCallback([](const char* expression, const char* path, std::int32_t line) {
            raised += std::string(expression) + "|" + path + "|" + std::to_string(line) + "\n";
        });
    Words words(10);
    EXPECT_EQ(words.grow(30, 20), 20U);
    kel::setAssertionCallback(before);
    EXPECT_EQ(raised,
              "maxNewSize >= minNewSize|src/KelBasicTypes/oxarealloc|422\n"
              "minNewSize > curSize && maxNewSize >= minNewSize|src/KelBasicTypes/oxarealloc|455\n");
}

TEST(OxaRealloc, NarrowsTowardsTheMinimumAndAsksTheManagerFromTheThirdStepOn) {
    std::vector<std::size_t> sizes;
    std::size_t granted = 0;
    const FailingHeap heap([&](const FailingHeap::Request& request) {
        if (!request.isRealloc) return false;
        sizes.push_back(request.sizeInBytes / 4);
        return request.sizeInBytes > granted * 4;
    });
    const std::vector<std::size_t> steps{1000, 600, 400, 300, 250, 225, 212, 206, 200};
    for (std::size_t taken = 1; taken < steps.size(); ++taken) {
        SCOPED_TRACE(steps[taken]);
        granted = steps[taken];
        sizes.clear();
        Words words(100);
        EXPECT_EQ(words.grow(200, 1000), steps[taken]);
        EXPECT_EQ(sizes,
                  std::vector<std::size_t>(steps.begin(), steps.begin() + static_cast<long>(taken) + 1));
    }

    FreshHost host;
    const IPtr<FakeManager> manager(new FakeManager);
    host->offer<KelMM::IKelMManager>(*manager);
    granted = 200;
    sizes.clear();
    Words words(100);
    EXPECT_EQ(words.grow(200, 1000), 200U);
    EXPECT_EQ(sizes, steps) << "a manager that gives nothing costs no attempt";
    EXPECT_EQ(manager->asked, 5) << "once at 300, 250, 225, 212 and 206";

    // Willing, and growth of more than one of its units: asked once more for every 24 KB.
    manager->asked = 0;
    manager->willing = 1000;
    granted = 100'000;
    sizes.clear();
    Words large(50'000);
    EXPECT_EQ(large.grow(100'000, 180'000), 100'000U);
    const std::size_t requests = (110'000 - 50'000) * 4 / 24576 + 1;
    ASSERT_GT(sizes.size(), 4 + requests);
    EXPECT_EQ(sizes[3], 110'000U);
    EXPECT_EQ(sizes[3 + requests], 110'000U);
    EXPECT_EQ(sizes[4 + requests], 105'000U);
}

TEST(OxaRealloc, TakesWhatTheManagerGivesBack) {
    FreshHost host;
    const IPtr<FakeManager> manager(new FakeManager);
    manager->willing = 3;
    host->offer<KelMM::IKelMManager>(*manager);
    const FailingHeap heap([&](const FailingHeap::Request&) { return manager->asked < 3; });
    void* block = nullptr;
    EXPECT_EQ(oxaMalloc(block, 100, 1), 1U);
    EXPECT_EQ(manager->asked, 3);
    oxaFree(block);
}

TEST(OxaRealloc, MovesThroughAFileThatLeavesNothingWhenTheHeapCannotGrow) {
    const TempDirectory temp;
    FreshHost host;
    const IPtr<FakeSettings> settings(new FakeSettings);
    settings->texts["Directories/Temp Directory"] = temp.path();
    host->offer<IDataStore>(*settings);
    Words words(50'000);
    std::size_t names = 99;
    {
        const FailingHeap heap([&](const FailingHeap::Request& request) {
            if (request.sizeInBytes == 400'000 && !request.isRealloc) {
                names = 0;  // the old contents are in the file now
                for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(temp.path()))
                    ++names;
            }
            return request.isRealloc;
        });
        EXPECT_EQ(words.grow(100'000, 200'000), 100'000U);
    }
    EXPECT_LE(names, kel::test::kNamesOfOpenTemporary);
    EXPECT_TRUE(std::filesystem::is_empty(temp.path())) << "nothing is left of it";
}

TEST(OxaRealloc, TracesEveryRequest) {
    void* block = nullptr;
    kel::setAllocationTrace(true);
    testing::internal::CaptureStdout();
    oxaMalloc(block, 4, 10);
    oxaRealloc(block, 4, 10, 10, 20);
    oxaRealloc(block, 4, 10, 15, 20);
    oxaRealloc(block, 4, 20, 30, kSameAsMinimum);
    oxaFree(block);
    block = nullptr;
    oxaRealloc(block, 2, 0, 3, 9);
    std::fflush(stdout);
    const std::string lines = testing::internal::GetCapturedStdout();
    kel::setAllocationTrace(false);
    oxaFree(block);
    EXPECT_EQ(lines,
              "oxaMalloc: 4 : 10 : 40\n"
              "oxaRealloc: 4 : 10 : 20 : 80\n"
              "oxaRealloc: 4 : 20 : 30 : 120\n"
              "oxaMalloc: 2 : 3 : 6\n");
}

TEST(OxaRealloc, IsTracedWhenTheEnvironmentSaysSo) {
    const struct {
        const char* value;
        bool isTraced;
    } kCases[] = {{"1", true}, {"yes", true}, {"0", false}, {"", false}, {nullptr, false}};
    for (const auto& c : kCases) {
        SCOPED_TRACE(c.value == nullptr ? "unset" : c.value);
        kel::test::unsetVariable("KEL_TRACE_ALLOCATIONS");
        if (c.value != nullptr) kel::test::setVariable("KEL_TRACE_ALLOCATIONS", c.value);
        kel::detail::rereadTraceVariable();
        testing::internal::CaptureStdout();
        void* block = nullptr;
        oxaMalloc(block, 4, 10);
        oxaFree(block);
        std::fflush(stdout);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), c.isTraced ? "oxaMalloc: 4 : 10 : 40\n" : "");
    }
}
