// Who may open a fork, and who may not.
#include "ForkTest.h"
#include "companions/CompanionInfo.h"
#include "places/ForkUses.h"

#include <sys/file.h>

#include <cerrno>

namespace {

using namespace test_files;
using namespace toolbox::os;
using support::FileWorld;
using toolbox::files::FindForksInUse;

class ForkOpenings : public ForkTest {
  protected:
    void Lock(bool inIsLocked) const {
        toolbox::files::Place place;
        ASSERT_EQ(0, toolbox::files::OpenPlaceOf(mPath, place));
        toolbox::files::CompanionInfo info;
        info.isLocked = inIsLocked;
        ASSERT_EQ(0, toolbox::files::WriteInfo(place, info));
    }
    OSErr Delete(Which inFork) const {
        const std::u16string_view name = NameOf(inFork);
        return FSDeleteFork(&mRef, name.size(), reinterpret_cast<const UniChar*>(name.data()));
    }
    SInt8 PermissionOf(SInt16 inNumber) const {
        FSForkInfo info = {};
        EXPECT_EQ(noErr, FSGetForkCBInfo(inNumber, 0, nullptr, nullptr, &info, nullptr, nullptr));
        return info.permissions;
    }
};
INSTANTIATE_TEST_SUITE_P(Worlds, ForkOpenings, support::BothWorlds(), support::NameOfWorld);

constexpr Which kBoth[] = {Which::kData, Which::kResource};

TEST_P(ForkOpenings, OneWriterAndAnyReaders) {
    for (const Which fork : kBoth) {
        for (const SInt8 permission : {fsWrPerm, fsRdWrPerm}) {
            const Opened reader(mRef, fork, fsRdPerm);
            const Opened writer(mRef, fork, permission);
            for (const SInt8 other : {fsWrPerm, fsRdWrPerm, fsRdWrShPerm})
                EXPECT_EQ(opWrErr, OpeningOf(fork, other)) << int{other};
            EXPECT_EQ(noErr, OpeningOf(fork, fsRdPerm));
            const Opened current(mRef, fork, fsCurPerm);
            EXPECT_EQ(fsRdPerm, PermissionOf(current));
        }
        const Opened current(mRef, fork, fsCurPerm);
        EXPECT_EQ(fsRdWrPerm, PermissionOf(current)) << "once the other is closed";
    }
}

TEST_P(ForkOpenings, WritersThatShare) {
    for (const Which fork : kBoth) {
        const Opened one(mRef, fork, fsRdWrShPerm);
        const Opened other(mRef, fork, fsRdWrShPerm);
        EXPECT_EQ(opWrErr, OpeningOf(fork, fsRdWrPerm));
        EXPECT_EQ(opWrErr, OpeningOf(fork, fsWrPerm));
        EXPECT_EQ(noErr, OpeningOf(fork, fsRdPerm));
        EXPECT_EQ(noErr, Write(one, fsFromStart, 0, "from one"));
        EXPECT_EQ("from one", Whole(other));
        EXPECT_EQ(noErr, Write(other, fsFromLEOF, 0, ", and other"));
        EXPECT_EQ("from one, and other", Whole(one));
        EXPECT_EQ(8, MarkOf(other) - 11) << "each has its own mark";
    }
}

TEST_P(ForkOpenings, TheTwoForksAreApart) {
    const Opened data(mRef, Which::kData);
    const Opened resource(mRef, Which::kResource);
    EXPECT_EQ(noErr, Write(data, fsFromStart, 0, "data"));
    EXPECT_EQ(noErr, Write(resource, fsFromStart, 0, "resource"));
    EXPECT_EQ("datadata", Whole(data)) << "over the first half of what was there";
    EXPECT_EQ("resource", Whole(resource));
}

TEST_P(ForkOpenings, ItIsTheFileThatCounts) {
    ASSERT_EQ(0, FileWorld::MakeHardLink(mPath, mFolder / "other"));
    const FSRef other = RefOf(mFolder / "other");
    for (const Which fork : kBoth) {
        const Opened writer(mRef, fork);
        SInt16 number = 0;
        EXPECT_EQ(opWrErr, OpenFork(other, fork, fsRdWrPerm, number));
    }
    FileWorld::Rename(mPath, mFolder / "renamed");
    const FSRef renamed = RefOf(mFolder / "renamed");
    for (const Which fork : kBoth) {
        const Opened writer(renamed, fork);
        SInt16 number = 0;
        EXPECT_EQ(opWrErr, OpenFork(other, fork, fsRdWrPerm, number));
    }
}

TEST_P(ForkOpenings, OthersLocksCount) {
    Descriptor other;
    ASSERT_EQ(0, OpenFile(mPath.c_str(), O_RDWR, other));
    ASSERT_EQ(0, Calls().flock(other.Number(), LOCK_EX));
    EXPECT_EQ(opWrErr, OpeningOf(Which::kData, fsRdWrPerm));
    EXPECT_EQ(opWrErr, OpeningOf(Which::kData, fsRdWrShPerm));
    EXPECT_EQ(noErr, OpeningOf(Which::kData, fsRdPerm));
    EXPECT_EQ(noErr, OpeningOf(Which::kData, fsCurPerm));
    EXPECT_EQ(noErr, OpeningOf(Which::kResource, fsRdWrPerm));
    ASSERT_EQ(0, Calls().flock(other.Number(), LOCK_SH));
    EXPECT_EQ(opWrErr, OpeningOf(Which::kData, fsRdWrPerm));
    EXPECT_EQ(noErr, OpeningOf(Which::kData, fsRdWrShPerm));
    EXPECT_EQ(noErr, OpeningOf(Which::kData, fsRdWrShPerm)) << "a failure leaves nothing in use";
}

TEST_P(ForkOpenings, OthersSeeOurLocks) {
    Descriptor other;
    ASSERT_EQ(0, OpenFile(mPath.c_str(), O_RDWR, other));
    const auto lockByte = [&other](short inType) {
        struct flock lock = {};
        lock.l_type = inType;
        lock.l_whence = SEEK_SET;
        lock.l_start = 0x7FFFFFFFFFFFFF00;
        lock.l_len = 1;
        return Calls().fcntl(other.Number(), F_OFD_SETLK, &lock) == 0 ? 0 : errno;
    };
    {
        const Opened data(mRef, Which::kData);
        EXPECT_NE(0, Calls().flock(other.Number(), LOCK_SH | LOCK_NB));
        EXPECT_EQ(0, lockByte(F_WRLCK)) << "the other fork's";
        EXPECT_EQ(0, lockByte(F_UNLCK));
        const Opened resource(mRef, Which::kResource);
        EXPECT_EQ(EAGAIN, lockByte(F_RDLCK));
    }
    {
        const Opened data(mRef, Which::kData, fsRdWrShPerm);
        const Opened resource(mRef, Which::kResource, fsRdWrShPerm);
        EXPECT_EQ(0, Calls().flock(other.Number(), LOCK_SH | LOCK_NB));
        EXPECT_NE(0, Calls().flock(other.Number(), LOCK_EX | LOCK_NB));
        EXPECT_EQ(EAGAIN, lockByte(F_WRLCK));
        EXPECT_EQ(0, lockByte(F_RDLCK));
    }
    EXPECT_EQ(0, Calls().flock(other.Number(), LOCK_UN));
    ASSERT_EQ(0, lockByte(F_WRLCK));
    EXPECT_EQ(opWrErr, OpeningOf(Which::kResource, fsRdWrPerm));
    EXPECT_EQ(opWrErr, OpeningOf(Which::kResource, fsRdWrShPerm));
    EXPECT_EQ(noErr, OpeningOf(Which::kResource, fsRdPerm));
    EXPECT_EQ(noErr, OpeningOf(Which::kData, fsRdWrPerm));
    EXPECT_EQ(0, lockByte(F_UNLCK));
    EXPECT_EQ(noErr, OpeningOf(Which::kResource, fsRdWrPerm));
}

// Some file systems have no locks.
TEST_P(ForkOpenings, WithoutLocks) {
    const SystemCalls saved = Calls();
    CallsForTesting().flock = [](int, int) { return errno = ENOLCK, -1; };
    CallsForTesting().fcntl = [](int, int, struct flock*) { return errno = EINVAL, -1; };
    for (const Which fork : kBoth) {
        const Opened writer(mRef, fork);
        EXPECT_EQ(noErr, Write(writer, fsFromStart, 0, "text"));
        EXPECT_EQ(opWrErr, OpeningOf(fork, fsRdWrPerm)) << "within the process";
    }
    CallsForTesting() = saved;
}

TEST_P(ForkOpenings, LockedFiles) {
    Lock(true);
    for (const Which fork : kBoth) {
        for (const SInt8 permission : {fsWrPerm, fsRdWrPerm, fsRdWrShPerm})
            EXPECT_EQ(fLckdErr, OpeningOf(fork, permission));
        EXPECT_EQ(noErr, OpeningOf(fork, fsRdPerm));
        const Opened current(mRef, fork, fsCurPerm);
        EXPECT_EQ(wrPermErr, Write(current, fsFromStart, 0, "x"));
        EXPECT_EQ(fBsyErr, Delete(fork));
    }
    EXPECT_EQ(fLckdErr, Delete(Which::kData));
    EXPECT_EQ(fLckdErr, Delete(Which::kResource));
    Lock(false);
    EXPECT_EQ(noErr, OpeningOf(Which::kData, fsRdWrPerm));
    const Opened open(mRef, Which::kData);
    Lock(true);
    EXPECT_EQ(noErr, Write(open, fsFromStart, 0, "as it was opened"));
    Lock(false);
}

TEST_P(ForkOpenings, PermissionsOfTheFile) {
    MakeFork("fork");
    const FileWorld::OrdinaryUser user(mFolder);
    if (geteuid() == 0) GTEST_SKIP() << "needs an ordinary user";
    const std::string path = mFolder.MakeFile("own", "the data");
    const FSRef file = RefOf(path);
    const auto opening = [&file](Which inFork, SInt8 inPermission) {
        SInt16 number = 0;
        const OSErr error = OpenFork(file, inFork, inPermission, number);
        if (error == noErr) {
            EXPECT_EQ(noErr, FSCloseFork(number));
        }
        return error;
    };
    FileWorld::SetMode(path, 0400);
    for (const Which fork : kBoth) {
        EXPECT_EQ(afpAccessDenied, opening(fork, fsRdWrPerm));
        EXPECT_EQ(afpAccessDenied, opening(fork, fsWrPerm));
        EXPECT_EQ(noErr, opening(fork, fsRdPerm));
        EXPECT_EQ(noErr, opening(fork, fsCurPerm));
    }
    FileWorld::SetMode(path, 0200);
    EXPECT_EQ(afpAccessDenied, opening(Which::kData, fsRdPerm));
    EXPECT_EQ(afpAccessDenied, opening(Which::kData, fsRdWrPerm));
    EXPECT_EQ(afpAccessDenied, opening(Which::kData, fsCurPerm));
    const Opened writer(file, Which::kData, fsWrPerm);
    EXPECT_EQ(noErr, Write(writer, fsFromStart, 0, "THE"));
    EXPECT_EQ("-5000 ", Read(writer, fsFromStart, 0, 3));
    EXPECT_EQ(8, SizeOf(writer));
}

TEST_P(ForkOpenings, VolumesThatAreReadOnly) {
    if (!mFolder.MayMount()) GTEST_SKIP() << "may not mount";
    mFolder.MakeFolder("volume");
    ASSERT_EQ(0, mFolder.MountVolume(mFolder / "volume"));
    const std::string path = mFolder.MakeFile("volume/a");
    const FSRef file = RefOf(path);
    ASSERT_EQ(0, mFolder.ForbidWriting(mFolder / "volume"));
    for (const Which fork : kBoth) {
        SInt16 number = 0;
        EXPECT_EQ(vLckdErr, OpenFork(file, fork, fsRdWrPerm, number));
        const Opened current(file, fork, fsCurPerm);
        EXPECT_EQ(wrPermErr, Write(current, fsFromStart, 0, "x"));
    }
    const std::u16string_view name = NameOf(Which::kResource);
    EXPECT_EQ(vLckdErr, FSCreateFork(&file, name.size(), reinterpret_cast<const UniChar*>(name.data())));
    ASSERT_EQ(0, mFolder.Unmount(mFolder / "volume"));
}

TEST_P(ForkOpenings, OtherPermissions) {
    for (const int permission : {-1, 5, 0x10, 0x20, 127})
        EXPECT_EQ(paramErr, OpeningOf(Which::kData, static_cast<SInt8>(permission)));
}

TEST_P(ForkOpenings, ItemsWithoutForks) {
    const FSRef folder = RefOf(mFolder.Path());
    const std::string path = mFolder.MakeLink("file", "link");
    FSRef link = {};
    ASSERT_EQ(noErr, FSPathMakeRefWithOptions(reinterpret_cast<const UInt8*>(path.c_str()),
                                              kFSPathMakeRefDoNotFollowLeafSymlink, &link, nullptr));
    const FSRef pipe = RefOf(mFolder.MakePipe("pipe"));
    const FSRef device = RefOf("/dev/null");
    const std::pair<const FSRef*, OSErr> items[] = {{&folder, notAFileErr},
                                                    {&link, errFSForkNotFound},
                                                    {&pipe, errFSForkNotFound},
                                                    {&device, errFSForkNotFound}};
    for (const auto& [item, expected] : items) {
        for (const Which fork : kBoth) {
            const std::u16string_view name = NameOf(fork);
            const auto* const units = reinterpret_cast<const UniChar*>(name.data());
            SInt16 number = 0;
            for (const SInt8 permission : {fsCurPerm, fsRdPerm, fsWrPerm, fsRdWrPerm, fsRdWrShPerm})
                EXPECT_EQ(expected, OpenFork(*item, fork, permission, number)) << int{permission};
            EXPECT_EQ(expected, FSCreateFork(item, name.size(), units));
            EXPECT_EQ(expected, FSDeleteFork(item, name.size(), units));
        }
        CatPositionRec position = {};
        EXPECT_EQ(expected, FSIterateForks(item, &position, nullptr, nullptr, nullptr));
    }
    FileWorld::Remove(mPath);
    EXPECT_EQ(fnfErr, OpeningOf(Which::kData, fsRdPerm));
    EXPECT_EQ(fnfErr, OpeningOf(Which::kResource, fsRdWrPerm));
}

// What takes the file's place between the look and the opening is not waited for.
TEST_P(ForkOpenings, APipeThatComesMeanwhile) {
    static FileWorld* sFolder;
    static SystemCalls sReal;
    sFolder = &mFolder;
    for (const SInt8 permission : {fsRdPerm, fsRdWrPerm}) {
        mFolder.MakeFile("file", "data");
        const FSRef file = RefOf(mPath);
        sReal = Calls();
        CallsForTesting().openat = [](int inFolder, const char* inPath, int inFlags, mode_t inMode) {
            if ((inFlags & O_PATH) == 0 && std::string_view(inPath).ends_with("/file")) {
                CallsForTesting() = sReal;
                FileWorld::Remove(*sFolder / "file");
                sFolder->MakePipe("file");
            }
            return sReal.openat(inFolder, inPath, inFlags, inMode);
        };
        SInt16 number = 0;
        EXPECT_EQ(fnfErr, OpenFork(file, Which::kData, permission, number));
        CallsForTesting() = sReal;
        FileWorld::Remove(mPath);
    }
}

TEST_P(ForkOpenings, AreClosedWhenAProgramIsStarted) {
    if (mFolder.Memory() != nullptr) return;  // the kernel's alone
    const Opened data(mRef, Which::kData);
    const Opened resource(mRef, Which::kResource);
    EXPECT_EQ(noErr, Write(resource, fsFromStart, 0, "fork"));
    EXPECT_EQ(4, SizeOf(resource));
    int count = 0;
    for (int descriptor = 3; descriptor < 100; ++descriptor) {
        const int flags = fcntl(descriptor, F_GETFD);
        struct stat status = {};
        if (flags < 0 || fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) continue;
        const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
        char target[4096] = {};
        if (readlink(link.c_str(), target, sizeof target - 1) < 0) continue;
        if (std::string_view(target).find(mFolder.Path()) == std::string_view::npos) continue;
        EXPECT_NE(0, flags & FD_CLOEXEC) << target;
        ++count;
    }
    EXPECT_EQ(3, count) << "the data fork, the file for its lock, the companion";
}

TEST_P(ForkOpenings, AreTellableByItem) {
    struct statx status = FileWorld::StatusOf(mPath);
    toolbox::os::ItemStatus item;
    ASSERT_EQ(0, GetPathStatus(mPath.c_str(), item));
    EXPECT_EQ(status.stx_ino, item.identity.inode);
    EXPECT_FALSE(FindForksInUse(item.identity).isDataOpen);
    {
        const Opened data(mRef, Which::kData, fsRdPerm);
        EXPECT_TRUE(FindForksInUse(item.identity).isDataOpen);
        EXPECT_FALSE(FindForksInUse(item.identity).isResourceOpen);
    }
    const Opened resource(mRef, Which::kResource, fsRdPerm);
    EXPECT_FALSE(FindForksInUse(item.identity).isDataOpen);
    EXPECT_TRUE(FindForksInUse(item.identity).isResourceOpen);
}

}  // namespace
