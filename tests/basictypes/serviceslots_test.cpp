// Hosts and components are built apart and meet at these positions.
#include <gtest/gtest.h>

#include "KelBasicTypes/binio.h"
#include "KelBasicTypes/ibucketmemorypool.h"
#include "KelBasicTypes/idatastore.h"
#include "KelBasicTypes/igfxrenderer.h"
#include "KelBasicTypes/ikeldatareceiver.h"
#include "KelBasicTypes/ikeldirservice.h"
#include "KelBasicTypes/ikelmmanager.h"
#include "KelBasicTypes/imemchecker.h"
#include "tests/object/slots.h"

TEST(ServiceSlots, OfMemoryAndDirectories) {
    using KelMM::IKelMManager;
    EXPECT_EQ(slotOf(&IDataStore::readDouble), 12);
    EXPECT_EQ(slotOf(&IDataStore::addReceiver), 35);
    EXPECT_EQ(slotOf(&IKelDataReceiver::dataChanged), 0);
    EXPECT_EQ(slotOf(&IKelMManager::giveMemoryBack), 3);
    EXPECT_EQ(slotOf(&IKelMManager::coreLimit), 10);
    EXPECT_EQ(slotOf(&IKelMManager::swapLimit), 11);
    EXPECT_EQ(slotOf(&IKelMManager::swapInUse), 12);
    EXPECT_EQ(slotOf(&IKelMManager::coreInUse), 17);
    EXPECT_EQ(slotOf(&IMemChecker::isAvailable), 0);
    EXPECT_EQ(slotOf(&IMemChecker::figures), 1);
    EXPECT_EQ(slotOf(&IGfxRenderer::beforeReport), 7);
    EXPECT_EQ(slotOf(&IGfxRenderer::afterMessageBox), 8);
    EXPECT_EQ(slotOf(&IKelDirService::directory), 0);
    EXPECT_EQ(slotOf(&IBucketMemoryPool::allocate), 1);
    EXPECT_EQ(slotOf(&IBucketMemoryPool::giveBack), 2);
}

// In this C++ ABI the destructor, position 0, takes two entries of the table.
TEST(ServiceSlots, OfStreams) {
    EXPECT_EQ(slotOf(&BinInput::readRaw), 1 + 1);
    EXPECT_EQ(slotOf(&BinInput::tell), 2 + 1);
    EXPECT_EQ(slotOf(&BinInput::seek), 3 + 1);
    EXPECT_EQ(slotOf(&BinInput::good), 4 + 1);
    EXPECT_EQ(slotOf(&BinInput::close), 5 + 1);
    EXPECT_EQ(slotOf(&BinOutput::flush), 1 + 1);
    EXPECT_EQ(slotOf(&BinOutput::reserved2), 2 + 1);
    EXPECT_EQ(slotOf(&BinOutput::writeRaw), 3 + 1);
    EXPECT_EQ(slotOf(&BinOutput::readRaw), 4 + 1);
    EXPECT_EQ(slotOf(&BinOutput::tell), 5 + 1);
    EXPECT_EQ(slotOf(&BinOutput::seek), 6 + 1);
    EXPECT_EQ(slotOf(&BinOutput::good), 7 + 1);
    EXPECT_EQ(slotOf(&BinOutput::close), 8 + 1);
    EXPECT_EQ(slotOf(&BinIO_Scrambler::scramble), 1 + 1);
    EXPECT_EQ(slotOf(&BinIO_Scrambler::unscramble), 2 + 1);
}
