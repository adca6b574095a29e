#include "os/SystemCalls_test_access.h"

#include <gtest/gtest.h>
#include <sys/sysinfo.h>
#include <toolbox/Gestalt.h>
#include <unistd.h>

namespace {

using toolbox::os::CallsForTesting;

constexpr SInt32 kUntouched = -77;
constexpr unsigned long kMegabyte = 1 << 20;

SInt32 Answer(OSType inSelector) {
    SInt32 response = kUntouched;
    EXPECT_EQ(noErr, Gestalt(inSelector, &response)) << inSelector;
    return response;
}

OSErr Refusal(OSType inSelector) {
    SInt32 response = kUntouched;
    const OSErr error = Gestalt(inSelector, &response);
    EXPECT_EQ(kUntouched, response);
    return error;
}

class GestaltTest : public testing::Test {
  protected:
    ~GestaltTest() override { CallsForTesting() = mSaved; }

    toolbox::os::SystemCalls mSaved = CallsForTesting();
};

TEST_F(GestaltTest, Constants) {
    EXPECT_EQ(0x1040, Answer(gestaltSystemVersion));
    EXPECT_EQ(10, Answer(gestaltSystemVersionMajor));
    EXPECT_EQ(4, Answer(gestaltSystemVersionMinor));
    EXPECT_EQ(0, Answer(gestaltSystemVersionBugFix));
    EXPECT_EQ(1, Answer(gestaltVMAttr));
    EXPECT_EQ(1, Answer(gestaltAliasMgrAttr));
    EXPECT_EQ(1, Answer(gestaltFindFolderAttr));
    EXPECT_EQ(0, Answer(gestaltResourceMgrAttr));
}

TEST_F(GestaltTest, FileSystem) {
    const SInt32 bits = Answer(FourChars("fs  "));
    EXPECT_EQ(0x5033, bits);
    EXPECT_NE(0, bits & 1 << gestaltHasHFSPlusAPIs);
}

TEST_F(GestaltTest, Processor) {
#if defined(__x86_64__)
    EXPECT_EQ(gestaltIntel, Answer(gestaltSysArchitecture));
#else
    EXPECT_EQ(gestaltUndefSelectorErr, Refusal(gestaltSysArchitecture));
#endif
}

TEST_F(GestaltTest, MemoryOfTheMachine) {
    const auto pages = static_cast<UInt64>(sysconf(_SC_PHYS_PAGES));
    const UInt64 megabytes = pages * static_cast<UInt64>(sysconf(_SC_PAGESIZE)) / kMegabyte;
    EXPECT_EQ(megabytes, static_cast<UInt64>(Answer(gestaltPhysicalRAMSizeInMegabytes)));
    EXPECT_EQ(sysconf(_SC_PAGESIZE), Answer(gestaltLogicalPageSize));
}

TEST_F(GestaltTest, LittleMemory) {
    CallsForTesting().sysinfo = [](struct sysinfo* outInfo) {
        outInfo->totalram = 64 * 1024;
        outInfo->totalswap = 32 * 1024;
        outInfo->mem_unit = 4096;
        return 0;
    };
    EXPECT_EQ(256 * kMegabyte, static_cast<unsigned long>(Answer(gestaltPhysicalRAMSize)));
    EXPECT_EQ(256, Answer(gestaltPhysicalRAMSizeInMegabytes));
    EXPECT_EQ(384 * kMegabyte, static_cast<unsigned long>(Answer(gestaltLogicalRAMSize)));
}

TEST_F(GestaltTest, MoreMemoryThanTheNumberHolds) {
    CallsForTesting().sysinfo = [](struct sysinfo* outInfo) {
        outInfo->totalram = 8UL << 30;
        outInfo->totalswap = 0;
        outInfo->mem_unit = 1;
        return 0;
    };
    EXPECT_EQ(0x7FFFFFFF, Answer(gestaltPhysicalRAMSize));
    EXPECT_EQ(0x7FFFFFFF, Answer(gestaltLogicalRAMSize));
    EXPECT_EQ(8192, Answer(gestaltPhysicalRAMSizeInMegabytes));
}

TEST_F(GestaltTest, TheSystemDoesNotTell) {
    CallsForTesting().sysinfo = [](struct sysinfo*) { return -1; };
    CallsForTesting().sysconf = [](int) { return -1L; };
    for (const OSType selector : {gestaltPhysicalRAMSize, gestaltPhysicalRAMSizeInMegabytes,
                                  gestaltLogicalRAMSize, gestaltLogicalPageSize})
        EXPECT_EQ(gestaltUnknownErr, Refusal(selector)) << selector;
}

TEST_F(GestaltTest, NoSuchSelector) {
    EXPECT_EQ(gestaltUndefSelectorErr, Refusal(FourChars("a/ux")));
    EXPECT_EQ(gestaltUndefSelectorErr, Refusal(0));
    EXPECT_EQ(gestaltUndefSelectorErr, Refusal(FourChars("FS  "))) << "case counts";
}

TEST_F(GestaltTest, NullResponse) {
    EXPECT_EQ(paramErr, Gestalt(gestaltSystemVersion, nullptr));
}

}  // namespace
