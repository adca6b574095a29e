#include "resources/Chain.h"

#include "ResourcesTest.h"
#include "forks/Forks.h"
#include "support/FailingCalls.h"
#include "support/FileWorld.h"

#include <toolbox/CatalogItems.h>

#include <thread>

namespace {

using namespace test_resources;

constexpr UniChar kForkName[] = {'R', 'E', 'S', 'O', 'U', 'R', 'C', 'E', '_', 'F', 'O', 'R', 'K'};

class ChainTest : public ResourceFilesTest<support::FileWorldTest> {};
INSTANTIATE_TEST_SUITE_P(Worlds, ChainTest, support::BothWorlds(), support::NameOfWorld);

TEST_P(ChainTest, NothingOpen) {
    EXPECT_EQ(0, CurResFile());
    EXPECT_EQ(nullptr, GetResource(kText, 1));
    EXPECT_EQ(noErr, ResError());
    EXPECT_EQ(0, CountTypes());
    UseResFile(0);
    EXPECT_EQ(noErr, ResError());
    for (const SInt16 refNum : {SInt16{1}, SInt16{-1}, SInt16{0}}) {
        CloseResFile(refNum);
        EXPECT_EQ(resFNotFound, ResError());
        UpdateResFile(refNum);
        EXPECT_EQ(resFNotFound, ResError());
        EXPECT_EQ(0, GetResFileAttrs(refNum));
        EXPECT_EQ(resFNotFound, ResError());
    }
    UseResFile(99);
    EXPECT_EQ(resFNotFound, ResError());
}

TEST_P(ChainTest, SearchGoesFromTheCurrentFileDown) {
    const SInt16 first = Open(MakeFile("1", {ImageOf(kText, 1, "first"), ImageOf(kText, 9, "nine")}));
    const SInt16 second = Open(MakeFile("2", {ImageOf(kText, 1, "second")}));
    const SInt16 third = Open(MakeFile("3", {ImageOf(kText, 1, "third")}));
    EXPECT_EQ(third, CurResFile());
    EXPECT_EQ("third", TextOf(GetResource(kText, 1)));
    UseResFile(second);
    EXPECT_EQ("second", TextOf(GetResource(kText, 1)));
    EXPECT_EQ("nine", TextOf(GetResource(kText, 9)));
    EXPECT_EQ(first, HomeResFile(GetResource(kText, 9)));
    EXPECT_EQ(nullptr, Get1Resource(kText, 9));
    EXPECT_EQ(resNotFound, ResError());
    UseResFile(0);
    EXPECT_EQ(nullptr, GetResource(kText, 1)) << "the system's file";
}

TEST_P(ChainTest, ClosingTheCurrentFile) {
    const SInt16 first = Open(MakeFile("1", {}));
    const SInt16 second = Open(MakeFile("2", {}));
    const SInt16 third = Open(MakeFile("3", {}));
    UseResFile(second);
    CloseResFile(second);
    EXPECT_EQ(first, CurResFile());
    CloseResFile(first);
    EXPECT_EQ(third, CurResFile());
    CloseResFile(third);
    EXPECT_EQ(0, CurResFile());
}

TEST_P(ChainTest, ClosingGivesUpTheHandles) {
    const UInt64 before = GetLiveHandleCount();
    const SInt16 refNum =
        Open(MakeFile("f", {ImageOf(kText, 1, "a"), ImageOf(kText, 2, "b", "", resLocked)}));
    GetResource(kText, 1);
    GetResource(kText, 2);
    EXPECT_EQ(before + 2, GetLiveHandleCount());
    CloseResFile(refNum);
    EXPECT_EQ(before, GetLiveHandleCount());
}

TEST_P(ChainTest, ForksThatAreNoResourceFile) {
    EXPECT_EQ(-1, Open(MakeFileOf("empty", std::vector<UInt8>())));
    EXPECT_EQ(eofErr, ResError());
    EXPECT_EQ(-1, Open(MakeFileOf("short", std::vector<UInt8>(15))));
    EXPECT_EQ(mapReadErr, ResError());
    EXPECT_EQ(-1, Open(MakeFileOf("text", std::vector<UInt8>(1000, 'x'))));
    EXPECT_EQ(mapReadErr, ResError());
    EXPECT_EQ(-1, Open(MakeFileOf("zeroes", std::vector<UInt8>(1000))));
    EXPECT_EQ(mapReadErr, ResError());
    const FSRef folder = RefOf(mFolder.Path());
    EXPECT_EQ(-1, Open(folder));
    EXPECT_EQ(notAFileErr, ResError());
    const FSRef none = {};
    EXPECT_EQ(-1, Open(none));
    EXPECT_EQ(errFSBadFSRef, ResError());
}

TEST_P(ChainTest, OpeningWithBadArguments) {
    const FSRef file = MakeFile("f", {});
    SInt16 refNum = 5;
    EXPECT_EQ(paramErr, FSOpenResourceFile(nullptr, 0, nullptr, fsRdPerm, &refNum));
    EXPECT_EQ(-1, refNum);
    EXPECT_EQ(paramErr, FSOpenResourceFile(&file, 0, nullptr, 4, &refNum));
    EXPECT_EQ(paramErr, FSOpenResourceFile(&file, 0, nullptr, -1, &refNum));
    const UniChar other[] = {'X'};
    EXPECT_EQ(errFSForkNotFound, FSOpenResourceFile(&file, 1, other, fsRdPerm, &refNum));
    EXPECT_EQ(errFSForkNotFound, FSOpenResourceFile(&file, 13, nullptr, fsRdPerm, &refNum));
    EXPECT_EQ(noErr, FSOpenResourceFile(&file, 0, nullptr, fsRdPerm, nullptr));
    EXPECT_EQ(-1, FSOpenResFile(nullptr, fsRdPerm));
    EXPECT_EQ(paramErr, ResError());
}

TEST_P(ChainTest, OpenTwice) {
    const FSRef file = MakeFile("f", {ImageOf(kText, 1, "one")});
    const SInt16 first = Open(file);
    const SInt16 other = Open(MakeFile("other", {}));
    EXPECT_EQ(first, Open(file)) << "open for changes already";
    EXPECT_EQ(other, CurResFile());
    const SInt16 reading = Open(file, fsRdPerm);
    EXPECT_NE(first, reading);
    EXPECT_EQ(mapReadOnly, GetResFileAttrs(reading));
    EXPECT_NE(reading, Open(file, fsRdPerm));
}

// One fork has one writer, by whatever name it is reached: two would write over each other.
TEST_P(ChainTest, OpenTwiceUnderAnotherName) {
    const FSRef file = MakeFile("f", {ImageOf(kText, 1, "one")});
    const SInt16 first = Open(file);
    const UniChar name[] = {'g'};
    FSRef renamed = {};
    ASSERT_EQ(noErr, FSRenameUnicode(&file, 1, name, 0, &renamed));
    EXPECT_EQ(first, Open(renamed));
    EXPECT_EQ(first, Open(file));
    ASSERT_EQ(0, mFolder.MakeHardLink(mFolder / "g", mFolder / "h"));
    EXPECT_EQ(first, Open(RefOf(mFolder / "g"))) << "the name is what it was";
}

TEST_P(ChainTest, ReferenceNumbersAreNotReusedAtOnce) {
    const FSRef file = MakeFile("f", {ImageOf(kText, 1, "one")});
    const SInt16 first = Open(file);
    CloseResFile(first);
    const SInt16 second = Open(file);
    EXPECT_NE(first, second);
    for (int i = 0; i < 32'800; ++i) {
        const SInt16 refNum = Open(file, fsRdPerm);
        ASSERT_GT(refNum, 1) << i;
        ASSERT_NE(second, refNum) << i;
        CloseResFile(refNum);
    }
}

TEST_P(ChainTest, ResourceForkOfAFile) {
    const FSRef file = RefOf(mFolder.MakeFile("file", "its data"));
    EXPECT_EQ(-1, FSOpenResFile(&file, fsRdWrPerm));
    EXPECT_EQ(eofErr, ResError());
    EXPECT_EQ(noErr, FSCreateResourceFork(&file, 13, kForkName, 0));
    EXPECT_EQ(dupFNErr, FSCreateResourceFork(&file, 13, kForkName, 0));
    EXPECT_EQ(dupFNErr, FSCreateResourceFork(&file, 0, nullptr, 0)) << "the data";
    const SInt16 refNum = FSOpenResFile(&file, fsRdWrPerm);
    ASSERT_GT(refNum, 0);
    EXPECT_EQ(0, CountTypes());
    AddResource(NewText("in the companion"), kText, 1, nullptr);
    CloseResFile(refNum);
    EXPECT_EQ(noErr, ResError());
    SInt16 again = 0;
    ASSERT_EQ(noErr, FSOpenResourceFile(&file, 13, kForkName, fsRdPerm, &again));
    EXPECT_EQ("in the companion", TextOf(GetResource(kText, 1)));
}

TEST_P(ChainTest, CreatingWithBadArguments) {
    const FSRef file = RefOf(mFolder.MakeFile("file", ""));
    EXPECT_EQ(paramErr, FSCreateResourceFork(nullptr, 0, nullptr, 0));
    EXPECT_EQ(paramErr, FSCreateResourceFork(&file, 0, nullptr, 1));
    EXPECT_EQ(errFSForkNotFound, FSCreateResourceFork(&file, 12, kForkName, 0));
    const FSRef folder = RefOf(mFolder.Path());
    EXPECT_EQ(notAFileErr, FSCreateResourceFork(&folder, 13, kForkName, 0));
    EXPECT_EQ(noErr, FSCreateResourceFork(&file, 0, nullptr, 0)) << "an empty data fork";
    EXPECT_GT(Open(file), 0);
}

TEST_P(ChainTest, ResErrorIsEachThreadsOwn) {
    CloseResFile(99);
    std::thread([] {
        EXPECT_EQ(noErr, ResError());
        UseResFile(0);
    }).join();
    EXPECT_EQ(resFNotFound, ResError());
}

TEST_P(ChainTest, ManyThreadsAtOnce) {
    ASSERT_GT(Open(MakeFile("f", {ImageOf(kText, 1, "one"), ImageOf(kText, 2, "two")})), 0);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([] {
            for (int round = 0; round < 500; ++round) {
                if (GetResource(kText, 1) == nullptr) ADD_FAILURE() << ResError();
                const Handle plain = NewText("p");
                GetResAttrs(plain);
                EXPECT_EQ(resNotFound, ResError());
                DisposeHandle(plain);
            }
        });
    for (std::thread& thread : threads)
        thread.join();
}

TEST_P(ChainTest, EveryCallFailsWhileAFileIsOpened) {
    const FSRef file = MakeFile("f", {ImageOf(kText, 1, "one", "", resPreload)});
    for (int failing = 1;; ++failing) {
        const std::size_t descriptors = OpenDescriptorCount();
        const test_files::FailingCalls calls(failing, EIO);
        SInt16 refNum = 0;
        const OSErr error = FSOpenResourceFile(&file, 0, nullptr, fsRdWrPerm, &refNum);
        CloseResFile(refNum);
        EXPECT_EQ(descriptors, OpenDescriptorCount());
        if (!calls.Delivered()) {
            EXPECT_EQ(noErr, error);
            EXPECT_GT(failing, 5);
            break;
        }
        ASSERT_LT(failing, 100);
    }
}

#ifndef NDEBUG

TEST(ChainDeathTest, EveryFunctionIsForTheHolderOfTheLock) {
    using toolbox::resources::Chain;
    Chain chain;
    SInt16 refNum = 0;
    Handle handle = nullptr;
    FSRef file{};
    toolbox::resources::Resource resource;
    const auto isMeant = [](const toolbox::resources::Reference&) { return true; };
    EXPECT_DEATH(chain.OpenApplicationFile(), "IsHeldHere");
    EXPECT_DEATH(static_cast<void>(chain.Add(nullptr, refNum)), "IsHeldHere");
    EXPECT_DEATH(static_cast<void>(chain.Close(1)), "IsHeldHere");
    EXPECT_DEATH(static_cast<void>(chain.CloseAll()), "IsHeldHere");
    EXPECT_DEATH(chain.File(1), "IsHeldHere");
    EXPECT_DEATH(chain.RefNumOf(nullptr), "IsHeldHere");
    EXPECT_DEATH(chain.RefNumOfFork(file, toolbox::files::Fork::kData), "IsHeldHere");
    EXPECT_DEATH(chain.CurrentRefNum(), "IsHeldHere");
    EXPECT_DEATH(chain.Current(), "IsHeldHere");
    EXPECT_DEATH(chain.SetCurrent(1), "IsHeldHere");
    EXPECT_DEATH(chain.Searched(toolbox::resources::Depth::kAll), "IsHeldHere");
    EXPECT_DEATH(chain.Counted(toolbox::resources::Depth::kAll), "IsHeldHere");
    EXPECT_DEATH(chain.Types(toolbox::resources::Depth::kAll), "IsHeldHere");
    EXPECT_DEATH(chain.Added(resource), "IsHeldHere");
    EXPECT_DEATH(chain.Removed(resource), "IsHeldHere");
    EXPECT_DEATH(chain.Loads(), "IsHeldHere");
    EXPECT_DEATH(chain.SetLoads(false), "IsHeldHere");
    EXPECT_DEATH(static_cast<void>(chain.FindFirst(kText, toolbox::resources::Depth::kAll, isMeant, handle)),
                 "IsHeldHere");
    EXPECT_DEATH(static_cast<void>(chain.Provide(resource, false, handle)), "IsHeldHere");
    EXPECT_DEATH(chain.Find(nullptr), "IsHeldHere");
    EXPECT_DEATH(chain.Adopt(resource, nullptr), "IsHeldHere");
    EXPECT_DEATH(chain.LetGo(resource), "IsHeldHere");
    EXPECT_DEATH(chain.Release(resource), "IsHeldHere");
}

#endif

}  // namespace
