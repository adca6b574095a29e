// What a file manager asks of items, forks and volumes, over the real toolbox.
#include "platform/catalogue/ItemChanges.h"
#include "platform/forks/ForkTest.h"
#include "platform/notification/Told.h"
#include "support/FileWorld.h"
#include "support/Rounds.h"

#include <files/Access.h>
#include <files/Exchange.h>
#include <files/Flags.h>
#include <files/Forks.h>
#include <files/References.h>
#include <files/Volumes.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/vfs.h>
#include <toolbox/FileIDs.h>
#include <toolbox/MacMemory.h>
#include <toolbox/MountRecords.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace test_files;
using support::FileWorld;

class RowsOnToolbox : public ItemChangesTest<support::FileWorldTest> {
  protected:
    ~RowsOnToolbox() override { EXPECT_EQ(mDescriptors, OpenDescriptorCount()); }

    static UInt16 FlagsOf(const FSRef& inRef) {
        FinderInfo info = {};
        EXPECT_EQ(noErr, FSGetFinderInfo(&inRef, &info, nullptr, nullptr));
        return info.file.finderFlags;
    }
    SInt16 Volume() const { return InfoOf(mFolder.Path(), kFSCatInfoVolume).volume; }
    // Not all the same, and not of the length of any buffer.
    static std::string Pattern(std::size_t inByteCount) {
        std::string bytes(inByteCount, '\0');
        for (std::size_t i = 0; i < inByteCount; ++i)
            bytes[i] = static_cast<char>(i * 31 + i / 251);
        return bytes;
    }

    const FSRef mFile = RefOf(mFolder.MakeFile("file", "contents"));

  private:
    std::size_t mDescriptors = OpenDescriptorCount();
};
INSTANTIATE_TEST_SUITE_P(Worlds, RowsOnToolbox, support::BothWorlds(), support::NameOfWorld);

TEST_P(RowsOnToolbox, FinderFlags) {
    using Setter = OSErr (*)(const FSRef*);
    constexpr struct {
        Setter set;
        Setter clear;
        UInt16 flag;
    } kSetters[] = {{FSSetInvisible, FSClearInvisible, kIsInvisible},
                    {FSSetNameLocked, FSClearNameLocked, kNameLocked},
                    {FSSetIsStationery, FSClearIsStationery, kIsStationery},
                    {FSSetHasCustomIcon, FSClearHasCustomIcon, kHasCustomIcon}};
    const FSRef folder = RefOf(mFolder.MakeFolder("folder"));
    for (const FSRef& item : {mFile, folder}) {
        ASSERT_EQ(noErr, FSChangeFinderFlags(&item, true, kHasBeenInited));
        for (const auto& setter : kSetters) {
            EXPECT_EQ(noErr, setter.set(&item));
            EXPECT_EQ(kHasBeenInited | setter.flag, FlagsOf(item));
            EXPECT_EQ(noErr, setter.clear(&item));
            EXPECT_EQ(kHasBeenInited, FlagsOf(item));
        }
        EXPECT_EQ(noErr, FSClearHasBeenInited(&item));
        EXPECT_EQ(0, FlagsOf(item));
    }
}

TEST_P(RowsOnToolbox, CreatorAndType) {
    EXPECT_EQ(noErr, FSChangeCreatorType(&mFile, 0x41424344, 0x54455854));
    EXPECT_EQ(noErr, FSChangeCreatorType(&mFile, 0, 0x54797065));
    FinderInfo info = {};
    ExtendedFinderInfo extended = {};
    Boolean isFolder = true;
    EXPECT_EQ(noErr, FSGetFinderInfo(&mFile, &info, &extended, &isFolder));
    EXPECT_EQ(0x41424344U, info.file.fileCreator);
    EXPECT_EQ(0x54797065U, info.file.fileType);
    EXPECT_FALSE(isFolder);
    std::memset(&extended, 0x11, sizeof extended);
    EXPECT_EQ(noErr, FSSetFinderInfo(&mFile, nullptr, &extended));
    EXPECT_EQ(0x11, InfoOf(mFolder / "file", kFSCatInfoFinderXInfo).extFinderInfo[15]);
    EXPECT_EQ(noErr, FSGetFinderInfo(&mFile, &info, nullptr, nullptr));
    EXPECT_EQ(0x54797065U, info.file.fileType) << "what is not set stays";
    const FSRef here = RefOf(mFolder.Path());
    EXPECT_EQ(notAFileErr, FSChangeCreatorType(&here, 1, 1));
}

