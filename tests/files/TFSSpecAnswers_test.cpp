// What specifications of files answer, and what they ask for it.
#include "SpecTest.h"

#include <toolbox/FinderInfo.h>
#include <toolbox/LaunchServices.h>

namespace {

using namespace test_files;

class TFSSpecAnswersTest : public SpecTest {
  protected:
    static void SetFinderInfo(UInt32 inID, const FileInfo& inInfo) {
        std::memcpy(fakes::ItemOf(inID).info.finderInfo, &inInfo, sizeof inInfo);
    }
    static UInt32 Parent(const TFSSpec& inSpec) { return fakes::IDOf(inSpec.GetParentFSRef()); }

    // Nothing but these is asked by them: what was asked when they were made is forgotten.
    TFSSpec File() { return Silently(TFSSpec(-1, kHere, String("file"))); }
    TFSSpec Folder() { return Silently(TFSSpec(mFolder)); }
    TFSSpec New() { return Silently(TFSSpec(-1, kHere, String("new"))); }
    TFSSpec Lost() { return Silently(TFSSpec(-1, kMissing, String("new"))); }  // without its folder
    TFSSpec LostFolder() { return Silently(TFSSpec(-1, kMissing)); }

  private:
    TFSSpec Silently(const TFSSpec& inSpec) {
        (void)Asked();
        return inSpec;
    }
};

TEST_F(TFSSpecAnswersTest, GetParIDFSRef) {
    FSRef ref = {};
    const TFSSpec file = File();
    EXPECT_EQ(noErr, file.GetParIDFSRef(ref));
    EXPECT_EQ(kHere, fakes::IDOf(ref));
    EXPECT_EQ(Log{"PBMakeFSRefSync(-1, 20, )"}, Asked());
    ref = {};
    EXPECT_EQ(noErr, file.GetParIDFSRef(ref));
    EXPECT_EQ(kHere, fakes::IDOf(ref)) << "as remembered";
    EXPECT_EQ(Log(), Asked());
}

TEST_F(TFSSpecAnswersTest, GetParIDFSRefOfFoldersIsAskedEachTime) {
    FSRef ref = {};
    const TFSSpec folder = Folder();
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(noErr, folder.GetParIDFSRef(ref));
        EXPECT_EQ(kFolder, fakes::IDOf(ref)) << "its own";
        EXPECT_EQ(Log{"PBMakeFSRefSync(-1, 40, )"}, Asked());
        EXPECT_TRUE(HasFolderRef(folder));
    }
}

TEST_F(TFSSpecAnswersTest, GetParIDFSRefOfWhatIsGone) {
    FSRef ref = {};
    EXPECT_EQ(dirNFErr, Lost().GetParIDFSRef(ref));
    EXPECT_EQ(dirNFErr, LostFolder().GetParIDFSRef(ref));
    EXPECT_EQ(dirNFErr, TFSSpec().GetParIDFSRef(ref));
    const TFSSpec file = File();
    EXPECT_EQ(noErr, file.GetParIDFSRef(ref));
    fakes::Refuse("PBMakeFSRefSync", nsvErr);
    EXPECT_EQ(noErr, file.GetParIDFSRef(ref)) << "nothing tells that it is gone";
    EXPECT_EQ(nsvErr, Folder().GetParIDFSRef(ref));
    EXPECT_FALSE(HasFolderRef(Folder()));
}

TEST_F(TFSSpecAnswersTest, GetFSRef) {
    FSRef ref = {};
    const TFSSpec file = File();
    EXPECT_TRUE(file.GetFSRef(ref));
    EXPECT_EQ(kFile, fakes::IDOf(ref));
    EXPECT_EQ((Log{"PBMakeFSRefSync(-1, 20, )", "FSMakeFSRefUnicode(20, file)"}), Asked());
    EXPECT_EQ(kFile, fakes::IDOf(file.GetFSRef()));
    EXPECT_EQ(Log{"FSMakeFSRefUnicode(20, file)"}, Asked());

    const TFSSpec folder = Folder();
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(kFolder, fakes::IDOf(folder.GetFSRef()));
        EXPECT_EQ(Log{"PBMakeFSRefSync(-1, 40, )"}, Asked());
        EXPECT_FALSE(HasFolderRef(folder)) << "it is not remembered";
    }
}

