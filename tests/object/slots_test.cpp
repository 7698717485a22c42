#include "tests/object/slots.h"

#include <gtest/gtest.h>

#include "framework/object/ikelcompinternal.h"
#include "framework/object/ikelcomponent.h"
#include "framework/object/ikelcomponentmanager.h"

namespace {

#if defined(__x86_64__)  // how slotOf reads a member pointer is a matter of the ABI

TEST(Slots, ObjectModelKeepsItsOrder) {
    // The destructor takes two positions in this ABI.
    EXPECT_EQ(slotOf(&IKelUnknown::addRef), 2);
    EXPECT_EQ(slotOf(&IKelUnknown::release), 3);
    EXPECT_EQ(slotOf(&IKelUnknown::releaseNoDelete), 4);
    EXPECT_EQ(slotOf(&IKelUnknown::refCount), 5);
    EXPECT_EQ(slotOf(&IKelUnknown::weakRef), 6);
    EXPECT_EQ(slotOf(&IKelUnknown::queryInterface), 7);
    EXPECT_EQ(slotOf(&IKelUnknown::className), 8);
}

TEST(Slots, HostAndComponentMeetAtTheSamePositions) {
    EXPECT_EQ(slotOf(&IKelComponentContainer::lookupService), 6);
    EXPECT_EQ(slotOf(&IKelComponentManager::lookupService), 6);
    EXPECT_EQ(slotOf(&IKelComponentManager::testStatus), 9);
    EXPECT_EQ(slotOf(&IKelComponentManager::incrementCount), 10);
    EXPECT_EQ(slotOf(&IKelComponentManager::decrementCount), 11);
    EXPECT_EQ(slotOf(&IKelComponentManager::container), 12);
    EXPECT_EQ(slotOf(&IKelComponent::initialize), 0);
    EXPECT_EQ(slotOf(&IKelComponent::version), 3);
    EXPECT_EQ(slotOf(&IKelCompInternal::classId), 2);
    EXPECT_EQ(slotOf(&IKelCompInternal::classCount), 5);
    EXPECT_EQ(slotOf(&IKelCompInternal::reserved9), 9);
    EXPECT_EQ(slotOf(&IKelCompInternal::selfTest), 10);
    EXPECT_EQ(slotOf(&IKelCompInternal::isBreakEnabled), 14);
    EXPECT_EQ(slotOf(&IKelTestReceiver::receive), 0);
}

#endif

}  // namespace
