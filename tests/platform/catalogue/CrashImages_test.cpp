// A machine that fails in the middle of a change of items: whatever of it the disk has kept, nothing is lost,
// and who looks next finds each item as it was or as it is to be. In the file system in memory, by a model of
// what a failing machine keeps.
#include "ItemChanges.h"
#include "OldItem.h"
#include "platform/forks/ForkTest.h"
#include "support/OneWorld.h"
#include "support/RecordedCalls.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <toolbox/Forks.h>

#include <cerrno>
#include <cstdint>
#include <set>
#include <string>

namespace {

using namespace test_files;
using support::FileWorld;

class CrashImages : public ItemChangesTest<support::MemoryFolderTest> {
  protected:
    using States = std::set<std::string>;

    // Without the files that nobody reads.
    std::string PictureOfRead() const {
        const std::string sub = mFolder / "sub";
        for (const std::string& folder : {mFolder.Path(), sub}) {
            if (!FileWorld::Exists(folder)) continue;
            for (const std::string& name : FileWorld::NamesIn(folder))
                if (name.starts_with("._.new-")) FileWorld::Remove(folder + '/' + name);
        }
        return Picture();
    }
    // What the change leaves when the machine fails, at any moment and whatever was kept by then, with the
    // folder as inPrepare leaves it. After each, once inLook has looked, the folder is in one of the states.
    template <typename Prepare, typename Change, typename Look>
    void ExpectOneOf(const States& inStates, Prepare inPrepare, Change inChange, Look inLook) {
        EXPECT_EQ(inStates, StatesLeft(inPrepare, inChange, inLook));
    }
    template <typename Prepare, typename Change, typename Look>
    States StatesLeft(Prepare inPrepare, Change inChange, Look inLook) {
        EmptyFolder();
        inPrepare();
        support::RecordedCalls calls(mFolder.Path());
        EXPECT_EQ(noErr, inChange());
        calls.Stop();
        States seen;
        for (const support::RecordedCalls::State& state : calls.States()) {
            const testing::ScopedTrace trace(__FILE__, __LINE__, "kept: " + calls.TextOf(state));
            EmptyFolder();
            inPrepare();
            calls.MakeAgain(state);
            seen.insert(inLook());
        }
        return seen;
    }
    template <typename Prepare, typename Change>
    void ExpectOneOf(const States& inStates, Prepare inPrepare, Change inChange) {
        ExpectOneOf(inStates, inPrepare, inChange, [this] { return PictureOfRead(); });
    }

