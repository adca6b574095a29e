// What is done with the items of specifications, over the real toolbox.
#include "Thrown.h"
#include "platform/catalogue/ItemChanges.h"
#include "support/FailEach.h"
#include "support/FailingCalls.h"
#include "support/FailingNew.h"
#include "support/FileWorld.h"
#include "support/Variables.h"

#include <files/UFSSpec.h>
#include <gtest/gtest.h>
#include <toolbox/Folders.h>

#include <cstring>
#include <string>

namespace {

using namespace test_files;
using support::FileWorld;

constexpr unsigned long kText = 0x54455854;
constexpr unsigned long kEditor = 0x65646974;

class UFSSpecOnToolbox : public ItemChangesTest<support::FileWorldTest> {
  protected:
    // One more hears what comes into large folders, once names were looked for in one.
    ~UFSSpecOnToolbox() override { EXPECT_LE(OpenDescriptorCount(), mDescriptors + 1); }

    static TCFString String(const std::string& inText) { return {inText.c_str(), kCFStringEncodingUTF8}; }
    static std::string Name(const TFSSpec& inSpec) {
        char text[2000];
        return inSpec.GetName().UTF8(sizeof text - 1, text);
    }
    TFSSpec Spec(std::string_view inName) const { return (mFolder / inName).c_str(); }
    TFSSpec Itself(const std::string& inName) const { return {RefOf(mFolder.Path()), String(inName)}; }
    static std::string PathOfItem(const TFSSpec& inSpec) { return PathOf(inSpec.GetFSRef()); }

    // Companions aside, of which one may lie there for the next who looks (tests/platform/catalogue).
    static std::string ItemsIn(const std::string& inFolder) {
        std::string text;
        for (const std::string& name : FileWorld::NamesIn(inFolder)) {
            if (name.rfind("._", 0) == 0) continue;
            const std::string path = inFolder + '/' + name;
            const bool isFolder = S_ISDIR(FileWorld::StatusOf(path).stx_mode);
            text += name + (isFolder ? '(' + ItemsIn(path) + ')' : '=' + FileWorld::Contents(path)) + ' ';
        }
        return text;
    }

    Variables mVariables{{"HOME", mFolder.Path()}, {"LANG", "C"}, {"TMPDIR", mFolder.Path()}};

