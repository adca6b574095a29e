// Specifications of files over the real toolbox.
#include "Thrown.h"
#include "platform/catalogue/ItemChanges.h"
#include "support/FailEach.h"
#include "support/FailingCalls.h"
#include "support/FailingNew.h"
#include "support/FileWorld.h"

#include <files/TFSSpec.h>
#include <gtest/gtest.h>
#include <toolbox/DefaultFolder.h>
#include <toolbox/FinderInfo.h>

#include <cstring>
#include <string>

namespace {

using namespace test_files;
using support::FileWorld;

class TFSSpecOnToolbox : public ItemChangesTest<support::FileWorldTest> {
  protected:
    ~TFSSpecOnToolbox() override { EXPECT_EQ(mDescriptors, OpenDescriptorCount()); }

    static TCFString String(const std::string& inText) { return {inText.c_str(), kCFStringEncodingUTF8}; }
    static std::string Text(const TCFString& inString) {
        char text[4096];
        return inString.UTF8(sizeof text - 1, text);
    }
    TFSSpec Spec(std::string_view inName) const { return (mFolder / inName).c_str(); }
    // What has the name in the test's folder itself.
    TFSSpec Itself(const std::string& inName) const { return {RefOf(mFolder.Path()), String(inName)}; }
    static std::string PathOfItem(const TFSSpec& inSpec) { return PathOf(inSpec.GetFSRef()); }
    static std::string FullPath(const TFSSpec& inSpec, CFURLPathStyle inStyle = kCFURLPOSIXPathStyle) {
        return Text(inSpec.GetFullPath(inStyle));
    }
    static std::string Name(const TFSSpec& inSpec) { return Text(inSpec.GetName()); }

    static long ThrownOfPath(const std::string& inPath) {
        return Thrown([&] { const TFSSpec spec(inPath.c_str()); });
    }

