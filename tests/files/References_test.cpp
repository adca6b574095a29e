#include "FilesTest.h"

#include <files/References.h>

namespace {

using namespace test_files;

class ReferencesTest : public FilesTest {
  protected:
    const FSRef mFile = fakes::RefOf(kFile);
    const FSRef mFolder = fakes::RefOf(kFolder);
    const FSRef mMissing = fakes::RefOf(kMissing);
    const FSRef mNone = {};
};

TEST_F(ReferencesTest, FSRefValid) {
    EXPECT_TRUE(FSRefValid(&mFile));
    EXPECT_EQ(Log{"FSGetCatalogInfo(30, 0)"}, fakes::CallLog());
    EXPECT_FALSE(FSRefValid(&mMissing));
    EXPECT_FALSE(FSRefValid(&mNone));
    EXPECT_FALSE(FSRefValid(nullptr));
    fakes::Refuse("FSGetCatalogInfo", afpAccessDenied);
    EXPECT_FALSE(FSRefValid(&mFile));
}

TEST_F(ReferencesTest, FSGetVRefNum) {
    SInt16 volume = 77;
    EXPECT_EQ(noErr, FSGetVRefNum(&mFile, &volume));
    EXPECT_EQ(fakes::kVolume, volume);
    EXPECT_EQ(Log{"FSGetCatalogInfo(30, 4)"}, fakes::CallLog());
}

TEST_F(ReferencesTest, FSGetVRefNumFails) {
    SInt16 volume = 77;
    EXPECT_EQ(paramErr, FSGetVRefNum(&mFile, nullptr));
    EXPECT_EQ(paramErr, FSGetVRefNum(nullptr, &volume));
    EXPECT_EQ(Log(), fakes::CallLog());
    EXPECT_EQ(fnfErr, FSGetVRefNum(&mMissing, &volume));
    EXPECT_EQ(77, volume);
}

TEST_F(ReferencesTest, FSGetNodeID) {
    UInt32 id = 77;
    Boolean isFolder = 77;
    EXPECT_EQ(noErr, FSGetNodeID(&mFolder, &id, &isFolder));
    EXPECT_EQ(kFolder, id);
    EXPECT_EQ(1, isFolder);
    EXPECT_EQ(noErr, FSGetNodeID(&mFile, &id, &isFolder));
    EXPECT_EQ(kFile, id);
    EXPECT_EQ(0, isFolder);
}

TEST_F(ReferencesTest, FSGetNodeIDIsAskedForTheFlagsAlone) {
    fakes::ItemOf(kFile).info.nodeFlags = 0xFFFF & ~kFSNodeIsDirectoryMask;
    Boolean isFolder = 77;
    EXPECT_EQ(noErr, FSGetNodeID(&mFile, nullptr, &isFolder));
    EXPECT_EQ(0, isFolder) << "other flags do not count";
}

TEST_F(ReferencesTest, FSGetNodeIDRequestsWhatIsAskedFor) {
    UInt32 id = 77;
    Boolean isFolder = 77;
    EXPECT_EQ(noErr, FSGetNodeID(&mFile, &id, nullptr));
    EXPECT_EQ(noErr, FSGetNodeID(&mFile, nullptr, &isFolder));
    EXPECT_EQ(noErr, FSGetNodeID(&mFile, nullptr, nullptr));
    EXPECT_EQ((Log{"FSGetCatalogInfo(30, 16)", "FSGetCatalogInfo(30, 2)", "FSGetCatalogInfo(30, 0)"}),
              fakes::CallLog());
}

TEST_F(ReferencesTest, FSGetNodeIDFails) {
    UInt32 id = 77;
    Boolean isFolder = 77;
    EXPECT_EQ(fnfErr, FSGetNodeID(&mMissing, &id, &isFolder));
    EXPECT_EQ(paramErr, FSGetNodeID(nullptr, &id, &isFolder));
    EXPECT_EQ(77U, id);
    EXPECT_EQ(77, isFolder);
}

TEST_F(ReferencesTest, FSGetParentRef) {
    FSRef parent = {};
    EXPECT_EQ(noErr, FSGetParentRef(&mFile, &parent));
    EXPECT_EQ(kHere, fakes::IDOf(parent));
    EXPECT_EQ(Log{"FSGetCatalogInfo(30, 16, parent)"}, fakes::CallLog());
}

TEST_F(ReferencesTest, FSGetParentRefOfARootFolder) {
    const FSRef none = {};
    for (const UInt32 id : {fakes::kRoot, fakes::kOtherRoot}) {
        const FSRef root = fakes::RefOf(id);
        FSRef parent;
        std::memset(&parent, 0x77, sizeof parent);
        EXPECT_EQ(noErr, FSGetParentRef(&root, &parent));
        EXPECT_EQ(0, std::memcmp(&none, &parent, 80)) << id;
    }
}

TEST_F(ReferencesTest, FSGetParentRefFails) {
    FSRef parent = mFile;
    EXPECT_EQ(paramErr, FSGetParentRef(&mFile, nullptr));
    EXPECT_EQ(paramErr, FSGetParentRef(nullptr, &parent));
    EXPECT_EQ(Log(), fakes::CallLog());
    EXPECT_EQ(fnfErr, FSGetParentRef(&mMissing, &parent));
    EXPECT_EQ(kFile, fakes::IDOf(parent));
}

TEST_F(ReferencesTest, FSGetUserPrivilegesPermissions) {
    fakes::ItemOf(kFile).info.userPrivileges = 0x84;
    fakes::ItemOf(kFile).info.permissions = {501, 20, 0, 6, 0100644, 0};
    UInt8 privileges = 77;
    FSPermissionInfo permissions = {};
    EXPECT_EQ(noErr, FSGetUserPrivilegesPermissions(&mFile, &privileges, &permissions));
    EXPECT_EQ(0x84, privileges);
    EXPECT_EQ(501U, permissions.userID);
    EXPECT_EQ(0100644, permissions.mode);
    EXPECT_EQ(noErr, FSGetUserPrivilegesPermissions(&mFile, &privileges, nullptr));
    EXPECT_EQ(noErr, FSGetUserPrivilegesPermissions(&mFile, nullptr, &permissions));
    EXPECT_EQ(
        (Log{"FSGetCatalogInfo(30, 132096)", "FSGetCatalogInfo(30, 131072)", "FSGetCatalogInfo(30, 1024)"}),
        fakes::CallLog());
}

TEST_F(ReferencesTest, FSGetUserPrivilegesPermissionsFails) {
    UInt8 privileges = 77;
    FSPermissionInfo permissions = {77, 0, 0, 0, 0, 0};
    EXPECT_EQ(paramErr, FSGetUserPrivilegesPermissions(nullptr, &privileges, &permissions));
    EXPECT_EQ(fnfErr, FSGetUserPrivilegesPermissions(&mMissing, &privileges, &permissions));
    EXPECT_EQ(77, privileges);
    EXPECT_EQ(77U, permissions.userID);
}

TEST_F(ReferencesTest, FSRefMakeFSSpec) {
    FSSpec spec = {};
    EXPECT_EQ(noErr, FSRefMakeFSSpec(&mFile, &spec));
    EXPECT_EQ(fakes::kVolume, spec.vRefNum);
    EXPECT_EQ(static_cast<SInt32>(kHere), +spec.parID);
    EXPECT_EQ("file", Text(spec.name));
    EXPECT_EQ(Log{"FSGetCatalogInfo(30, 0, spec)"}, fakes::CallLog());
}

TEST_F(ReferencesTest, FSRefMakeFSSpecFails) {
    FSSpec spec = {77, 0, {}};
    EXPECT_EQ(paramErr, FSRefMakeFSSpec(&mFile, nullptr));
    EXPECT_EQ(paramErr, FSRefMakeFSSpec(nullptr, &spec));
    EXPECT_EQ(fnfErr, FSRefMakeFSSpec(&mMissing, &spec));
    EXPECT_EQ(77, spec.vRefNum);
}

TEST_F(ReferencesTest, FSMakeFSRef) {
    FSRef ref = {};
    EXPECT_EQ(noErr, FSMakeFSRef(fakes::kVolume, kHere, Spec(0, 0, "file").name, &ref));
    EXPECT_EQ(kFile, fakes::IDOf(ref));
    EXPECT_EQ(noErr, FSMakeFSRef(fakes::kVolume, kHere, nullptr, &ref));
    EXPECT_EQ(kHere, fakes::IDOf(ref));
    EXPECT_EQ((Log{"PBMakeFSRefSync(-1, 20, file)", "PBMakeFSRefSync(-1, 20, )"}), fakes::CallLog());
}

TEST_F(ReferencesTest, FSMakeFSRefFails) {
    FSRef ref = mFolder;
    EXPECT_EQ(paramErr, FSMakeFSRef(fakes::kVolume, kHere, nullptr, nullptr));
    EXPECT_EQ(Log(), fakes::CallLog());
    EXPECT_EQ(fnfErr, FSMakeFSRef(fakes::kVolume, kHere, Spec(0, 0, "none").name, &ref));
    EXPECT_EQ(dirNFErr, FSMakeFSRef(fakes::kVolume, kMissing, nullptr, &ref));
    EXPECT_EQ(kFolder, fakes::IDOf(ref));
}

TEST_F(ReferencesTest, FSMakePath) {
    UInt8 path[20] = {};
    EXPECT_EQ(noErr, FSMakePath(fakes::kVolume, kHere, Spec(0, 0, "file").name, path, sizeof path));
    EXPECT_STREQ("/here/file", reinterpret_cast<const char*>(path));
    EXPECT_EQ((Log{"PBMakeFSRefSync(-1, 20, file)", "FSRefMakePath(30, 20)"}), fakes::CallLog());
}

TEST_F(ReferencesTest, FSMakePathFails) {
    const FSSpec file = Spec(0, 0, "file");
    UInt8 path[20] = {};
    EXPECT_EQ(paramErr, FSMakePath(fakes::kVolume, kHere, file.name, nullptr, 20));
    EXPECT_EQ(Log(), fakes::CallLog());
    EXPECT_EQ(pathTooLongErr, FSMakePath(fakes::kVolume, kHere, file.name, path, 10));
    EXPECT_EQ(fnfErr, FSMakePath(fakes::kVolume, kThere, file.name, path, 20));
    EXPECT_EQ(Log({"PBMakeFSRefSync", "FSRefMakePath", "PBMakeFSRefSync"}),
              fakes::CallsOf({"PBMakeFSRefSync", "FSRefMakePath"}));
    EXPECT_EQ(0, path[0]);
}

TEST_F(ReferencesTest, FSPathMakeFSSpec) {
    const auto* const path = reinterpret_cast<const UInt8*>("/here/folder");
    FSSpec spec = {};
    Boolean isFolder = 77;
    EXPECT_EQ(noErr, FSPathMakeFSSpec(path, &spec, &isFolder));
    EXPECT_EQ(static_cast<SInt32>(kHere), +spec.parID);
    EXPECT_EQ("folder", Text(spec.name));
    EXPECT_EQ(1, isFolder);
    EXPECT_EQ((Log{"FSPathMakeRef()", "FSGetCatalogInfo(40, 0, spec)"}), fakes::CallLog());
    EXPECT_EQ(noErr, FSPathMakeFSSpec(path, &spec, nullptr));
}

TEST_F(ReferencesTest, FSPathMakeFSSpecFails) {
    FSSpec spec = {77, 0, {}};
    Boolean isFolder = 77;
    EXPECT_EQ(paramErr, FSPathMakeFSSpec(nullptr, &spec, &isFolder));
    EXPECT_EQ(paramErr, FSPathMakeFSSpec(reinterpret_cast<const UInt8*>("/here"), nullptr, &isFolder));
    EXPECT_EQ(fnfErr, FSPathMakeFSSpec(reinterpret_cast<const UInt8*>("/none"), &spec, &isFolder));
    fakes::FailCall(2);
    EXPECT_EQ(ioErr, FSPathMakeFSSpec(reinterpret_cast<const UInt8*>("/here"), &spec, &isFolder));
    EXPECT_EQ(77, spec.vRefNum);
    EXPECT_EQ(77, isFolder);
}

TEST_F(ReferencesTest, FSResolveFileIDRef) {
    FSRef found = fakes::RefOf(kMissing);
    EXPECT_EQ(noErr, FSResolveFileIDRef(fakes::kVolume, static_cast<SInt32>(kInner), &found));
    EXPECT_EQ(kInner, fakes::IDOf(found));
    EXPECT_EQ((Log{"PBResolveFileIDRefSync(-1, 41)", "PBMakeFSRefSync(-1, 40, inner)"}), fakes::CallLog());
    EXPECT_EQ(fidNotFound, FSResolveFileIDRef(fakes::kVolume, static_cast<SInt32>(kMissing), &found));
    EXPECT_EQ(paramErr, FSResolveFileIDRef(fakes::kVolume, 1, nullptr));
    for (const int failing : {1, 2}) {
        fakes::FailCall(failing);
        EXPECT_EQ(ioErr, FSResolveFileIDRef(fakes::kVolume, static_cast<SInt32>(kFile), &found));
        EXPECT_EQ(kInner, fakes::IDOf(found));
    }
}

TEST_F(ReferencesTest, FSCreateFileIDRef) {
    const FSRef file = fakes::RefOf(kFile);
    SInt32 id = 77;
    EXPECT_EQ(noErr, FSCreateFileIDRef(&file, &id));
    EXPECT_EQ(501, id);
    EXPECT_EQ((Log{"FSGetCatalogInfo(30, 0, spec)", "PBCreateFileIDRefSync(-1, 20, \"file\")"}),
              fakes::CallLog());
    for (const int failing : {1, 2}) {
        id = 77;
        fakes::FailCall(failing);
        EXPECT_EQ(ioErr, FSCreateFileIDRef(&file, &id));
        EXPECT_EQ(77, id);
    }
    fakes::AnswerInTurn("PBCreateFileIDRefSync", {fidExists});
    EXPECT_EQ(fidExists, FSCreateFileIDRef(&file, &id));
    EXPECT_EQ(501, id) << "which is told nevertheless";
    EXPECT_EQ(paramErr, FSCreateFileIDRef(nullptr, &id));
    EXPECT_EQ(paramErr, FSCreateFileIDRef(&file, nullptr));
}

}  // namespace