TEST_P(RowsOnToolbox, Dates) {
    FileWorld::SetTimes(mFolder / "file", {1'000'000'000, 0}, {1'100'000'000, 0});
    const UInt32 before = InfoOf(mFolder / "file", kFSCatInfoContentMod).contentModDate.lowSeconds;
    EXPECT_EQ(noErr, FSBumpDate(&mFile));
    const UInt32 bumped = InfoOf(mFolder / "file", kFSCatInfoContentMod).contentModDate.lowSeconds;
    EXPECT_GT(bumped, before + 100'000'000);
    FileWorld::SetTimes(mFolder.Path(), {1'000'000'000, 0}, {1'100'000'000, 0});
    EXPECT_EQ(noErr, FSSetInvisible(&mFile));
    EXPECT_EQ(noErr, FSClearInvisible(&mFile));
    EXPECT_GE(+InfoOf(mFolder.Path(), kFSCatInfoContentMod).contentModDate.lowSeconds, bumped)
        << "the folder's, too";
}

TEST_P(RowsOnToolbox, ANewDateIsToldToWhoSubscribed) {
    const FSRef folder = RefOf(mFolder.MakeFolder("folder"));
    Told here(mFolder.Path());
    Told there(mFolder / "folder");
    EXPECT_EQ(noErr, FSBumpDate(&mFile));
    EXPECT_EQ(1U, here.Ask());
    EXPECT_EQ(0U, there.Ask());
    EXPECT_EQ(noErr, FSBumpDate(&folder));
    EXPECT_EQ(1U, there.Ask()) << "the folder itself";
}

TEST_P(RowsOnToolbox, Attributes) {
    const std::string copy = mFolder.MakeFile("copy");
    const FSRef other = RefOf(copy);
    ASSERT_EQ(noErr, FSChangeFinderFlags(&mFile, true, kHasBeenInited | kIsInvisible));
    FileWorld::SetMode(mFolder / "file", 0604);
    FileWorld::SetTimes(mFolder / "file", {1'000'000'000, 0}, {1'100'000'000, 0});
    ASSERT_EQ(noErr, SetLock(mFile, true));
    for (const bool doesLock : {false, true}) {
        EXPECT_EQ(noErr, FSCopyFileMgrAttributes(&mFile, &other, doesLock));
        EXPECT_EQ(kIsInvisible, FlagsOf(other));
        EXPECT_EQ(doesLock ? fLckdErr : noErr, FSCheckLock(&other));
        EXPECT_EQ(0604, InfoOf(copy, kFSCatInfoPermissions).permissions.mode & 0777);
        EXPECT_EQ(+InfoOf(mFolder / "file", kFSCatInfoContentMod).contentModDate.lowSeconds,
                  +InfoOf(copy, kFSCatInfoContentMod).contentModDate.lowSeconds);
    }
}

TEST_P(RowsOnToolbox, Locks) {
    EXPECT_EQ(noErr, FSCheckLock(&mFile));
    ASSERT_EQ(noErr, SetLock(mFile, true));
    EXPECT_EQ(fLckdErr, FSCheckLock(&mFile));
    if (!mFolder.MayMount()) GTEST_SKIP() << "this machine lets nobody mount";
    const std::string point = mFolder.MakeFolder("point");
    ASSERT_EQ(0, mFolder.MountVolume(point));
    const FSRef other = RefOf(mFolder.MakeFile("point/file"));
    EXPECT_EQ(noErr, FSCheckLock(&other));
    ASSERT_EQ(0, mFolder.ForbidWriting(point));
    EXPECT_EQ(vLckdErr, FSCheckLock(&other)) << "the volume is, not the file";
    ASSERT_EQ(0, mFolder.Unmount(point));
}

