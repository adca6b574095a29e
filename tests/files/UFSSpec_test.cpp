// What is done with the items of specifications.
#include "SpecTest.h"
#include "fakes/Frameworks.h"

#include <files/UFSSpec.h>
#include <toolbox/LaunchServices.h>

#include <cstdio>

namespace {

using namespace test_files;

class UFSSpecTest : public SpecTest {
  protected:
    static bool IsBundle(FSRef inRef) { return UFSSpec::IsBundle(inRef); }
    static void SetFinderInfo(UInt32 inID, const FileInfo& inInfo) {
        std::memcpy(fakes::ItemOf(inID).info.finderInfo, &inInfo, sizeof inInfo);
    }
    static FileInfo FinderInfoOf(UInt32 inID) {
        FileInfo info;
        std::memcpy(&info, fakes::ItemOf(inID).info.finderInfo, sizeof info);
        return info;
    }
    // "65646974 54455854" for instance: creator and type.
    static std::string CodesOf(const TFSSpec& inSpec) {
        unsigned long creator = 1;
        unsigned long type = 1;
        UFSSpec::GetCreatorAndType(inSpec, creator, type);
        return Hex(creator) + ' ' + Hex(type);
    }
    static std::string Hex(unsigned long inCode) {
        char text[20];
        (void)std::snprintf(text, sizeof text, "%lx", inCode);
        return text;
    }

