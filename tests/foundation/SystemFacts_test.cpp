#include "fakes/Calls.h"
#include "fakes/System.h"
#include "fakes/Text.h"
#include "foundation/SystemStatics.h"

#include <foundation/SystemFacts.h>
#include <gtest/gtest.h>
#include <toolbox/MacErrors.h>
#include <toolbox/TextEncoding.h>
#include <toolbox/Volumes.h>

#include <cstring>
#include <string>
#include <vector>

// Its historic size, and what four pointers of the host have more.
static_assert(sizeof(HParamBlockRec) == 122 + 4 * (sizeof(void*) - 4));

namespace {

// Taken before any test changes it.
const short sAppIsJapaneseAtLoad = sAppIsJapanese;

class SystemFactsTest : public ::testing::Test {
  protected:
    SystemFactsTest() {
        fakes::StartScenario();
        sAppIsJapanese = -1;
    }
    ~SystemFactsTest() override {
        EXPECT_EQ(std::vector<std::string>(), fakes::Misuses());
        fakes::StartScenario();
        sAppIsJapanese = -1;
    }
};

TEST_F(SystemFactsTest, GetAppFSSpec) {
    const FSSpec file = {-3, 17, "\7program"};
    fakes::ScriptProcess(noErr, file);
    FSSpec answer = {};
    EXPECT_EQ(noErr, GetAppFSSpec(&answer));
    EXPECT_EQ(0, std::memcmp(&file, &answer, sizeof file));
    EXPECT_EQ(std::vector<std::string>{"GetProcessInformation(0, 2, 60)"}, fakes::CallLog());
}

TEST_F(SystemFactsTest, GetAppFSSpecFails) {
    fakes::ScriptProcess(procNotFound, {});
    FSSpec answer = {1, 2, "\1x"};
    EXPECT_EQ(procNotFound, GetAppFSSpec(&answer));
    EXPECT_EQ(1, answer.vRefNum);
}

TEST_F(SystemFactsTest, GetGestaltResult) {
    fakes::ScriptGestalt(FourChars("sysv"), 0x1040);
    fakes::ScriptGestalt(FourChars("minu"), -5);
    fakes::ScriptGestalt(FourChars("fail"), 12, gestaltUnknownErr);
    EXPECT_EQ(0x1040, GetGestaltResult(FourChars("sysv")));
    EXPECT_EQ(-5, GetGestaltResult(FourChars("minu")));
    EXPECT_EQ(0, GetGestaltResult(FourChars("fail"))) << "whatever the response is";
    EXPECT_EQ(0, GetGestaltResult(FourChars("none")));
}

TEST_F(SystemFactsTest, GetAUXVersion) {
    EXPECT_EQ(0, GetAUXVersion()) << "no such selector";
    struct Row {
        SInt32 response;
        short version;
    };
    constexpr Row kRows[] = {{0x300, 3}, {0x2FF, 2},           {-1, -1}, {-256, -1},
                             {-257, -2}, {0x12345678, 0x3456}, {0xFF, 0}};
    for (const Row& row : kRows) {
        fakes::ScriptGestalt(FourChars("a/ux"), row.response);
        EXPECT_EQ(row.version, GetAUXVersion()) << row.response;
    }
}

TEST_F(SystemFactsTest, GetAUXVersionTakesTheResponseOfAFailure) {
    fakes::ScriptGestalt(FourChars("a/ux"), 0x300, gestaltUnknownErr);
    EXPECT_EQ(3, GetAUXVersion());
}

TEST_F(SystemFactsTest, Languages) {
    struct Row {
        SInt32 answer;
        unsigned short systems;
        short applications;
    };
    constexpr Row kRows[] = {
        {0, 0, 0}, {11, 11, 11}, {0x1000B, 11, 11}, {-1, 0xFFFF, -1}, {0x8000, 0x8000, -32768}};
    for (const Row& row : kRows) {
        fakes::SetSystemLanguage(row.answer);
        EXPECT_EQ(row.systems, GetSystemLanguage());
        EXPECT_EQ(row.applications, GetAppLanguage());
    }
    EXPECT_EQ("GetScriptVariable(-1, 28)", fakes::CallLog().front());
}

TEST_F(SystemFactsTest, AppIsJapanese) {
    fakes::SetApplicationEncoding(kCFStringEncodingMacJapanese);
    EXPECT_TRUE(AppIsJapanese());
    sAppIsJapanese = -1;
    for (const TextEncoding encoding :
         {TextEncoding{kCFStringEncodingMacRoman}, TextEncoding{2}, TextEncoding{kCFStringEncodingUTF8}}) {
        fakes::SetApplicationEncoding(encoding);
        sAppIsJapanese = -1;
        EXPECT_FALSE(AppIsJapanese()) << encoding;
    }
}

TEST_F(SystemFactsTest, AppIsJapaneseIsUnknownAtFirst) {
    EXPECT_EQ(-1, sAppIsJapaneseAtLoad);
}

TEST_F(SystemFactsTest, AppIsJapaneseIsAskedOnce) {
    const int before = fakes::ApplicationEncodingAskedCount();
    EXPECT_FALSE(AppIsJapanese());
    fakes::SetApplicationEncoding(kCFStringEncodingMacJapanese);
    EXPECT_FALSE(AppIsJapanese()) << "kept";
    EXPECT_EQ(before + 1, fakes::ApplicationEncodingAskedCount());
    EXPECT_EQ(0, sAppIsJapanese);
}

TEST_F(SystemFactsTest, PullApplicationToFront) {
    PullApplicationToFront();
    EXPECT_EQ(std::vector<std::string>(3, "EventAvail(65535)"), fakes::CallLog());
}

TEST_F(SystemFactsTest, VolumeIsLocked) {
    struct Row {
        int attributes;
        bool isLocked;
    };
    constexpr Row kRows[] = {{0, false},     {0x80, true},    {0x8000, true},
                             {0x8080, true}, {0x7F7F, false}, {0xFFFF, true}};
    for (const Row& row : kRows) {
        fakes::ScriptVolume(noErr, static_cast<SInt16>(row.attributes));
        EXPECT_EQ(row.isLocked, VolumeIsLocked(-2)) << row.attributes;
    }
    EXPECT_EQ("PBHGetVInfoSync(-2)", fakes::CallLog().front());
    fakes::ScriptVolume(nsvErr, static_cast<SInt16>(0x8080));
    EXPECT_FALSE(VolumeIsLocked(-2)) << "whatever the attributes are";
}

}  // namespace