// A link's permissions are its own, and what it is told of is what it is.
TEST_P(RowsOnToolbox, AttributesOfLinks) {
    FileWorld::SetMode(mFolder / "file", 0600);
    const std::string path = mFolder.MakeLink("file", "link");
    FSRef link = {};
    ASSERT_EQ(noErr, FSPathMakeRefWithOptions(reinterpret_cast<const UInt8*>(path.c_str()),
                                              kFSPathMakeRefDoNotFollowLeafSymlink, &link, nullptr));
    ASSERT_EQ(noErr, FSChangeFinderFlags(&link, true, kIsInvisible));
    ASSERT_EQ(noErr, FSChangeCreatorType(&mFile, 0x41424344, 0x54455854));
    EXPECT_EQ(noErr, FSCopyFileMgrAttributes(&link, &mFile, false));
    EXPECT_EQ(0600, InfoOf(mFolder / "file", kFSCatInfoPermissions).permissions.mode & 0777);
    EXPECT_EQ(kIsInvisible, FlagsOf(mFile)) << "and no alias";
    ASSERT_EQ(noErr, FSChangeFinderFlags(&mFile, true, kNameLocked));
    EXPECT_EQ(noErr, FSCopyFileMgrAttributes(&mFile, &link, false));
    EXPECT_EQ(kIsInvisible | kNameLocked | kIsAlias, FlagsOf(link));
    FinderInfo info = {};
    EXPECT_EQ(noErr, FSGetFinderInfo(&link, &info, nullptr, nullptr));
    EXPECT_EQ(OSType{kSymLinkFileType}, info.file.fileType);
    EXPECT_EQ(0600, InfoOf(mFolder / "file", kFSCatInfoPermissions).permissions.mode & 0777);
}

TEST_P(RowsOnToolbox, AttributesOfALockedFile) {
    const FSRef other = RefOf(mFolder.MakeFile("copy"));
    ASSERT_EQ(noErr, FSChangeFinderFlags(&mFile, true, kIsInvisible));
    ASSERT_EQ(noErr, SetLock(other, true));
    EXPECT_EQ(noErr, FSCopyFileMgrAttributes(&mFile, &other, true));
    EXPECT_EQ(kIsInvisible, FlagsOf(other));
    EXPECT_EQ(noErr, FSCheckLock(&other)) << "as the other is";
}

