#include "FilesTest.h"

#include <files/Forks.h>
#include <toolbox/MacMemory.h>

namespace {

using namespace test_files;

class ForkSizesTest : public FilesTest {
  protected:
    const FSRef mFile = fakes::RefOf(kFile);
    const FSRef mFolder = fakes::RefOf(kFolder);
    UInt64 mData = 77;
    UInt64 mResource = 77;
};

TEST_F(ForkSizesTest, OfBothForks) {
    FSCatalogInfo& info = fakes::ItemOf(kFile).info;
    info.dataLogicalSize = 0x1'0000'0001;
    info.dataPhysicalSize = 1;
    info.rsrcLogicalSize = 0x2'0000'0002;
    info.rsrcPhysicalSize = 2;
    EXPECT_EQ(noErr, FSGetForkSizes(&mFile, &mData, &mResource));
    EXPECT_EQ(0x1'0000'0001U, mData);
    EXPECT_EQ(0x2'0000'0002U, mResource);
    EXPECT_EQ(Log{"FSGetCatalogInfo(30, 49154)"}, fakes::CallLog());
}

TEST_F(ForkSizesTest, WhatIsAskedFor) {
    EXPECT_EQ(noErr, FSGetForkSizes(&mFile, &mData, nullptr));
    EXPECT_EQ(noErr, FSGetForkSizes(&mFile, nullptr, &mResource));
    EXPECT_EQ(noErr, FSGetForkSizes(&mFile, nullptr, nullptr));
    EXPECT_EQ((Log{"FSGetCatalogInfo(30, 16386)", "FSGetCatalogInfo(30, 32770)", "FSGetCatalogInfo(30, 2)"}),
              fakes::CallLog());
}

TEST_F(ForkSizesTest, Failures) {
    const FSRef missing = fakes::RefOf(kMissing);
    EXPECT_EQ(notAFileErr, FSGetForkSizes(&mFolder, &mData, &mResource));
    EXPECT_EQ(notAFileErr, FSGetForkSizes(&mFolder, nullptr, nullptr));
    EXPECT_EQ(fnfErr, FSGetForkSizes(&missing, &mData, &mResource));
    EXPECT_EQ(paramErr, FSGetForkSizes(nullptr, &mData, &mResource));
    EXPECT_EQ(77U, mData);
    EXPECT_EQ(77U, mResource);
}

class GetTempBufferTest : public FilesTest {
  protected:
    // The calls, and what was answered.
    Log Get(Size inRequested, Size inActual) {
        Size actual = 77;
        const Ptr buffer = GetTempBuffer(inRequested, &actual);
        EXPECT_EQ(inActual, actual);
        EXPECT_EQ(inActual != 0, buffer != nullptr);
        const Log calls = fakes::CallLog();
        if (buffer != nullptr) DisposePtr(buffer);
        return calls;
    }
    static void FailAtFirst(Size inTotal, Size inBlock) {
        fakes::SetFreeMemory(inTotal, inBlock);
        fakes::FailMemoryCalls({memFullErr});
    }
    static Log Twice(Size inFirst, Size inSecond) {
        return {fakes::CallText("NewPtr", inFirst), "MaxBlock()", "FreeMem()",
                fakes::CallText("NewPtr", inSecond)};
    }
};

TEST_F(GetTempBufferTest, OfTheSizeAskedFor) {
    EXPECT_EQ(Log{"NewPtr(100000)"}, Get(100'000, 100'000));
}

TEST_F(GetTempBufferTest, OfAPageAtTheLeast) {
    for (const Size size : {4095, 1, 0, -1}) {
        Start();
        EXPECT_EQ(Log{"NewPtr(4096)"}, Get(size, 4096)) << size;
    }
    Start();
    EXPECT_EQ(Log{"NewPtr(4097)"}, Get(4097, 4097));
}

TEST_F(GetTempBufferTest, OfTheLargestBlock) {
    FailAtFirst(1'000'000, 20'479);
    EXPECT_EQ(Twice(100'000, 16'384), Get(100'000, 16'384));
}

TEST_F(GetTempBufferTest, LeavesAReserve) {
    FailAtFirst(32'768 + 8'192 + 4'095, 1'000'000);
    EXPECT_EQ(Twice(100'000, 8'192), Get(100'000, 8'192));
}

TEST_F(GetTempBufferTest, OfAPageWhereThatLeavesNone) {
    for (const Size total : {32'768 + 4'095, 32'768, 100, 0}) {
        Start();
        FailAtFirst(total, 1'000'000);
        EXPECT_EQ(Twice(100'000, 4'096), Get(100'000, 4'096)) << total;
    }
    Start();
    FailAtFirst(1'000'000, 4'095);
    EXPECT_EQ(Twice(100'000, 4'096), Get(100'000, 4'096));
}

TEST_F(GetTempBufferTest, TwiceAtMost) {
    fakes::SetFreeMemory(1'000'000, 16'384);
    fakes::FailMemoryCalls({memFullErr, memFullErr});
    EXPECT_EQ(Twice(100'000, 16'384), Get(100'000, 0));
}

TEST_F(GetTempBufferTest, APageIsTriedOnce) {
    fakes::FailMemoryCalls({memFullErr});
    EXPECT_EQ(Log{"NewPtr(4096)"}, Get(4096, 0));
}

TEST_F(GetTempBufferTest, WithoutRoomForItsSize) {
    EXPECT_EQ(nullptr, GetTempBuffer(4096, nullptr));
    EXPECT_EQ(Log(), fakes::CallLog());
}

}  // namespace
