#include "CatalogTest.h"
#include "support/FileWorld.h"

#include <gtest/gtest.h>
#include <toolbox/CatalogInfo.h>
#include <toolbox/Forks.h>

#include <string>
#include <string_view>

namespace {

using namespace test_files;
using support::FileWorld;

class OpenForkFlags : public CatalogItemsTest<support::FileWorldTest> {
  protected:
    static UInt16 FlagsOf(const std::string& inPath) { return InfoOf(inPath, kFSCatInfoNodeFlags).nodeFlags; }
};
INSTANTIATE_TEST_SUITE_P(Worlds, OpenForkFlags, support::BothWorlds(), support::NameOfWorld);

TEST_P(OpenForkFlags, OfAnItemByAnyOfItsNames) {
    const std::string path = mFolder.MakeFile("file");
    ASSERT_EQ(0, FileWorld::MakeHardLink(path, mFolder / "second"));
    const std::u16string_view name = u"RESOURCE_FORK";
    const auto* const units = reinterpret_cast<const UniChar*>(name.data());
    const FSRef ref = RefOf(path);
    SInt16 data = 0;
    SInt16 resource = 0;
    const unsigned none = kFSNodeHardLinkMask;
    EXPECT_EQ(none, FlagsOf(path));
    ASSERT_EQ(noErr, FSOpenFork(&ref, 0, nullptr, fsRdPerm, &data));
    EXPECT_EQ(none | kFSNodeDataOpenMask | kFSNodeForkOpenMask, FlagsOf(path));
    ASSERT_EQ(noErr, FSOpenFork(&ref, name.size(), units, fsRdWrPerm, &resource));
    const unsigned both = none | kFSNodeDataOpenMask | kFSNodeResOpenMask | kFSNodeForkOpenMask;
    EXPECT_EQ(both, FlagsOf(path));
    EXPECT_EQ(both, FlagsOf(mFolder / "second")) << "by each of its names";
    FSCatalogInfo info = {};
    EXPECT_EQ(noErr, FSSetCatalogInfo(&ref, kFSCatInfoNodeFlags, &info)) << "taken and ignored";
    EXPECT_EQ(both, FlagsOf(path));
    EXPECT_EQ(noErr, FSCloseFork(data));
    EXPECT_EQ(none | kFSNodeResOpenMask | kFSNodeForkOpenMask, FlagsOf(path));
    EXPECT_EQ(noErr, FSCloseFork(resource));
    EXPECT_EQ(none, FlagsOf(path));
    info.nodeFlags = static_cast<UInt16>(both);
    EXPECT_EQ(noErr, FSSetCatalogInfo(&ref, kFSCatInfoNodeFlags, &info));
    EXPECT_EQ(none, FlagsOf(path));
}

}  // namespace