    const TFSSpec mFileSpec{-1, kHere, String("file")};
    const TFSSpec mFolderSpec{-1, kFolder};
    const TFSSpec mNewSpec{-1, kHere, String("new")};
    const TFSSpec mLostSpec{-1, kMissing, String("new")};
    const Log mOfThese = Asked();
};

TEST_F(UFSSpecTest, GetCreatorAndType) {
    SetFinderInfo(kFile, {kText, kEditor, 0, {}, 0});
    EXPECT_EQ("65646974 54455854", CodesOf(mFileSpec));
    EXPECT_EQ("FSGetCatalogInfo(30, 2050)", Asked().back());
    EXPECT_EQ("4d414353 666f6c64", CodesOf(mFolderSpec));
    EXPECT_EQ(
        (Log{"PBMakeFSRefSync(-1, 40, )", "FSGetCatalogInfo(40, 2050)", "CFURLCreateFromFSRef(/here/folder)",
             "CFBundleCreate(/here/folder)", "CFRelease(/here/folder)"}),
        Asked());
    fakes::PutBundle("/here/folder", {{}, true, 0x4150504C, kEditor});
    EXPECT_EQ("65646974 4150504c", CodesOf(mFolderSpec));
    EXPECT_EQ((Log{"PBMakeFSRefSync(-1, 40, )", "FSGetCatalogInfo(40, 2050)",
                   "CFURLCreateFromFSRef(/here/folder)", "CFBundleCreate(/here/folder)",
                   "CFBundleGetPackageInfo()", "CFRelease(bundle)", "CFRelease(/here/folder)"}),
              Asked());
}

TEST_F(UFSSpecTest, GetCreatorAndTypeOfNothing) {
    unsigned long creator = 1;
    unsigned long type = 1;
    EXPECT_EQ(fnfErr, Thrown([&] { UFSSpec::GetCreatorAndType(mNewSpec, creator, type); }));
    EXPECT_TRUE(creator == 0 && type == 0);
    fakes::Refuse("FSGetCatalogInfo", ioErr);
    EXPECT_EQ(ioErr, Thrown([&] { UFSSpec::GetCreatorAndType(mFileSpec, creator, type); }));
}

TEST_F(UFSSpecTest, SetCreatorAndType) {
    SetFinderInfo(kFile, {1, 2, kHasCustomIcon, {}, 0});
    UFSSpec::SetCreatorAndType(mFileSpec, kEditor, kText);
    EXPECT_EQ("FSSetCatalogInfo(30, 2048)", Asked().back());
    EXPECT_EQ("65646974 54455854", CodesOf(mFileSpec));
    EXPECT_EQ(kHasCustomIcon, FinderInfoOf(kFile).finderFlags);
    (void)Asked();
    UFSSpec::SetCreatorAndType(mFileSpec, kEditor, kText);
    EXPECT_EQ("FSGetCatalogInfo(30, 2050)", Asked().back()) << "it is so already";
    UFSSpec::SetCreatorAndType(mFileSpec, kEditor, 0);
    UFSSpec::SetCreatorAndType(mFileSpec, 0, 0);
    EXPECT_EQ("0 0", CodesOf(mFileSpec));
    (void)Asked();
    UFSSpec::SetCreatorAndType(mFolderSpec, kEditor, kText);
    EXPECT_EQ("FSGetCatalogInfo(40, 2050)", Asked().back()) << "folders are left alone";
}

TEST_F(UFSSpecTest, SetCreatorAndTypeFails) {
    EXPECT_EQ(fnfErr, Thrown([&] { UFSSpec::SetCreatorAndType(mNewSpec, 1, 1); }));
    fakes::Refuse("FSSetCatalogInfo", wPrErr);
    EXPECT_EQ(wPrErr, Thrown([&] { UFSSpec::SetCreatorAndType(mFileSpec, 1, 1); }));
    fakes::Refuse("FSGetCatalogInfo", ioErr);
    EXPECT_EQ(ioErr, Thrown([&] { UFSSpec::SetCreatorAndType(mFileSpec, 1, 1); }));
}

TEST_F(UFSSpecTest, CatalogInfo) {
    FSCatalogInfo info = {};
    UFSSpec::GetCatalogInfo(mFileSpec, info, kFSCatInfoNodeID);
    EXPECT_EQ(kFile, info.nodeID);
    EXPECT_EQ("FSGetCatalogInfo(30, 16)", Asked().back());
    info.nodeFlags = kFSNodeLockedMask;
    UFSSpec::SetCatalogInfo(mFileSpec, info, kFSCatInfoNodeFlags);
    EXPECT_EQ("FSSetCatalogInfo(30, 2)", Asked().back());
    EXPECT_EQ(kFSNodeLockedMask, fakes::ItemOf(kFile).info.nodeFlags);
    EXPECT_EQ(fnfErr, Thrown([&] { UFSSpec::GetCatalogInfo(mNewSpec, info, 2); }));
    EXPECT_EQ(fnfErr, Thrown([&] { UFSSpec::SetCatalogInfo(mNewSpec, info, 2); }));
    fakes::Refuse("FSGetCatalogInfo", ioErr);
    fakes::Refuse("FSSetCatalogInfo", wPrErr);
    EXPECT_EQ(ioErr, Thrown([&] { UFSSpec::GetCatalogInfo(mFileSpec, info, 2); }));
    EXPECT_EQ(wPrErr, Thrown([&] { UFSSpec::SetCatalogInfo(mFileSpec, info, 2); }));
}

TEST_F(UFSSpecTest, Sizes) {
    FSCatalogInfo& info = fakes::ItemOf(kFile).info;
    info.dataLogicalSize = 10;
    info.rsrcLogicalSize = 3;
    info.dataPhysicalSize = 0xFFFFFFFF;
    info.rsrcPhysicalSize = 4096;
    fakes::ItemOf(kFolder).info = info;
    EXPECT_EQ(10, UFSSpec::GetLength(mFileSpec, 0).LongLong());
    EXPECT_EQ("FSGetCatalogInfo(30, 49154)", Asked().back());
    EXPECT_EQ(3, UFSSpec::GetLength(mFileSpec, 1).LongLong());
    EXPECT_EQ(3, UFSSpec::GetLength(mFileSpec, 0x80).LongLong());
    EXPECT_EQ(0x100000FFF, UFSSpec::GetPhysicalSizeOnDisk(mFileSpec).LongLong());
    EXPECT_EQ("FSGetCatalogInfo(30, 49154)", Asked().back());
    info.dataLogicalSize = 0x200000003;
    EXPECT_EQ(0x200000003, UFSSpec::GetLength(mFileSpec, 0).LongLong());
    for (const TFSSpec& spec : {mFolderSpec, mNewSpec, TFSSpec()}) {
        EXPECT_EQ(0, UFSSpec::GetLength(spec, 0).LongLong());
        EXPECT_EQ(0, UFSSpec::GetPhysicalSizeOnDisk(spec).LongLong());
    }
    fakes::Refuse("FSGetCatalogInfo", ioErr);
    EXPECT_EQ(0, UFSSpec::GetLength(mFileSpec, 0).LongLong());
    EXPECT_EQ(0, UFSSpec::GetPhysicalSizeOnDisk(mFileSpec).LongLong());
}

TEST_F(UFSSpecTest, Rename) {
    EXPECT_EQ("-1 20 other", Fields(UFSSpec::Rename(mFileSpec, String("other"))));
    EXPECT_EQ((Log{"FSMakeFSRefUnicode(20, file)", "FSRenameUnicode(30, other, 0)",
                   "FSGetCatalogInfo(30, 30, name)"}),
              Asked());
    EXPECT_EQ("-1 40 ", Fields(UFSSpec::Rename(mFolderSpec, String("renamed"))));
    EXPECT_EQ("renamed", fakes::ItemOf(kFolder).name);
}

TEST_F(UFSSpecTest, RenameFails) {
    EXPECT_EQ(fnfErr, Thrown([&] { UFSSpec::Rename(mNewSpec, String("x")); }));
    EXPECT_EQ(dupFNErr, Thrown([&] { UFSSpec::Rename(mFileSpec, String("folder")); }));
    const std::string name(256, 'n');
    EXPECT_EQ(bdNamErr, Thrown([&] { UFSSpec::Rename(mFileSpec, String(name.c_str())); })) << "never cut off";
    EXPECT_EQ("file", fakes::ItemOf(kFile).name);
}

TEST_F(UFSSpecTest, MoveRenameIntoAFolder) {
    EXPECT_EQ("-1 40 file", Fields(UFSSpec::MoveRename(mFileSpec, mFolderSpec)));
    EXPECT_EQ("here(folder(file, inner)), temp(), there()", fakes::CatalogueText());
    EXPECT_EQ((Log{"FSMoveObject"}), fakes::CallsOf({"FSMoveObject", "FSRenameUnicode", "DirCreate"}));
}

TEST_F(UFSSpecTest, MoveRenameToANewName) {
    EXPECT_EQ("-1 40 new", Fields(UFSSpec::MoveRename(mFileSpec, TFSSpec(-1, kFolder, String("new")))));
    EXPECT_EQ("here(folder(inner, new)), temp(), there()", fakes::CatalogueText());
    EXPECT_EQ("-1 40 ", Fields(UFSSpec::MoveRename(mFolderSpec, TFSSpec(-1, kThere, String("moved")))));
    EXPECT_EQ("here(), temp(), there(moved(inner, new))", fakes::CatalogueText());
}

TEST_F(UFSSpecTest, MoveRenameFails) {
    fakes::PutFolder(50, fakes::kOtherRoot, "far");
    const TFSSpec far(-2, 50);
    (void)Asked();
    EXPECT_EQ(paramErr, Thrown([&] { UFSSpec::MoveRename(mFileSpec, far); }));
    EXPECT_EQ(Log(), Asked()) << "neither is touched";
    EXPECT_EQ(fnfErr, Thrown([&] { UFSSpec::MoveRename(mNewSpec, mFolderSpec); }));
    EXPECT_EQ(dirNFErr, Thrown([&] { UFSSpec::MoveRename(mFileSpec, mLostSpec); }));
    EXPECT_EQ(dupFNErr,
              Thrown([&] { UFSSpec::MoveRename(mFileSpec, TFSSpec(-1, kFolder, String("inner"))); }));
    const std::string name(256, 'n');
    EXPECT_EQ(bdNamErr,
              Thrown([&] { UFSSpec::MoveRename(mFileSpec, TFSSpec(-1, kFolder, String(name.c_str()))); }));
    EXPECT_EQ("here(file, folder(inner)), temp(), there()", fakes::CatalogueText());
}

TEST_F(UFSSpecTest, DeleteOfAFile) {
    UFSSpec::Delete(mFileSpec, true, false);
    EXPECT_EQ((Log{"FSMakeFSRefUnicode(20, file)", "FSDeleteObject(30)"}), Asked());
    EXPECT_FALSE(fakes::HasItem(kFile));
    UFSSpec::Delete(TFSSpec(-1, kFolder, String("inner")), true, true);
    EXPECT_EQ("here(folder()), temp(), there()", fakes::CatalogueText());
    EXPECT_EQ(Log(), fakes::CallsOf({"FSOpenIterator"}));
}

TEST_F(UFSSpecTest, DeleteOfAFolder) {
    EXPECT_EQ(fBsyErr, Thrown([&] { UFSSpec::Delete(mFolderSpec, true, false); }));
    UFSSpec::Delete(mFolderSpec, false, false);
    EXPECT_TRUE(fakes::HasItem(kFolder) && fakes::HasItem(kInner));
    UFSSpec::Delete(mFolderSpec, true, true);
    EXPECT_EQ("here(file), temp(), there()", fakes::CatalogueText());
}

TEST_F(UFSSpecTest, DeleteOfAFolderThatCannotBeEmptied) {
    fakes::Refuse("FSOpenIterator", afpAccessDenied);
    EXPECT_EQ(afpAccessDenied, Thrown([&] { UFSSpec::Delete(mFolderSpec, true, true); }));
    EXPECT_EQ(Log(), fakes::CallsOf({"FSDeleteObject"}));
    UFSSpec::Delete(mFolderSpec, false, true);
    EXPECT_TRUE(fakes::HasItem(kFolder));
}

TEST_F(UFSSpecTest, DeleteOfNothing) {
    EXPECT_EQ(fnfErr, Thrown([&] { UFSSpec::Delete(mNewSpec, true, false); }));
    EXPECT_EQ(fnfErr, Thrown([&] { UFSSpec::Delete(TFSSpec(), true, true); }));
    UFSSpec::Delete(mNewSpec, false, true);
    UFSSpec::Delete(mLostSpec, false, false);
    EXPECT_EQ(Log(), fakes::CallsOf({"FSDeleteObject"}));
}

TEST_F(UFSSpecTest, CreateFile) {
    UFSSpec::CreateFile(mNewSpec, 0, 0);
    EXPECT_EQ((Log{"FSCreateFileUnicode(20, new, 0, null)"}), Asked());
    EXPECT_TRUE(mNewSpec.Exists());
    const TFSSpec other(-1, kHere, String("other"));
    UFSSpec::CreateFile(other, kEditor, kText);
    EXPECT_EQ("FSCreateFileUnicode(20, other, 2048)", Asked().back());
    EXPECT_EQ("65646974 54455854", CodesOf(other));
    const TFSSpec typed(-1, kHere, String("typed"));
    UFSSpec::CreateFile(typed, 0, kText);
    EXPECT_EQ("0 54455854", CodesOf(typed));
    const TFSSpec created(-1, kHere, String("created"));
    UFSSpec::CreateFile(created, kEditor, 0);
    EXPECT_EQ("65646974 0", CodesOf(created));
}

TEST_F(UFSSpecTest, CreateFileFails) {
    EXPECT_EQ(dupFNErr, Thrown([&] { UFSSpec::CreateFile(mFileSpec, 0, 0); }));
    EXPECT_EQ(dupFNErr, Thrown([&] { UFSSpec::CreateFile(mFolderSpec, 0, 0); }));
    EXPECT_EQ(dirNFErr, Thrown([&] { UFSSpec::CreateFile(mLostSpec, 0, 0); }));
    const std::string name(256, 'n');
    EXPECT_EQ(bdNamErr, Thrown([&] { UFSSpec::CreateFile(TFSSpec(-1, kHere, String(name.c_str())), 0, 0); }));
    EXPECT_EQ("here(file, folder(inner)), temp(), there()", fakes::CatalogueText());
}

TEST_F(UFSSpecTest, CreateFolder) {
    TFSSpec spec(mNewSpec);
    const UInt32 id = UFSSpec::CreateFolder(spec);
    EXPECT_EQ((Log{"PBMakeFSRefSync(-1, 20, )", "FSCreateDirectoryUnicode(20, new, 0, null)",
                   "FSGetCatalogInfo(" + std::to_string(id) + ", 30, name)"}),
              Asked());
    EXPECT_EQ("here(file, folder(inner), new()), temp(), there()", fakes::CatalogueText());
    EXPECT_EQ("-1 " + std::to_string(id) + ' ', Fields(spec));
    EXPECT_EQ(id, spec.GetNodeID());
}

TEST_F(UFSSpecTest, CreateFolderFails) {
    for (const TFSSpec& spec : {mFileSpec, mFolderSpec, mLostSpec}) {
        TFSSpec folder(spec);
        EXPECT_EQ(spec == mLostSpec ? dirNFErr : dupFNErr, Thrown([&] { UFSSpec::CreateFolder(folder); }));
        EXPECT_TRUE(folder == spec) << "it is as it was";
    }
}

TEST_F(UFSSpecTest, Locks) {
    EXPECT_FALSE(UFSSpec::IsLocked(mFileSpec));
    EXPECT_EQ("FSGetCatalogInfo(30, 2)", Asked().back());
    EXPECT_FALSE(UFSSpec::SetLock(mFileSpec, true));
    EXPECT_EQ((Log{"FSMakeFSRefUnicode(20, file)", "FSGetCatalogInfo(30, 2)", "FSSetCatalogInfo(30, 2)"}),
              Asked());
    EXPECT_TRUE(UFSSpec::IsLocked(mFileSpec));
    (void)Asked();
    EXPECT_TRUE(UFSSpec::SetLock(mFileSpec, true));
    EXPECT_EQ((Log{"FSMakeFSRefUnicode(20, file)", "FSGetCatalogInfo(30, 2)"}), Asked())
        << "nothing is written";
    EXPECT_TRUE(UFSSpec::SetLock(mFileSpec, false));
    EXPECT_FALSE(UFSSpec::IsLocked(mFileSpec));
    (void)Asked();
    EXPECT_FALSE(UFSSpec::SetLock(mFileSpec, false));
    EXPECT_EQ("FSGetCatalogInfo(30, 2)", Asked().back());
    fakes::ItemOf(kFile).info.nodeFlags = static_cast<UInt16>(~(kFSNodeLockedMask | kFSNodeIsDirectoryMask));
    EXPECT_FALSE(UFSSpec::SetLock(mFileSpec, true));
    EXPECT_EQ(0xFFEF, fakes::ItemOf(kFile).info.nodeFlags) << "the other flags are as they were";
}

TEST_F(UFSSpecTest, LocksOfNothing) {
    EXPECT_FALSE(UFSSpec::IsLocked(mNewSpec) || UFSSpec::SetLock(mNewSpec, true) ||
                 UFSSpec::IsLocked(mLostSpec));
    EXPECT_EQ(Log(), fakes::CallsOf({"FSSetCatalogInfo"}));
    fakes::Refuse("FSSetCatalogInfo", wPrErr);
    EXPECT_FALSE(UFSSpec::SetLock(mFileSpec, true)) << "what it was";
    fakes::ItemOf(kFile).info.nodeFlags = kFSNodeLockedMask;
    EXPECT_TRUE(UFSSpec::SetLock(mFileSpec, false));
    fakes::Refuse("FSGetCatalogInfo", ioErr);
    EXPECT_FALSE(UFSSpec::IsLocked(mFileSpec) || UFSSpec::SetLock(mFileSpec, false));
}

TEST_F(UFSSpecTest, GetFinderInfo) {
    SetFinderInfo(kFile, {kText, kEditor, kIsInvisible, {3, 4}, 5});
    FInfo info = {};
    EXPECT_EQ(noErr, UFSSpec::GetFinderInfo(mFileSpec, info));
    EXPECT_EQ("FSGetCatalogInfo(30, 2050)", Asked().back());
    EXPECT_EQ(kText, info.fdType);
    EXPECT_EQ(kEditor, info.fdCreator);
    EXPECT_EQ(kIsInvisible, info.fdFlags);
    EXPECT_EQ(5, info.fdFldr);
    EXPECT_EQ(fnfErr, UFSSpec::GetFinderInfo(mNewSpec, info));
    fakes::Refuse("FSGetCatalogInfo", ioErr);
    EXPECT_EQ(ioErr, UFSSpec::GetFinderInfo(mFileSpec, info));
    EXPECT_EQ(kText, info.fdType) << "as it was";
}

TEST_F(UFSSpecTest, IsBundleByItsFlag) {
    FolderInfo finder = {};
    finder.finderFlags = kHasBundle;
    std::memcpy(fakes::ItemOf(kFolder).info.finderInfo, &finder, sizeof finder);
    EXPECT_TRUE(IsBundle(mFolder));
    EXPECT_EQ(Log{"FSGetCatalogInfo(40, 2050, name)"}, Asked());
    finder.finderFlags = 0xDFFF;
    std::memcpy(fakes::ItemOf(kFolder).info.finderInfo, &finder, sizeof finder);
    EXPECT_FALSE(IsBundle(mFolder));
}

TEST_F(UFSSpecTest, IsBundleByItsName) {
    UInt32 id = 50;
    for (const char* const name : {"a.nib", "b.app", "c.bundle", "d.framework", "e.APP"}) {
        fakes::PutFolder(id, kHere, name);
        EXPECT_TRUE(IsBundle(fakes::RefOf(id++))) << name;
    }
    EXPECT_EQ(Log(), fakes::CallsOf({"LSCopyItemInfoForRef"}));
    for (const char* const name : {"app", "b.application", "nib.c"}) {
        fakes::PutFolder(id, kHere, name);
        EXPECT_FALSE(IsBundle(fakes::RefOf(id++))) << name;
    }
}

TEST_F(UFSSpecTest, IsBundleByLaunchServices) {
    EXPECT_FALSE(IsBundle(mFolder));
    EXPECT_EQ((Log{"FSGetCatalogInfo(40, 2050, name)", "LSCopyItemInfoForRef(40, 4)"}), Asked());
    fakes::ItemOf(kFolder).shownFlags = kLSItemInfoIsPackage | kLSItemInfoIsContainer;
    EXPECT_TRUE(IsBundle(mFolder));
    fakes::ItemOf(kFolder).shownFlags = ~static_cast<UInt32>(kLSItemInfoIsPackage);
    EXPECT_FALSE(IsBundle(mFolder));
    fakes::ItemOf(kFolder).shownFlags = kLSItemInfoIsPackage;
    fakes::Refuse("LSCopyItemInfoForRef", ioErr);
    EXPECT_FALSE(IsBundle(mFolder));
}

TEST_F(UFSSpecTest, OnlyFoldersAreBundles) {
    fakes::PutFile(50, kHere, "a.app");
    SetFinderInfo(50, {0, 0, kHasBundle, {}, 0});
    fakes::ItemOf(50).shownFlags = kLSItemInfoIsPackage;
    EXPECT_FALSE(IsBundle(fakes::RefOf(50)));
    EXPECT_FALSE(IsBundle(mMissing));
    fakes::PutFolder(51, kHere, "b.app");
    fakes::Refuse("FSGetCatalogInfo", ioErr);
    EXPECT_FALSE(IsBundle(fakes::RefOf(51)));
}

}  // namespace
