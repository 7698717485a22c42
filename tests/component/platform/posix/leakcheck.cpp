// After every test, whatever it took from the engine has been given back: objects and strings alike.
#include <gtest/gtest.h>

#include "engine/com/blocks.h"
#include "engine/com/com.h"

namespace {

class LeakCheck final : public ::testing::EmptyTestEventListener {
    void OnTestStart(const ::testing::TestInfo&) override { before_ = count(); }

    void OnTestEnd(const ::testing::TestInfo&) override {
        EXPECT_EQ(count(), before_) << "engine objects or strings left behind";
    }

    static std::int64_t count() {
        (void)SetErrorInfo(0, nullptr);  // of the last failure, if nobody asked for it
        return engine::com::blocksInUse();
    }

    std::int64_t before_ = 0;
};

[[maybe_unused]] const bool isInstalled = [] {
    ::testing::UnitTest::GetInstance()->listeners().Append(new LeakCheck);
    return true;
}();

}  // namespace
