// Items moved and renamed with what they have beside their data.
#include "Failures.h"
#include "ItemChanges.h"
#include "os/Rename.h"
#include "os/SystemCalls_test_access.h"
#include "places/Place.h"
#include "support/FailingCalls.h"
#include "support/FileWorld.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/fs.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <cerrno>
#include <string>

namespace {

using namespace test_files;
using support::FileWorld;

class NameWriter : public ItemChangesTest<support::FileWorldTest> {
  protected:
    // Whatever call fails, the item is at the one place or the other, with its companion, once somebody has
    // looked.
    void MoveFailing(const Failure& inFailure);

    FSRef mHere = RefOf(mFolder.Path());
};
INSTANTIATE_TEST_SUITE_P(Worlds, NameWriter, support::BothWorlds(), support::NameOfWorld);

TEST_P(NameWriter, RenamesWithTheCompanion) {
    const FSRef ref = RefOf(MakeWithCompanion("", "a"));
    FSRef renamed = {};
    ASSERT_EQ(noErr, Rename(ref, u"b/c", &renamed));
    EXPECT_EQ("._b:c=#fork of a, b:c=of a, ", Picture());
    EXPECT_EQ(mFolder / "b:c", PathOf(ref));
    EXPECT_EQ(mFolder / "b:c", PathOf(renamed));
    EXPECT_EQ(S_IFREG | 0644, FileWorld::StatusOf(mFolder / "._b:c").stx_mode);
}

TEST_P(NameWriter, MovesWithTheCompanion) {
    FSRef ref = RefOf(MakeWithCompanion("", "a"));
    const FSRef before = ref;
    const FSRef folder = RefOf(mFolder.MakeFolder("sub"));
    ASSERT_EQ(noErr, Move(ref, folder, &ref)) << "also into itself";
    EXPECT_EQ("sub(._a=#fork of a, a=of a, ), ", Picture());
    EXPECT_EQ(mFolder / "sub/a", PathOf(ref));
    EXPECT_EQ(mFolder / "sub/a", PathOf(before));
    EXPECT_EQ(InfoOf(mFolder / "sub", kFSCatInfoNodeID).nodeID,
              InfoOf(mFolder / "sub/a", kFSCatInfoParentDirID).parentDirID);
}

// While another moves items from a folder or to it, none is moved, and no companion is taken for nobody's.
TEST_P(NameWriter, FoldersWhoseNamesAreLocked) {
    const FSRef ref = RefOf(MakeWithCompanion("", "a"));
    const FSRef sub = RefOf(mFolder.MakeFolder("sub"));
    mFolder.MakeFile("._orphan", CompanionBytes("of nobody"));
    mFolder.MakeFile("sub/._orphan", CompanionBytes("of nobody"));
    const toolbox::os::SystemCalls calls = toolbox::os::Calls();
    toolbox::os::CallsForTesting().clock_nanosleep = [](clockid_t, int, const timespec*, timespec*) {
        return 0;
    };
    for (const std::string& folder : {mFolder.Path(), mFolder / "sub"}) {
        const std::string before = Picture();
        toolbox::os::Descriptor other;
        ASSERT_EQ(0, toolbox::os::OpenFile(folder.c_str(), O_RDONLY | O_DIRECTORY, other));
        ASSERT_EQ(0, calls.flock(other.Number(), LOCK_EX));
        EXPECT_EQ(fBsyErr, Move(ref, sub));
        const FSRef locked = RefOf(folder);
        EXPECT_EQ(fBsyErr, MakeFile(locked, u"orphan"));
        EXPECT_EQ(before, Picture());
        EXPECT_EQ(folder == mFolder.Path() ? fBsyErr : noErr, Rename(ref, u"b")) << "in the other one";
        EXPECT_EQ(noErr, MakeFile(locked, u"new"));
    }
    toolbox::os::CallsForTesting() = calls;
    EXPECT_EQ(noErr, Move(ref, sub));
    EXPECT_EQ(noErr, MakeFile(mHere, u"orphan"));
}

// Where the user may look for names and not read them, as where locks are unknown.
TEST_P(NameWriter, FoldersThatCannotBeLocked) {
    const FSRef ref = RefOf(MakeWithCompanion("", "a"));
    static toolbox::os::SystemCalls sReal;
    sReal = toolbox::os::Calls();
    toolbox::os::CallsForTesting().openat = [](int inFolder, const char* inPath, int inFlags, mode_t inMode) {
        const bool isForLock = std::string_view(inPath) == "." && (inFlags & O_PATH) == 0;
        return isForLock ? (errno = EACCES, -1) : sReal.openat(inFolder, inPath, inFlags, inMode);
    };
    EXPECT_EQ(noErr, Rename(ref, u"b"));
    toolbox::os::CallsForTesting() = sReal;
    toolbox::os::CallsForTesting().flock = [](int, int) { return errno = ENOLCK, -1; };
    EXPECT_EQ(noErr, Rename(ref, u"c"));
    toolbox::os::CallsForTesting() = sReal;
    EXPECT_EQ("._c=#fork of a, c=of a, ", Picture());
}

TEST_P(NameWriter, WhatIsAnotherItemOnceNamesAreLockedStays) {
    const FSRef ref = RefOf(MakeWithCompanion("", "a"));
    mFolder.MakeFile("other", "of another");
    static std::string sFolder;
    static toolbox::os::SystemCalls sReal;
    sFolder = mFolder.Path();
    sReal = toolbox::os::Calls();
    toolbox::os::CallsForTesting().flock = [](int inFile, int inOperation) {
        toolbox::os::CallsForTesting().flock = sReal.flock;
        FileWorld::Rename(sFolder + "/a", sFolder + "/moved");
        FileWorld::Rename(sFolder + "/._a", sFolder + "/._moved");
        FileWorld::Rename(sFolder + "/other", sFolder + "/a");
        return sReal.flock(inFile, inOperation);
    };
    EXPECT_EQ(fnfErr, Rename(ref, u"b"));
    toolbox::os::CallsForTesting() = sReal;
    EXPECT_EQ("._moved=#fork of a, a=of another, moved=of a, ", Picture());
}

TEST_P(NameWriter, FoldersToo) {
    mFolder.MakeFolder("one/inner");
    const FSRef folder = RefOf(mFolder / "one");
    const FSRef inner = RefOf(mFolder / "one/inner");
    mFolder.MakeFile("._one", CompanionBytes("of one"));
    mFolder.MakeFolder("two");
    ASSERT_EQ(noErr, Move(folder, RefOf(mFolder / "two")));
    ASSERT_EQ(noErr, Rename(folder, u"renamed"));
    EXPECT_EQ("two(._renamed=#of one, renamed(inner(), ), ), ", Picture());
    EXPECT_EQ(mFolder / "two/renamed/inner", PathOf(inner));
    EXPECT_EQ(badMovErr, Move(folder, inner));
    EXPECT_EQ(badMovErr, Move(folder, folder));
    EXPECT_EQ("two(._renamed=#of one, renamed(inner(), ), ), ", Picture());
    EXPECT_EQ(mFolder / "two/renamed/inner", PathOf(inner));
}

TEST_P(NameWriter, ToWhereItIs) {
    const FSRef ref = RefOf(MakeWithCompanion("", "a"));
    EXPECT_EQ(noErr, Rename(ref, u"a"));
    EXPECT_EQ(noErr, Move(ref, mHere));
    EXPECT_EQ("._a=#fork of a, a=of a, ", Picture());
}

TEST_P(NameWriter, ToAnotherCaseOfItsOwnName) {
    const FSRef ref = RefOf(MakeWithCompanion("", "caf\xC3\xA9"));
    ASSERT_EQ(noErr, Rename(ref, u"CAF\u00C9"));
    ASSERT_EQ(noErr, Rename(ref, u"Cafe\u0301"));
    EXPECT_EQ("._Cafe\xCC\x81=#fork of caf\xC3\xA9, Cafe\xCC\x81=of caf\xC3\xA9, ", Picture());
}

TEST_P(NameWriter, NothingIsReplaced) {
    const FSRef ref = RefOf(MakeWithCompanion("", "a"));
    mFolder.MakeFile("sub name", "old");
    const FSRef folder = RefOf(mFolder.MakeFolder("sub"));
    MakeWithCompanion("", "b");
    MakeWithCompanion("sub/", "A");
    const std::string before = Picture();
    for (const char16_t* const name : {u"b", u"B", u"sub", u"SUB NAME", u"._b"})
        EXPECT_EQ(dupFNErr, Rename(ref, name));
    EXPECT_EQ(dupFNErr, Move(ref, folder)) << "similar";
    EXPECT_EQ(before, Picture());
    FileWorld::Rename(mFolder / "sub/A", mFolder / "sub/a");
    EXPECT_EQ(dupFNErr, Move(ref, folder)) << "the same";
    EXPECT_EQ(mFolder / "a", PathOf(ref));
}

// What another program makes between the look and the rename.
TEST_P(NameWriter, NothingIsReplacedThatComesMeanwhile) {
    const FSRef ref = RefOf(MakeWithCompanion("", "a"));
    static const FileWorld* sFolder;
    static toolbox::os::SystemCalls sReal;
    sFolder = &mFolder;
    sReal = toolbox::os::Calls();
    toolbox::os::CallsForTesting().renameat2 = [](int inFolder, const char* inName, int inNewFolder,
                                                  const char* inNewName, unsigned inFlags) {
        sFolder->MakeFile("b", "another's");
        return sReal.renameat2(inFolder, inName, inNewFolder, inNewName, inFlags);
    };
    const OSErr error = Rename(ref, u"b");
    toolbox::os::CallsForTesting() = sReal;
    EXPECT_EQ(dupFNErr, error);
    EXPECT_EQ("._a=#fork of a, a=of a, b=another's, ", Picture());
}

// What another program writes where the companion lay before, while its item is moved.
TEST_P(NameWriter, AnothersFileAtTheOldNameStays) {
    const FSRef ref = RefOf(MakeWithCompanion("", "a"));
    static const FileWorld* sFolder;
    static toolbox::os::SystemCalls sReal;
    sFolder = &mFolder;
    sReal = toolbox::os::Calls();
    toolbox::os::CallsForTesting().renameat2 = [](int inFolder, const char* inName, int inNewFolder,
                                                  const char* inNewName, unsigned inFlags) {
        toolbox::os::CallsForTesting() = sReal;
        FileWorld::Rename(*sFolder / "._a", *sFolder / "kept");
        sFolder->MakeFile("._a", "another's");
        return sReal.renameat2(inFolder, inName, inNewFolder, inNewName, inFlags);
    };
    EXPECT_EQ(noErr, Rename(ref, u"b"));
    EXPECT_EQ("._a=another's, ._b=2:#fork of a, b=of a, kept=2:#fork of a, ", Picture());
}

// Another process looked for its item before that went, and tells no more of it.
TEST_P(NameWriter, ACompanionThatComesMeanwhileGoesWithItsItem) {
    const FSRef folder = RefOf(mFolder.MakeFolder("sub"));
    static const FileWorld* sFolder;
    static toolbox::os::SystemCalls sReal;
    sFolder = &mFolder;
    sReal = toolbox::os::Calls();
    const auto expect = [&](const std::string& inPicture, auto inChange) {
        const FSRef ref = RefOf(mFolder.MakeFile("a", "of a"));
        toolbox::os::SystemCalls& calls = toolbox::os::CallsForTesting();
        calls.unlinkat = [](int inFolder, const char* inName, int inFlags) {
            toolbox::os::CallsForTesting() = sReal;
            sFolder->MakeFile("._a", CompanionBytes("late"));
            return sReal.unlinkat(inFolder, inName, inFlags);
        };
        calls.renameat2 = [](int inFolder, const char* inName, int inNewFolder, const char* inNewName,
                             unsigned inFlags) {
            toolbox::os::CallsForTesting() = sReal;
            sFolder->MakeFile("._a", CompanionBytes("late"));
            return sReal.renameat2(inFolder, inName, inNewFolder, inNewName, inFlags);
        };
        EXPECT_EQ(noErr, inChange(ref));
        toolbox::os::CallsForTesting() = sReal;
        EXPECT_EQ(inPicture, Picture());
    };
    expect("sub(), ", [](const FSRef& inItem) { return FSDeleteObject(&inItem); });
    expect("._b=#late, b=of a, sub(), ", [](const FSRef& inItem) { return Rename(inItem, u"b"); });
    expect("._b=#late, b=of a, sub(._a=#late, a=of a, ), ",
           [&](const FSRef& inItem) { return Move(inItem, folder); });
}

// It is not an orphan where its item is there again, or where another's is just coming.
TEST_P(NameWriter, AnothersCompanionThatComesMeanwhileStays) {
    const FSRef ref = RefOf(mFolder.MakeFile("a", "of a"));
    static const FileWorld* sFolder;
    static toolbox::os::SystemCalls sReal;
    sFolder = &mFolder;
    sReal = toolbox::os::Calls();
    toolbox::os::CallsForTesting().unlinkat = [](int inFolder, const char* inName, int inFlags) {
        toolbox::os::CallsForTesting() = sReal;
        const int result = sReal.unlinkat(inFolder, inName, inFlags);
        sFolder->MakeFile("a", "another's");
        sFolder->MakeFile("._a", CompanionBytes("another's"));
        return result;
    };
    EXPECT_EQ(noErr, FSDeleteObject(&ref));
    toolbox::os::CallsForTesting() = sReal;
    EXPECT_EQ("._a=#another's, a=another's, ", Picture());
    const FSRef again = RefOf(mFolder / "a");
    FileWorld::Remove(mFolder / "._a");
    toolbox::os::CallsForTesting().unlinkat = [](int inFolder, const char* inName, int inFlags) {
        toolbox::os::CallsForTesting() = sReal;
        sFolder->MakeFile("kept", CompanionBytes("coming"));
        FileWorld::SetMode(*sFolder / "kept", 01644);
        EXPECT_EQ(0, FileWorld::MakeHardLink(*sFolder / "kept", *sFolder / "._a"));
        return sReal.unlinkat(inFolder, inName, inFlags);
    };
    EXPECT_EQ(noErr, FSDeleteObject(&again));
    toolbox::os::CallsForTesting() = sReal;
    EXPECT_EQ("._a=2:#coming, kept=2:#coming, ", Picture());
}

TEST_P(NameWriter, WhatWouldBeAdoptedIsSetAside) {
    const FSRef ref = RefOf(MakeWithCompanion("", "a"));
    const FSRef folder = RefOf(mFolder.MakeFolder("sub"));
    mFolder.MakeFile("sub/._a", CompanionBytes("of nobody"));
    ASSERT_EQ(noErr, Move(ref, folder));
    EXPECT_EQ("sub(._a=#fork of a, a=of a, a (companion)=#of nobody, ), ", Picture());
    const FSRef plain = RefOf(mFolder.MakeFile("plain", "of plain"));
    mFolder.MakeFile("sub/._plain", CompanionBytes("of nobody"));
    ASSERT_EQ(noErr, Move(plain, folder));
    ASSERT_EQ(noErr, MakeFile(mHere, u"new"));
    EXPECT_EQ(
        "new=, sub(._a=#fork of a, a=of a, a (companion)=#of nobody, plain=of plain, "
        "plain (companion)=#of nobody, ), ",
        Picture());
}

TEST_P(NameWriter, WhatIsNotAdoptedStays) {
    const FSRef plain = RefOf(mFolder.MakeFile("plain", "of plain"));
    mFolder.MakeFile("._b", "an ordinary file");
    EXPECT_EQ(noErr, Rename(plain, u"b"));
    EXPECT_EQ("._b=an ordinary file, b=of plain, ", Picture());
    const FSRef ref = RefOf(MakeWithCompanion("", "a"));
    mFolder.MakeFile("._c", "an ordinary file");
    EXPECT_EQ(dupFNErr, Rename(ref, u"c")) << "its companion would need the name";
    EXPECT_EQ("._a=#fork of a, ._b=an ordinary file, ._c=an ordinary file, a=of a, b=of plain, ", Picture());
}

// It would go with the item when that is deleted.
TEST_P(NameWriter, NothingBecomesACompanion) {
    mFolder.MakeFile("plain", "of plain");
    mFolder.MakeFolder("sub");
    mFolder.MakeFile("sub/plain", "of another");
    mFolder.MakeFile("sub/._plain", "an ordinary file");
    const FSRef file = RefOf(mFolder.MakeFile("b", CompanionBytes("of nobody")));
    EXPECT_EQ(dupFNErr, Rename(file, u"._plain"));
    EXPECT_EQ(noErr, Rename(file, u"._b")) << "is beside nothing";
    EXPECT_EQ(noErr, Rename(file, u"._none"));
    const FSRef ordinary = RefOf(mFolder / "sub/._plain");
    EXPECT_EQ(noErr, Move(ordinary, mHere));
    EXPECT_EQ("._none=#of nobody, ._plain=an ordinary file, plain=of plain, sub(plain=of another, ), ",
              Picture());
}

TEST_P(NameWriter, NamesThatTheFileSystemForbids) {
    const FSRef file = RefOf(MakeWithCompanion("", "a"));
    const toolbox::os::SystemCalls real = toolbox::os::Calls();
    toolbox::os::CallsForTesting().renameat2 = [](int, const char*, int, const char*, unsigned) {
        return errno = EINVAL, -1;
    };
    toolbox::os::CallsForTesting().linkat = [](int, const char*, int, const char*, int) {
        return errno = EPERM, -1;
    };
    const OSErr error = Rename(file, u"b?");
    toolbox::os::CallsForTesting() = real;
    EXPECT_EQ(bdNamErr, error);
    EXPECT_EQ("._a=#fork of a, a=of a, ", Picture());
}

// Drivers of some file systems say of such a name that it is not there.
TEST_P(NameWriter, NamesThatAreToldToBeMissing) {
    const FSRef file = RefOf(MakeWithCompanion("", "a"));
    const FSRef removed = RefOf(mFolder.MakeFolder("removed"));
    for (const int refusal : {ENOENT, EINVAL}) {
        static toolbox::os::SystemCalls sReal;
        static int sRefusal;
        sReal = toolbox::os::Calls();
        sRefusal = refusal;
        toolbox::os::SystemCalls& calls = toolbox::os::CallsForTesting();
        calls.renameat2 = [](int, const char*, int, const char*, unsigned) { return errno = sRefusal, -1; };
        calls.linkat = [](int, const char*, int, const char*, int) { return errno = EPERM, -1; };
        calls.mkdirat = [](int, const char*, mode_t) { return errno = sRefusal, -1; };
        calls.openat = [](int inFolder, const char* inPath, int inFlags, mode_t inMode) {
            if (inPath[0] == 'b') return errno = (inFlags & O_CREAT) != 0 ? sRefusal : ENOENT, -1;
            return sReal.openat(inFolder, inPath, inFlags, inMode);
        };
        const OSErr renaming = Rename(file, u"b?");
        const OSErr making = MakeFile(mHere, u"b?");
        const OSErr makingFolder = MakeFolder(mHere, u"b?");
        calls = sReal;
        EXPECT_EQ(bdNamErr, renaming) << refusal;
        EXPECT_EQ(bdNamErr, making) << refusal;
        EXPECT_EQ(bdNamErr, makingFolder) << refusal;
        EXPECT_EQ("._a=#fork of a, a=of a, removed(), ", Picture()) << refusal;
    }
    // But in a folder that is gone there is no name.
    toolbox::files::Place place;
    ASSERT_EQ(0, toolbox::files::OpenFolder(mFolder / "removed", place));
    FileWorld::Remove(mFolder / "removed", true);
    EXPECT_EQ(ENOENT, toolbox::os::ErrorOfNewName(place.folder.Number(), ENOENT));
    EXPECT_EQ(ENOENT,
              toolbox::os::RenameToNew(AT_FDCWD, (mFolder / "a").c_str(), place.folder.Number(), "a"));
    EXPECT_EQ(dirNFErr, MakeFile(removed, u"b"));
}

// An orphan is an ordinary file, which may get any name, that of its item too.
TEST_P(NameWriter, AnOrphanTakesTheNameOfItsItem) {
    const FSRef ref = RefOf(mFolder.MakeFile("._a", CompanionBytes("of nobody")));
    ASSERT_EQ(noErr, Rename(ref, u"a"));
    EXPECT_EQ("a=#of nobody, ", Picture());
}

TEST_P(NameWriter, ANameWithoutRoomForTheCompanion) {
    const FSRef ref = RefOf(MakeWithCompanion("", "a"));
    const FSRef plain = RefOf(mFolder.MakeFile("plain", "of plain"));
    EXPECT_EQ(bdNamErr, Rename(ref, std::u16string(254, u'n')));
    EXPECT_EQ("._a=#fork of a, a=of a, plain=of plain, ", Picture());
    EXPECT_EQ(noErr, Rename(plain, std::u16string(254, u'n')));
    EXPECT_EQ(noErr, Rename(ref, std::u16string(253, u'm')));
    EXPECT_EQ(3U, FileWorld::NamesIn(mFolder.Path()).size());
}

// Found by the references that were made before, whatever was renamed around them.
TEST_P(NameWriter, ReferencesStayGood) {
    const FSRef two = RefOf(mFolder.MakeFolder("one/two"));
    const FSRef file = RefOf(MakeWithCompanion("one/two/", "a"));
    const FSRef three = RefOf(mFolder.MakeFolder("three"));
    ASSERT_EQ(noErr, Move(two, three));
    ASSERT_EQ(noErr, Rename(three, u"third"));
    ASSERT_EQ(noErr, Rename(file, u"b"));
    ASSERT_EQ(noErr, Move(file, mHere));
    ASSERT_EQ(noErr, Move(file, two));
    EXPECT_EQ(mFolder / "third/two/b", PathOf(file));
    EXPECT_EQ("fork of a", FileWorld::Contents(mFolder / "third/two/._b").substr(CompanionBytes("").size()));
}

// A reference to one of several names is to that name; the new one is only told.
TEST_P(NameWriter, OneNameOfSeveral) {
    const FSRef first = RefOf(mFolder.MakeFile("a", "of both"));
    ASSERT_EQ(0, FileWorld::MakeHardLink(mFolder / "a", mFolder / "b"));
    const FSRef second = RefOf(mFolder / "b");
    FSRef renamed = {};
    ASSERT_EQ(noErr, Rename(first, u"c", &renamed));
    EXPECT_EQ("b=2:of both, c=2:of both, ", Picture());
    EXPECT_EQ(mFolder / "c", PathOf(renamed));
    EXPECT_EQ(mFolder / "b", PathOf(second));
    EXPECT_EQ(fnfErr, Rename(first, u"d")) << "and never the other one";
    EXPECT_EQ(fnfErr, FSDeleteObject(&first));
    EXPECT_EQ("b=2:of both, c=2:of both, ", Picture());
}

// Where a file system knows no other rename than the plain one, and no hard links.
TEST_P(NameWriter, OnFileSystemsThatKnowLess) {
    static toolbox::os::SystemCalls sReal;
    sReal = toolbox::os::Calls();
    for (const bool hasLinks : {true, false}) {
        FileWorld::RemoveAll(mFolder / "sub");
        const FSRef file = RefOf(MakeWithCompanion("", "a"));
        const FSRef folder = RefOf(mFolder.MakeFolder("sub"));
        mFolder.MakeFile("sub/._a", CompanionBytes("of nobody"));
        toolbox::os::CallsForTesting().renameat2 = [](int inFolder, const char* inName, int inNewFolder,
                                                      const char* inNewName, unsigned inFlags) {
            if (inFlags != 0) return errno = EINVAL, -1;
            return sReal.renameat2(inFolder, inName, inNewFolder, inNewName, 0);
        };
        if (!hasLinks) {
            toolbox::os::CallsForTesting().linkat = [](int, const char*, int, const char*, int) {
                return errno = EPERM, -1;
            };
        }
        const OSErr moved = Move(file, folder);
        const OSErr renamed = Rename(file, u"b");
        const OSErr within = Move(folder, folder);
        toolbox::os::CallsForTesting() = sReal;
        EXPECT_EQ(noErr, moved);
        EXPECT_EQ(noErr, renamed);
        EXPECT_EQ(badMovErr, within);
        EXPECT_EQ("sub(._b=#fork of a, a (companion)=#of nobody, b=of a, ), ", Picture());
    }
}

void NameWriter::MoveFailing(const Failure& inFailure) {
    for (int failing = 1;; ++failing) {
        FileWorld::RemoveAll(mFolder / "sub");
        FileWorld::RemoveAll(mFolder / "a");
        const FSRef file = RefOf(MakeWithCompanion("", "a"));
        const FSRef folder = RefOf(mFolder.MakeFolder("sub"));
        mFolder.MakeFile("sub/._a", CompanionBytes("of nobody"));
        const std::size_t descriptors = OpenDescriptorCount();
        FSRef ref = {};
        OSErr error = noErr;
        bool delivered = false;
        {
            const FailingCalls calls(failing, inFailure.error, inFailure.extent);
            error = Move(file, folder, &ref);
            delivered = calls.Delivered();
        }
        EXPECT_EQ(descriptors, OpenDescriptorCount()) << failing;
        EXPECT_TRUE(error == noErr || error == inFailure.status) << failing << ' ' << error;
        EXPECT_EQ(error == noErr ? "ny" : "yn", LookFor({mFolder / "a", mFolder / "sub/a"})) << failing;
        const std::string picture = Picture();
        if (error == noErr) {
            EXPECT_EQ("sub(._a=#fork of a, a=of a, a (companion)=#of nobody, ), ", picture) << failing;
        } else if (picture != "._a=#fork of a, a=of a, sub(a (companion)=#of nobody, ), ") {
            EXPECT_EQ("._a=#fork of a, a=of a, sub(._a=#of nobody, ), ", picture) << failing;
        } else {
            EXPECT_EQ(FailingCalls::kForever, inFailure.extent) << failing << ": not brought back";
        }
        EXPECT_EQ(error == noErr ? mFolder / "sub/a" : mFolder / "a", PathOf(file)) << failing;
        if (!delivered) break;
        ASSERT_LT(failing, 200);
    }
}

TEST_P(NameWriter, EveryFailingCall) {
    for (const Failure& failure : FailuresIn(mFolder))
        MoveFailing(failure);
}

}  // namespace
