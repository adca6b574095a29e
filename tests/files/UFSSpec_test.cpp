// What is done with the items of specifications.
#include "SpecTest.h"

#include <files/UFSSpec.h>
#include <toolbox/FinderInfo.h>
#include <toolbox/LaunchServices.h>

namespace {

using namespace test_files;

class UFSSpecTest : public SpecTest {
  protected:
    static bool IsBundle(FSRef inRef) { return UFSSpec::IsBundle(inRef); }
};

TEST_F(UFSSpecTest, IsBundleByItsFlag) {
    FolderInfo finder = {};
    finder.finderFlags = kHasBundle;
    std::memcpy(fakes::ItemOf(kFolder).info.finderInfo, &finder, sizeof finder);
    EXPECT_TRUE(IsBundle(mFolder));
    EXPECT_EQ(Log{"FSGetCatalogInfo(40, 2050, name)"}, Asked());
    finder.finderFlags = 0xDFFF;
    std::memcpy(fakes::ItemOf(kFolder).info.finderInfo, &finder, sizeof finder);
    EXPECT_FALSE(IsBundle(mFolder));
}

TEST_F(UFSSpecTest, IsBundleByItsName) {
    UInt32 id = 50;
    for (const char* const name : {"a.nib", "b.app", "c.bundle", "d.framework", "e.APP"}) {
        fakes::PutFolder(id, kHere, name);
        EXPECT_TRUE(IsBundle(fakes::RefOf(id++))) << name;
    }
    EXPECT_EQ(Log(), fakes::CallsOf({"LSCopyItemInfoForRef"}));
    for (const char* const name : {"app", "b.application", "nib.c"}) {
        fakes::PutFolder(id, kHere, name);
        EXPECT_FALSE(IsBundle(fakes::RefOf(id++))) << name;
    }
}

TEST_F(UFSSpecTest, IsBundleByLaunchServices) {
    EXPECT_FALSE(IsBundle(mFolder));
    EXPECT_EQ((Log{"FSGetCatalogInfo(40, 2050, name)", "LSCopyItemInfoForRef(40, 4)"}), Asked());
    fakes::ItemOf(kFolder).shownFlags = kLSItemInfoIsPackage | kLSItemInfoIsContainer;
    EXPECT_TRUE(IsBundle(mFolder));
    fakes::ItemOf(kFolder).shownFlags = ~static_cast<UInt32>(kLSItemInfoIsPackage);
    EXPECT_FALSE(IsBundle(mFolder));
    fakes::ItemOf(kFolder).shownFlags = kLSItemInfoIsPackage;
    fakes::Refuse("LSCopyItemInfoForRef", ioErr);
    EXPECT_FALSE(IsBundle(mFolder));
}

TEST_F(UFSSpecTest, OnlyFoldersAreBundles) {
    fakes::PutFile(50, kHere, "a.app");
    FileInfo finder = {};
    finder.finderFlags = kHasBundle;
    std::memcpy(fakes::ItemOf(50).info.finderInfo, &finder, sizeof finder);
    fakes::ItemOf(50).shownFlags = kLSItemInfoIsPackage;
    EXPECT_FALSE(IsBundle(fakes::RefOf(50)));
    EXPECT_FALSE(IsBundle(mMissing));
    fakes::PutFolder(51, kHere, "b.app");
    fakes::Refuse("FSGetCatalogInfo", ioErr);
    EXPECT_FALSE(IsBundle(fakes::RefOf(51)));
}

}  // namespace
