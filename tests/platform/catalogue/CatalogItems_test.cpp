#include "Failures.h"
#include "ItemChanges.h"
#include "os/Descriptor.h"
#include "os/SystemCalls_test_access.h"
#include "support/CountedCalls.h"
#include "support/FailingCalls.h"
#include "support/FailingNew.h"
#include "support/FileWorld.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <toolbox/CatalogItems.h>

#include <cstring>
#include <string>

namespace {

using namespace test_files;
using support::FileWorld;

class CatalogItems : public ItemChangesTest<support::FileWorldTest> {
  protected:
    ~CatalogItems() override { EXPECT_EQ(mDescriptors, OpenDescriptorCount()); }

    FSRef mHere = RefOf(mFolder.Path());

  private:
    std::size_t mDescriptors = OpenDescriptorCount();
};
INSTANTIATE_TEST_SUITE_P(Worlds, CatalogItems, support::BothWorlds(), support::NameOfWorld);

FSRef UntouchedRef() {
    FSRef ref;
    std::memset(&ref, 0x5A, sizeof ref);
    return ref;
}
bool IsUntouched(const FSRef& inRef) {
    const FSRef untouched = UntouchedRef();
    return std::memcmp(&untouched, &inRef, sizeof inRef) == 0;
}

TEST_P(CatalogItems, MakeFile) {
    FSRef ref = {};
    FSSpec spec = {};
    FSCatalogInfo info = {};
    info.permissions.mode = 0640;
    ASSERT_EQ(noErr,
              FSCreateFileUnicode(&mHere, 3, UnitsOf(u"a/b"), kFSCatInfoPermissions, &info, &ref, &spec));
    EXPECT_EQ(mFolder / "a:b", PathOf(ref));
    EXPECT_EQ("a/b", NameOf(spec));
    EXPECT_EQ(mFolder / "a:b", PathOfSpec(spec));
    EXPECT_EQ(S_IFREG | 0640, FileWorld::StatusOf(mFolder / "a:b").stx_mode);
    EXPECT_EQ("", FileWorld::Contents(mFolder / "a:b"));
    EXPECT_EQ(noErr, MakeFile(mHere, u"plain"));
}

TEST_P(CatalogItems, MakeFolder) {
    FSRef ref = {};
    FSSpec spec = {};
    UInt32 id = 0;
    ASSERT_EQ(noErr,
              FSCreateDirectoryUnicode(&mHere, 1, UnitsOf(u"f"), kFSCatInfoNone, nullptr, &ref, &spec, &id));
    EXPECT_EQ(mFolder / "f", PathOf(ref));
    EXPECT_EQ(InfoOf(mFolder / "f", kFSCatInfoNodeID).nodeID, id);
    ASSERT_EQ(noErr, MakeFile(ref, u"inner"));
    EXPECT_EQ("f(inner=, ), ", Picture());
    EXPECT_EQ(dupFNErr, MakeFolder(mHere, u"f"));
}

TEST_P(CatalogItems, NewNamesThatAreTaken) {
    mFolder.MakeFile("Report", "old");
    mFolder.MakeFile("caf\xC3\xA9", "old");
    mFolder.MakeLink("nowhere", "link");
    FSRef ref = UntouchedRef();
    for (const char16_t* const name :
         {u"Report", u"report", u"REPORT", u"cafe\u0301", u"CAF\u00C9", u"link", u"LINK"}) {
        EXPECT_EQ(dupFNErr, MakeFile(mHere, name, &ref));
        EXPECT_EQ(dupFNErr, MakeFolder(mHere, name, &ref));
    }
    EXPECT_TRUE(IsUntouched(ref));
    EXPECT_EQ(3U, FileWorld::NamesIn(mFolder.Path()).size());
    EXPECT_EQ("old", FileWorld::Contents(mFolder / "Report"));
}

TEST_P(CatalogItems, NamesThatCannotBe) {
    mFolder.MakeFile("file");
    const FSRef file = RefOf(mFolder / "file");
    const std::u16string longest(255, u'n');
    const std::u16string wide(86, u'\u4E2D');  // 258 bytes on disk
    const auto makeFile = [this](std::u16string_view inName) { return MakeFile(mHere, inName); };
    const auto rename = [&file](std::u16string_view inName) { return Rename(file, inName); };
    for (const std::u16string& name : {longest + u'n', wide, std::u16string(u"."), std::u16string(u".."),
                                       std::u16string(u"a\0b", 3), std::u16string(u"\xD800")}) {
        EXPECT_EQ(bdNamErr, makeFile(name));
        EXPECT_EQ(bdNamErr, MakeFolder(mHere, name));
        EXPECT_EQ(bdNamErr, rename(name));
    }
    EXPECT_EQ(errFSMissingName, makeFile({}));
    EXPECT_EQ(errFSMissingName, rename({}));
    EXPECT_EQ(errFSMissingName, FSRenameUnicode(&file, 3, nullptr, 0, nullptr));
    EXPECT_EQ("file=contents, ", Picture());
    EXPECT_EQ(noErr, makeFile(longest));
    EXPECT_EQ(noErr, rename(wide.substr(0, 85)));
}

TEST_P(CatalogItems, NewInformationThatCannotBeSet) {
    FSRef ref = UntouchedRef();
    const FSCatalogInfo info = {};
    const auto makeFile = [&](FSCatalogInfoBitmap inWhich, const FSCatalogInfo* inInfo) {
        return FSCreateFileUnicode(&mHere, 1, UnitsOf(u"a"), inWhich, inInfo, &ref, nullptr);
    };
    const auto makeFolder = [&](FSCatalogInfoBitmap inWhich, const FSCatalogInfo* inInfo) {
        return FSCreateDirectoryUnicode(&mHere, 1, UnitsOf(u"a"), inWhich, inInfo, &ref, nullptr, nullptr);
    };
    const CountedCalls calls;
    EXPECT_EQ(errFSMissingCatInfo, makeFile(kFSCatInfoPermissions, nullptr));
    EXPECT_EQ(errFSMissingCatInfo, makeFolder(kFSCatInfoPermissions, nullptr));
    EXPECT_EQ(errFSBadInfoBitmap, makeFile(kFSCatInfoNodeID, &info));
    EXPECT_EQ(errFSBadInfoBitmap, makeFolder(kFSCatInfoNodeID, &info));
    EXPECT_EQ("none", calls.Made());
    EXPECT_TRUE(IsUntouched(ref));
}

TEST_P(CatalogItems, BadArguments) {
    const FSRef file = RefOf(mFolder.MakeFile("file"));
    const FSRef none = {};
    FSRef gone = {};
    ASSERT_EQ(noErr, MakeFolder(mHere, u"gone", &gone));
    ASSERT_EQ(noErr, FSDeleteObject(&gone));
    EXPECT_EQ(paramErr, FSCreateFileUnicode(nullptr, 1, UnitsOf(u"a"), 0, nullptr, nullptr, nullptr));
    EXPECT_EQ(paramErr, FSDeleteObject(nullptr));
    EXPECT_EQ(paramErr, FSMoveObject(nullptr, &mHere, nullptr));
    EXPECT_EQ(paramErr, FSMoveObject(&file, nullptr, nullptr));
    EXPECT_EQ(paramErr, FSRenameUnicode(nullptr, 1, UnitsOf(u"a"), 0, nullptr));
    EXPECT_EQ(errFSBadFSRef, MakeFile(none, u"a"));
    EXPECT_EQ(errFSBadFSRef, FSDeleteObject(&none));
    EXPECT_EQ(errFSBadFSRef, Move(none, mHere));
    EXPECT_EQ(errFSBadFSRef, Move(file, none));
    EXPECT_EQ(errFSBadFSRef, Rename(none, u"a"));
    EXPECT_EQ(errFSNotAFolder, MakeFile(file, u"a"));
    EXPECT_EQ(errFSNotAFolder, Move(file, file));
    EXPECT_EQ(dirNFErr, MakeFile(gone, u"a"));
    EXPECT_EQ(fnfErr, FSDeleteObject(&gone));
    EXPECT_EQ(fnfErr, Move(gone, mHere));
    EXPECT_EQ(dirNFErr, Move(file, gone));
    EXPECT_EQ(fnfErr, Rename(gone, u"a"));
    EXPECT_EQ("file=contents, ", Picture());
}

TEST_P(CatalogItems, Delete) {
    mFolder.MakeLink(mFolder.MakeFile("target", "of the target"), "link");
    mFolder.MakePipe("pipe");
    const FSRef file = RefOf(MakeWithCompanion("", "a"));
    const FSRef folder = RefOf(mFolder.MakeFolder("sub"));
    const FSRef pipe = RefOf(mFolder / "pipe");
    mFolder.MakeFile("._sub", CompanionBytes("of sub"));
    mFolder.MakeFile("sub/inner");
    EXPECT_EQ(fBsyErr, FSDeleteObject(&folder));
    EXPECT_TRUE(FileWorld::Exists(mFolder / "._sub"));
    FileWorld::Remove(mFolder / "sub/inner");
    EXPECT_EQ(noErr, FSDeleteObject(&folder));
    EXPECT_EQ(noErr, FSDeleteObject(&file));
    EXPECT_EQ(noErr, FSDeleteObject(&pipe));
    EXPECT_EQ(fnfErr, FSDeleteObject(&file));
    EXPECT_EQ("link=of the target, target=of the target, ", Picture());
}

TEST_P(CatalogItems, DeleteLeavesWhatIsNoCompanion) {
    const FSRef file = RefOf(mFolder.MakeFile("a"));
    mFolder.MakeFile("._a", "an ordinary file");
    EXPECT_EQ(noErr, FSDeleteObject(&file));
    EXPECT_EQ("._a=an ordinary file, ", Picture());
}

TEST_P(CatalogItems, DeleteOneNameOfSeveral) {
    const std::string path = mFolder.MakeFile("a", "of a");
    ASSERT_EQ(0, FileWorld::MakeHardLink(path, mFolder / "b"));
    const FSRef ref = RefOf(path);
    const FSRef other = RefOf(mFolder / "b");
    EXPECT_EQ(noErr, FSDeleteObject(&ref)) << "whatever was met last";
    EXPECT_EQ("b=of a, ", Picture());
    EXPECT_EQ(fnfErr, FSDeleteObject(&ref)) << "and not the last one";
    EXPECT_EQ(noErr, FSDeleteObject(&other));
    EXPECT_EQ("", Picture());
}

TEST_P(CatalogItems, DeleteAFolderWithOrphansOrItsOwnCompanion) {
    const FSRef folder = RefOf(mFolder.MakeFolder("sub"));
    mFolder.MakeFile("sub/._orphan", CompanionBytes("of nobody"));
    EXPECT_EQ(fBsyErr, FSDeleteObject(&folder));
    mFolder.MakeFile("sub/._.", CompanionBytes("of what was a volume"));
    EXPECT_EQ(fBsyErr, FSDeleteObject(&folder));
    EXPECT_EQ("sub(._.=#of what was a volume, ._orphan=#of nobody, ), ", Picture());
    FileWorld::Remove(mFolder / "sub/._orphan");
    EXPECT_EQ(noErr, FSDeleteObject(&folder));
    EXPECT_EQ("", Picture());
    const FSRef other = RefOf(mFolder.MakeFolder("other"));
    mFolder.MakeFile("other/._.", "an ordinary file");
    EXPECT_EQ(fBsyErr, FSDeleteObject(&other));
    EXPECT_EQ("other(._.=an ordinary file, ), ", Picture());
}

TEST_P(CatalogItems, RootsStay) {
    const FSRef root = RefOf("/");
    const FSRef folder = RefOf(mFolder.MakeFolder("sub"));
    EXPECT_EQ(paramErr, FSDeleteObject(&root));
    EXPECT_EQ(paramErr, Move(root, folder));
    EXPECT_EQ(paramErr, Rename(root, u"a"));
    EXPECT_EQ(dirNFErr, HDelete(0, 0, PascalName(""))) << "nobody has set a default folder";
    EXPECT_EQ(paramErr, HDelete(0, fsRtDirID, nullptr));
    EXPECT_EQ(paramErr, HDelete(-1, 0, nullptr));
    EXPECT_EQ(paramErr, HDelete(-1, fsRtDirID, nullptr));
    EXPECT_EQ(paramErr, HDelete(-1, fsRtParID, PascalName("/")));
}

TEST_P(CatalogItems, WhatIsMounted) {
    if (!mFolder.MayMount()) GTEST_SKIP() << "this machine lets nobody mount";
    const std::string point = mFolder.MakeFolder("point");
    const FSRef file = RefOf(MakeWithCompanion("", "a"));
    ASSERT_EQ(0, mFolder.MountVolume(point));
    const FSRef root = RefOf(point);
    EXPECT_EQ(paramErr, FSDeleteObject(&root));
    EXPECT_EQ(paramErr, Rename(root, u"b"));
    EXPECT_EQ(paramErr, Move(root, mHere));
    EXPECT_EQ(paramErr, HDelete(Here("point").vRefNum, Here("point").parID, PascalName("point")));
    {
        const CountedCalls calls;
        EXPECT_EQ(diffVolErr, Move(file, root));
        EXPECT_EQ(std::string::npos, calls.Made().find("linkat")) << "it is known before";
    }
    EXPECT_EQ("._a=#fork of a, a=of a, point(), ", Picture());
    ASSERT_EQ(noErr, MakeFile(root, u"inner"));
    ASSERT_EQ(0, mFolder.ForbidWriting(point));
    const FSRef inner = RefOf(point + "/inner");
    EXPECT_EQ(vLckdErr, MakeFile(root, u"other"));
    EXPECT_EQ(vLckdErr, MakeFolder(root, u"other"));
    EXPECT_EQ(vLckdErr, Rename(inner, u"other"));
    EXPECT_EQ(vLckdErr, FSDeleteObject(&inner));
}

// A folder of this very volume that is at another place too: the device is one, and yet nothing can be moved.
TEST_P(CatalogItems, WhatIsMountedTwice) {
    if (!mFolder.MayMount()) GTEST_SKIP() << "this machine lets nobody mount";
    mFolder.MakeFolder("one/inner");
    const std::string point = mFolder.MakeFolder("two");
    const FSRef file = RefOf(MakeWithCompanion("", "a"));
    ASSERT_EQ(0, mFolder.MountFolder(mFolder / "one", point));
    EXPECT_EQ(diffVolErr, Move(file, RefOf(point + "/inner")));
    EXPECT_EQ("._a=#fork of a, a=of a, one(inner(), ), two(inner(), ), ", Picture());
}

// A file upon which another is mounted is no root folder; the system keeps it.
TEST_P(CatalogItems, AFileUponWhichAnotherIsMounted) {
    if (!mFolder.MayMount()) GTEST_SKIP() << "this machine lets nobody mount";
    MakeWithCompanion("", "a");
    ASSERT_EQ(0, mFolder.MountFolder(mFolder.MakeFile("b", "of b"), mFolder / "a"));
    mFolder.MakeFolder("sub");
    const FSRef file = RefOf(mFolder / "a");
    EXPECT_EQ(fBsyErr, FSDeleteObject(&file));
    EXPECT_EQ(fBsyErr, Rename(file, u"c"));
    EXPECT_EQ(fBsyErr, Move(file, RefOf(mFolder / "sub")));
    EXPECT_EQ("._a=#fork of a, a=of b, b=of b, sub(), ", Picture());
}

TEST_P(CatalogItems, ByVolumeFolderAndName) {
    const FSSpec here = Here("sub");
    SInt32 id = 0;
    ASSERT_EQ(noErr, DirCreate(here.vRefNum, here.parID, here.name, &id));
    EXPECT_EQ(InfoOf(mFolder / "sub", kFSCatInfoNodeID).nodeID, static_cast<UInt32>(id));
    EXPECT_EQ(dupFNErr, DirCreate(here.vRefNum, here.parID, PascalName("SUB"), &id));
    EXPECT_EQ(bdNamErr, DirCreate(here.vRefNum, here.parID, PascalName(""), &id));
    EXPECT_EQ(bdNamErr, DirCreate(here.vRefNum, here.parID, PascalName(std::string(32, 'n')), &id));
    EXPECT_EQ(paramErr, DirCreate(here.vRefNum, here.parID, nullptr, &id));
    EXPECT_EQ(paramErr, DirCreate(here.vRefNum, here.parID, here.name, nullptr));
    EXPECT_EQ(dirNFErr, DirCreate(here.vRefNum, 0x7FFFFFF0, here.name, &id));
    MakeWithCompanion("sub/", "a");
    EXPECT_EQ(fBsyErr, HDelete(here.vRefNum, here.parID, here.name));
    EXPECT_EQ(fnfErr, HDelete(here.vRefNum, id, PascalName("b")));
    EXPECT_EQ(noErr, HDelete(here.vRefNum, id, PascalName("A"))) << "the similar one";
    EXPECT_EQ("sub(), ", Picture());
    EXPECT_EQ(noErr, HDelete(here.vRefNum, id, nullptr)) << "the folder itself";
    EXPECT_EQ("", Picture());
    EXPECT_EQ(bdNamErr, HDelete(here.vRefNum, here.parID, PascalName(std::string(64, 'n'))));
    EXPECT_EQ(bdNamErr, HDelete(here.vRefNum, here.parID, PascalName(std::string(32, 'n'))));
}

TEST_P(CatalogItems, OfSimilarNamesTheOneOfLowestBytes) {
    const FSSpec here = SpecOf(mFolder.Path() + "/.");
    const auto id = static_cast<SInt32>(InfoOf(mFolder.Path(), kFSCatInfoNodeID).nodeID);
    for (const char* const name : {"ReadMe", "readme", "README", "Readme", "rEADME", "READme"})
        mFolder.MakeFile(name, "");
    for (const char* const rest :
         {"READme, ReadMe, Readme, rEADME, readme, ", "ReadMe, Readme, rEADME, readme, "}) {
        EXPECT_EQ(noErr, HDelete(here.vRefNum, id, PascalName("rEadmE")));
        std::string names;
        for (const std::string& name : FileWorld::NamesIn(mFolder.Path()))
            names += name + ", ";
        EXPECT_EQ(rest, names);
    }
}

// The folder, what may be beside the new item, that, and its name are looked at once each, however deep it
// lies.
TEST_P(CatalogItems, LooksForANewFile) {
    const FSRef folder = RefOf(mFolder.MakeFolder("1/2/3/4"));
    const CountedCalls calls;
    EXPECT_EQ(noErr, MakeFile(folder, u"a"));
    EXPECT_NE(std::string::npos, calls.Made().find("statx 4")) << calls.Made();
}

// Whoever has the name by now stays, and who had it is found wherever it is.
TEST_P(CatalogItems, AnotherThatHasItsName) {
    const FSRef deleted = RefOf(mFolder.MakeFile("a", "old a"));
    const FSRef renamed = RefOf(mFolder.MakeFile("b", "old b"));
    const FSRef gone = RefOf(mFolder.MakeFile("c", "old c"));
    for (const std::string name : {"a", "b", "c"}) {
        FileWorld::Rename(mFolder / name, mFolder / ("was " + name));
        mFolder.MakeFile(name, "new");
    }
    FileWorld::Remove(mFolder / "was c");
    EXPECT_EQ(noErr, FSDeleteObject(&deleted));
    EXPECT_EQ(noErr, Rename(renamed, u"d"));
    EXPECT_EQ(fnfErr, FSDeleteObject(&gone));
    EXPECT_EQ(fnfErr, Rename(gone, u"e"));
    EXPECT_EQ("a=new, b=new, c=new, d=old b, ", Picture());
}

TEST_P(CatalogItems, WhatIsOnlyOpen) {
    const std::string path = mFolder.MakeFile("a");
    toolbox::os::Descriptor file;
    ASSERT_EQ(0, toolbox::os::OpenFile(path.c_str(), O_RDONLY, file));
    FileWorld::Remove(path);
    const FSRef ref = RefOf("/proc/self/fd/" + std::to_string(file.Number()));
    EXPECT_EQ(fnfErr, FSDeleteObject(&ref)) << "it has no name";
    EXPECT_EQ(fnfErr, Rename(ref, u"b"));
}

// The folder, the item in it, and what may be beside it before and after; however deep it lies.
TEST_P(CatalogItems, LooksAtWhatIsDeleted) {
    mFolder.MakeFolder("1/2/3/4");
    const FSRef file = RefOf(mFolder.MakeFile("1/2/3/4/file"));
    const CountedCalls calls;
    EXPECT_EQ(noErr, FSDeleteObject(&file));
    EXPECT_EQ("openat 3, close 1, statx 2, unlinkat 1", calls.Made());
}

// Another program puts its file in the place of the new one.
TEST_P(CatalogItems, WhatTookThePlaceOfANewItemStays) {
    static const FileWorld* sFolder;
    static toolbox::os::SystemCalls sReal;
    sFolder = &mFolder;
    sReal = toolbox::os::Calls();
    toolbox::os::CallsForTesting().openat = [](int inFolder, const char* inPath, int inFlags, mode_t inMode) {
        const int descriptor = sReal.openat(inFolder, inPath, inFlags, inMode);
        if ((inFlags & O_EXCL) == 0) return descriptor;
        toolbox::os::CallsForTesting() = sReal;
        FileWorld::Rename(sFolder->MakeFile("another's", "theirs"), *sFolder / "a");
        return descriptor;
    };
    FSRef ref = UntouchedRef();
    EXPECT_EQ(fnfErr, MakeFile(mHere, u"a", &ref));
    EXPECT_TRUE(IsUntouched(ref));
    EXPECT_EQ("a=theirs, ", Picture());
}

TEST_P(CatalogItems, DeleteByANameThatTellsTheNode) {
    const FSSpec spec = SpecOf(MakeWithCompanion("", std::string(60, 'n') + ".txt"));
    EXPECT_EQ(noErr, HDelete(spec.vRefNum, spec.parID, spec.name));
    EXPECT_EQ("", Picture());
}

// Its inode has passed to another file, whose name begins alike.
TEST_P(CatalogItems, ANameThatTellsTheNodeOfWhatIsGone) {
    const FSSpec spec = SpecOf(mFolder.MakeFile(std::string(60, 'n') + ".txt", "of another"));
    static toolbox::os::SystemCalls sReal;
    sReal = toolbox::os::Calls();
    toolbox::os::CallsForTesting().statx = [](int inFolder, const char* inPath, int inFlags, unsigned inMask,
                                              struct statx* outStatus) {
        const int result = sReal.statx(inFolder, inPath, inFlags, inMask, outStatus);
        if (S_ISREG(outStatus->stx_mode)) outStatus->stx_btime.tv_sec += 5;
        return result;
    };
    const OSErr error = HDelete(spec.vRefNum, spec.parID, spec.name);
    toolbox::os::CallsForTesting() = sReal;
    EXPECT_EQ(fnfErr, error);
    EXPECT_EQ(1U, FileWorld::NamesIn(mFolder.Path()).size());
}

TEST_P(CatalogItems, ANameThatTellsTheNodeOfTwoNames) {
    const std::string name(60, 'n');
    const FSSpec spec = SpecOf(mFolder.MakeFile(name + "1.txt"));
    ASSERT_EQ(0, FileWorld::MakeHardLink(mFolder / (name + "1.txt"), mFolder / (name + "2.txt")));
    EXPECT_EQ(fnfErr, HDelete(spec.vRefNum, spec.parID, spec.name)) << "which?";
    EXPECT_EQ(2U, FileWorld::NamesIn(mFolder.Path()).size());
    FileWorld::Remove(mFolder / (name + "2.txt"));
    EXPECT_EQ(noErr, HDelete(spec.vRefNum, spec.parID, spec.name));
}

TEST_P(CatalogItems, DeleteALinkAndNotItsTarget) {
    mFolder.MakeFile("target", "of the target");
    mFolder.MakeFolder("folder");
    mFolder.MakeLink("target", "link");
    mFolder.MakeLink("folder", "to folder");
    mFolder.MakeLink("nowhere", "dangling");
    for (const char* const name : {"link", "to folder", "dangling"}) {
        const FSSpec spec = Here(name);
        EXPECT_EQ(noErr, HDelete(spec.vRefNum, spec.parID, spec.name)) << name;
    }
    EXPECT_EQ("folder(), target=of the target, ", Picture());
}

// Similar names are not to be seen there; the same one the system refuses.
TEST_P(CatalogItems, InAFolderThatMayNotBeListed) {
    const FileWorld::OrdinaryUser user(mFolder);
    FileWorld::SetMode(mFolder.Path(), 0700);
    const FSRef folder = RefOf(mFolder.MakeFolder("sub"));
    FileWorld::SetMode(mFolder / "sub", 0300);
    EXPECT_EQ(noErr, MakeFile(folder, u"a"));
    EXPECT_EQ(dupFNErr, MakeFile(folder, u"a"));
    EXPECT_EQ(noErr, MakeFolder(folder, u"A"));
    FileWorld::SetMode(mFolder / "sub", 0700);
    EXPECT_EQ("sub(A(), a=, ), ", Picture());
}

TEST_P(CatalogItems, WhatOthersMayNot) {
    const FSRef file = RefOf(MakeWithCompanion("", "a"));
    const FSRef folder = RefOf(mFolder.MakeFolder("sub"));
    MakeWithCompanion("sub/", "b");
    const FSRef inner = RefOf(mFolder / "sub/b");
    FileWorld::SetMode(mFolder / "._a", 0);
    FileWorld::SetMode(mFolder / "sub", 0555);
    {
        const FileWorld::OrdinaryUser user(mFolder);
        FileWorld::SetMode(mFolder.Path(), 0700);
        EXPECT_EQ(afpAccessDenied, MakeFile(folder, u"c"));
        EXPECT_EQ(afpAccessDenied, MakeFolder(folder, u"c"));
        EXPECT_EQ(afpAccessDenied, FSDeleteObject(&inner));
        EXPECT_EQ(afpAccessDenied, Rename(inner, u"c"));
        EXPECT_EQ(afpAccessDenied, Move(inner, mHere));
        EXPECT_EQ(afpAccessDenied, Rename(file, u"c")) << "its companion is not to be read";
    }
    FileWorld::SetMode(mFolder / "._a", 0644);
    FileWorld::SetMode(mFolder / "sub", 0755);
    EXPECT_EQ("._a=#fork of a, a=of a, sub(._b=#fork of b, b=of b, ), ", Picture());
}

// What is made at last, or nothing.
TEST_P(CatalogItems, EveryCallFailsWhileAFileIsMade) {
    for (const auto& [code, status, extent] : FailuresIn(mFolder)) {
        for (int failing = 1;; ++failing) {
            FileWorld::RemoveAll(mFolder / "sub");
            const FSRef folder = RefOf(mFolder.MakeFolder("sub"));
            mFolder.MakeFile("sub/._a", CompanionBytes("of nobody"));
            FSRef ref = UntouchedRef();
            FSCatalogInfo info = {};
            info.permissions.mode = 0600;
            OSErr error = noErr;
            bool delivered = false;
            {
                const FailingCalls failure(failing, code, extent);
                error = FSCreateFileUnicode(&folder, 1, UnitsOf(u"a"), kFSCatInfoPermissions, &info, &ref,
                                            nullptr);
                delivered = failure.Delivered();
            }
            EXPECT_EQ(error != noErr, IsUntouched(ref)) << failing;
            EXPECT_TRUE(error == noErr || error == status) << failing << ' ' << error;
            const std::string picture = PictureOf(mFolder / "sub");
            const bool isMade = picture.find("a=, ") != std::string::npos;
            EXPECT_TRUE(isMade == (error == noErr) || extent == FailingCalls::kForever) << failing << picture;
            EXPECT_NE(std::string::npos, picture.find("=#of nobody, ")) << failing << picture;
            if (error != noErr && extent == FailingCalls::kOnce) {
                EXPECT_EQ("._a=#of nobody, ", picture) << failing << ": as before";
            }
            EXPECT_TRUE(!isMade || picture.find("._a") == std::string::npos) << failing << picture;
            if (!delivered) break;
            ASSERT_LT(failing, 100);
        }
    }
}

TEST_P(CatalogItems, EveryCallFailsWhileAnItemIsDeleted) {
    for (const auto& [code, status, extent] : FailuresIn(mFolder)) {
        for (int failing = 1;; ++failing) {
            FileWorld::RemoveAll(mFolder / "._a");
            const FSRef ref = RefOf(MakeWithCompanion("", "a"));
            OSErr error = noErr;
            bool delivered = false;
            {
                const FailingCalls failure(failing, code, extent);
                error = FSDeleteObject(&ref);
                delivered = failure.Delivered();
            }
            const std::string picture = Picture();
            if (error != noErr) {
                EXPECT_EQ(status, error) << failing;
                EXPECT_EQ("._a=#fork of a, a=of a, ", picture) << failing;
            } else {
                EXPECT_TRUE(picture.empty() || (delivered && picture == "._a=#fork of a, "))
                    << failing << picture;
            }
            if (!delivered) break;
            ASSERT_LT(failing, 100);
        }
    }
}

TEST_P(CatalogItems, MemoryFails) {
    MakeWithCompanion("", std::string(40, 'a'));
    const FSRef file = RefOf(mFolder / std::string(40, 'a'));
    const FSRef folder = RefOf(mFolder.MakeFolder("sub"));
    mFolder.MakeFile("sub/._" + std::string(50, 'b'), CompanionBytes("of nobody"));
    mFolder.MakeFile("sub/._" + std::string(40, 'a'), CompanionBytes("of nobody"));
    const std::u16string name(50, u'b');
    const std::u16string longer(60, u'c');
    const auto expectWholeOrNot = [&](auto inCall, auto inUndo) {
        const std::string before = Picture();
        for (int failing = 1;; ++failing) {
            OSErr error = noErr;
            bool delivered = false;
            {
                const FailingNew failure(failing);
                error = inCall();
                delivered = failure.Delivered();
            }
            if (!delivered) {
                EXPECT_EQ(noErr, error);
                break;
            }
            EXPECT_TRUE(error == memFullErr || error == noErr) << failing << ' ' << error;
            if (error == noErr) inUndo();
            EXPECT_EQ(before, Picture()) << failing;
        }
    };
    const auto none = [] {};
    expectWholeOrNot([&] { return Move(file, folder); }, none);
    EXPECT_EQ(noErr, Move(file, mHere));
    expectWholeOrNot([&] { return Rename(file, longer); }, none);
    expectWholeOrNot([&] { return MakeFile(folder, name); }, none);
    expectWholeOrNot([&] { return FSDeleteObject(&file); }, none);
}

}  // namespace
