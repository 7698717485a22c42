#include <gtest/gtest.h>

#include "framework/object/kelweakref.h"
#include "tests/object/fakehost.h"
#include "tests/object/testobject.h"

namespace {

TEST(Counting, LastReleaseDestroysAndNoEarlierOne) {
    bool isDead = false;
    auto* const shelf = new Shelf(&isDead);
    EXPECT_EQ(shelf->refCount(), 0);
    shelf->addRef();
    static_cast<IKelShelfV2*>(shelf)->addRef();  // one count behind all interfaces
    EXPECT_EQ(shelf->refCount(), 2);
    shelf->release();
    EXPECT_FALSE(isDead);
    static_cast<IKelShelf*>(shelf)->release();
    EXPECT_TRUE(isDead);
}

TEST(Counting, ReleaseWithoutAReferenceDestroysNothing) {
    bool isDead = false;
    Shelf shelf(&isDead);
    shelf.release();
    EXPECT_EQ(shelf.refCount(), -1);
    EXPECT_FALSE(isDead);
}

TEST(Counting, ReleaseNoDeleteMarksTheDeadObjectAndLeavesItUsable) {
    bool isDead = false;
    Shelf shelf(&isDead);
    KelWeakRef* const weak = shelf.weakRef();
    weak->addRef();
    shelf.addRef();
    shelf.releaseNoDelete();
    EXPECT_EQ(shelf.refCount(), -42);
    EXPECT_FALSE(isDead);
    EXPECT_EQ(weak->target(), nullptr);
    EXPECT_EQ(shelf.depth(), 2);
    weak->release();
}

TEST(Counting, DestructorThatTakesAndDropsAReferenceDestroysOnce) {
    static int destroyed = 0;
    class Nervous final : public KelShared {
    public:
        ~Nervous() override {
            ++destroyed;
            addRef();
            release();
        }
    };
    auto* const object = new Nervous;
    object->addRef();
    object->release();
    EXPECT_EQ(destroyed, 1);
}

TEST(Counting, GoesThroughTheHostOnceThereIsOne) {
    bool isDead = false;
    auto* const shelf = new Shelf(&isDead);
    shelf->addRef();
    {
        FakeHost host;
        shelf->addRef();
        shelf->release();
        EXPECT_EQ(host.increments, 1);
        EXPECT_EQ(host.decrements, 1);
        shelf->release();  // a reference from before the host ends through the host
        EXPECT_TRUE(isDead);

        Shelf member;
        member.addRef();
        member.releaseNoDelete();
        EXPECT_EQ(member.refCount(), 0) << "the marker is for counting without a host";
    }
}

TEST(WeakRef, OutlivesItsObjectAndForgetsIt) {
    auto* const shelf = new Shelf;
    shelf->addRef();
    KelWeakRef* const weak = shelf->weakRef();
    EXPECT_EQ(shelf->weakRef(), weak);
    EXPECT_EQ(weak->weakRef(), weak);
    EXPECT_EQ(weak->refCount(), 1) << "the object's own; the caller got none";
    EXPECT_EQ(weak->target(), static_cast<KelShared*>(shelf));
    weak->addRef();
    shelf->release();
    EXPECT_EQ(weak->target(), nullptr);
    EXPECT_EQ(weak->refCount(), 1);
    weak->release();
}

TEST(WeakRef, ForgetsAnObjectThatWasNeverCounted) {
    KelWeakRef* weak = nullptr;
    {
        Shelf member;
        weak = member.weakRef();
        weak->addRef();
    }
    EXPECT_EQ(weak->target(), nullptr);
    weak->release();
}

}  // namespace