TEST_F(TFSSpecAnswersTest, GetFSRefOfWhatIsNotThere) {
    FSRef ref = {};
    for (const TFSSpec& spec : {New(), Lost(), LostFolder(), TFSSpec()}) {
        EXPECT_FALSE(spec.GetFSRef(ref));
        EXPECT_FALSE(spec.Exists());
        EXPECT_EQ(fnfErr, Thrown([&] { (void)spec.GetFSRef(); }));
    }
    EXPECT_TRUE(File().Exists() && Folder().Exists());
}

TEST_F(TFSSpecAnswersTest, GetFSSpec) {
    FSSpec spec = File().GetFSSpec();
    EXPECT_EQ("file", Text(spec.name));
    EXPECT_EQ(
        (Log{"PBMakeFSRefSync(-1, 20, )", "FSMakeFSRefUnicode(20, file)", "FSGetCatalogInfo(30, 0, spec)"}),
        Asked());
    spec = Folder().GetFSSpec();
    EXPECT_EQ("folder", Text(spec.name));
    EXPECT_EQ(static_cast<SInt32>(kHere), +spec.parID);
    EXPECT_EQ(-1, +spec.vRefNum);
    fakes::Refuse("FSGetCatalogInfo", ioErr);
    EXPECT_EQ(ioErr, Thrown([&] { (void)File().GetFSSpec(); }));
}

TEST_F(TFSSpecAnswersTest, GetFSSpecOfWhatIsNotThere) {
    const std::string name(40, 'n');
    FSSpec spec = TFSSpec(-1, kHere, String(name.c_str())).GetFSSpec();
    EXPECT_EQ(name.substr(0, 31), Text(spec.name));
    EXPECT_EQ(static_cast<SInt32>(kHere), +spec.parID);
    EXPECT_EQ(-1, +spec.vRefNum);
    spec = New().GetFSSpec();
    EXPECT_EQ("new", Text(spec.name));
    EXPECT_EQ((Log{"PBMakeFSRefSync(-1, 20, )", "FSMakeFSRefUnicode(20, new)"}), Asked());
    spec = LostFolder().GetFSSpec();
    EXPECT_EQ("", Text(spec.name));
    EXPECT_EQ(static_cast<SInt32>(kMissing), +spec.parID);
}

TEST_F(TFSSpecAnswersTest, GetParentFSRef) {
    EXPECT_EQ(kHere, Parent(File()));
    EXPECT_EQ(Log{"PBMakeFSRefSync(-1, 20, )"}, Asked());
    EXPECT_EQ(kHere, Parent(New()));
    (void)Asked();
    EXPECT_EQ(kHere, Parent(Folder()));
    EXPECT_EQ((Log{"PBMakeFSRefSync(-1, 40, )", "FSGetCatalogInfo(40, 0, parent)"}), Asked());
}

TEST_F(TFSSpecAnswersTest, GetParentFSRefOfWhatIsGone) {
    EXPECT_EQ(dirNFErr, Thrown([&] { (void)Lost().GetParentFSRef(); }));
    EXPECT_EQ(dirNFErr, Thrown([&] { (void)LostFolder().GetParentFSRef(); }));
    fakes::Refuse("FSGetCatalogInfo", ioErr);
    EXPECT_EQ(ioErr, Thrown([&] { (void)TFSSpec(Folder()).GetParentFSRef(); }));
}

TEST_F(TFSSpecAnswersTest, GetVolume) {
    EXPECT_EQ(-1, File().GetVolume());
    EXPECT_EQ(-77, TFSSpec(-77, kMissing).GetVolume());
    (void)Asked();
    (void)File().GetVolume();
    EXPECT_EQ(Log(), Asked());
}

TEST_F(TFSSpecAnswersTest, GetParentID) {
    const TFSSpec file = File();
    EXPECT_EQ(kHere, file.GetParentID());
    EXPECT_EQ(Log(), Asked());
    EXPECT_EQ(kMissing, Lost().GetParentID()) << "as it is stored";
    const TFSSpec folder = Folder();
    EXPECT_EQ(kHere, folder.GetParentID());
    EXPECT_EQ((Log{"PBMakeFSRefSync(-1, 40, )", "FSGetCatalogInfo(40, 8)"}), Asked());
    EXPECT_EQ(0U, LostFolder().GetParentID());
    fakes::Refuse("FSGetCatalogInfo", ioErr);
    EXPECT_EQ(0U, folder.GetParentID());
}

