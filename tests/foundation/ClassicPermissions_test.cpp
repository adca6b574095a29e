#include "GuardTest.h"
#include "fakes/Catalogue.h"
#include "fakes/System.h"

#include <foundation/ClassicPermissions.h>
#include <gtest/gtest.h>
#include <toolbox/MacErrors.h>

#include <string>
#include <vector>

namespace {

using Log = std::vector<std::string>;

constexpr OSType kFileSystem = FourChars("fs  ");
constexpr FSSpec kItem = {-1, 30, "\4item"};
constexpr UInt16 kFileMode = 0100644;
constexpr UInt16 kUntouched = 77;

class ClassicPermissionsTest : public GuardTest {
  protected:
    ClassicPermissionsTest() {
        fakes::ScriptGestalt(kFileSystem, 1 << 12);
        fakes::PutFolder(30, fakes::kRoot, "folder");
        fakes::PutFile(31, 30, "item");
        SetPermissions({501, 20, 1, 7, kFileMode, 5});
    }
    static FSPermissionInfo& Permissions() { return fakes::ItemOf(31).info.permissions; }
    static void SetPermissions(const FSPermissionInfo& inPermissions) { Permissions() = inPermissions; }
    OSErr Get() { return GetClassicPermissions(&kItem, &mMode); }

    UInt16 mMode = kUntouched;
};

TEST_F(ClassicPermissionsTest, Get) {
    EXPECT_EQ(noErr, Get());
    EXPECT_EQ(kFileMode, mMode);
    EXPECT_EQ((Log{"Gestalt(1718820896)", "FSpMakeFSRef(-1, 30)", "FSGetCatalogInfo(31, 1024)"}),
              fakes::CallLog());
}

TEST_F(ClassicPermissionsTest, NullArguments) {
    EXPECT_EQ(paramErr, GetClassicPermissions(nullptr, &mMode));
    EXPECT_EQ(paramErr, GetClassicPermissions(&kItem, nullptr));
    EXPECT_EQ(paramErr, SetClassicPermissions(nullptr, 0644));
    EXPECT_EQ(Log(), fakes::CallLog());
    EXPECT_EQ(kUntouched, mMode);
}

TEST_F(ClassicPermissionsTest, GestaltFails) {
    fakes::ScriptGestalt(kFileSystem, -1, gestaltUnknownErr);
    EXPECT_EQ(gestaltUnknownErr, Get());
    EXPECT_EQ(gestaltUnknownErr, SetClassicPermissions(&kItem, 0600));
    EXPECT_EQ(kUntouched, mMode);
    EXPECT_EQ(2U, fakes::CallLog().size());
}

TEST_F(ClassicPermissionsTest, WithoutTheExtendedInterfaces) {
    fakes::ScriptGestalt(kFileSystem, ~(1 << 12));
    EXPECT_EQ(noErr, Get());
    EXPECT_EQ(noErr, SetClassicPermissions(&kItem, 0600));
    EXPECT_EQ(kUntouched, mMode);
    EXPECT_EQ(2U, fakes::CallLog().size());
    EXPECT_EQ(kFileMode, Permissions().mode);
}

TEST_F(ClassicPermissionsTest, NoSuchItem) {
    fakes::Refuse("FSpMakeFSRef", fnfErr);
    EXPECT_EQ(fnfErr, Get());
    EXPECT_EQ(fnfErr, SetClassicPermissions(&kItem, 0600));
    EXPECT_EQ(kUntouched, mMode);
    EXPECT_EQ(0U, Count("FSGetCatalogInfo"));
}

TEST_F(ClassicPermissionsTest, TheCatalogueFails) {
    fakes::Refuse("FSGetCatalogInfo", ioErr);
    EXPECT_EQ(ioErr, Get());
    EXPECT_EQ(ioErr, SetClassicPermissions(&kItem, 0600));
    EXPECT_EQ(kUntouched, mMode);
    EXPECT_EQ(0U, Count("FSSetCatalogInfo"));
}

TEST_F(ClassicPermissionsTest, Set) {
    EXPECT_EQ(noErr, SetClassicPermissions(&kItem, 0600));
    EXPECT_EQ(0600, Permissions().mode) << "the whole word";
    EXPECT_EQ(501U, Permissions().userID);
    EXPECT_EQ(20U, Permissions().groupID);
    EXPECT_EQ(5U, Permissions().reserved2);
    EXPECT_EQ((Log{"Gestalt(1718820896)", "FSpMakeFSRef(-1, 30)", "FSGetCatalogInfo(31, 1024)",
                   "FSSetCatalogInfo(31, 1024)"}),
              fakes::CallLog());
}

TEST_F(ClassicPermissionsTest, EqualModesAreNotWritten) {
    EXPECT_EQ(noErr, SetClassicPermissions(&kItem, 0644));
    EXPECT_EQ(0U, Count("FSSetCatalogInfo"));
    EXPECT_EQ(kFileMode, Permissions().mode);
}

// The comparison leaves out the bits of the kind, the write does not.
TEST_F(ClassicPermissionsTest, AModeThatWasReadIsWritten) {
    EXPECT_EQ(noErr, SetClassicPermissions(&kItem, kFileMode));
    EXPECT_EQ(1U, Count("FSSetCatalogInfo"));
    EXPECT_EQ(kFileMode, Permissions().mode);
}

TEST_F(ClassicPermissionsTest, TwelveBitsAreCompared) {
    SetPermissions({0, 0, 0, 0, 0107777, 0});
    EXPECT_EQ(noErr, SetClassicPermissions(&kItem, 07777));
    EXPECT_EQ(0U, Count("FSSetCatalogInfo"));
    EXPECT_EQ(noErr, SetClassicPermissions(&kItem, 03777));
    EXPECT_EQ(1U, Count("FSSetCatalogInfo"));
}

TEST_F(ClassicPermissionsTest, SettingFails) {
    fakes::Refuse("FSSetCatalogInfo", permErr);
    EXPECT_EQ(permErr, SetClassicPermissions(&kItem, 0600));
}

}  // namespace
