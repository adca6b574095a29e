#include "FilesTest.h"

#include <files/Forks.h>
#include <toolbox/MacMemory.h>

namespace {

using namespace test_files;

class CopyForkTest : public FilesTest {
  protected:
    static constexpr SInt16 kSource = 5;
    static constexpr SInt16 kDestination = 6;

    static void Open(const std::string& inBytes) {
        fakes::OpenFork(kSource, kFile, inBytes, 3);
        fakes::OpenFork(kDestination, kInner, "what was there before", 7);
    }
    static std::string Bytes(std::size_t inCount) {
        std::string bytes(inCount, 0);
        for (std::size_t i = 0; i < inCount; ++i)
            bytes[i] = static_cast<char>(i * 7 + i / 256);
        return bytes;
    }
    OSErr Copy(ByteCount inSize) { return FSCopyFork(kSource, kDestination, mBuffer.data(), inSize); }
    static Log Requests() {
        Log requests;
        for (const std::string& call : fakes::CallLog())
            if (call.rfind("FSReadFork", 0) == 0 || call.rfind("FSWriteFork", 0) == 0)
                requests.push_back(call);
        return requests;
    }

    std::vector<char> mBuffer = std::vector<char>(20'000);
};

TEST_F(CopyForkTest, Calls) {
    Open(Bytes(5));
    EXPECT_EQ(noErr, Copy(4096));
    EXPECT_EQ(Bytes(5), fakes::ForkBytes(kDestination));
    EXPECT_EQ((Log{"FSGetForkSize(5)", "FSSetForkSize(6, 1, 5)", "FSSetForkPosition(5, 1, 0)",
                   "FSSetForkPosition(6, 1, 0)", "FSReadFork(5, 32, 0, 4096)", "FSWriteFork(6, 32, 0, 5)"}),
              fakes::CallLog());
}

TEST_F(CopyForkTest, PagesOfALargeBuffer) {
    Open(Bytes(20'000));
    EXPECT_EQ(noErr, Copy(10'000));
    EXPECT_EQ(Bytes(20'000), fakes::ForkBytes(kDestination));
    EXPECT_EQ(
        (Log{"FSReadFork(5, 32, 0, 8192)", "FSWriteFork(6, 32, 0, 8192)", "FSReadFork(5, 32, 0, 8192)",
             "FSWriteFork(6, 32, 0, 8192)", "FSReadFork(5, 32, 0, 8192)", "FSWriteFork(6, 32, 0, 3616)"}),
        Requests());
}

TEST_F(CopyForkTest, AllOfASmallBuffer) {
    for (const ByteCount size : {1'000, 4'095, 1}) {
        Start();
        Open(Bytes(10));
        EXPECT_EQ(noErr, Copy(size));
        EXPECT_EQ(fakes::CallText("FSReadFork", 5, 32, 0, size), Requests().front());
        EXPECT_EQ(Bytes(10), fakes::ForkBytes(kDestination));
    }
    Start();
    Open("");
    EXPECT_EQ(noErr, Copy(8'191));
    EXPECT_EQ(Log{"FSReadFork(5, 32, 0, 4096)"}, Requests()) << "nothing is written";
    EXPECT_EQ("", fakes::ForkBytes(kDestination));
}

TEST_F(CopyForkTest, BadArguments) {
    EXPECT_EQ(paramErr, FSCopyFork(kSource, kDestination, nullptr, 4096));
    EXPECT_EQ(paramErr, Copy(0));
    EXPECT_EQ(Log(), fakes::CallLog());
}

TEST_F(CopyForkTest, EveryFailingCallInTurn) {
    for (int failing = 1; failing <= 8; ++failing) {
        Start();
        Open(Bytes(6'000));
        fakes::FailCall(failing);
        EXPECT_EQ(ioErr, Copy(4'096)) << failing;
        EXPECT_TRUE(fakes::FailureDelivered());
        EXPECT_EQ(static_cast<std::size_t>(failing), fakes::CallLog().size());
    }
}

TEST_F(CopyForkTest, WhatWasReadBeforeAnErrorIsWritten) {
    Open(Bytes(6'000));
    fakes::ReadBeforeFailing(1'000);
    fakes::FailCall(7);  // the second reading
    EXPECT_EQ(ioErr, Copy(4'096));
    EXPECT_TRUE(fakes::FailureDelivered());
    EXPECT_EQ("FSWriteFork(6, 32, 0, 1000)", fakes::CallLog().back());
    EXPECT_EQ(Bytes(5'096), fakes::ForkBytes(kDestination).substr(0, 5'096));
}

TEST_F(CopyForkTest, ErrorOfTheWriterComesFirst) {
    Open(Bytes(5));
    fakes::ReadBeforeFailing(3);
    fakes::AnswerInTurn("FSReadFork", {afpAccessDenied});
    fakes::AnswerInTurn("FSWriteFork", {dskFulErr});
    EXPECT_EQ(dskFulErr, Copy(4'096));
}

TEST_F(CopyForkTest, FileRefNumGetFSRef) {
    Open("");
    FSRef ref = {};
    EXPECT_EQ(noErr, FileRefNumGetFSRef(kDestination, &ref));
    EXPECT_EQ(kInner, fakes::IDOf(ref));
    EXPECT_EQ(Log{"FSGetForkCBInfo(6, 0)"}, fakes::CallLog());
    EXPECT_EQ(paramErr, FileRefNumGetFSRef(kDestination, nullptr));
    fakes::FailCall(1);
    EXPECT_EQ(ioErr, FileRefNumGetFSRef(kSource, &ref));
    EXPECT_EQ(kInner, fakes::IDOf(ref));
}

TEST_F(CopyForkTest, FSGetTotalForkSizes) {
    const FSRef file = fakes::RefOf(kFile);
    fakes::SetForkSizes({{0x1'0000'0000, 0x1'0000'1000}, {5, 4'096}, {7, 0}});
    UInt64 logical = 77;
    UInt64 physical = 77;
    EXPECT_EQ(noErr, FSGetTotalForkSizes(&file, &logical, &physical));
    EXPECT_EQ(0x1'0000'000CU, logical);
    EXPECT_EQ(0x1'0000'2000U, physical);
    EXPECT_EQ((Log{"FSIterateForks(30, 0)", "FSIterateForks(30, 1)", "FSIterateForks(30, 2)",
                   "FSIterateForks(30, 3)"}),
              fakes::CallLog());
    EXPECT_EQ(noErr, FSGetTotalForkSizes(&file, nullptr, nullptr));
    logical = 77;
    for (const int failing : {1, 2, 4}) {
        fakes::FailCall(failing);
        EXPECT_EQ(ioErr, FSGetTotalForkSizes(&file, &logical, &physical));
    }
    EXPECT_EQ(paramErr, FSGetTotalForkSizes(nullptr, &logical, &physical));
    EXPECT_EQ(77U, logical);
}

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