TEST_F(TFSSpecAnswersTest, GetNodeID) {
    EXPECT_EQ(kFile, File().GetNodeID());
    EXPECT_EQ((Log{"PBMakeFSRefSync(-1, 20, )", "FSMakeFSRefUnicode(20, file)", "FSGetCatalogInfo(30, 16)"}),
              Asked());
    EXPECT_EQ(kFolder, Folder().GetNodeID());
    EXPECT_EQ(0U, New().GetNodeID());
    EXPECT_EQ(0U, LostFolder().GetNodeID());
    fakes::Refuse("FSGetCatalogInfo", ioErr);
    EXPECT_EQ(0U, File().GetNodeID());
}

TEST_F(TFSSpecAnswersTest, GetName) {
    const TFSSpec file = File();
    EXPECT_EQ("file", Text(file.GetName()));
    EXPECT_EQ(Log(), Asked());
    EXPECT_EQ("new", Text(Lost().GetName()));
    const TFSSpec folder = Folder();
    EXPECT_EQ("folder", Text(folder.GetName()));
    EXPECT_EQ((Log{"PBMakeFSRefSync(-1, 40, )", "FSGetCatalogInfo(40, 0, name)"}), Asked());
    EXPECT_EQ("", Text(LostFolder().GetName()));
    fakes::Refuse("FSGetCatalogInfo", ioErr);
    EXPECT_EQ("", Text(folder.GetName()));
}

TEST_F(TFSSpecAnswersTest, GetDisplayName) {
    const TFSSpec file = File();
    EXPECT_EQ("shown file", Text(file.GetDisplayName()));
    EXPECT_EQ(
        (Log{"PBMakeFSRefSync(-1, 20, )", "FSMakeFSRefUnicode(20, file)", "LSCopyDisplayNameForRef(30)"}),
        Asked());
    const TFSSpec folder = Folder();
    EXPECT_EQ("shown folder", Text(folder.GetDisplayName()));
    EXPECT_EQ((Log{"PBMakeFSRefSync(-1, 40, )", "LSCopyDisplayNameForRef(40)"}), Asked());
    fakes::Refuse("LSCopyDisplayNameForRef", ioErr);
    EXPECT_EQ("file", Text(file.GetDisplayName()));
    EXPECT_EQ("", Text(folder.GetDisplayName())) << "what is stored";
    EXPECT_EQ("", Text(LostFolder().GetDisplayName()));
}

TEST_F(TFSSpecAnswersTest, GetDisplayNameOfWhatIsNotThere) {
    const TFSSpec item = New();
    EXPECT_EQ("shown new", Text(item.GetDisplayName()));
    EXPECT_EQ((Log{"PBMakeFSRefSync(-1, 20, )", "FSMakeFSRefUnicode(20, new)", "CFURLCreateFromFSRef(/here)",
                   "CFURLCreateCopyAppendingPathComponent(new, 0)", "CFRelease(/here)",
                   "LSCopyDisplayNameForURL(/here/new)", "CFRelease(/here/new)"}),
              Asked());
    EXPECT_EQ(dirNFErr, Thrown([&] { (void)Lost().GetDisplayName(); }));
    fakes::Refuse("LSCopyDisplayNameForURL", ioErr);
    EXPECT_EQ("new", Text(item.GetDisplayName()));
}

TEST_F(TFSSpecAnswersTest, GetFullPath) {
    EXPECT_EQ("/here/file", Text(File().GetFullPath(kCFURLPOSIXPathStyle)));
    EXPECT_EQ(
        (Log{"PBMakeFSRefSync(-1, 20, )", "FSMakeFSRefUnicode(20, file)", "CFURLCreateFromFSRef(/here/file)",
             "CFURLCopyFileSystemPath(0)", "CFRelease(/here/file)"}),
        Asked());
    EXPECT_EQ("/here/folder", Text(Folder().GetFullPath(kCFURLPOSIXPathStyle)));
    EXPECT_EQ(":here:file", Text(File().GetFullPath(kCFURLHFSPathStyle)));
    EXPECT_EQ("", Text(File().GetFullPath(kCFURLWindowsPathStyle))) << "for which it has none";
}

