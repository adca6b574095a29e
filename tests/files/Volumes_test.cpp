#include "FilesTest.h"

#include <files/Volumes.h>
#include <toolbox/MacMemory.h>

namespace {

using namespace test_files;

class VolumesTest : public FilesTest {
  protected:
    VolumesTest() {
        fakes::VolumeInfo().freeBytes = 0x1'0000'0001;
        fakes::VolumeInfo().totalBytes = 0x2'0000'0002;
        fakes::VolumeInfo().filesystemID = 7;
        fakes::VolumeInfo().signature = 0x4244;
    }
    static bool IsNone(const FSRef& inRef) {
        const FSRef none = {};
        return std::memcmp(&none, &inRef, sizeof none) == 0;
    }

    const FSRef mFolder = fakes::RefOf(kFolder);
    const FSRef mMissing = fakes::RefOf(kMissing);
};

TEST_F(VolumesTest, FSGetVInfo) {
    HFSUniStr255 name = {};
    UInt64 free = 0;
    UInt64 total = 0;
    EXPECT_EQ(noErr, FSGetVInfo(fakes::kVolume, &name, &free, &total));
    EXPECT_EQ(u"root", Text(name));
    EXPECT_EQ(0x1'0000'0001U, free);
    EXPECT_EQ(0x2'0000'0002U, total);
    EXPECT_EQ(noErr, FSGetVInfo(fakes::kVolume, nullptr, &free, nullptr));
    EXPECT_EQ(noErr, FSGetVInfo(fakes::kVolume, nullptr, nullptr, &total));
    EXPECT_EQ(noErr, FSGetVInfo(fakes::kOtherVolume, &name, nullptr, nullptr));
    EXPECT_EQ(u"other", Text(name));
    EXPECT_EQ((Log{"FSGetVolumeInfo(-1, 0, 64, name)", "FSGetVolumeInfo(-1, 0, 64)",
                   "FSGetVolumeInfo(-1, 0, 64)", "FSGetVolumeInfo(-2, 0, 0, name)"}),
              fakes::CallLog());
    EXPECT_EQ(nsvErr, FSGetVInfo(-9, &name, &free, &total));
    EXPECT_EQ(u"other", Text(name));
    EXPECT_EQ(0x1'0000'0001U, free);
}

TEST_F(VolumesTest, FSGetVolFileSystemID) {
    UInt16 id = 0;
    UInt16 signature = 0;
    EXPECT_EQ(noErr, FSGetVolFileSystemID(fakes::kVolume, &id, &signature));
    EXPECT_EQ(7, id);
    EXPECT_EQ(0x4244, signature);
    EXPECT_EQ(Log{"FSGetVolumeInfo(-1, 0, 16384)"}, fakes::CallLog());
    EXPECT_EQ(noErr, FSGetVolFileSystemID(fakes::kVolume, nullptr, nullptr));
    id = 77;
    EXPECT_EQ(nsvErr, FSGetVolFileSystemID(-9, &id, &signature));
    EXPECT_EQ(77, id);
}

TEST_F(VolumesTest, FSGetMountedVolumes) {
    Handle volumes = nullptr;
    ItemCount count = 77;
    EXPECT_EQ(noErr, FSGetMountedVolumes(&volumes, &count));
    EXPECT_EQ(2U, count);
    ASSERT_EQ(160, GetHandleSize(volumes));
    const auto* const refs = reinterpret_cast<const FSRef*>(*volumes);
    EXPECT_EQ(fakes::kRoot, fakes::IDOf(refs[0]));
    EXPECT_EQ(fakes::kOtherRoot, fakes::IDOf(refs[1]));
    DisposeHandle(volumes);
    EXPECT_EQ((Log{"NewHandle(0)", "FSGetVolumeInfo(0, 1, 0, root)", "PtrAndHand(80)",
                   "FSGetVolumeInfo(0, 2, 0, root)", "PtrAndHand(80)", "FSGetVolumeInfo(0, 3, 0, root)",
                   "DisposeHandle(160)"}),
              fakes::CallLog());
}

TEST_F(VolumesTest, FSGetMountedVolumesThatNobodyReaches) {
    for (const OSErr error : {OSErr{afpAccessDenied}, OSErr{dirNFErr}}) {
        fakes::AnswerInTurn("FSGetVolumeInfo", {error});
        Handle volumes = nullptr;
        ItemCount count = 77;
        EXPECT_EQ(noErr, FSGetMountedVolumes(&volumes, &count));
        ASSERT_EQ(1U, count) << "the others";
        EXPECT_EQ(fakes::kOtherRoot, fakes::IDOf(*reinterpret_cast<const FSRef*>(*volumes)));
        DisposeHandle(volumes);
    }
}

TEST_F(VolumesTest, FSGetMountedVolumesOfNone) {
    fakes::SetVolumeCount(0);
    Handle volumes = nullptr;
    ItemCount count = 77;
    EXPECT_EQ(noErr, FSGetMountedVolumes(&volumes, &count));
    EXPECT_EQ(0U, count);
    EXPECT_EQ(0, GetHandleSize(volumes));
    DisposeHandle(volumes);
}

TEST_F(VolumesTest, FSGetMountedVolumesWhenEveryCallFails) {
    const OSErr errors[] = {memFullErr, ioErr, memFullErr, ioErr, memFullErr, ioErr};
    for (int failing = 1; failing <= 6; ++failing) {
        Start();
        fakes::FailCall(failing);
        Handle volumes = reinterpret_cast<Handle>(this);
        ItemCount count = 77;
        EXPECT_EQ(errors[failing - 1], FSGetMountedVolumes(&volumes, &count)) << failing;
        EXPECT_TRUE(fakes::FailureDelivered());
        EXPECT_EQ(nullptr, volumes);
        EXPECT_EQ(0U, count);
        EXPECT_EQ(0, fakes::LiveHandles());
    }
    Handle volumes = nullptr;
    ItemCount count = 77;
    EXPECT_EQ(paramErr, FSGetMountedVolumes(nullptr, &count));
    EXPECT_EQ(paramErr, FSGetMountedVolumes(&volumes, nullptr));
}

TEST_F(VolumesTest, FSSetDefault) {
    FSRef previous = mFolder;
    EXPECT_EQ(noErr, FSSetDefault(&mFolder, &previous));
    EXPECT_TRUE(IsNone(previous));
    const FSRef there = fakes::RefOf(kThere);
    EXPECT_EQ(noErr, FSSetDefault(&there, &previous));
    EXPECT_EQ(kFolder, fakes::IDOf(previous));
    EXPECT_EQ((Log{"HGetVol()", "FSGetCatalogInfo(40, 20)", "HSetVol(-1, 40)", "HGetVol()",
                   "PBMakeFSRefSync(-1, 40, )", "FSGetCatalogInfo(21, 20)", "HSetVol(-1, 21)"}),
              fakes::CallLog());
}

TEST_F(VolumesTest, FSSetDefaultWhereThePreviousOneIsGone) {
    FSRef previous = mFolder;
    fakes::SetDefaultFolder(fakes::kVolume, kMissing);
    EXPECT_EQ(noErr, FSSetDefault(&mFolder, &previous));
    EXPECT_TRUE(IsNone(previous));
    for (const OSErr error : {OSErr{dirNFErr}, OSErr{nsvErr}}) {
        fakes::AnswerInTurn("HGetVol", {error});
        EXPECT_EQ(noErr, FSSetDefault(&mFolder, &previous));
        EXPECT_TRUE(IsNone(previous));
    }
}

TEST_F(VolumesTest, FSSetDefaultFails) {
    for (int failing = 1; failing <= 4; ++failing) {
        Start();
        fakes::SetDefaultFolder(fakes::kVolume, kHere);
        fakes::FailCall(failing);
        FSRef previous = mMissing;
        EXPECT_EQ(ioErr, FSSetDefault(&mFolder, &previous)) << failing;
        EXPECT_EQ(kMissing, fakes::IDOf(previous));
        EXPECT_EQ(static_cast<std::size_t>(failing), fakes::CallLog().size());
    }
    FSRef previous = {};
    EXPECT_EQ(paramErr, FSSetDefault(nullptr, &previous));
    EXPECT_EQ(paramErr, FSSetDefault(&mFolder, nullptr));
    EXPECT_EQ(fnfErr, FSSetDefault(&mMissing, &previous));
}

TEST_F(VolumesTest, FSRestoreDefault) {
    EXPECT_EQ(noErr, FSRestoreDefault(&mFolder));
    const FSRef none = {};
    EXPECT_EQ(noErr, FSRestoreDefault(&none));
    EXPECT_EQ((Log{"FSGetCatalogInfo(40, 20)", "HSetVol(-1, 40)", "HSetVol(0, 0)"}), fakes::CallLog());
    EXPECT_EQ(paramErr, FSRestoreDefault(nullptr));
    EXPECT_EQ(fnfErr, FSRestoreDefault(&mMissing));
}

TEST_F(VolumesTest, FSGetVolParms) {
    fakes::VolumeParameters().vMVersion = 3;
    fakes::VolumeParameters().vMExtendedAttributes = 8;
    GetVolParmsInfoBuffer parameters = {};
    UInt32 size = 0;
    EXPECT_EQ(noErr, FSGetVolParms(fakes::kVolume, sizeof parameters, &parameters, &size));
    EXPECT_EQ(3, parameters.vMVersion);
    EXPECT_EQ(8, parameters.vMExtendedAttributes);
    EXPECT_EQ(sizeof parameters, size);
    parameters = {};
    EXPECT_EQ(noErr, FSGetVolParms(fakes::kOtherVolume, 2, &parameters, nullptr));
    EXPECT_EQ(3, parameters.vMVersion);
    EXPECT_EQ(0, parameters.vMExtendedAttributes);
    EXPECT_EQ("PBHGetVolParmsSync(-2, 2)", fakes::CallLog().back());
    fakes::Refuse("PBHGetVolParmsSync", nsvErr);
    EXPECT_EQ(nsvErr, FSGetVolParms(fakes::kVolume, sizeof parameters, &parameters, &size));
    EXPECT_EQ(sizeof parameters, size);
    EXPECT_EQ(paramErr, FSGetVolParms(fakes::kVolume, 2, nullptr, &size));
    EXPECT_EQ(paramErr, FSGetVolParms(fakes::kVolume, 0x80000000, &parameters, &size));
}

TEST_F(VolumesTest, MountRecords) {
    SInt16 size = 0;
    EXPECT_EQ(noErr, FSGetVolMountInfoSize(fakes::kVolume, &size));
    EXPECT_EQ(64, size);
    char record[65] = {};
    EXPECT_EQ(noErr, FSGetVolMountInfo(fakes::kVolume, record));
    EXPECT_EQ(std::string(64, 'R'), record);
    FSVolumeRefNum volume = 0;
    EXPECT_EQ(noErr, FSVolumeMount(record, &volume));
    EXPECT_EQ(fakes::kOtherVolume, volume);
    EXPECT_EQ((Log{"PBGetVolMountInfoSize(-1)", "PBGetVolMountInfo(-1)", "PBVolumeMount(R)"}),
              fakes::CallLog());
}

TEST_F(VolumesTest, MountRecordsFail) {
    SInt16 size = 77;
    char record[64] = "as before";
    FSVolumeRefNum volume = 77;
    for (const char* const call : {"PBGetVolMountInfoSize", "PBGetVolMountInfo", "PBVolumeMount"})
        fakes::Refuse(call, nsvErr);
    EXPECT_EQ(nsvErr, FSGetVolMountInfoSize(fakes::kVolume, &size));
    EXPECT_EQ(nsvErr, FSGetVolMountInfo(fakes::kVolume, record));
    EXPECT_EQ(nsvErr, FSVolumeMount(record, &volume));
    EXPECT_EQ(77, size);
    EXPECT_STREQ("as before", record);
    EXPECT_EQ(77, volume);
    EXPECT_EQ(paramErr, FSGetVolMountInfoSize(fakes::kVolume, nullptr));
    EXPECT_EQ(paramErr, FSGetVolMountInfo(fakes::kVolume, nullptr));
    EXPECT_EQ(paramErr, FSVolumeMount(nullptr, &volume));
    EXPECT_EQ(paramErr, FSVolumeMount(record, nullptr));
}

}  // namespace