  private:
    std::size_t mDescriptors = OpenDescriptorCount();
};
INSTANTIATE_TEST_SUITE_P(Worlds, UFSSpecOnToolbox, support::BothWorlds(), support::NameOfWorld);

TEST_P(UFSSpecOnToolbox, CreatorsAndTypes) {
    const TFSSpec file = Spec("file");
    UFSSpec::CreateFile(file, kEditor, kText);
    unsigned long creator = 0;
    unsigned long type = 0;
    UFSSpec::GetCreatorAndType(file, creator, type);
    EXPECT_TRUE(creator == kEditor && type == kText);
    FInfo info = {};
    EXPECT_EQ(noErr, UFSSpec::GetFinderInfo(file, info));
    EXPECT_EQ(kText, info.fdType);
    UFSSpec::SetCreatorAndType(file, 1, 2);
    UFSSpec::GetCreatorAndType(file, creator, type);
    EXPECT_TRUE(creator == 1 && type == 2);

    mFolder.MakeFolder("folder");
    mFolder.MakeFolder("Editor.app/Contents");
    mFolder.MakeFile("Editor.app/Contents/PkgInfo", "APPLedit");
    UFSSpec::SetCreatorAndType(Spec("folder"), 1, 2);
    UFSSpec::GetCreatorAndType(Spec("folder"), creator, type);
    EXPECT_TRUE(creator == 0x4D414353 && type == 0x666F6C64);
    UFSSpec::GetCreatorAndType(Spec("Editor.app"), creator, type);
    EXPECT_TRUE(creator == kEditor && type == 0x4150504C);
    mFolder.MakeLink("file", "link");
    UFSSpec::GetCreatorAndType(Itself("link"), creator, type);
    EXPECT_TRUE(creator == kSymLinkCreator && type == kSymLinkFileType);
    EXPECT_EQ(fnfErr, Thrown([&] { UFSSpec::GetCreatorAndType(Spec("none"), creator, type); }));
}

TEST_P(UFSSpecOnToolbox, Sizes) {
    MakeWithCompanion("", "file");
    FileWorld::Remove(mFolder / "file");
    mFolder.MakeFile("file", "ten bytes!");
    EXPECT_EQ(10, UFSSpec::GetLength(Spec("file"), 0).LongLong());
    EXPECT_EQ(12, UFSSpec::GetLength(Spec("file"), 1).LongLong()) << "fork of file";
    const FSCatalogInfo info = InfoOf(mFolder / "file", kFSCatInfoDataSizes | kFSCatInfoRsrcSizes);
    EXPECT_EQ(static_cast<SInt64>(info.dataPhysicalSize + info.rsrcPhysicalSize),
              UFSSpec::GetPhysicalSizeOnDisk(Spec("file")).LongLong());
    EXPECT_EQ(0, UFSSpec::GetLength(TFSSpec(mFolder.Path().c_str()), 0).LongLong());
    EXPECT_EQ(0, UFSSpec::GetPhysicalSizeOnDisk(Spec("none")).LongLong());
}

TEST_P(UFSSpecOnToolbox, Files) {
    const TFSSpec spec = Spec("new");
    UFSSpec::CreateFile(spec, 0, 0);
    EXPECT_EQ("", FileWorld::Contents(mFolder / "new"));
    EXPECT_FALSE(FileWorld::Exists(mFolder / "._new"));
    EXPECT_EQ(dupFNErr, Thrown([&] { UFSSpec::CreateFile(spec, 0, 0); }));
    EXPECT_EQ(dupFNErr, Thrown([&] { UFSSpec::CreateFile(Itself("NEW"), 0, 0); }));
    UFSSpec::CreateFile(Itself("12/30"), 0, 0);
    EXPECT_TRUE(FileWorld::Exists(mFolder / "12:30"));
    std::string name;
    for (int i = 0; i < 100; ++i)
        name += "\xE6\xBC\xA2";
    EXPECT_EQ(bdNamErr, Thrown([&] { UFSSpec::CreateFile(Itself(name), 0, 0); })) << "of 300 bytes";
    EXPECT_EQ(bdNamErr, Thrown([&] { UFSSpec::CreateFile(Itself(std::string(256, 'n')), 0, 0); }));
}

TEST_P(UFSSpecOnToolbox, Folders) {
    TFSSpec spec = Spec("new");
    const UInt32 id = UFSSpec::CreateFolder(spec);
    EXPECT_EQ(id, spec.GetNodeID());
    EXPECT_TRUE(spec.IsFolder() && spec == Spec("new"));
    TFSSpec again = Itself("NEW");
    EXPECT_EQ(dupFNErr, Thrown([&] { UFSSpec::CreateFolder(again); }));
    TFSSpec lost(spec.GetVolume(), 0x7FFFFFF0, String("new"));
    EXPECT_NE(0, Thrown([&] { UFSSpec::CreateFolder(lost); }));
}

TEST_P(UFSSpecOnToolbox, RenameMovesTheCompanionToo) {
    MakeWithCompanion("", "file");
    const TFSSpec renamed = UFSSpec::Rename(Spec("file"), String("other"));
    EXPECT_EQ(mFolder / "other", PathOfItem(renamed));
    EXPECT_TRUE(renamed == Spec("other"));
    EXPECT_TRUE(FileWorld::Exists(mFolder / "._other") && !FileWorld::Exists(mFolder / "._file"));
    EXPECT_EQ("OTHER", Name(UFSSpec::Rename(renamed, String("OTHER"))));
    mFolder.MakeFile("taken");
    EXPECT_EQ(dupFNErr, Thrown([&] { UFSSpec::Rename(Spec("OTHER"), String("taken")); }));
}

TEST_P(UFSSpecOnToolbox, MoveRename) {
    MakeWithCompanion("", "file");
    mFolder.MakeFolder("folder");
    TFSSpec moved = UFSSpec::MoveRename(Spec("file"), Spec("folder"));
    EXPECT_EQ(mFolder / "folder/file", PathOfItem(moved));
    moved = UFSSpec::MoveRename(moved, Spec("new"));
    EXPECT_EQ(mFolder / "new", PathOfItem(moved));
    EXPECT_EQ("of file", FileWorld::Contents(mFolder / "new"));
    EXPECT_TRUE(FileWorld::Exists(mFolder / "._new"));
    mFolder.MakeFile("taken", "of taken");
    EXPECT_EQ(dupFNErr, Thrown([&] { UFSSpec::MoveRename(moved, Spec("taken")); }));
    mFolder.MakeLink("folder", "link");
    EXPECT_EQ(dupFNErr, Thrown([&] { UFSSpec::MoveRename(moved, Itself("link")); })) << "a link is no folder";
    EXPECT_EQ("of taken", FileWorld::Contents(mFolder / "taken"));
    EXPECT_EQ(mFolder / "new", PathOfItem(moved));
    EXPECT_EQ(fnfErr, Thrown([&] { UFSSpec::MoveRename(Spec("none"), Spec("folder")); }));
}

TEST_P(UFSSpecOnToolbox, MoveRenameToAnotherVolume) {
    if (!mFolder.MayMount()) GTEST_SKIP() << "this machine lets nobody mount";
    const std::string file = mFolder.MakeFile("file");
    const std::string point = mFolder.MakeFolder("point");
    ASSERT_EQ(0, mFolder.MountVolume(point));
    const std::string before = Picture();
    EXPECT_EQ(paramErr, Thrown([&] { UFSSpec::MoveRename(Spec("file"), Spec("point")); }));
    EXPECT_EQ(paramErr, Thrown([&] { UFSSpec::MoveRename(Spec("file"), Spec("point/new")); }));
    EXPECT_EQ(before, Picture());
    EXPECT_NE(0, Thrown([&] { UFSSpec::Delete(Spec("point"), true, true); })) << "the root of a volume";
    EXPECT_TRUE(Spec("point").IsVolume());
    ASSERT_EQ(0, mFolder.Unmount(point));
}

TEST_P(UFSSpecOnToolbox, Delete) {
    MakeWithCompanion("", "file");
    UFSSpec::Delete(Spec("file"), true, false);
    EXPECT_FALSE(FileWorld::Exists(mFolder / "file") || FileWorld::Exists(mFolder / "._file"));
    EXPECT_EQ(fnfErr, Thrown([&] { UFSSpec::Delete(Spec("file"), true, false); }));
    UFSSpec::Delete(Spec("file"), false, true);

    mFolder.MakeFolder("folder/sub");
    const std::string kept = mFolder.MakeFile("kept", "kept");
    mFolder.MakeLink(kept, "folder/link");
    EXPECT_EQ(fBsyErr, Thrown([&] { UFSSpec::Delete(Spec("folder"), true, false); }));
    EXPECT_TRUE(FileWorld::Exists(mFolder / "folder/sub"));
    mFolder.MakeLink("folder", "folderlink");
    UFSSpec::Delete(Itself("folderlink"), true, true);
    EXPECT_TRUE(FileWorld::Exists(mFolder / "folder/sub")) << "the link alone";
    UFSSpec::Delete(Spec("folder"), true, true);
    EXPECT_FALSE(FileWorld::Exists(mFolder / "folder"));
    EXPECT_EQ("kept", FileWorld::Contents(kept));
    mFolder.MakeLink("kept", "link");
    UFSSpec::Delete(Spec("link"), true, false);
    EXPECT_FALSE(FileWorld::Exists(kept)) << "by a path what it leads to";
    EXPECT_TRUE(FileWorld::Exists(mFolder / "link"));
}

TEST_P(UFSSpecOnToolbox, NothingDeletesTheRoot) {
    EXPECT_NE(0, Thrown([&] { UFSSpec::Delete("/", true, true); }));
    EXPECT_NE(0, Thrown([&] { UFSSpec::Delete(TFSSpec(), true, true); }));
    EXPECT_NE(0, Thrown([&] { UFSSpec::Delete(TFSSpec(TFSSpec("/").GetVolume(), 1), true, true); }));
    EXPECT_TRUE(FileWorld::Exists(mFolder.Path()));
}

TEST_P(UFSSpecOnToolbox, Locks) {
    mFolder.MakeFile("file");
    const TFSSpec file = Spec("file");
    EXPECT_FALSE(UFSSpec::IsLocked(file));
    EXPECT_FALSE(UFSSpec::SetLock(file, true));
    EXPECT_TRUE(UFSSpec::IsLocked(file) && UFSSpec::SetLock(file, true));
    EXPECT_EQ(fLckdErr, Thrown([&] { UFSSpec::Delete(file, true, false); }));
    EXPECT_TRUE(UFSSpec::SetLock(file, false));
    EXPECT_FALSE(UFSSpec::IsLocked(file) || UFSSpec::IsLocked(Spec("none")) ||
                 UFSSpec::SetLock(Spec("none"), true));
}

TEST_P(UFSSpecOnToolbox, CatalogInfo) {
    mFolder.MakeFile("file");
    FSCatalogInfo info = {};
    UFSSpec::GetCatalogInfo(Spec("file"), info, kFSCatInfoGettableInfo);
    info.backupDate = {0, 0xC0000000, 0};
    UFSSpec::SetCatalogInfo(Spec("file"), info, kFSCatInfoBackupDate);
    EXPECT_EQ(0xC0000000, +InfoOf(mFolder / "file", kFSCatInfoBackupDate).backupDate.lowSeconds);
    EXPECT_EQ(errFSBadInfoBitmap, Thrown([&] { UFSSpec::SetCatalogInfo(Spec("file"), info, 0x80000000); }));
}

TEST_P(UFSSpecOnToolbox, MakeUniqueName) {
    mFolder.MakeFile("Report.txt");
    EXPECT_EQ("new", Name(UFSSpec::MakeUniqueName(Spec("new"))));
    EXPECT_EQ("Report[1].txt", Name(UFSSpec::MakeUniqueName(Spec("Report.txt"))));
    mFolder.MakeFile("report[1].TXT");
    EXPECT_EQ("Report[2].txt", Name(UFSSpec::MakeUniqueName(Spec("Report.txt"))));
    mFolder.MakeFolder("Data");
    const TFSSpec unique = UFSSpec::MakeUniqueName(Spec("Data"));
    EXPECT_EQ("Data[1]", Name(unique));
    EXPECT_EQ(TFSSpec(mFolder.Path().c_str()).GetNodeID(), unique.GetParentID());
    // What it makes can be made, of as many bytes as there may be.
    for (const char* const character : {"n", "\xC3\xA4", "\xE6\xBC\xA2", "\xF0\x9F\x98\x80"}) {
        std::string name;
        while (name.size() + std::strlen(character) <= 255)
            name += character;
        for (int i = 0; i < 3; ++i)
            UFSSpec::CreateFile(UFSSpec::MakeUniqueName(Itself(name)), 0, 0);
        EXPECT_TRUE(FileWorld::Exists(mFolder / name));
    }
    EXPECT_EQ(15U, FileWorld::NamesIn(mFolder.Path()).size());
}

TEST_P(UFSSpecOnToolbox, TempFileSpec) {
    const SInt16 volume = TFSSpec(mFolder.Path().c_str()).GetVolume();
    const TFSSpec first = UFSSpec::TempFileSpec(volume, String("abc"));
    EXPECT_FALSE(first.Exists());
    EXPECT_EQ(0U, Name(first).rfind("abc", 0));
    UFSSpec::CreateFile(first, 0, 0);
    const TFSSpec second = UFSSpec::TempFileSpec(volume, String("abc"));
    EXPECT_TRUE(second != first && !second.Exists());
    UFSSpec::CreateFile(second, 0, 0);
    EXPECT_EQ(dupFNErr, Thrown([&] { UFSSpec::CreateFile(first, 0, 0); })) << "nobody gets another's";
    SInt16 folderVolume = 0;
    UInt32 folder = 0;
    EXPECT_EQ(noErr, FindFolder(volume, kTemporaryFolderType, kDontCreateFolder, &folderVolume, &folder));
    EXPECT_EQ(folder, first.GetParentID());
    UFSSpec::Delete(first, true, false);
    UFSSpec::Delete(second, true, false);
}

TEST_P(UFSSpecOnToolbox, Trash) {
    mFolder.MakeFile("file");
    EXPECT_FALSE(UFSSpec::ItemIsInTrash(Spec("file"))) << "there is no trash";
    const std::string trash = mFolder.MakeFolder(".local/share/Trash/files");
    mFolder.MakeFolder(".local/share/Trash/files/folder");
    mFolder.MakeFile(".local/share/Trash/files/folder/inner");
    EXPECT_TRUE(UFSSpec::ItemIsInTrash(trash.c_str()));
    EXPECT_TRUE(UFSSpec::ItemIsInTrash((trash + "/folder").c_str()));
    EXPECT_TRUE(UFSSpec::ItemIsInTrash((trash + "/folder/inner").c_str()));
    EXPECT_FALSE(UFSSpec::ItemIsInTrash(Spec("file")) || UFSSpec::ItemIsInTrash(TFSSpec("/")) ||
                 UFSSpec::ItemIsInTrash(Spec(".local/share/Trash")));
}

TEST_P(UFSSpecOnToolbox, WellKnownFolders) {
    EXPECT_EQ(mFolder.Path(), PathOfItem(UFSSpec::GetHomeFolder()));
    const struct {
        TFSSpec (*get)(bool);
        const char* name;
    } kFolders[] = {{UFSSpec::GetMoviesFolder, "Videos"},
                    {UFSSpec::GetPicturesFolder, "Pictures"},
                    {UFSSpec::GetMusicFolder, "Music"},
                    {UFSSpec::GetDocumentsFolder, "Documents"},
                    {UFSSpec::GetDesktopFolder, "Desktop"}};
    for (const auto& [get, name] : kFolders) {
        EXPECT_FALSE(get(false).IsValid()) << name;
        EXPECT_EQ(mFolder / name, PathOfItem(get(true)));
        EXPECT_EQ(mFolder / name, PathOfItem(get(false)));
    }
    const TCFString editor = String("Editor");
    EXPECT_FALSE(UFSSpec::GetApplicationSupportFolder(false, false).IsValid());
    EXPECT_FALSE(UFSSpec::GetApplicationSupportFolderForApp(false, editor, false).IsValid());
    const TFSSpec own = UFSSpec::GetApplicationSupportFolderForApp(false, editor, true);
    EXPECT_EQ(mFolder / ".local/share/Editor", PathOfItem(own));
    EXPECT_TRUE(own == UFSSpec::GetApplicationSupportFolderForApp(false, editor, false));
    EXPECT_EQ(mFolder / ".local/share", PathOfItem(UFSSpec::GetApplicationSupportFolder(false, false)));
    EXPECT_FALSE(UFSSpec::TFSSpecFindFolder(kUserDomain, 0x6E6F6E65, 1).IsValid());
    EXPECT_FALSE(UFSSpec::TFSSpecFindFolder(kNetworkDomain, kDesktopFolderType, 1).IsValid());
}

TEST_P(UFSSpecOnToolbox, ContentsOfFolders) {
    mFolder.MakeFolder("A/S");
    mFolder.MakeFile("A/x");
    mFolder.MakeFile("A/y");
    mFolder.MakeFile("A/.hidden");
    mFolder.MakeFile("A/S/z");
    mFolder.MakeFile("b");
    mFolder.MakeLink("S", "A/link");
    MakeWithCompanion("A/", "forked");
    const auto names = [](const std::vector<TFSSpec>& inItems) {
        std::string text;
        for (const TFSSpec& item : inItems)
            text += Name(item) + (item.IsFolder() ? "/ " : " ");
        return text;
    };
    std::vector<TFSSpec> items;
    EXPECT_EQ(noErr, UFSSpec::GetFolderContents(Spec("A"), items, false));
    UFSSpec::SortTFSSpecs(items);
    EXPECT_EQ(".hidden forked link S/ x y ", names(items)) << "companions are none";
    items.clear();
    EXPECT_EQ(noErr, UFSSpec::GetFolderContents(Spec("A"), items, true));
    UFSSpec::SortTFSSpecs(items);
    EXPECT_EQ(".hidden forked link x y ", names(items)) << "a link is no folder";
    items.clear();
    EXPECT_EQ(noErr, UFSSpec::GetFolderContents(Spec("none"), items, true));
    mFolder.MakeFolder("empty");
    EXPECT_EQ(noErr, UFSSpec::GetFolderContents(Spec("empty"), items, true));
    EXPECT_TRUE(items.empty());
    items = {Spec("A"), Spec("b")};
    UFSSpec::ExpandFolderContents(items, 10, false);
    UFSSpec::SortTFSSpecs(items);
    EXPECT_EQ("b forked link x y ", names(items));
    EXPECT_EQ(errFSNotAFolder, UFSSpec::GetFolderContents(Itself("b"), items, true));
}

TEST_P(UFSSpecOnToolbox, FindersOrder) {
    const std::string names[] = {"File 10", "file 1", "File 2", "\xC3\xA4pfel",
                                 "apple",   "Zebra",  "12:30",  "_x"};
    std::vector<TFSSpec> items;
    for (const std::string& name : names) {
        name == "Zebra" ? mFolder.MakeFolder(name) : mFolder.MakeFile(name);
        items.push_back(Spec(name));
    }
    UFSSpec::SortTFSSpecs(items);
    std::string sorted;
    for (const TFSSpec& item : items)
        sorted += Name(item) + ", ";
    EXPECT_EQ("_x, 12/30, \xC3\xA4pfel, apple, file 1, File 2, File 10, Zebra, ", sorted);
    for (std::size_t i = 1; i < items.size(); ++i)
        EXPECT_FALSE(FinderCompareNames()(items[i], items[i - 1])) << Name(items[i]);
}

TEST_P(UFSSpecOnToolbox, CleanTempItems) {
    const SInt16 volume = TFSSpec(mFolder.Path().c_str()).GetVolume();
    SInt16 folderVolume = 0;
    UInt32 folder = 0;
    ASSERT_EQ(noErr, FindFolder(volume, kTemporaryFolderType, kCreateFolder, &folderVolume, &folder));
    const TFSSpec temporary(folderVolume, folder);
    const auto child = [&](const char* inName) { return TFSSpec(temporary.GetFSRef(), String(inName)); };
    for (const char* const name : {"abc123", "xabc", "ABC"})
        UFSSpec::CreateFile(child(name), 0, 0);
    TFSSpec inner = child("abcTemp");
    UFSSpec::CreateFolder(inner);
    UFSSpec::CreateFile(TFSSpec(inner.GetFSRef(), String("inner")), 0, 0);
    UFSSpec::CleanTempItems(reinterpret_cast<const unsigned char*>("\3abc"));
    EXPECT_FALSE(child("abc123").Exists() || child("abcTemp").Exists());
    EXPECT_TRUE(child("xabc").Exists() && child("ABC").Exists());
    EXPECT_EQ(paramErr,
              Thrown([] { UFSSpec::CleanTempItems(reinterpret_cast<const unsigned char*>("\1\xFF")); }));
    EXPECT_TRUE(child("xabc").Exists());
}

// The faults of both worlds are the same, and this one is the quicker.
class UFSSpecFaults : public UFSSpecOnToolbox {};
INSTANTIATE_TEST_SUITE_P(Worlds, UFSSpecFaults, testing::Values(FileWorld::kMemory), support::NameOfWorld);

// What is thrown tells of nothing half done: all is as it was, or all is done.
TEST_P(UFSSpecFaults, EveryFailingCallInTurn) {
    mFolder.MakeFolder("tmp");
    mVariables["TMPDIR"] = mFolder / "tmp";
    const auto prepare = [&] {
        FileWorld::RemoveAll(mFolder / "all");
        mFolder.MakeFolder("all/folder");
        mFolder.MakeFolder("all/there");
        MakeWithCompanion("all/", "file");
        mFolder.MakeFile("all/folder/inner");
        mFolder.MakeFile("all/folder/second");
    };
    using Action = void (*)(const std::string&);
    const Action kActions[] = {
        [](const std::string& inPath) {
            UFSSpec::MoveRename((inPath + "file").c_str(), (inPath + "there/new").c_str());
        },
        [](const std::string& inPath) { UFSSpec::Rename((inPath + "file").c_str(), CFSTR("new")); },
        [](const std::string& inPath) {
            TFSSpec spec((inPath + "new").c_str());
            UFSSpec::CreateFolder(spec);
        },
        [](const std::string& inPath) { UFSSpec::CreateFile((inPath + "new").c_str(), kEditor, kText); }};
    for (const Action act : kActions) {
        prepare();
        const std::string before = ItemsIn(mFolder / "all");
        const std::string path = mFolder / "all/";
        act(path);
        const std::string after = ItemsIn(mFolder / "all");
        EXPECT_NE(before, after);
        const auto run = [&](const auto& inUnderFault) {
            prepare();
            long code = 0;
            inUnderFault([&] { code = Thrown([&] { act(path); }); });
            const std::string picture = ItemsIn(mFolder / "all");
            EXPECT_TRUE(picture == after || (picture == before && code != 0)) << code << '\n' << picture;
        };
        EXPECT_GT(support::FailEach<FailingCalls>(run, EIO), 10);
    }
}

// Of a folder that is deleted with what is in it a part may be gone, and then it is told.
TEST_P(UFSSpecFaults, DeletionsWithEveryFailingCall) {
    const auto run = [&](const auto& inUnderFault) {
        mFolder.MakeFolder("folder");
        mFolder.MakeFile("folder/inner");
        long code = 0;
        inUnderFault([&] { code = Thrown([&] { UFSSpec::Delete(Spec("folder"), true, true); }); });
        EXPECT_EQ(code == 0, !FileWorld::Exists(mFolder / "folder")) << code;
    };
    EXPECT_GT(support::FailEach<FailingCalls>(run, EIO), 10);
}

}  // namespace