TEST_F(TFSSpecAnswersTest, GetFullPathOfWhatIsNotThere) {
    EXPECT_EQ("/here/new", Text(New().GetFullPath(kCFURLPOSIXPathStyle)));
    EXPECT_EQ((Log{"PBMakeFSRefSync(-1, 20, )", "FSMakeFSRefUnicode(20, new)", "CFURLCreateFromFSRef(/here)",
                   "CFURLCreateCopyAppendingPathComponent(new, 0)", "CFRelease(/here)",
                   "CFURLCopyFileSystemPath(0)", "CFRelease(/here/new)"}),
              Asked());
    EXPECT_EQ("/here/12:30.txt",
              Text(TFSSpec(-1, kHere, String("12/30.txt")).GetFullPath(kCFURLPOSIXPathStyle)))
        << "one name, as it is on disk";
    EXPECT_EQ(dirNFErr, Thrown([&] { (void)Lost().GetFullPath(kCFURLPOSIXPathStyle); }));
    EXPECT_EQ(dirNFErr, Thrown([&] { (void)LostFolder().GetFullPath(kCFURLPOSIXPathStyle); }));
}

// Whichever it is, what there is of a name is shown, a path is whole or empty, and no URL stays.
TEST_F(TFSSpecAnswersTest, EveryFailingCallInTurn) {
    const Log names = {"file", "shown file", "a/b", "shown a:b"};
    const Log paths = {"", "/here/file", "/here/a:b"};
    for (const bool exists : {true, false})
        for (int failing = 1;; ++failing) {
            fakes::FailCall(0);
            const TFSSpec spec(-1, kHere, String(exists ? "file" : "a/b"));
            fakes::FailCall(failing);
            (void)Thrown([&] {
                const std::string name = Text(spec.GetDisplayName());
                EXPECT_NE(names.end(), std::find(names.begin(), names.end(), name)) << name;
                const std::string path = Text(spec.GetFullPath(kCFURLPOSIXPathStyle));
                EXPECT_NE(paths.end(), std::find(paths.begin(), paths.end(), path)) << path;
            });
            EXPECT_EQ(0, fakes::LiveURLs());
            if (!fakes::FailureDelivered()) break;
        }
}

TEST_F(TFSSpecAnswersTest, TypeAndCreator) {
    SetFinderInfo(kFile, {kText, kEditor, 0, {}, 0});
    SetFinderInfo(kFolder, {0x00010002, 0x00030004, 0, {}, 0});  // the corners of its window
    const TFSSpec file = File();
    const TFSSpec folder = Folder();
    EXPECT_EQ(kText, file.GetFileType());
    EXPECT_EQ(
        (Log{"PBMakeFSRefSync(-1, 20, )", "FSMakeFSRefUnicode(20, file)", "FSGetCatalogInfo(30, 2048)"}),
        Asked());
    EXPECT_EQ(kEditor, file.GetFileCreator());
    EXPECT_EQ((Log{"FSMakeFSRefUnicode(20, file)", "FSGetCatalogInfo(30, 2048)"}), Asked());
    EXPECT_EQ(0x666F6C64U, folder.GetFileType());
    EXPECT_EQ(0x666F6C64U, TFSSpec().GetFileType());
    EXPECT_EQ(Log(), Asked());
    EXPECT_EQ(0x00030004U, folder.GetFileCreator()) << "whatever lies there";
    EXPECT_EQ((Log{"PBMakeFSRefSync(-1, 40, )", "FSGetCatalogInfo(40, 2048)"}), Asked());
    EXPECT_EQ(0U, New().GetFileType());
    EXPECT_EQ(0U, New().GetFileCreator());
    fakes::Refuse("FSGetCatalogInfo", ioErr);
    EXPECT_EQ(0U, File().GetFileType());
}

TEST_F(TFSSpecAnswersTest, GetModificationDate) {
    fakes::ItemOf(kFile).info.contentModDate = {1, 2, 3};
    const UTCDateTime date = File().GetModificationDate();
    EXPECT_EQ(1, +date.highSeconds);
    EXPECT_EQ(2U, +date.lowSeconds);
    EXPECT_EQ(3, +date.fraction);
    EXPECT_EQ("FSGetCatalogInfo(30, 64)", Asked().back());
    const UTCDateTime none = New().GetModificationDate();
    EXPECT_TRUE(+none.highSeconds == 0 && +none.lowSeconds == 0 && +none.fraction == 0);
    fakes::Refuse("FSGetCatalogInfo", ioErr);
    EXPECT_EQ(0U, +File().GetModificationDate().lowSeconds);
}

