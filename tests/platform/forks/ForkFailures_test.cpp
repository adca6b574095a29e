// Every call that fails, and every allocation: what is told is what is there, and nothing is left open.
#include "ForkTest.h"
#include "support/FailEach.h"
#include "support/FailingCalls.h"
#include "support/FailingNew.h"

namespace {

using namespace test_files;
using support::FailEach;
using support::FileWorld;

class ForkFailures : public ForkTest {
  protected:
    static std::string Kind(const std::string& inPath) {
        return FileWorld::Exists(inPath) ? ForkIn(inPath) : "none";
    }

    // Opens a fork, does something and closes it, with each step failing in turn. The fork's text is one of
    // the two then, and the new one where all answered noErr.
    template <typename Fault, typename Change, typename... Arguments>
    int Try(Which inFork, const std::string& inOld, const std::string& inNew, Change inChange,
            Arguments... inArguments) {
        return FailEach<Fault>(
            [&](const auto& inUnderFault) {
                FileWorld::RemoveAll(mCompanion);
                mFolder.MakeFile("file", inFork == Which::kData ? inOld : "the data");
                if (inFork == Which::kResource && inOld != "none") MakeFork(inOld);
                const std::size_t descriptors = OpenDescriptorCount();
                OSErr openError = noErr, error = noErr, closeError = noErr;
                inUnderFault([&] {
                    SInt16 number = 0;
                    openError = OpenFork(mRef, inFork, fsRdWrPerm, number);
                    if (openError != noErr) return;
                    error = inChange(number);
                    closeError = FSCloseFork(number);
                });
                EXPECT_EQ(descriptors, OpenDescriptorCount());
                const std::string text = inFork == Which::kData ? Contents(mPath) : Kind(mCompanion);
                const bool isGood = openError == noErr && error == noErr;
                const bool isNew = text == inNew;
                const bool mayBeEmpty = inOld == "none" && text == "";
                EXPECT_TRUE(isNew || (!isGood && (text == inOld || mayBeEmpty))) << text;
                for (const OSErr told : {openError, error, closeError})
                    EXPECT_TRUE(told == noErr || told == ioErr || told == memFullErr) << told;
                SInt16 number = 0;
                ASSERT_EQ(noErr, OpenFork(mRef, inFork, fsRdWrPerm, number)) << "nothing is in use";
                EXPECT_EQ(noErr, FSCloseFork(number));
            },
            inArguments...);
    }
    template <typename Change>
    void TryAll(Which inFork, const std::string& inOld, const std::string& inNew, Change inChange) {
        EXPECT_GT(Try<FailingCalls>(inFork, inOld, inNew, inChange, EIO), 5);
        EXPECT_GT(Try<FailingCalls>(inFork, inOld, inNew, inChange, EIO, FailingCalls::kForever), 5);
        EXPECT_GT(Try<FailingNew>(inFork, inOld, inNew, inChange), 3);
    }
};
INSTANTIATE_TEST_SUITE_P(Worlds, ForkFailures, support::BothWorlds(), support::NameOfWorld);

TEST_P(ForkFailures, Writing) {
    const auto write = [](SInt16 inNumber) { return Write(inNumber, fsFromStart, 0, "new"); };
    TryAll(Which::kData, "old", "new", write);
    TryAll(Which::kResource, "old", "new", write);
}

TEST_P(ForkFailures, Growing) {
    const auto append = [](SInt16 inNumber) { return Write(inNumber, fsFromLEOF, 0, " and new"); };
    TryAll(Which::kData, "old", "old and new", append);
    TryAll(Which::kResource, "old", "old and new", append);
    TryAll(Which::kResource, "none", " and new", append);
}

TEST_P(ForkFailures, Cutting) {
    const auto cut = [](SInt16 inNumber) { return FSSetForkSize(inNumber, fsFromStart, 1); };
    TryAll(Which::kData, "old", "o", cut);
    TryAll(Which::kResource, "old", "o", cut);
    TryAll(Which::kResource, "old", "none",
           [](SInt16 inNumber) { return FSSetForkSize(inNumber, fsFromStart, 0); });
}

TEST_P(ForkFailures, Reading) {
    const auto read = [](SInt16 inNumber) {
        char bytes[3] = {};
        ByteCount count = 0;
        const OSErr error = FSReadFork(inNumber, fsAtMark, 0, 3, bytes, &count);
        EXPECT_EQ(error == noErr ? "old" : "", std::string(bytes, count));
        return error;
    };
    TryAll(Which::kData, "old", "old", read);
    TryAll(Which::kResource, "old", "old", read);
}

TEST_P(ForkFailures, Telling) {
    MakeFork("fork");
    const auto tell = [this] {
        CatPositionRec position = {};
        OSErr error = noErr;
        int count = 0;
        while ((error = FSIterateForks(&mRef, &position, nullptr, nullptr, nullptr)) == noErr)
            ++count;
        EXPECT_TRUE(count == 2 || error != errFSNoMoreItems) << error;
        EXPECT_TRUE(error == errFSNoMoreItems || error == ioErr || error == memFullErr) << error;
    };
    const int calls = FailEach<FailingCalls>([&](const auto& inUnderFault) { inUnderFault(tell); }, EIO);
    const int allocations = FailEach<FailingNew>([&](const auto& inUnderFault) { inUnderFault(tell); });
    EXPECT_GT(calls, 5);
    EXPECT_GT(allocations, 2);
}

}  // namespace
