#include "GuardTest.h"
#include "fakes/Resources.h"

#include <foundation/Versions.h>
#include <gtest/gtest.h>
#include <toolbox/MacTypes.h>

namespace {

constexpr ResType kVersionType = FourChars("vers");
constexpr short kUntouched = 77;

// Version 1.2.3b4 of region 14, short text "1.2.3", long text "all of it".
const std::string kVersion(
    "\x01\x23\x60\x04\x00\x0E\x05"
    "1.2.3"
    "\x09"
    "all of it",
    22);

class GetVersionTest : public GuardTest {
  protected:
    void Get() { GetVersion(mText, &mRegion); }
    std::string Text() const { return {reinterpret_cast<const char*>(mText) + 1, mText[0]}; }

    Str255 mText = "\4text";
    short mRegion = kUntouched;
};

TEST_F(GetVersionTest, ShortTextAndRegion) {
    fakes::ScriptResource(kVersionType, 1, "", kVersion, false);
    Get();
    EXPECT_EQ("1.2.3", Text());
    EXPECT_EQ(14, mRegion);
    EXPECT_EQ((std::vector<std::string>{"GetResource", "HLock", "ReleaseResource"}),
              fakes::CallsOf({"GetResource", "Get1Resource", "HLock", "ReleaseResource", "DisposeHandle"}));
}

TEST_F(GetVersionTest, NoRegionWanted) {
    fakes::ScriptResource(kVersionType, 1, "", kVersion);
    GetVersion(mText, nullptr);
    EXPECT_EQ("1.2.3", Text());
}

TEST_F(GetVersionTest, NegativeRegion) {
    std::string version = kVersion;
    version[4] = '\xFF';
    fakes::ScriptResource(kVersionType, 1, "", version);
    Get();
    EXPECT_EQ(-242, mRegion);
}

TEST_F(GetVersionTest, Missing) {
    fakes::ScriptResource(kVersionType, 2, "", kVersion);
    Get();
    EXPECT_EQ("", Text());
    EXPECT_EQ(0, mRegion);
    GetVersion(mText, nullptr);
    EXPECT_EQ(0U, Count("ReleaseResource"));
}

TEST_F(GetVersionTest, CutOff) {
    // Short text and region as far as they are wholly there.
    for (std::size_t byteCount = 0; byteCount <= kVersion.size(); ++byteCount) {
        fakes::StartScenario();
        fakes::ScriptResource(kVersionType, 1, "", kVersion.substr(0, byteCount));
        Get();
        EXPECT_EQ(byteCount >= 12 ? "1.2.3" : "", Text()) << byteCount;
        EXPECT_EQ(byteCount >= 6 ? 14 : 0, mRegion) << byteCount;
        EXPECT_EQ(1U, Count("ReleaseResource"));
    }
}

TEST_F(GetVersionTest, LongestText) {
    std::string resource(6, '\0');
    resource += '\xFF';
    resource.append(255, 'v');
    fakes::ScriptResource(kVersionType, 1, "", resource);
    Get();
    EXPECT_EQ(std::string(255, 'v'), Text());
}

TEST(VersionStrToNum, Table) {
    struct Row {
        const char* text;
        unsigned long expected;
    };
    constexpr Row kRows[] = {
        {nullptr, 0x8000},
        {"", 0x8000},
        {"no digit", 0x8000},
        {"12", 0x0C008000},
        {"1.2.3", 0x01238000},
        {"2.0b5", 0x02006005},
        {"2.0.1", 0x02018000},
        {"10.0.1", 0x0A018000},
        {"3.1d12", 0x03102012},
        {"version 4", 0x04008000},
        {"10.2", 0x0A208000},
        {"1.10", 0x01108000},  // the second digit is the bug-fix version
        {"1.23", 0x01238000},
        {"255", 0xFF008000},
        {"256.1", 0x00108000},                 // the low 8 bits of the major version
        {"99999999999999999999", 0xFF008000},  // 10^20 - 1 modulo 256
        {"1.2.3d4", 0x01232004},
        {"1.2.3a4", 0x01234004},
        {"1.2.3b4", 0x01236004},
        {"1.2.3r4", 0x01238004},
        {"1.2.3x4", 0x01238000},  // no stage, and so no digit
        {"1.2.3B4", 0x01238000},
        {"1b", 0x01006000},
        {"1b.7", 0x01006007},
        {"1.b7", 0x01006007},
        {"1.2b7", 0x01206007},
        {"1.2.b7", 0x01206007},
        {"1.2.34", 0x01238004},  // digits behind the bug-fix version
        {"1.2.3.4", 0x01238004},
        {"1..2", 0x01028000},  // a period behind each number, be it there or not
        {"1...2", 0x01008002},
        {"1....2", 0x01008002},  // and behind the stage
        {"1.....2", 0x01008000},
        {"1..b2", 0x01006002},
        {"1.2..3", 0x01208003},
        {"1.2.3..4", 0x01238004},
        {"1.2.3...4", 0x01238000},
        {"1.2.3b123", 0x01236023},  // the last two digits
        {"1.2.3b99 rest", 0x01236099},
        {"v.1", 0x01008000},
        {"-1.5", 0x01508000},
        {"1 .5", 0x01008000},
    };
    for (const Row& row : kRows)
        EXPECT_EQ(row.expected, VersionStrToNum(row.text)) << (row.text == nullptr ? "null" : row.text);
}

}  // namespace