  private:
    std::size_t mDescriptors = OpenDescriptorCount();
};
INSTANTIATE_TEST_SUITE_P(Worlds, TFSSpecOnToolbox, support::BothWorlds(), support::NameOfWorld);

// Composed and decomposed, of as many bytes as there may be, with what is a colon on disk, and no text at
// all.
TEST_P(TFSSpecOnToolbox, AllNamesLeadBackToTheirFile) {
    std::string cjk;
    for (int i = 0; i < 85; ++i)
        cjk += "\xE6\xBC\xA2";
    const std::string names[] = {"plain",
                                 "12:30.txt",
                                 "caf\xC3\xA9",
                                 "nai\xCC\x88ve",
                                 std::string(255, 'n'),
                                 cjk,
                                 "bad\xFFname",
                                 "\xED\xA0\x80 half",
                                 "\xEF\x9E\x80 private",
                                 std::string(200, '\xFE'),
                                 "%41 b",
                                 " ",
                                 "..."};
    for (const std::string& name : names) {
        const std::string path = mFolder.MakeFile(name);
        const TFSSpec spec = Spec(name);
        EXPECT_EQ(path, PathOfItem(spec));
        EXPECT_TRUE(spec.Exists() && !spec.IsFolder()) << name;
        EXPECT_TRUE(spec == TFSSpec(RefOf(path))) << name;
        EXPECT_TRUE(spec == TFSSpec(RefOf(mFolder.Path()), spec.GetName())) << name;
        EXPECT_TRUE(spec == TFSSpec(spec.GetVolume(), spec.GetParentID(), spec.GetName())) << name;
        EXPECT_TRUE(spec == TFSSpec(spec.GetFSSpec())) << name;
        EXPECT_EQ(mFolder.Path(), PathOf(spec.GetParentFSRef()));
        const CFURLRef url = CFURLCreateFromFileSystemRepresentation(
            kCFAllocatorDefault, reinterpret_cast<const UInt8*>(path.data()),
            static_cast<CFIndex>(path.size()), false);
        EXPECT_TRUE(spec == TFSSpec(url)) << name;
        CFRelease(url);
        const bool isText = name.find('\xFF') == std::string::npos &&
                            name.find('\xFE') == std::string::npos && name.find('\xED') == std::string::npos;
        EXPECT_EQ(isText ? path : "", FullPath(spec));
    }
}

TEST_P(TFSSpecOnToolbox, AFolderHasOneForm) {
    const std::string path = mFolder.MakeFolder("Folder");
    const TFSSpec folder = Spec("Folder");
    EXPECT_TRUE(folder.IsFolder() && !folder.IsVolume() && folder.Exists() && folder.IsValid());
    EXPECT_EQ("Folder", Name(folder));
    EXPECT_TRUE(folder == TFSSpec(RefOf(path)));
    EXPECT_TRUE(folder == Itself("Folder"));
    EXPECT_TRUE(folder == Itself("fOLDER"));
    EXPECT_TRUE(folder == Spec("Folder/"));
    EXPECT_TRUE(folder == TFSSpec(folder.GetVolume(), folder.GetNodeID()));
    EXPECT_TRUE(folder == TFSSpec(folder.GetFSSpec()));
    EXPECT_TRUE(folder == TFSSpec(("file://" + path).c_str()));
    EXPECT_EQ(path, FullPath(folder));
    EXPECT_EQ(TFSSpec(mFolder.Path().c_str()).GetNodeID(), folder.GetParentID());
    EXPECT_EQ(0x666F6C64U, folder.GetFileType());
    EXPECT_EQ(0U, folder.GetFileCreator());
}

TEST_P(TFSSpecOnToolbox, NamesAreThoseOfTheItem) {
    mFolder.MakeFile("Makefile");
    const TFSSpec spec = Itself("makefile");
    EXPECT_EQ("Makefile", Name(spec));
    EXPECT_TRUE(spec == Spec("Makefile"));
    mFolder.MakeFile("makefile");
    EXPECT_EQ("makefile", Name(Itself("makefile")));
    EXPECT_TRUE(Itself("makefile") != spec);
}

TEST_P(TFSSpecOnToolbox, WhatIsNotThereYet) {
    const TFSSpec spec = Spec("new:one.txt");
    EXPECT_FALSE(spec.Exists() || spec.IsFolder() || spec.IsInvisible() || spec.IsBundle());
    EXPECT_TRUE(spec.IsValid());
    EXPECT_EQ(mFolder / "new:one.txt", FullPath(spec));
    EXPECT_EQ(0U, spec.GetFileType());
    EXPECT_EQ(0U, +spec.GetModificationDate().lowSeconds);
    EXPECT_EQ(mFolder / "12:30", FullPath(Itself("12/30"))) << "one name";
    EXPECT_EQ("12/30", Text(Itself("12/30").GetDisplayName()));
    EXPECT_EQ(fnfErr, Thrown([&] { (void)spec.GetFSRef(); }));
    mFolder.MakeFile("new:one.txt");
    EXPECT_TRUE(spec.Exists());
    EXPECT_EQ(mFolder / "new:one.txt", PathOfItem(spec));
    EXPECT_EQ("new/one.txt", Name(Spec("new:one.txt")));
    EXPECT_EQ("new/one.txt", Text(spec.GetDisplayName()));
}

TEST_P(TFSSpecOnToolbox, PathsThatLeadNowhere) {
    mFolder.MakeFile("file");
    EXPECT_EQ(dirNFErr, ThrownOfPath("/no/such/dir/file"));
    EXPECT_EQ(fnfErr, ThrownOfPath(mFolder / "none/file"));
    EXPECT_EQ(paramErr, ThrownOfPath(mFolder / "file/new"));
    EXPECT_EQ(paramErr, ThrownOfPath(mFolder / "file/"));
    EXPECT_EQ(fnfErr, ThrownOfPath("/newfile of nobody"));
    EXPECT_EQ(paramErr, ThrownOfPath(""));
    EXPECT_EQ(paramErr, ThrownOfPath("file:///no/such/dir/file"));
    EXPECT_EQ(paramErr, ThrownOfPath("http://host/file"));
    EXPECT_EQ(bdNamErr, ThrownOfPath(mFolder / "bad\xFFname"));
    EXPECT_EQ(bdNamErr, ThrownOfPath("file://" + mFolder.Path() + "/bad%FFname"));
}

TEST_P(TFSSpecOnToolbox, RelativePaths) {
    mFolder.MakeFile("file");
    mFolder.MakeFolder("folder");
    const FileWorld::CurrentFolder here(mFolder, mFolder.Path());
    EXPECT_EQ(mFolder / "file", PathOfItem("file"));
    EXPECT_EQ(mFolder.Path(), PathOfItem("."));
    EXPECT_EQ(mFolder / "folder/new", FullPath("folder/new"));
    EXPECT_EQ("/newfile of nobody", FullPath("newfile of nobody")) << "in the root folder";
}

TEST_P(TFSSpecOnToolbox, TextsThatAreURLs) {
    mFolder.MakeFile("a b");
    EXPECT_EQ(mFolder / "a b", PathOfItem(("file://" + mFolder.Path() + "/a%20b").c_str()));
    EXPECT_EQ(mFolder / "new", FullPath(("file://" + mFolder.Path() + "/new").c_str()));
    mFolder.MakeFolder("a:b/c:/d");
    const FileWorld::CurrentFolder here(mFolder, mFolder.Path());
    EXPECT_EQ(mFolder / "a:b/c:/d", PathOfItem("a:b/c://d"));
}

TEST_P(TFSSpecOnToolbox, PathsAreFollowedAndNamesAreNot) {
    const std::string file = mFolder.MakeFile("file");
    const std::string folder = mFolder.MakeFolder("folder");
    mFolder.MakeLink("file", "link");
    mFolder.MakeLink("folder", "folderlink");
    mFolder.MakeLink("none", "dangling");
    EXPECT_EQ(file, PathOfItem(Spec("link")));
    EXPECT_EQ(folder, PathOfItem(Spec("folderlink")));
    EXPECT_EQ(mFolder / "link", PathOfItem(Itself("link")));
    EXPECT_EQ("link", Name(Itself("link")));
    const TFSSpec link = Itself("folderlink");
    EXPECT_FALSE(link.IsFolder());
    EXPECT_EQ("folderlink", Name(link));
    EXPECT_EQ(OSType{kSymLinkFileType}, link.GetFileType());
    EXPECT_EQ(OSType{kSymLinkCreator}, link.GetFileCreator());
    EXPECT_TRUE(Itself("dangling").Exists());
    EXPECT_TRUE(Spec("dangling") == Itself("dangling")) << "which leads nowhere";
}

TEST_P(TFSSpecOnToolbox, RootsOfVolumes) {
    const TFSSpec root("/");
    EXPECT_TRUE(root.IsVolume() && root.IsFolder());
    EXPECT_EQ(2U, root.GetNodeID());
    EXPECT_EQ(1U, root.GetParentID());
    EXPECT_EQ("/", FullPath(root));
    EXPECT_TRUE(root == TFSSpec(root.GetVolume(), 2));
    const TFSSpec above(root.GetVolume(), 1);
    EXPECT_FALSE(above.Exists());
    EXPECT_TRUE(above.IsValid());
    const FSRef none = {};
    const FSRef parent = root.GetParentFSRef();
    EXPECT_EQ(0, std::memcmp(&none, &parent, sizeof none));
}

TEST_P(TFSSpecOnToolbox, OfNothingButADefaultFolder) {
    const TFSSpec none;
    FSRef ref;
    EXPECT_EQ(dirNFErr, none.GetParIDFSRef(ref));
    EXPECT_FALSE(none.Exists());
    EXPECT_EQ("", Name(none));
    EXPECT_EQ("", Text(none.GetDisplayName()));
    EXPECT_EQ(dirNFErr, Thrown([&] { (void)none.GetFullPath(kCFURLPOSIXPathStyle); }));
}

TEST_P(TFSSpecOnToolbox, IdsAreTheFolders) {
    const TFSSpec file = TFSSpec(mFolder.MakeFile("file").c_str());
    const TFSSpec folder(mFolder.Path().c_str());
    EXPECT_EQ(folder.GetNodeID(), file.GetParentID());
    EXPECT_EQ(folder.GetVolume(), file.GetVolume());
    EXPECT_NE(0U, file.GetNodeID());
    FileWorld::Rename(mFolder / "file", mFolder / "other");
    EXPECT_FALSE(file.Exists()) << "it is the name that counts";
    EXPECT_EQ(0U, file.GetNodeID());
}

TEST_P(TFSSpecOnToolbox, ClassicNames) {
    const std::string name(40, 'n');
    mFolder.MakeFile(name);
    const FSSpec there = Spec(name).GetFSSpec();
    EXPECT_EQ(mFolder / name, PathOfSpec(there)) << "it tells the node";
    const FSSpec missing = Spec(name + "new").GetFSSpec();
    EXPECT_EQ(31, missing.name[0]);
    EXPECT_EQ(name.substr(0, 31), std::string(reinterpret_cast<const char*>(missing.name) + 1, 31));
    EXPECT_FALSE(TFSSpec(missing).Exists());
    FSSpec bad = missing;
    bad.name[0] = 1;
    bad.name[1] = 0xFF;
    EXPECT_EQ(bdNamErr, Thrown([&] { const TFSSpec spec(bad); }));
}

TEST_P(TFSSpecOnToolbox, FinderInformationAndDates) {
    const std::string path = mFolder.MakeFile("file");
    mFolder.MakeFile(".hidden");
    FileWorld::SetTimes(path, {1'000'000'000, 0}, {1'100'000'000, 0});
    const FSRef ref = RefOf(path);
    FSCatalogInfo info = {};
    const FileInfo finder = {0x54455854, 0x65646974, kIsInvisible, {}, 0};
    std::memcpy(info.finderInfo, &finder, sizeof finder);
    const TFSSpec file = Spec("file");
    EXPECT_FALSE(file.IsInvisible());
    ASSERT_EQ(noErr, FSSetCatalogInfo(&ref, kFSCatInfoFinderInfo, &info));
    EXPECT_EQ(0x54455854U, file.GetFileType());
    EXPECT_EQ(0x65646974U, file.GetFileCreator());
    EXPECT_TRUE(file.IsInvisible());
    EXPECT_EQ(+InfoOf(path, kFSCatInfoContentMod).contentModDate.lowSeconds,
              +file.GetModificationDate().lowSeconds);
    EXPECT_EQ(1'100'000'000U + 2'082'844'800U, +file.GetModificationDate().lowSeconds);
    EXPECT_TRUE(Spec(".hidden").IsInvisible());
}

TEST_P(TFSSpecOnToolbox, Packages) {
    mFolder.MakeFolder("Editor.app");
    mFolder.MakeFolder("folder");
    mFolder.MakeFolder("Tool/Contents");
    mFolder.MakeFile("Tool/Contents/PkgInfo", "APPLtool");
    mFolder.MakeFile("file.app");
    EXPECT_TRUE(Spec("Editor.app").IsBundle());
    EXPECT_TRUE(Spec("Tool").IsBundle());
    EXPECT_FALSE(Spec("folder").IsBundle() || Spec("file.app").IsBundle());
}

TEST_P(TFSSpecOnToolbox, PathsOfOtherStyles) {
    mFolder.MakeFile("12:30.txt");
    EXPECT_NE(std::string::npos, FullPath(Spec("12:30.txt"), kCFURLHFSPathStyle).find(":12/30.txt"));
    EXPECT_EQ("", FullPath(Spec("12:30.txt"), 77));
}

// The folder goes while it is remembered: nothing is made of what is there no more.
TEST_P(TFSSpecOnToolbox, AFolderThatGoes) {
    mFolder.MakeFolder("folder");
    const TFSSpec file = Spec("folder/file");
    EXPECT_FALSE(file.Exists());
    FileWorld::Remove(mFolder / "folder", true);
    EXPECT_FALSE(file.Exists());
    mFolder.MakeFolder("folder");
    mFolder.MakeFile("folder/file");
    EXPECT_FALSE(file.Exists()) << "it is another folder";
    EXPECT_FALSE(TFSSpec(file).Exists());
    EXPECT_TRUE(Spec("folder/file").Exists());
}

// What it is made of or what is thrown: never the folder in place of what is in it.
TEST_P(TFSSpecOnToolbox, EveryFailingCallAndAllocationInTurn) {
    const std::string path = mFolder.MakeFile("file");
    const FSRef here = RefOf(mFolder.Path());
    const std::string url = "file://" + path;
    const TCFString name = String("file");
    const auto make = [&](const auto& inUnderFault) {
        for (int maker = 0; maker < 3; ++maker) {
            bool isFolder = false;
            inUnderFault([&] {
                try {
                    const TFSSpec spec = maker == 0   ? TFSSpec(path.c_str())
                                         : maker == 1 ? TFSSpec(url.c_str())
                                                      : TFSSpec(here, name);
                    isFolder = spec.IsFolder();
                    (void)spec.GetFullPath(kCFURLPOSIXPathStyle);
                } catch (const LException& exception) {
                    EXPECT_NE(0, exception.GetErrorCode());
                } catch (const std::bad_alloc&) {
                }
            });
            EXPECT_FALSE(isFolder);
        }
    };
    EXPECT_GT(support::FailEach<FailingCalls>(make, EIO), 5);
    EXPECT_GT(support::FailEach<FailingNew>(make), 5);
}

}  // namespace