    // What the catalogue tells of "a": type, lock and fork, or "none".
    std::string TextOfA() const {
        FSRef ref = {};
        if (MakeRef(mFolder / "a", &ref) != noErr) return "none";
        FSCatalogInfo info = {};
        EXPECT_EQ(noErr, FSGetCatalogInfo(&ref,
                                          kFSCatInfoNodeFlags | kFSCatInfoFinderInfo | kFSCatInfoBackupDate |
                                              kFSCatInfoRsrcSizes,
                                          &info, nullptr, nullptr, nullptr));
        return std::to_string(info.finderInfo[0]) +
               ((info.nodeFlags & kFSNodeLockedMask) != 0 ? " locked, " : ", ") +
               std::to_string(info.backupDate.lowSeconds) + ", fork of " +
               std::to_string(info.rsrcLogicalSize);
    }
    static FSCatalogInfo InfoToSet() {
        FSCatalogInfo info = {};
        info.finderInfo[0] = 7;
        info.nodeFlags = kFSNodeLockedMask;
        info.backupDate = {0, 3'100'000'000U, 0};
        return info;
    }
    static constexpr FSCatalogInfoBitmap kSet =
        kFSCatInfoNodeFlags | kFSCatInfoFinderInfo | kFSCatInfoBackupDate;

    // The change of the resource fork of "a", opened before and closed after it.
    template <typename Change>
    OSErr ChangeFork(Change inChange) const {
        const std::u16string_view name = u"RESOURCE_FORK";
        SInt16 number = 0;
        OSErr error = FSOpenFork(&mItem, name.size(), UnitsOf(name), fsRdWrPerm, &number);
        if (error == noErr) error = inChange(number);
        const OSErr closing = FSCloseFork(number);
        return error == noErr ? closing : error;
    }
    static OSErr Write(SInt16 inFork, UInt16 inMode, const std::string& inText) {
        ByteCount count = 0;
        return FSWriteFork(inFork, inMode, 0, inText.size(), inText.data(), &count);
    }

    void MakeItem() { mItem = RefOf(MakeWithCompanion("", "a")); }
    void MakeItemAndFolder() {
        MakeItem();
        mSub = RefOf(mFolder.MakeFolder("sub"));
    }

    FSRef mItem = {};
    FSRef mSub = {};
};

const std::string kWithFork = "._a=#fork of a, a=of a, ";

std::string WithFork(const std::string& inFork) {
    return "._a=#" + inFork + ", a=of a, ";
}

// The model itself: a file that is not synced before it is renamed may have nothing in it.
TEST_F(CrashImages, WhatIsNotSyncedIsLost) {
    const auto replace = [this](bool inIsSynced) {
        return [this, inIsSynced] {
            const auto& calls = toolbox::os::Calls();
            const int file =
                calls.openat(AT_FDCWD, (mFolder / "b").c_str(), O_WRONLY | O_CREAT | O_EXCL, 0600);
            EXPECT_EQ(3, calls.pwrite(file, "new", 3, 0));
            EXPECT_EQ(0, inIsSynced ? calls.fsync(file) : 0);
            EXPECT_EQ(0, calls.close(file));
            FileWorld::Rename(mFolder / "b", mFolder / "a");
            return noErr;
        };
    };
    const auto prepare = [this] { mFolder.MakeFile("a", "old"); };
    ExpectOneOf({"a=old, ", "a=old, b=, ", "a=old, b=new, ", "a=new, "}, prepare, replace(true));
    ExpectOneOf({"a=old, ", "a=old, b=, ", "a=old, b=new, ", "a=new, ", "a=, "}, prepare, replace(false));
}

TEST_F(CrashImages, MakingWithInformation) {
    const FSRef here = RefOf(mFolder.Path());
    const FSCatalogInfo info = InfoToSet();
    ExpectOneOf(
        {"none", "0, 0, fork of 0", "7 locked, 3100000000, fork of 0"}, [] {},
        [&] { return FSCreateFileUnicode(&here, 1, UnitsOf(u"a"), kSet, &info, nullptr, nullptr); },
        [this] { return TextOfA(); });
}

TEST_F(CrashImages, SettingInformation) {
    const FSCatalogInfo info = InfoToSet();
    const auto set = [&] { return FSSetCatalogInfo(&mItem, kSet, &info); };
    ExpectOneOf(
        {"0, 0, fork of 9", "7 locked, 3100000000, fork of 9"}, [this] { MakeItem(); }, set,
        [this] { return TextOfA(); });
    ExpectOneOf(
        {"0, 0, fork of 0", "7 locked, 3100000000, fork of 0"},
        [this] { mItem = RefOf(mFolder.MakeFile("a")); }, set, [this] { return TextOfA(); });
}

// Where the companion has an entry for all of it, that is written in place.
TEST_F(CrashImages, SettingOtherInformation) {
    FSCatalogInfo info = InfoToSet();
    std::uint64_t inode = 0;
    const auto prepare = [&] {
        const FSCatalogInfo first = InfoToSet();
        mItem = RefOf(mFolder.MakeFile("a"));
        EXPECT_EQ(noErr, FSSetCatalogInfo(&mItem, kSet, &first));
        inode = FileWorld::StatusOf(mFolder / "._a").stx_ino;
    };
    info.finderInfo[0] = 9;
    info.backupDate = {0, 3'200'000'000U, 0};
    ExpectOneOf(
        {"7 locked, 3100000000, fork of 0", "9 locked, 3200000000, fork of 0"}, prepare,
        [&] { return FSSetCatalogInfo(&mItem, kSet, &info); },
        [&] {
            EXPECT_EQ(inode, FileWorld::StatusOf(mFolder / "._a").stx_ino);
            return TextOfA();
        });
}

TEST_F(CrashImages, SettingInformationBack) {
    const FSCatalogInfo info = InfoToSet();
    const FSCatalogInfo none = {};
    ExpectOneOf(
        {"7 locked, 3100000000, fork of 0", "0, 0, fork of 0"},
        [&] {
            mItem = RefOf(mFolder.MakeFile("a"));
            EXPECT_EQ(noErr, FSSetCatalogInfo(&mItem, kSet, &info));
        },
        [&] { return FSSetCatalogInfo(&mItem, kSet, &none); }, [this] { return TextOfA(); });
}

TEST_F(CrashImages, MakingAFork) {
    ExpectOneOf(
        {"a=of a, ", WithFork(""), WithFork("new")}, [this] { mItem = RefOf(mFolder.MakeFile("a", "of a")); },
        [this] { return ChangeFork([](SInt16 inFork) { return Write(inFork, fsFromStart, "new"); }); });
}

TEST_F(CrashImages, WritingAFork) {
    const auto prepare = [this] { MakeItem(); };
    ExpectOneOf({kWithFork, WithFork("FORK of a")}, prepare, [this] {
        return ChangeFork([](SInt16 inFork) { return Write(inFork, fsFromStart, "FORK"); });
    });
    ExpectOneOf({kWithFork, WithFork("fork of a, and more")}, prepare, [this] {
        return ChangeFork([](SInt16 inFork) { return Write(inFork, fsFromLEOF, ", and more"); });
    });
}

TEST_F(CrashImages, ResizingAFork) {
    const auto prepare = [this] { MakeItem(); };
    const auto resizeTo = [this](SInt64 inSize) {
        return [this, inSize] {
            return ChangeFork([inSize](SInt16 inFork) { return FSSetForkSize(inFork, fsFromStart, inSize); });
        };
    };
    ExpectOneOf({kWithFork, WithFork("fork of a" + std::string(3, '\0'))}, prepare, resizeTo(12));
    ExpectOneOf({kWithFork, WithFork("fork")}, prepare, resizeTo(4));
    ExpectOneOf({kWithFork, "a=of a, "}, prepare, resizeTo(0));
}

TEST_F(CrashImages, RenamingWithACompanion) {
    ExpectOneOf(
        {kWithFork, "._b=#fork of a, b=of a, "}, [this] { MakeItem(); },
        [this] { return Rename(mItem, u"b"); },
        [this] {
            const std::string found = LookFor({mFolder / "a", mFolder / "b"});
            EXPECT_EQ(found == "yn" ? mFolder / "a" : mFolder / "b", PathOf(mItem)) << found;
            return PictureOfRead();
        });
}

TEST_F(CrashImages, MovingWithACompanion) {
    const std::string before = kWithFork + "sub(), ";
    const std::string after = "sub(" + kWithFork + "), ";
    const auto prepare = [this] { MakeItemAndFolder(); };
    const auto move = [this] { return Move(mItem, mSub); };
    ExpectOneOf({before, after}, prepare, move, [this] {
        LookFor({mFolder / "a", mFolder / "sub/a"});
        return PictureOfRead();
    });
    // Who does not look but moves again clears away what the first one left, too.
    ExpectOneOf({after}, prepare, move, [this] {
        FSRef item = {};
        if (MakeRef(mFolder / "a", &item) == noErr)
            EXPECT_EQ(noErr, Move(item, mSub));
        else
            LookFor({mFolder / "a"});
        return PictureOfRead();
    });
}

// Without hard links the companion is copied.
TEST_F(CrashImages, MovingACopiedCompanion) {
    const std::string before = kWithFork + "sub(), ";
    const std::string after = "sub(" + kWithFork + "), ";
    const auto look = [this] {
        LookFor({mFolder / "a", mFolder / "sub/a"});
        return PictureOfRead();
    };
    toolbox::os::SystemCalls& calls = toolbox::os::CallsForTesting();
    const auto link = calls.linkat;
    calls.linkat = [](int, const char*, int, const char*, int) { return errno = EPERM, -1; };
    ExpectOneOf(
        {before, kWithFork + "sub(._a=#fork of a, ), ", "._a=#fork of a, " + after, after},
        [this] { MakeItemAndFolder(); }, [this] { return Move(mItem, mSub); }, look);
    calls.linkat = link;
}

TEST_F(CrashImages, Deleting) {
    ExpectOneOf(
        {kWithFork, "._a=#fork of a, ", ""}, [this] { MakeItem(); },
        [this] { return FSDeleteObject(&mItem); });
}

TEST_F(CrashImages, Exchanging) {
    // A date that the companion has to tell of from then on.
    const OldItem old;
    const auto createdOf = [this](const char* inName) {
        return InfoOf(mFolder / inName, kFSCatInfoCreateDate).createDate.lowSeconds;
    };
    FSRef other = {};
    UInt32 createdA = 0;
    UInt32 createdB = 0;
    ExpectOneOf(
        {"640 a=of a, 604 b=of b, ", "600 a=of a, 604 b=of b, ", "600 a=of a, 600 b=of b, ",
         "600 a=of b, 600 b=of a, ", "600 a=of b, 604 b=of a, ", "640 a=of b, 604 b=of a, "},
        [&] {
            mFolder.MakeFile("a", "of a");
            old.Name(mFolder.MakeFile("b", "of b"));
            FileWorld::SetMode(mFolder / "a", 0640);
            FileWorld::SetMode(mFolder / "b", 0604);
            mItem = RefOf(mFolder / "a");
            other = RefOf(mFolder / "b");
            createdA = createdOf("a");
            createdB = createdOf("b");
            EXPECT_NE(createdA, createdB);
        },
        [&] { return FSExchangeObjects(&mItem, &other); },
        [&] {
            EXPECT_EQ(createdA, createdOf("a"));
            EXPECT_EQ(createdB, createdOf("b"));
            std::string text;
            for (const char* const name : {"a", "b"}) {
                char mode[8];
                std::snprintf(mode, sizeof mode, "%o ", FileWorld::StatusOf(mFolder / name).stx_mode & 0777U);
                text += mode + std::string(name) + '=' + FileWorld::Contents(mFolder / name) + ", ";
            }
            return text;
        });
}

// Files of two lengths that no other has, which the system tells to be the same files each time that they are
// made: an intent tells who they are.
class FilesOfTwoLengths {
  public:
    FilesOfTwoLengths() : mSaved(toolbox::os::Calls()) {
        sReal = mSaved;
        toolbox::os::CallsForTesting().statx = [](int inFolder, const char* inPath, int inFlags,
                                                  unsigned inMask, struct statx* outStatus) {
            const int result = sReal.statx(inFolder, inPath, inFlags, inMask, outStatus);
            if (result != 0 || (outStatus->stx_size != kOne && outStatus->stx_size != kOther)) return result;
            outStatus->stx_ino = kInodes + outStatus->stx_size;
            outStatus->stx_btime.tv_sec = 1'000'000'000;
            outStatus->stx_btime.tv_nsec = 0;
            return result;
        };
    }
    ~FilesOfTwoLengths() { toolbox::os::CallsForTesting() = mSaved; }
    FilesOfTwoLengths(const FilesOfTwoLengths&) = delete;
    FilesOfTwoLengths& operator=(const FilesOfTwoLengths&) = delete;

    static constexpr std::size_t kOne = 1001;
    static constexpr std::size_t kOther = 1002;

  private:
    static constexpr std::uint64_t kInodes = 0x70000000;
    static inline toolbox::os::SystemCalls sReal;

    const toolbox::os::SystemCalls mSaved;
};

TEST_F(CrashImages, ExchangingForks) {
    const FilesOfTwoLengths files;
    const auto forksOf = [this](const char* inName) {
        const Opened fork(RefOf(mFolder / inName), Which::kResource, fsRdPerm);
        return FileWorld::Contents(mFolder / inName).substr(0, 1) + '/' + Whole(fork) + ' ';
    };
    FSRef other = {};
    for (const bool haveBothForks : {true, false}) {
        const std::string forkOfB = haveBothForks ? "fork of b" : "";
        const std::string before = "A/fork of a B/" + forkOfB + ' ';
        const std::string after = "B/" + forkOfB + " A/fork of a ";
        const auto prepare = [&] {
            mItem = RefOf(mFolder.MakeFile("a", std::string(FilesOfTwoLengths::kOne, 'A')));
            other = RefOf(mFolder.MakeFile("b", std::string(FilesOfTwoLengths::kOther, 'B')));
            mFolder.MakeFile("._a", CompanionBytes("fork of a"));
            if (haveBothForks) mFolder.MakeFile("._b", CompanionBytes("fork of b"));
        };
        const auto exchange = [&] { return FSExchangeObjects(&mItem, &other); };
        ExpectOneOf({before, after}, prepare, exchange, [&] { return forksOf("a") + forksOf("b"); });
        // By who writes both before he reads, too.
        ExpectOneOf({before, after}, prepare, exchange, [&] {
            const FSCatalogInfo info = InfoToSet();
            for (const char* const name : {"a", "b"}) {
                const FSRef ref = RefOf(mFolder / name);
                EXPECT_EQ(noErr, FSSetCatalogInfo(&ref, kSet, &info));
                EXPECT_EQ("none", EntryIn(mFolder / (std::string("._") + name),
                                          toolbox::files::AppleDoubleEntry::kForkIntent));
            }
            return forksOf("a") + forksOf("b");
        });
    }
}

}  // namespace
