// The file-manager helpers over the real toolbox.
#include "platform/catalogue/ItemChanges.h"
#include "support/FailEach.h"
#include "support/FailingCalls.h"
#include "support/FolderTest.h"
#include "support/Variables.h"

#include <fcntl.h>
#include <files/Exchange.h>
#include <files/Forks.h>
#include <files/Names.h>
#include <files/References.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <toolbox/MacMemory.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <string_view>

namespace {

using namespace test_files;
using support::FailEach;

class HelpersOnToolboxTest : public ItemChangesTest<FolderTest> {
  protected:
    static std::u16string Text(const HFSUniStr255& inName) {
        return {inName.unicode, inName.unicode + inName.length};
    }
};

TEST_F(HelpersOnToolboxTest, References) {
    const std::string path = mFolder.MakeFile("file");
    const FSRef file = RefOf(path);
    const FSRef here = RefOf(mFolder.Path());
    EXPECT_TRUE(FSRefValid(&file));

    SInt16 volume = 0;
    EXPECT_EQ(noErr, FSGetVRefNum(&file, &volume));
    EXPECT_EQ(Here("file").vRefNum, volume);

    UInt32 id = 0;
    Boolean isFolder = true;
    EXPECT_EQ(noErr, FSGetNodeID(&file, &id, &isFolder));
    EXPECT_EQ(InfoOf(path, kFSCatInfoNodeID).nodeID, id);
    EXPECT_FALSE(isFolder);
    EXPECT_EQ(noErr, FSGetNodeID(&here, nullptr, &isFolder));
    EXPECT_TRUE(isFolder);

    FSRef parent = {};
    EXPECT_EQ(noErr, FSGetParentRef(&file, &parent));
    EXPECT_EQ(noErr, FSCompareFSRefs(&here, &parent));

    FSSpec spec = {};
    EXPECT_EQ(noErr, FSRefMakeFSSpec(&file, &spec));
    EXPECT_EQ(path, PathOfSpec(spec));
    EXPECT_EQ(noErr, FSPathMakeFSSpec(reinterpret_cast<const UInt8*>(path.c_str()), &spec, &isFolder));
    EXPECT_EQ(path, PathOfSpec(spec));
    EXPECT_FALSE(isFolder);

    FSRef same = {};
    EXPECT_EQ(noErr, FSMakeFSRef(spec.vRefNum, spec.parID, spec.name, &same));
    EXPECT_EQ(noErr, FSCompareFSRefs(&file, &same));
    UInt8 text[4096];
    EXPECT_EQ(noErr, FSMakePath(spec.vRefNum, spec.parID, spec.name, text, sizeof text));
    EXPECT_EQ(path, reinterpret_cast<const char*>(text));
    EXPECT_EQ(pathTooLongErr, FSMakePath(spec.vRefNum, spec.parID, spec.name, text, 4));

    EXPECT_EQ(noErr, FSDeleteObject(&file));
    EXPECT_FALSE(FSRefValid(&file));
    EXPECT_EQ(fnfErr, FSMakePath(spec.vRefNum, spec.parID, spec.name, text, sizeof text));
}

TEST_F(HelpersOnToolboxTest, ParentOfARootFolder) {
    const FSRef root = RefOf("/");
    const FSRef none = {};
    FSRef parent;
    std::memset(&parent, 0x77, sizeof parent);
    EXPECT_EQ(noErr, FSGetParentRef(&root, &parent));
    EXPECT_EQ(0, std::memcmp(&none, &parent, sizeof parent));
}

TEST_F(HelpersOnToolboxTest, Privileges) {
    const std::string path = mFolder.MakeFile("file");
    ASSERT_EQ(0, chmod(path.c_str(), 0640));
    const FSRef file = RefOf(path);
    UInt8 privileges = 77;
    FSPermissionInfo permissions = {};
    EXPECT_EQ(noErr, FSGetUserPrivilegesPermissions(&file, &privileges, &permissions));
    EXPECT_EQ(0, privileges) << "its owner may do everything";
    EXPECT_EQ(0100640, permissions.mode);
}

TEST_F(HelpersOnToolboxTest, NamesOfItems) {
    const std::string longName = "caf\xC3\xA9 of a name that no specification holds whole.text";
    const FSRef file = RefOf(mFolder.MakeFile(longName));
    HFSUniStr255 name = {};
    EXPECT_EQ(noErr, FSGetFileDirName(&file, &name));
    EXPECT_EQ(u"caf\u00E9 of a name that no specification holds whole.text", Text(name));
    const std::u16string whole = Text(name);

    FSSpec spec = {};
    EXPECT_EQ(noErr, FSRefMakeFSSpec(&file, &spec));
    TextEncoding encoding = 77;
    EXPECT_EQ(noErr, FSSpecToUniStr(&spec, &name, &encoding));
    EXPECT_EQ(whole, Text(name)) << "the catalogue's, not the FSSpec's";
    EXPECT_EQ(TextEncoding{kTextEncodingUnknown}, encoding) << "the item has no hint";
    char text[100];
    EXPECT_EQ(noErr, FSSpecToCStr(&spec, text, sizeof text));
    EXPECT_EQ(longName, text);
    Str255 pascal;
    EXPECT_EQ(noErr, FSSpecToPStr(&spec, pascal));
    EXPECT_EQ(longName, std::string(reinterpret_cast<char*>(pascal) + 1, pascal[0]));

    const FSSpec none = Here("none");
    EXPECT_EQ(noErr, FSSpecToUniStr(&none, &name, &encoding));
    EXPECT_EQ(u"none", Text(name));
    EXPECT_EQ(TextEncoding{kCFStringEncodingUTF8}, encoding);
    const FSSpec noText = Here("caf\x8E");
    EXPECT_EQ(noErr, FSSpecToUniStr(&noText, &name, &encoding));
    EXPECT_EQ(u"caf\u008E", Text(name));
    EXPECT_EQ(0U, encoding);
    EXPECT_EQ(nullptr, FSSpecToCFString(&noText));
}

TEST_F(HelpersOnToolboxTest, NamesAreConverted) {
    HFSUniStr255 name = {};
    EXPECT_EQ(noErr, HFSNameGetUnicodeName(PascalName("caf\x8E"), kCFStringEncodingMacRoman, &name));
    EXPECT_EQ(u"caf\u00E9", Text(name));
    Str255 pascal;
    EXPECT_EQ(noErr, UnicodeNameGetHFSName(name.length, name.unicode, kCFStringEncodingUTF8, pascal));
    EXPECT_EQ("caf\xC3\xA9", std::string(reinterpret_cast<char*>(pascal) + 1, pascal[0]));
}

TEST_F(HelpersOnToolboxTest, UniqueNames) {
    const FSRef here = RefOf(mFolder.Path());
    const FSRef there = RefOf(mFolder.MakeFolder("there"));
    mFolder.MakeFile("0000002a");  // the same name but for case
    mFolder.MakeFile("there/0000002B");
    UInt32 seed = 0x2A;
    HFSUniStr255 name = {};
    EXPECT_EQ(noErr, GenerateUniqueHFSUniStr(&seed, &here, &there, &name));
    EXPECT_EQ(u"0000002C", Text(name));
    EXPECT_EQ(0x2CU, seed);
}

TEST_F(HelpersOnToolboxTest, Buffers) {
    Size size = 0;
    const Ptr buffer = GetTempBuffer(100'000, &size);
    ASSERT_NE(nullptr, buffer);
    EXPECT_EQ(100'000, size);
    EXPECT_EQ(size, GetPtrSize(buffer));
    DisposePtr(buffer);
}

TEST_F(HelpersOnToolboxTest, BuffersOfWhatALimitLeaves) {
    SetMemoryLimit(GetMemoryInUse() + 100'000);
    Size size = 0;
    const Ptr buffer = GetTempBuffer(1'000'000, &size);
    SetMemoryLimit(0);
    ASSERT_NE(nullptr, buffer);
    EXPECT_EQ(0, size % 4096);
    EXPECT_LE(size, 100'000 - 32'768);
    EXPECT_GE(size, 4096);
    DisposePtr(buffer);
}

// Moved and renamed, with a temporary folder of the test's.
class MoveRenameOnToolboxTest : public HelpersOnToolboxTest {
  protected:
    MoveRenameOnToolboxTest() {
        mFolder.MakeFolder("here");
        mFolder.MakeFolder("there");
    }
    // A file with a companion, permissions and dates of its own.
    FSRef MakeItem(const std::string& inFolder) {
        const std::string path = MakeWithCompanion(inFolder + '/', "file");
        EXPECT_EQ(0, chmod(path.c_str(), 0640));
        const timespec times[] = {{1'000'000'000, 5'000}, {1'100'000'000, 7'000}};
        EXPECT_EQ(0, utimensat(AT_FDCWD, path.c_str(), times, 0));
        return RefOf(path);
    }
    // What an item has beside its names and contents; but for the dates that every change of names sets.
    static std::string Attributes(const FSRef& inItem) {
        FSCatalogInfo info = {};
        constexpr FSCatalogInfoBitmap kKept =
            kFSCatInfoGettableInfo & ~(kFSCatInfoAttrMod | kFSCatInfoParentDirID);
        EXPECT_EQ(noErr, FSGetCatalogInfo(&inItem, kKept, &info, nullptr, nullptr, nullptr));
        return {reinterpret_cast<const char*>(&info), sizeof info};
    }
    // A companion's old name that could not be taken away stays in the scratch folder, and counts as a link.
    static std::string WithoutLeftovers(std::string inPicture) {
        for (std::size_t at = 0; (at = inPicture.find("=2:#")) != std::string::npos;)
            inPicture.erase(at + 1, 2);
        return inPicture;
    }
    static OSErr MoveRename(const FSRef& inItem, const FSRef& inFolder, std::u16string_view inName,
                            FSRef* outItem) {
        return FSMoveRenameObjectUnicode(&inItem, &inFolder, inName.size(), UnitsOf(inName), 0, outItem);
    }

    const TemporaryFolder mTemporary;
    Variables mVariables{{"TMPDIR", mTemporary.Path()}};
};

TEST_F(MoveRenameOnToolboxTest, TakesItsCompanionWithIt) {
    const FSRef item = MakeItem("here");
    const std::string attributes = Attributes(item);
    const FSRef there = RefOf(mFolder / "there");
    FSRef moved = {};
    EXPECT_EQ(noErr, MoveRename(item, there, u"new", &moved));
    EXPECT_EQ(attributes, Attributes(moved));
    EXPECT_EQ(mFolder / "there/new", PathOf(moved));
    EXPECT_EQ("here(), there(._new=#fork of file, new=of file, ), ", Picture());
}

TEST_F(MoveRenameOnToolboxTest, NameThatIsTaken) {
    const FSRef item = MakeItem("here");
    FSCatalogInfo hint = {};
    hint.textEncodingHint = kCFStringEncodingMacJapanese;
    ASSERT_EQ(noErr, FSSetCatalogInfo(&item, kFSCatInfoTextEncoding, &hint));
    mFolder.MakeFile("there/NEW", "another");
    const std::string before = Picture();
    const std::string attributes = Attributes(item);
    const FSRef there = RefOf(mFolder / "there");
    FSRef moved = {};
    EXPECT_EQ(dupFNErr, MoveRename(item, there, u"new", &moved));
    EXPECT_EQ(attributes, Attributes(moved));
    EXPECT_EQ(mFolder / "here/file", PathOf(moved));
    EXPECT_EQ(before, Picture());
}

TEST_F(MoveRenameOnToolboxTest, ToAnotherCaseOfItsName) {
    const FSRef item = MakeItem("here");
    const FSRef here = RefOf(mFolder / "here");
    FSRef moved = {};
    EXPECT_EQ(noErr, MoveRename(item, here, u"FILE", &moved));
    EXPECT_EQ("here(._FILE=#fork of file, FILE=of file, ), there(), ", Picture());
}

TEST_F(MoveRenameOnToolboxTest, FolderIntoItself) {
    mFolder.MakeFolder("here/folder/inner");
    const std::string before = Picture();
    const FSRef folder = RefOf(mFolder / "here/folder");
    const FSRef inner = RefOf(mFolder / "here/folder/inner");
    FSRef moved = {};
    EXPECT_EQ(badMovErr, MoveRename(folder, inner, u"new", &moved));
    EXPECT_EQ(mFolder / "here/folder", PathOf(moved));
    EXPECT_EQ(before, Picture());
}

TEST_F(MoveRenameOnToolboxTest, EveryCallOfTheSystemFails) {
    int run = 0;
    const int steps = FailEach<FailingCalls>(
        [&](const auto& inUnderFault) {
            const std::string name = "run" + std::to_string(++run);
            mFolder.MakeFolder(name + "/here");
            mFolder.MakeFolder(name + "/there");
            const FSRef item = MakeItem(name + "/here");
            const FSRef there = RefOf(mFolder / name + "/there");
            const std::string before = PictureOf(mFolder / name);
            const std::string attributes = Attributes(item);
            FSRef moved = {};
            OSErr error = noErr;
            inUnderFault([&] { error = MoveRename(item, there, u"new", &moved); });
            // First: looking at contents is what changes the date of access.
            EXPECT_EQ(attributes, Attributes(moved));
            EXPECT_EQ(mFolder / name + (error == noErr ? "/there/new" : "/here/file"), PathOf(moved));
            EXPECT_EQ(error == noErr ? "ny" : "yn",
                      LookFor({mFolder / name + "/here/file", mFolder / name + "/there/new"}))
                << "which takes leftovers away";
            EXPECT_EQ(error == noErr ? "here(), there(._new=#fork of file, new=of file, ), " : before,
                      WithoutLeftovers(PictureOf(mFolder / name)));
        },
        EIO);
    EXPECT_GT(steps, 20);
}

}  // namespace