// 10,000 bytes of a buffer are used as 8,192, and 1,000 as they are.
TEST_P(RowsOnToolbox, CopiesOfForks) {
    const FSRef other = RefOf(mFolder.MakeFile("other", std::string(50'000, 'o')));
    for (const std::size_t length : {0U, 999U, 1'000U, 8'192U, 20'001U}) {
        const std::string bytes = Pattern(length);
        const FSRef source = RefOf(mFolder.MakeFile("source", bytes));
        for (const std::size_t bufferBytes : {10'000U, 1'000U})
            for (const Which fork : {Which::kData, Which::kResource}) {
                const Opened from(source, Which::kData, fsRdPerm);
                const Opened to(other, fork);
                std::vector<char> buffer(bufferBytes, '?');
                ASSERT_EQ(noErr, FSCopyFork(from, to, buffer.data(), buffer.size()));
                EXPECT_EQ(static_cast<SInt64>(length), MarkOf(from));
                EXPECT_EQ(static_cast<SInt64>(length), MarkOf(to));
                EXPECT_TRUE(bytes == Whole(to)) << length << ' ' << bufferBytes;
                const std::size_t used = bufferBytes == 10'000 ? 8'192 : 1'000;
                const auto untouched = static_cast<std::ptrdiff_t>(std::min(length, used));
                EXPECT_TRUE(std::all_of(buffer.begin() + untouched, buffer.end(),
                                        [](char inByte) { return inByte == '?'; }));
            }
    }
    EXPECT_EQ("contents", FileWorld::Contents(mFolder / "file"));
}

// Beyond what 32 bits count. What is a hole is read, and written, as zeros, which takes seconds.
TEST_P(RowsOnToolbox, FSCopyForkOfMoreThanFourGigabytes) {
    if (mFolder.Memory() != nullptr || support::Rounds(1) == 1)
        GTEST_SKIP() << "over the real file system, where MIRTAL_TEST_LONG is 1";
    constexpr SInt64 kBeyond = 0x1'0000'0003;
    const Opened from(RefOf(mFolder.MakeFile("source", "first")), Which::kData);
    const Opened to(mFile, Which::kData);
    ASSERT_EQ(noErr, FSWriteFork(from, fsFromStart, kBeyond, 4, "last", nullptr));
    std::vector<char> buffer(1 << 20);
    ASSERT_EQ(noErr, FSCopyFork(from, to, buffer.data(), buffer.size()));
    SInt64 size = 0;
    EXPECT_EQ(noErr, FSGetForkSize(to, &size));
    EXPECT_EQ(kBeyond + 4, size);
    const auto read = [&](SInt64 inPosition) {
        std::string bytes(6, '?');
        ByteCount count = 0;
        (void)FSReadFork(to, fsFromStart, inPosition, bytes.size(), bytes.data(), &count);
        return bytes.substr(0, count);
    };
    EXPECT_EQ(std::string("first\0", 6), read(0));
    EXPECT_EQ(std::string(6, '\0'), read(0x8000'0000));
    EXPECT_EQ(std::string("\0\0last", 6), read(kBeyond - 2));
}

TEST_P(RowsOnToolbox, SizesOfForks) {
    const SInt64 length = mFolder.Memory() == nullptr ? 0x1'4000'0001 : 70'001;
    {
        const Opened data(mFile, Which::kData);
        ASSERT_EQ(noErr, FSSetForkSize(data, fsFromStart, length)) << "a hole";
        const Opened resource(mFile, Which::kResource);
        ASSERT_EQ(noErr, Write(resource, fsFromStart, 0, "resources"));
        FSRef found = {};
        EXPECT_EQ(noErr, FileRefNumGetFSRef(data, &found));
        EXPECT_EQ(noErr, FSCompareFSRefs(&mFile, &found));
    }
    UInt64 dataSize = 0;
    UInt64 resourceSize = 0;
    EXPECT_EQ(noErr, FSGetForkSizes(&mFile, &dataSize, &resourceSize));
    EXPECT_EQ(static_cast<UInt64>(length), dataSize);
    EXPECT_EQ(9U, resourceSize);
    UInt64 logicalSize = 0;
    UInt64 physicalSize = 0;
    EXPECT_EQ(noErr, FSGetTotalForkSizes(&mFile, &logicalSize, &physicalSize));
    EXPECT_EQ(static_cast<UInt64>(length) + 9, logicalSize);
    const auto blocks =
        FileWorld::StatusOf(mFolder / "file").stx_blocks + FileWorld::StatusOf(mFolder / "._file").stx_blocks;
    EXPECT_EQ(512 * blocks, physicalSize);
    EXPECT_GT(physicalSize, 0U);
    const FSRef here = RefOf(mFolder.Path());
    EXPECT_EQ(notAFileErr, FSGetForkSizes(&here, &dataSize, &resourceSize));
}

TEST_P(RowsOnToolbox, Volumes) {
    HFSUniStr255 name = {};
    UInt64 free = 0;
    UInt64 total = 0;
    EXPECT_EQ(noErr, FSGetVInfo(Volume(), &name, &free, &total));
    EXPECT_GT(name.length, 0);
    EXPECT_GT(total, 0U);
    EXPECT_LE(free, total);
    UInt16 id = 0;
    UInt16 signature = 0;
    EXPECT_EQ(noErr, FSGetVolFileSystemID(Volume(), &id, &signature));
    struct statfs system = {};
    if (mFolder.Memory() == nullptr) {
        ASSERT_EQ(0, statfs(mFolder.Path().c_str(), &system));
        EXPECT_EQ(system.f_type & 0xFFFF, id) << std::hex << system.f_type;
    }
    EXPECT_EQ(0x4244, signature);
    GetVolParmsInfoBuffer parameters = {};
    UInt32 size = 0;
    EXPECT_EQ(noErr, FSGetVolParms(Volume(), sizeof parameters, &parameters, &size));
    EXPECT_EQ(sizeof parameters, size);
    EXPECT_EQ(5, parameters.vMVersion);
    EXPECT_NE(0, parameters.vMExtendedAttributes & 1 << bSupportsHFSPlusAPIs);
    EXPECT_EQ(nsvErr, FSGetVolParms(32'000, sizeof parameters, &parameters, &size));

    Handle volumes = nullptr;
    ItemCount count = 0;
    ASSERT_EQ(noErr, FSGetMountedVolumes(&volumes, &count));
    ASSERT_EQ(static_cast<Size>(count * 80), GetHandleSize(volumes));
    const auto* const roots = reinterpret_cast<const FSRef*>(*volumes);
    EXPECT_EQ(1,
              std::count_if(roots, roots + count, [](const FSRef& inRoot) { return PathOf(inRoot) == "/"; }));
    DisposeHandle(volumes);
}

TEST_P(RowsOnToolbox, DefaultFolders) {
    const FSRef folder = RefOf(mFolder.MakeFolder("folder"));
    FSRef before = {};
    FSRef previous = {};
    ASSERT_EQ(noErr, FSSetDefault(&folder, &before));
    mFolder.MakeFile("folder/inner");
    FSRef inner = {};
    EXPECT_EQ(noErr, FSMakeFSRef(0, 0, PascalName("inner"), &inner));
    const FSRef here = RefOf(mFolder.Path());
    EXPECT_EQ(noErr, FSSetDefault(&here, &previous));
    EXPECT_EQ(noErr, FSCompareFSRefs(&folder, &previous));
    EXPECT_EQ(noErr, FSRestoreDefault(&previous));
    EXPECT_EQ(noErr, FSMakeFSRef(0, 0, PascalName("inner"), &inner));
    EXPECT_EQ(noErr, FSRestoreDefault(&before));
    EXPECT_EQ(dirNFErr, FSSetDefault(&mFile, &previous));
}

TEST_P(RowsOnToolbox, AccessToFolders) {
    const std::string path = mFolder.MakeFolder("folder");
    FileWorld::SetMode(path, 0750);
    const FSRef folder = RefOf(path);
    SInt32 owner = -1;
    SInt32 group = -1;
    SInt32 access = 0;
    ASSERT_EQ(noErr, FSGetDirAccess(&folder, &owner, &group, &access));
    EXPECT_EQ(0x0307, access & 0x00FFFFFF);
    const FSCatalogInfo info = InfoOf(path, kFSCatInfoPermissions);
    EXPECT_EQ(info.permissions.userID, static_cast<UInt32>(owner));
    EXPECT_EQ(info.permissions.groupID, static_cast<UInt32>(group));
    EXPECT_EQ(noErr, FSSetDirAccess(&folder, owner, group, 0x030707));
    EXPECT_EQ(0775, FileWorld::StatusOf(path).stx_mode & 0777) << "search, read, write of each";
    EXPECT_EQ(afpObjectTypeErr, FSGetDirAccess(&mFile, &owner, &group, &access));
    EXPECT_EQ(afpObjectTypeErr, FSSetDirAccess(&mFile, owner, group, 0x030707));
}

TEST_P(RowsOnToolbox, UsersAndGroups) {
    unsigned char name[32] = {};
    ASSERT_EQ(noErr, FSMapID(Volume(), 0, kOwnerID2Name, name));
    SInt32 id = 77;
    EXPECT_EQ(noErr, FSMapName(Volume(), name, kOwnerName2ID, &id));
    EXPECT_EQ(0, id);
    EXPECT_EQ(fnfErr, FSMapName(Volume(), PascalName("nobody has this name"), kGroupName2ID, &id));
    EXPECT_EQ(paramErr, FSMapID(Volume(), 0, 77, name));
}

TEST_P(RowsOnToolbox, FilesByTheirIDs) {
    SInt32 id = 0;
    ASSERT_EQ(noErr, FSCreateFileIDRef(&mFile, &id));
    EXPECT_EQ(InfoOf(mFolder / "file", kFSCatInfoNodeID).nodeID, static_cast<UInt32>(id));
    EXPECT_EQ(fidExists, FSCreateFileIDRef(&mFile, &id));
    const FSRef folder = RefOf(mFolder.MakeFolder("folder"));
    FSRef found = {};
    ASSERT_EQ(noErr, Move(mFile, folder, &found));
    EXPECT_EQ(noErr, FSResolveFileIDRef(Volume(), id, &found));
    EXPECT_EQ(mFolder / "folder/file", PathOf(found));
    EXPECT_EQ(notAFileErr, FSCreateFileIDRef(&folder, &id));
    ASSERT_EQ(noErr, FSDeleteObject(&found));
    EXPECT_EQ(fidNotFound, FSResolveFileIDRef(Volume(), id, &found));
}

TEST_P(RowsOnToolbox, CopiesOfFiles) {
    const FSRef folder = RefOf(mFolder.MakeFolder("folder"));
    MakeWithCompanion("", "forked");
    const FSRef forked = RefOf(mFolder / "forked");
    const std::u16string_view name = u"caf\u00E9";
    FSRef copy = {};
    ASSERT_EQ(noErr, FSCopyFile(&forked, &folder, name.size(), UnitsOf(name), 7, &copy));
    EXPECT_EQ(mFolder / "folder/caf\xC3\xA9", PathOf(copy));
    EXPECT_EQ(7U, InfoOf(PathOf(copy), kFSCatInfoTextEncoding).textEncodingHint);
    EXPECT_EQ("of forked", FileWorld::Contents(PathOf(copy)));
    EXPECT_EQ("of forked", FileWorld::Contents(mFolder / "forked"));
    UInt64 forkBytes = 0;
    EXPECT_EQ(noErr, FSGetForkSizes(&copy, nullptr, &forkBytes));
    EXPECT_EQ(14U, forkBytes);
    EXPECT_EQ(dupFNErr, FSCopyFile(&mFile, &folder, name.size(), UnitsOf(name), 0, &copy));
    EXPECT_EQ(noErr, FSCopyFile(&forked, &folder, 0, nullptr, 0, nullptr));
    EXPECT_EQ("of forked", FileWorld::Contents(mFolder / "folder/forked"));
    EXPECT_EQ(notAFileErr, FSCopyFile(&folder, &folder, name.size(), UnitsOf(name), 0, &copy));
    const std::u16string longName(32, u'n');
    EXPECT_EQ(bdNamErr, FSCopyFile(&mFile, &folder, longName.size(), UnitsOf(longName), 0, &copy));
}

TEST_P(RowsOnToolbox, MovesAndRenames) {
    const FSRef folder = RefOf(mFolder.MakeFolder("folder"));
    const std::string longName(40, 'n');
    const FSRef named = RefOf(mFolder.MakeFile(longName, "of the long name"));
    FSRef moved = {};
    const std::u16string_view name = u"new";
    ASSERT_EQ(noErr, FSMoveRename(&mFile, &folder, name.size(), UnitsOf(name), 7, &moved));
    EXPECT_EQ(mFolder / "folder/new", PathOf(moved));
    EXPECT_EQ(noErr, FSCompareFSRefs(&mFile, &moved));
    EXPECT_EQ(7U, InfoOf(PathOf(moved), kFSCatInfoTextEncoding).textEncodingHint);
    ASSERT_EQ(noErr, FSMoveRename(&named, &folder, 0, nullptr, 0, &moved));
    EXPECT_EQ(mFolder / "folder/" + longName, PathOf(moved)) << "its own name may be longer";
    EXPECT_EQ(dupFNErr, FSMoveRename(&named, &folder, name.size(), UnitsOf(name), 0, &moved));
    EXPECT_EQ("of the long name", FileWorld::Contents(mFolder / "folder/" + longName));
}

TEST_P(RowsOnToolbox, VolumesAreMountedAgain) {
    if (!mFolder.MayMount()) GTEST_SKIP() << "this machine lets nobody mount";
    const std::string point = mFolder.MakeFolder("point");
    ASSERT_EQ(0, mFolder.MountVolume(point));
    const SInt16 volume = InfoOf(point, kFSCatInfoVolume).volume;
    SInt16 size = 0;
    ASSERT_EQ(noErr, FSGetVolMountInfoSize(volume, &size));
    std::vector<char> record(static_cast<std::size_t>(size));
    ASSERT_EQ(noErr, FSGetVolMountInfo(volume, record.data()));
    const FSRef far = RefOf(mFolder.MakeFile("point/far"));
    FSRef moved = {};
    const std::u16string_view name = u"new";
    const FSRef root = RefOf(point);
    EXPECT_EQ(diffVolErr, FSMoveRename(&mFile, &root, name.size(), UnitsOf(name), 0, &moved));
    MakeWithCompanion("", "forked");
    const FSRef forked = RefOf(mFolder / "forked");
    ASSERT_EQ(noErr, FSCopyFile(&forked, &root, name.size(), UnitsOf(name), 0, &moved));
    EXPECT_EQ(point + "/new", PathOf(moved));
    EXPECT_TRUE(FSRefValid(&far));
    ASSERT_EQ(0, mFolder.Unmount(point));
    EXPECT_EQ(nsvErr, FSGetVolMountInfoSize(volume, &size));
    FSVolumeRefNum again = 0;
    ASSERT_EQ(noErr, FSVolumeMount(record.data(), &again));
    EXPECT_EQ(InfoOf(point, kFSCatInfoVolume).volume, again);
    EXPECT_FALSE(FileWorld::Exists(point + "/new")) << "it is a fresh one";
    // The world knows nothing of what the call mounted.
    EXPECT_EQ(0, mFolder.Memory() != nullptr ? mFolder.Memory()->Unmount(point) : umount(point.c_str()));
}

}  // namespace
