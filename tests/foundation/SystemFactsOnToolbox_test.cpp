// The system utilities over the real toolbox.
#include "foundation/SystemStatics.h"
#include "platform/catalogue/CatalogTest.h"

#include <foundation/ClassicPermissions.h>
#include <foundation/Guid.h>
#include <foundation/SystemFacts.h>
#include <foundation/TextUtilities.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <toolbox/CatalogInfo.h>
#include <toolbox/Gestalt.h>
#include <toolbox/MacErrors.h>

#include <array>
#include <climits>
#include <filesystem>
#include <set>
#include <string_view>

namespace {

class SystemFactsOnToolboxTest : public test_files::CatalogTest {};

TEST_F(SystemFactsOnToolboxTest, TheApplicationsFile) {
    FSSpec file = {};
    ASSERT_EQ(noErr, GetAppFSSpec(&file));
    EXPECT_EQ(std::filesystem::canonical("/proc/self/exe").string(), PathOfSpec(file));
}

TEST_F(SystemFactsOnToolboxTest, Gestalt) {
    EXPECT_EQ(0x1040, GetGestaltResult(gestaltSystemVersion));
    EXPECT_EQ(0, GetGestaltResult(FourChars("none")));
    EXPECT_EQ(0, GetAUXVersion());
}

TEST_F(SystemFactsOnToolboxTest, Volumes) {
    const FSSpec here = SpecOf(mFolder.Path());
    EXPECT_FALSE(VolumeIsLocked(here.vRefNum)) << "a file was just made there";
    EXPECT_FALSE(VolumeIsLocked(-31000)) << "no such volume";
}

TEST_F(SystemFactsOnToolboxTest, Permissions) {
    const std::string path = mFolder.MakeFile("file");
    const FSSpec spec = SpecOf(path);
    ASSERT_EQ(0, chmod(path.c_str(), 0640));
    UInt16 mode = 0;
    EXPECT_EQ(noErr, GetClassicPermissions(&spec, &mode));
    EXPECT_EQ(0100640, mode);
    EXPECT_EQ(noErr, SetClassicPermissions(&spec, 0755));
    EXPECT_EQ(noErr, GetClassicPermissions(&spec, &mode));
    EXPECT_EQ(0100755, mode);
    EXPECT_EQ(noErr, SetClassicPermissions(&spec, mode)) << "written, with the bits of the kind";
    std::filesystem::remove(path);
    mode = 77;
    EXPECT_EQ(fnfErr, GetClassicPermissions(&spec, &mode));
    EXPECT_EQ(fnfErr, SetClassicPermissions(&spec, 0600));
    EXPECT_EQ(77, mode);
}

TEST_F(SystemFactsOnToolboxTest, Identifiers) {
    using Identifier = std::array<unsigned char, 16>;
    for (const bool isTrue : {false, true}) {
        sTrueGuid = isTrue;
        std::set<Identifier> identifiers;
        for (int i = 0; i < 100; ++i) {
            Identifier identifier = {};
            SmartCreateGuid(identifier.data());
            identifiers.insert(identifier);
        }
        // Of the clocks' ones, two may be of the same instant.
        EXPECT_GE(identifiers.size(), isTrue ? 100U : 2U);
    }
    sTrueGuid = false;
}

long Compare(std::u16string_view inLeft, std::u16string_view inRight, bool inCaseSensitive = false,
             bool inUseEquivalence = true) {
    return FinderCompare(static_cast<long>(inLeft.size()), reinterpret_cast<const UniChar*>(inLeft.data()),
                         static_cast<long>(inRight.size()), reinterpret_cast<const UniChar*>(inRight.data()),
                         inCaseSensitive, inUseEquivalence);
}

TEST(FinderCompareOnToolbox, OrderOfNames) {
    EXPECT_LT(Compare(u"file9", u"file10"), 0) << "digits by value";
    EXPECT_GT(Compare(u"file10", u"file9"), 0);
    EXPECT_EQ(0, Compare(u"Name", u"nAME"));
    EXPECT_NE(0, Compare(u"Name", u"nAME", true));
    EXPECT_EQ(0, Compare(u"caf\u00E9", u"cafe\u0301")) << "composed or not";
    EXPECT_EQ(0, Compare(u"\uFF21", u"A")) << "full width or not";
    EXPECT_NE(0, Compare(u"a b", u"ab")) << "spaces count";
    EXPECT_LT(Compare(u"", u"a"), 0);
    EXPECT_EQ(0, Compare(u"", u""));
}

}  // namespace
