#include "FilesTest.h"

#include <files/Access.h>

namespace {

using namespace test_files;

class AccessTest : public FilesTest {
  protected:
    const FSRef mFolder = fakes::RefOf(kFolder);
    const FSRef mMissing = fakes::RefOf(kMissing);
    SInt32 mOwner = 77;
    SInt32 mGroup = 77;
    SInt32 mAccess = 77;
};

TEST_F(AccessTest, FSGetDirAccess) {
    EXPECT_EQ(noErr, FSGetDirAccess(&mFolder, &mOwner, &mGroup, &mAccess));
    EXPECT_EQ(501, mOwner);
    EXPECT_EQ(20, mGroup);
    EXPECT_EQ(0x07000307, mAccess);
    EXPECT_EQ(noErr, FSGetDirAccess(&mFolder, nullptr, nullptr, nullptr));
    EXPECT_EQ((Log{"FSGetCatalogInfo(40, 0, spec)", "PBHGetDirAccessSync(-1, 20, \"folder\")"}),
              Log(fakes::CallLog().begin(), fakes::CallLog().begin() + 2));
}

TEST_F(AccessTest, FSGetDirAccessFails) {
    for (const int failing : {1, 2}) {
        Start();
        fakes::FailCall(failing);
        EXPECT_EQ(ioErr, FSGetDirAccess(&mFolder, &mOwner, &mGroup, &mAccess));
        EXPECT_EQ(77 * 3, mOwner + mGroup + mAccess);
        EXPECT_EQ(static_cast<std::size_t>(failing), fakes::CallLog().size());
    }
    EXPECT_EQ(fnfErr, FSGetDirAccess(&mMissing, &mOwner, &mGroup, &mAccess));
    EXPECT_EQ(paramErr, FSGetDirAccess(nullptr, &mOwner, &mGroup, &mAccess));
}

TEST_F(AccessTest, FSSetDirAccess) {
    EXPECT_EQ(noErr, FSSetDirAccess(&mFolder, 1, 2, 3));
    EXPECT_EQ("PBHSetDirAccessSync(-1, 20, \"folder\", 1, 2, 3)", fakes::CallLog().back());
    for (const int failing : {1, 2}) {
        Start();
        fakes::FailCall(failing);
        EXPECT_EQ(ioErr, FSSetDirAccess(&mFolder, 1, 2, 3));
        EXPECT_EQ(static_cast<std::size_t>(failing), fakes::CallLog().size());
    }
    EXPECT_EQ(fnfErr, FSSetDirAccess(&mMissing, 1, 2, 3));
    EXPECT_EQ(paramErr, FSSetDirAccess(nullptr, 1, 2, 3));
}

TEST_F(AccessTest, FSMapID) {
    unsigned char name[32] = {};
    EXPECT_EQ(noErr, FSMapID(fakes::kVolume, 501, kOwnerID2Name, name));
    EXPECT_EQ("user", Text(name));
    EXPECT_EQ(Log{"PBHMapIDSync(-1, 1, 501)"}, fakes::CallLog());
    fakes::Refuse("PBHMapIDSync", fnfErr);
    EXPECT_EQ(fnfErr, FSMapID(fakes::kVolume, 501, kOwnerID2Name, name));
    EXPECT_EQ(paramErr, FSMapID(fakes::kVolume, 501, kOwnerID2Name, nullptr));
}

TEST_F(AccessTest, FSMapName) {
    const FSSpec name = Spec(0, 0, "user");
    SInt32 id = 77;
    EXPECT_EQ(noErr, FSMapName(fakes::kVolume, name.name, kGroupName2ID, &id));
    EXPECT_EQ(501, id);
    EXPECT_EQ(Log{"PBHMapNameSync(-1, 4, \"user\")"}, fakes::CallLog());
    id = 77;
    fakes::Refuse("PBHMapNameSync", fnfErr);
    EXPECT_EQ(fnfErr, FSMapName(fakes::kVolume, name.name, kGroupName2ID, &id));
    EXPECT_EQ(77, id);
    EXPECT_EQ(paramErr, FSMapName(fakes::kVolume, name.name, kGroupName2ID, nullptr));
    EXPECT_EQ(paramErr, FSMapName(fakes::kVolume, nullptr, kGroupName2ID, &id));
}

TEST_F(AccessTest, FSMapNameOfLongNames) {
    Str255 name = {};
    std::fill(name + 1, name + 32, 'n');
    SInt32 id = 0;
    name[0] = 31;
    EXPECT_EQ(noErr, FSMapName(fakes::kVolume, name, kOwnerName2ID, &id));
    EXPECT_EQ("PBHMapNameSync(-1, 3, \"" + std::string(31, 'n') + "\")", fakes::CallLog().back());
    name[0] = 32;
    EXPECT_EQ(bdNamErr, FSMapName(fakes::kVolume, name, kOwnerName2ID, &id));
    EXPECT_EQ(1U, fakes::CallLog().size());
}

}  // namespace
