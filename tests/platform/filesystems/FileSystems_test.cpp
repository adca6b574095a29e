// What file systems differ in: each must be told truly, and nothing may be lost for want of it.
#include "../catalogue/ItemChanges.h"
#include "SharedImages.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/fiemap.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <toolbox/FileCopies.h>
#include <toolbox/Forks.h>
#include <toolbox/ItemLookup.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <ostream>
#include <string>
#include <vector>

namespace {

using namespace test_files;
using support::FileWorld;

struct FileSystem {
    const char* type;
    bool hasPermissions;
    bool hasHardLinks;
    bool hasBirths;
    bool hasExchange;
    bool sharesExtents;
    bool foldsCase;
};
void PrintTo(const FileSystem& inSystem, std::ostream* ioStream) {
    *ioStream << inSystem.type;
}

constexpr FileSystem kSystems[] = {
    {"ext4", true, true, true, true, false, false},
    {"xfs", true, true, true, true, true, false},
    {"btrfs", true, true, true, true, true, false},
    {"exfat", false, false, false, false, false, true},
};

// Folders of tests lie on the image while they are made.
class InTMPDIR {
  public:
    explicit InTMPDIR(const support::MountedImage& inImage) {
        if (const char* const before = std::getenv("TMPDIR")) mBefore = before;
        if (!inImage.WhyNot().empty()) return;
        EXPECT_EQ(0, setenv("TMPDIR", inImage.Path().c_str(), 1));
    }
    ~InTMPDIR() { EXPECT_EQ(0, mBefore.empty() ? unsetenv("TMPDIR") : setenv("TMPDIR", mBefore.c_str(), 1)); }
    InTMPDIR(const InTMPDIR&) = delete;
    InTMPDIR& operator=(const InTMPDIR&) = delete;

  private:
    std::string mBefore;
};

class OnImage : public testing::TestWithParam<FileSystem> {
  protected:
    void SetUp() override {
        if (!mImage.WhyNot().empty())
            GTEST_SKIP() << "left out: " << GetParam().type << ", " << mImage.WhyNot();
    }

    const support::MountedImage& mImage = SharedImages::Get(GetParam().type);
    InTMPDIR mTemporary{mImage};
    FileWorld mFolder{FileWorld::kReal};
};

class FileSystems : public ItemChangesTest<OnImage> {
  protected:
    OSErr Copy(std::string_view inItem, std::string_view inName) const {
        FSSpec item = Here(inItem);
        FSSpec name = Here(inName);
        HParamBlockRec block = {};
        block.copyParam.ioVRefNum = block.copyParam.ioDstVRefNum = item.vRefNum;
        block.copyParam.ioDirID = block.copyParam.ioNewDirID = item.parID;
        block.copyParam.ioNamePtr = item.name;
        block.copyParam.ioCopyName = name.name;
        return PBHCopyFileSync(&block);
    }