TEST_F(TFSSpecAnswersTest, SetName) {
    FSRef ref = {};
    TFSSpec spec = File();
    EXPECT_TRUE(spec.Exists());
    spec.SetName(String("FOLDER"));
    EXPECT_EQ("-1 20 FOLDER", Fields(spec)) << "it is not looked up";
    EXPECT_TRUE(HasFolderRef(spec)) << "the folder is the same";
    (void)Asked();
    EXPECT_TRUE(spec.GetFSRef(ref));
    EXPECT_EQ(kFolder, fakes::IDOf(ref));
    EXPECT_EQ(Log{"FSMakeFSRefUnicode(20, FOLDER)"}, Asked());
    spec.SetName(TCFString::Empty);
    EXPECT_FALSE(HasFolderRef(spec));
    EXPECT_TRUE(spec.GetFSRef(ref));
    EXPECT_EQ(kHere, fakes::IDOf(ref));

    EXPECT_EQ(noErr, spec.GetParIDFSRef(ref));
    EXPECT_TRUE(HasFolderRef(spec));
    spec.SetName(TCFString::Empty);
    EXPECT_TRUE(HasFolderRef(spec));
    spec.SetName(String("file"));
    EXPECT_FALSE(HasFolderRef(spec));
    spec.SetName(spec.GetName());
    EXPECT_EQ("-1 20 file", Fields(spec));
    EXPECT_FALSE(HasFolderRef(spec)) << "what was not remembered is not then";
}

TEST_F(TFSSpecAnswersTest, IsFolder) {
    const TFSSpec folder = Folder();
    EXPECT_TRUE(folder.IsFolder());
    EXPECT_EQ((Log{"PBMakeFSRefSync(-1, 40, )", "FSGetCatalogInfo(40, 2)"}), Asked());
    EXPECT_FALSE(File().IsFolder() || New().IsFolder() || LostFolder().IsFolder());
    fakes::Refuse("FSGetCatalogInfo", ioErr);
    EXPECT_FALSE(folder.IsFolder());
}

TEST_F(TFSSpecAnswersTest, IsBundle) {
    fakes::PutFolder(50, kHere, "Editor.app");
    EXPECT_TRUE(TFSSpec(fakes::RefOf(50)).IsBundle());
    EXPECT_FALSE(Folder().IsBundle() || File().IsBundle() || New().IsBundle());
}

TEST_F(TFSSpecAnswersTest, IsVolume) {
    const TFSSpec root(-1, fakes::kRoot);
    (void)Asked();
    EXPECT_TRUE(root.IsVolume());
    EXPECT_EQ((Log{"PBMakeFSRefSync(-1, 2, )", "FSGetCatalogInfo(2, 10)"}), Asked());
    EXPECT_FALSE(Folder().IsVolume() || File().IsVolume() || New().IsVolume());
    fakes::ItemOf(kFile).folder = 1;
    EXPECT_FALSE(TFSSpec(-1, 1, String("file")).IsVolume());
    fakes::Refuse("FSGetCatalogInfo", ioErr);
    EXPECT_FALSE(root.IsVolume());
}

TEST_F(TFSSpecAnswersTest, IsInvisible) {
    SetFinderInfo(kFile, {0, 0, kIsInvisible, {}, 0});
    EXPECT_TRUE(File().IsInvisible());
    EXPECT_EQ("FSGetCatalogInfo(30, 2050)", Asked().back());
    SetFinderInfo(kFile, {0, 0, 0xBFFF, {}, 0});
    EXPECT_FALSE(File().IsInvisible());
    FolderInfo folder = {};
    folder.finderFlags = kIsInvisible;
    std::memcpy(fakes::ItemOf(kFolder).info.finderInfo, &folder, sizeof folder);
    EXPECT_TRUE(Folder().IsInvisible());
    EXPECT_FALSE(New().IsInvisible() || LostFolder().IsInvisible() || TFSSpec().IsInvisible());
    (void)Asked();
    EXPECT_TRUE(TFSSpec(FSCatalogInfo{}, Uni(u".hidden")).IsInvisible()) << "there or not";
    EXPECT_EQ(Log(), Asked());
    fakes::PutFolder(50, kHere, ".folder");
    EXPECT_TRUE(TFSSpec(fakes::RefOf(50)).IsInvisible());
    fakes::Refuse("FSGetCatalogInfo", ioErr);
    EXPECT_FALSE(File().IsInvisible());
}

TEST_F(TFSSpecAnswersTest, DebugPrintSpec) {
    char label[] = "label";
    File().DebugPrintSpec(label);
    EXPECT_STREQ("label", label);
    EXPECT_EQ(Log(), Asked());
}

}  // namespace
