// Two copies of the basic types in one process: the component's, and that of this program with its host. Each
// settles its pool once, so every scene plays in a child of the process that has loaded the component.
#include <gtest/gtest.h>
#include <sys/mman.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "KelBasicTypes/bucketmemoryallocator.h"
#include "KelBasicTypes/bucketmemorypool.h"
#include "host/host.h"
#include "msxml_parser/ikeldomxml.h"
#include "tests/basictypes/childprocess.h"
#include "tests/basictypes/failingheap.h"

namespace {

using kel::detail::headerOf;
using kel::test::ChildProcess;

constexpr int kTakesBetweenLookups = 601;
constexpr std::size_t kRareUnits = 2500;  // of a size that nothing else uses

// The message of an error object is a string that lives in the component. What the component does with it is
// one take, or one give-back, of its own copy.
class Stage final {
public:
    Stage() : component_((host_.leaveOut(IBucketMemoryPool::interfaceName()), host_.load(KEL_COMPONENT))) {
        parser_ = component_.create<IKelDOMXmlV2>(component_.classNamed("MSDOMXml"));
    }

    // Made in the component, out of a buffer that the component takes.
    KelString takeThere(const KelString& text) {
        parser_->getError()->clear();
        return std::move(parser_->getError()->setMessage(text));
    }
    void giveBackThere(KelString&& text) {
        parser_->getError()->getMessage() = std::move(text);
        parser_->getError()->clear();
    }

    void offerPool() { host_.offer(IBucketMemoryPool::interfaceName(), *pool_); }
    BucketMemoryPool& pool() { return *pool_; }

    // Whether the host's pool hands out a block of the component's making.
    bool hasBlockFromThere() {
        std::uint32_t actual = 0;
        void* block = pool_->allocate(static_cast<std::int32_t>(2 * kRareUnits + 2), actual);
        const bool isFromThere = headerOf(block)->allocator != &BucketMemoryAllocator::instance();
        pool_->giveBack(static_cast<std::int32_t>(actual), block);
        return isFromThere;
    }

private:
    kelhost::Host host_;
    kelhost::Component component_;
    IPtr<IKelDOMXmlV2> parser_;
    IPtr<BucketMemoryPool> pool_{new BucketMemoryPool};
};

Stage& stage() {
    static Stage& stage = *new Stage;
    return stage;
}

template <class Scene>
void playInChild(Scene scene) {
    (void)stage();
    ChildProcess child([&] {
        scene();
        _exit(testing::Test::HasFailure() ? 1 : 0);
    });
    EXPECT_EQ(child.waitForStatus(), 0);
}

// How many takes after the offer the component hands its blocks over, when it was made after `before` takes.
int takesUntilSwitch(int before) {
    auto* const shared = static_cast<int*>(
        mmap(nullptr, sizeof(int), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    playInChild([&] {
        stage().giveBackThere(stage().takeThere(std::u16string(kRareUnits, u'k')));
        for (int take = 0; take < before; ++take) (void)stage().takeThere(u"before the offer");
        EXPECT_FALSE(stage().hasBlockFromThere());
        stage().offerPool();
        int takes = 0;
        for (; takes <= kTakesBetweenLookups && !stage().hasBlockFromThere(); ++takes)
            (void)stage().takeThere(u"after the offer");
        *shared = takes;
    });
    const int takes = *shared;
    munmap(shared, sizeof(int));
    return takes;
}

}  // namespace

TEST(PoolOfTheHost, IsFoundByTheTakeAfterThe601st) {
    const int first = takesUntilSwitch(0);
    ASSERT_GE(first, 2);
    ASSERT_LE(first, kTakesBetweenLookups);
    EXPECT_EQ(takesUntilSwitch(first - 2), 2);
    EXPECT_EQ(takesUntilSwitch(first - 1), 1);
    EXPECT_EQ(takesUntilSwitch(first), kTakesBetweenLookups) << "just missed: the count starts again";
}

TEST(PoolOfTheHost, GetsEveryBlockThatTheComponentKept) {
    playInChild([] {
        std::vector<KelString> texts(25);  // more than a bucket has room for at first
        std::vector<const void*> kept;
        for (KelString& text : texts) {
            text = stage().takeThere(std::u16string(kRareUnits, u'k'));
            kept.push_back(text.c_str());
        }
        for (KelString& text : texts) stage().giveBackThere(std::move(text));
        stage().offerPool();
        for (int take = 0; take <= kTakesBetweenLookups; ++take) (void)stage().takeThere(u"a text");
        std::vector<const void*> handedOut;
        for (std::size_t i = 0; i < kept.size(); ++i) {
            std::uint32_t actual = 0;
            handedOut.push_back(
                stage().pool().allocate(static_cast<std::int32_t>(2 * kRareUnits + 2), actual));
        }
        std::reverse(kept.begin(), kept.end());
        EXPECT_EQ(handedOut, kept) << "the last one that came back first";
    });
}

TEST(PoolOfTheHost, TakesStringsThatCrossBeforeAtAndAfterTheSwitch) {
    playInChild([] {
        // Short, long, in powers of two, and too large for any bucket.
        const std::size_t sizes[] = {0, 1, 30, 500, 4095, 4096, 9000, 131'071, 131'072, 150'000};
        const auto cross = [&](int round) {
            const std::size_t units = sizes[static_cast<std::size_t>(round) % std::size(sizes)];
            const std::u16string text(units, static_cast<char16_t>(u'a' + round % 26));
            KelString there = stage().takeThere(text);
            EXPECT_TRUE(there.view() == text) << round;
            KelString here(text);
            here.append(u'!');
            there.append(here);  // grows here what was taken there
            EXPECT_EQ(there.length(), 2 * units + 1) << round;
            stage().giveBackThere(std::move(here));
        };  // `there` is given back here
        stage().offerPool();
        for (int round = 0; round < 2 * kTakesBetweenLookups; ++round) cross(round);
        // Both sides now live on one pool: what either gives back serves both, and the heap hears of blocks
        // only that no bucket keeps.
        int requests = 0;
        const kel::test::FailingHeap heap([&](const kel::test::FailingHeap::Request& request) {
            if (request.sizeInBytes < 262'144) ++requests;
            return false;
        });
        for (int round = 0; round < 300; ++round) cross(round);
        EXPECT_EQ(requests, 0) << "blocks were lost";
    });
}