    const FileSystem& mSystem = GetParam();
    FSRef mHere = RefOf(mFolder.Path());
};
INSTANTIATE_TEST_SUITE_P(Images, FileSystems, testing::ValuesIn(kSystems),
                         [](const testing::TestParamInfo<FileSystem>& inInfo) {
                             return std::string(inInfo.param.type);
                         });

// The same everywhere.
TEST_P(FileSystems, ItemsWithWhatIsBesideTheirData) {
    const FSRef item = RefOf(MakeWithCompanion("", "a"));
    const FSRef sub = RefOf(mFolder.MakeFolder("sub"));
    EXPECT_EQ(noErr, Rename(item, u"b"));
    EXPECT_EQ("._b=#fork of a, b=of a, sub(), ", Picture());
    EXPECT_EQ(noErr, Move(item, sub));
    EXPECT_EQ("sub(._b=#fork of a, b=of a, ), ", Picture());
    EXPECT_EQ(mFolder / "sub/b", PathOf(item));
    EXPECT_EQ(noErr, Move(item, mHere));
    MakeWithCompanion("", "c");
    EXPECT_EQ(dupFNErr, Rename(item, u"c"));
    EXPECT_EQ(fBsyErr, FSDeleteObject(&mHere)) << "not empty";
    EXPECT_EQ("._b=#fork of a, ._c=#fork of c, b=of a, c=of c, sub(), ", Picture());
    EXPECT_EQ(noErr, SetLock(item, true));
    EXPECT_EQ(fLckdErr, FSDeleteObject(&item));
    EXPECT_EQ(noErr, SetLock(item, false));
    EXPECT_EQ(noErr, FSDeleteObject(&item));
    EXPECT_EQ("._c=#fork of c, c=of c, sub(), ", Picture());
}

// A companion goes by a second name where there are such, else it is copied.
TEST_P(FileSystems, HardLinks) {
    const FSRef item = RefOf(MakeWithCompanion("", "a"));
    EXPECT_EQ(mSystem.hasHardLinks ? 0 : EPERM, FileWorld::MakeHardLink(mFolder / "a", mFolder / "name"));
    FileWorld::RemoveAll(mFolder / "name");
    const auto before = FileWorld::StatusOf(mFolder / "._a").stx_ino;
    EXPECT_EQ(noErr, Rename(item, u"b"));
    EXPECT_EQ(mSystem.hasHardLinks, before == FileWorld::StatusOf(mFolder / "._b").stx_ino);
    EXPECT_EQ("._b=#fork of a, b=of a, ", Picture());
}

TEST_P(FileSystems, Permissions) {
    const std::string path = mFolder.MakeFile("a");
    FSCatalogInfo info = InfoOf(path, kFSCatInfoPermissions);
    const auto before = info.permissions.mode;
    info.permissions.mode = 0640;
    const FSRef item = RefOf(path);
    const OSErr error = FSSetCatalogInfo(&item, kFSCatInfoPermissions, &info);
    EXPECT_EQ(noErr, error);
    const auto after = InfoOf(path, kFSCatInfoPermissions).permissions.mode;
    EXPECT_EQ(mSystem.hasPermissions ? 0640 : before & 07777, after & 07777);
}

// Where none is kept it is the earliest date that the file has, until one is set.
TEST_P(FileSystems, CreationDates) {
    const std::string path = mFolder.MakeFile("a");
    FileWorld::SetTimes(path, {1'000'000'000, 0}, {1'000'000'000, 0});
    EXPECT_EQ(mSystem.hasBirths, (FileWorld::StatusOf(path).stx_mask & STATX_BTIME) != 0);
    const UInt32 changed = InfoOf(path, kFSCatInfoContentMod).contentModDate.lowSeconds;
    EXPECT_EQ(mSystem.hasBirths, InfoOf(path, kFSCatInfoCreateDate).createDate.lowSeconds != changed);
    const FSRef item = RefOf(path);
    FSCatalogInfo info = {};
    info.createDate = {0, 3'100'000'000U, 0};
    EXPECT_EQ(noErr, FSSetCatalogInfo(&item, kFSCatInfoCreateDate, &info));
    EXPECT_EQ(3'100'000'000U, +InfoOf(path, kFSCatInfoCreateDate).createDate.lowSeconds);
    EXPECT_EQ(changed, +InfoOf(path, kFSCatInfoContentMod).contentModDate.lowSeconds);
}

TEST_P(FileSystems, Exchange) {
    const FSRef a = RefOf(mFolder.MakeFile("a", "of a"));
    const FSRef b = RefOf(mFolder.MakeFile("b", "of b"));
    EXPECT_EQ(mSystem.hasExchange ? noErr : paramErr, FSExchangeObjects(&a, &b));
    EXPECT_EQ(mSystem.hasExchange ? "of b" : "of a", FileWorld::Contents(PathOf(a)));
    EXPECT_EQ(mSystem.hasExchange ? "of a" : "of b", FileWorld::Contents(PathOf(b)));
    EXPECT_EQ(2U, FileWorld::NamesIn(mFolder.Path()).size());
}

// Whether the first extent of a file is another file's too.
bool IsShared(const std::string& inPath) {
    alignas(struct fiemap) char bytes[sizeof(struct fiemap) + sizeof(struct fiemap_extent)] = {};
    auto& map = *reinterpret_cast<struct fiemap*>(bytes);
    map.fm_length = ~0ULL;
    map.fm_flags = FIEMAP_FLAG_SYNC;
    map.fm_extent_count = 1;
    const int file = open(inPath.c_str(), O_RDONLY | O_CLOEXEC);
    const int result = ioctl(file, FS_IOC_FIEMAP, &map);
    close(file);
    return result == 0 && map.fm_mapped_extents == 1 &&
           (map.fm_extents[0].fe_flags & FIEMAP_EXTENT_SHARED) != 0;
}

TEST_P(FileSystems, CopiesShareWhatTheFileSystemCanShare) {
    const std::string contents(1'000'000, 'x');
    mFolder.MakeFile("a", contents);
    ASSERT_EQ(noErr, Copy("a", "b"));
    EXPECT_EQ(contents, FileWorld::Contents(mFolder / "b"));
    EXPECT_EQ(mSystem.sharesExtents, IsShared(mFolder / "b"));
}

TEST_P(FileSystems, OneDateAlone) {
    const std::string path = mFolder.MakeFile("a");
    FileWorld::SetTimes(path, {1'000'000'000, 0}, {1'100'000'000, 0});
    const FSCatalogInfo before = InfoOf(path, kFSCatInfoAllDates);
    const FSRef ref = RefOf(path);
    FSCatalogInfo info = before;
    info.contentModDate.lowSeconds += 200;
    ASSERT_EQ(noErr, FSSetCatalogInfo(&ref, kFSCatInfoContentMod, &info));
    info.accessDate.lowSeconds += 400;
    ASSERT_EQ(noErr, FSSetCatalogInfo(&ref, kFSCatInfoAccessDate, &info));
    const FSCatalogInfo after = InfoOf(path, kFSCatInfoAllDates);
    EXPECT_EQ(before.contentModDate.lowSeconds + 200, +after.contentModDate.lowSeconds);
    EXPECT_EQ(before.accessDate.lowSeconds + 400, +after.accessDate.lowSeconds);
}

TEST_P(FileSystems, Case) {
    const FSRef item = RefOf(MakeWithCompanion("", "a"));
    EXPECT_EQ(mSystem.foldsCase, FileWorld::Exists(mFolder / "A"));
    EXPECT_EQ(dupFNErr, MakeFile(mHere, u"A"));
    EXPECT_EQ("y", LookFor({mFolder / "A"}));
    EXPECT_EQ("._a=#fork of a, a=of a, ", Picture());
    FSRef renamed = {};
    EXPECT_EQ(noErr, Rename(item, u"A", &renamed));
    EXPECT_EQ(mFolder / "A", PathOf(renamed));
    EXPECT_EQ("._A=#fork of a, A=of a, ", Picture());
    const FSRef folder = RefOf(mFolder.MakeFolder("folder"));
    EXPECT_EQ(noErr, Rename(folder, u"FOLDER", &renamed));
    EXPECT_EQ(mFolder / "FOLDER", PathOf(renamed));
    EXPECT_EQ(dupFNErr, Rename(renamed, u"a"));
    EXPECT_EQ("._A=#fork of a, A=of a, FOLDER(), ", Picture());
}

// "/" of the catalogue is ":" on disk.
TEST_P(FileSystems, NamesThatTheFileSystemForbids) {
    const FSRef item = RefOf(MakeWithCompanion("", "a"));
    const bool isForbidden = std::string(mSystem.type) == "exfat";
    for (const char16_t* const name : {u"b/c", u"b?", u"b*"}) {
        EXPECT_EQ(isForbidden ? bdNamErr : noErr, MakeFile(mHere, name));
        EXPECT_EQ(isForbidden ? bdNamErr : dupFNErr, Rename(item, name));
    }
    if (isForbidden) {
        EXPECT_EQ("._a=#fork of a, a=of a, ", Picture());
    }
    EXPECT_EQ(mFolder / "a", PathOf(item));
}

TEST_P(FileSystems, WhatAnotherProgramRenamesIsFoundAgain) {
    const FSRef item = RefOf(MakeWithCompanion("", "a"));
    FileWorld::Rename(mFolder / "a", mFolder / "b");
    EXPECT_EQ(mFolder / "b", PathOf(item));
}

// Whose device can only be read, and which is only mounted so.
class ReadOnlyImages : public CatalogItemsTest<testing::TestWithParam<bool>> {
  protected:
    void SetUp() override {
        if (!mImage.WhyNot().empty()) GTEST_SKIP() << "left out: squashfs, " << mImage.WhyNot();
    }

    const support::MountedImage& mImage = SharedImages::Get("squashfs", GetParam());
};
INSTANTIATE_TEST_SUITE_P(Images, ReadOnlyImages, testing::Bool(),
                         [](const auto& inInfo) { return std::string(inInfo.param ? "Device" : "Volume"); });

TEST_P(ReadOnlyImages, NothingIsChanged) {
    const OSErr refusal = GetParam() ? wPrErr : vLckdErr;
    const FSRef here = RefOf(mImage.Path());
    const FSRef file = RefOf(mImage.Path() + "/file");
    FSCatalogInfo info = {};
    info.finderInfo[0] = 1;
    EXPECT_EQ(refusal, FSSetCatalogInfo(&file, kFSCatInfoFinderInfo, &info));
    EXPECT_EQ(refusal,
              FSCreateFileUnicode(&here, 1, UnitsOf(u"b"), kFSCatInfoNone, nullptr, nullptr, nullptr));
    EXPECT_EQ(refusal, FSRenameUnicode(&file, 1, UnitsOf(u"b"), kTextEncodingUnknown, nullptr));
    EXPECT_EQ(refusal, FSDeleteObject(&file));
    SInt16 number = 0;
    EXPECT_EQ(refusal, FSOpenFork(&file, 0, nullptr, fsRdWrPerm, &number));
    EXPECT_EQ((std::vector<std::string>{"file"}), FileWorld::NamesIn(mImage.Path()));
    EXPECT_EQ("of the image", FileWorld::Contents(mImage.Path() + "/file"));
}

}  // namespace
