// After every test, whatever it took from the engine has been given back: objects and strings alike.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string_view>

#include "engine/com/blocks.h"
#include "engine/com/com.h"

namespace {

class LeakCheck final : public ::testing::EmptyTestEventListener {
    void OnTestStart(const ::testing::TestInfo&) override { before_ = count(); }

    void OnTestEnd(const ::testing::TestInfo& test) override {
        EXPECT_EQ(count(), before_ + kept(*test.result())) << "engine objects or strings left behind";
    }

    // A test that pins what is kept until the process ends says how many: RecordProperty("kept", 1).
    static std::int64_t kept(const ::testing::TestResult& result) {
        for (int i = 0; i < result.test_property_count(); ++i) {
            const ::testing::TestProperty& property = result.GetTestProperty(i);
            if (std::string_view(property.key()) == "kept") return std::atoll(property.value());
        }
        return 0;
    }

    static std::int64_t count() {
        (void)SetErrorInfo(0, nullptr);  // of the last failure, if it was not taken
        return engine::com::blocksInUse();
    }

    std::int64_t before_ = 0;
};

[[maybe_unused]] const bool isInstalled = [] {
    ::testing::UnitTest::GetInstance()->listeners().Append(new LeakCheck);
    return true;
}();

}  // namespace
