#include <gtest/gtest.h>

#include "framework/object/sptr.h"
#include "tests/object/fakehost.h"
#include "tests/object/testobject.h"

namespace {

using Log = std::vector<std::string>;

// Writes down each count operation.
class Logged final : public kel::Implements<Logged, IKelShelf> {
public:
    static constexpr const char* kClassName = "Logged";
    Logged(Log& log, std::string name) : log_(log), name_(std::move(name)) {}
    void addRef() noexcept override {
        log_.push_back("+" + name_);
        KelShared::addRef();
    }
    void release() noexcept override {
        log_.push_back("-" + name_);
        KelShared::releaseNoDelete();
    }

private:
    Log& log_;
    std::string name_;
};

TEST(IPtr, TakesTheNewReferenceBeforeItDropsTheOld) {
    Log log;
    Logged a(log, "a");
    Logged b(log, "b");
    {
        IPtr<IKelShelf> pointer(&a);
        pointer = &b;
        pointer = &b;
        IPtr<IKelShelf> copy(pointer);
        copy = IPtr<IKelShelf>();
        pointer = nullptr;
        pointer = &a;
    }
    EXPECT_EQ(log, (Log{"+a", "+b", "-a", "+b", "-b", "+b", "-b", "-b", "+a", "-a"}));
}

TEST(IPtr, KeepsTheOnlyReferenceThroughSelfAssignment) {
    bool isDead = false;
    IPtr<Shelf> pointer(new Shelf(&isDead));
    pointer = pointer.get();
    const IPtr<Shelf>& alias = pointer;
    pointer = alias;
    EXPECT_FALSE(isDead);
    EXPECT_EQ(pointer->refCount(), 1);
    IPtr<Shelf> moved(std::move(pointer));
    EXPECT_EQ(moved->refCount(), 1);
    moved.reset();
    EXPECT_TRUE(isDead);
    EXPECT_FALSE(moved);
}

TEST(SPtr, FillsItselfFromTheContainerThenTheHostAndElseIsNull) {
    EXPECT_FALSE(SPtr<IKelShelf>()) << "no host";
    const IPtr<Shelf> inHost(new Shelf);
    const IPtr<Shelf> inContainer(new Shelf);
    FakeHost host;
    EXPECT_FALSE(SPtr<IKelShelf>()) << "no such service";

    host.offer<IKelShelf>(*inHost);
    host.named.offer<IKelShelf>(*inContainer);
    {
        const SPtr<IKelShelf> service;
        EXPECT_EQ(service.get(), inHost.get()) << "no container is asked while none is named";
        EXPECT_EQ(host.containerOption, -1) << "nor for one without a name";
        EXPECT_EQ(inHost->refCount(), 2);
    }
    EXPECT_EQ(inHost->refCount(), 1);

    kel::setContainerName("ours");
    EXPECT_EQ(SPtr<IKelShelf>().get(), inContainer.get());
    EXPECT_EQ(host.containerOption, 0);
    host.named.services.clear();
    EXPECT_EQ(SPtr<IKelShelf>().get(), inHost.get()) << "the container has no such service";
    kel::setContainerName("no such container");
    EXPECT_EQ(SPtr<IKelShelf>().get(), inHost.get());
}

TEST(LookupService, LeavesTheOutputAloneWithoutAHost) {
    int mark = 0;
    void* out = &mark;
    EXPECT_EQ(kel::lookupService("IKelShelf", &out), 0);
    EXPECT_EQ(out, &mark);
}

}  // namespace
