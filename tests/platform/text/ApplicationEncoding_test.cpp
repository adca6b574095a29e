#include "forks/Forks.h"
#include "platform/resources/ResourcesTest.h"
#include "support/FailingCalls.h"
#include "support/FailingNew.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <text/Regions.h>
#include <text/Text_test_access.h>
#include <toolbox/CFStringEncodings.h>
#include <toolbox/TextEncoding.h>

#include <cerrno>
#include <filesystem>
#include <map>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace test_resources;

constexpr ResType kVersion = FourChars("vers");

// Version, region, then two texts that do not matter here.
std::string VersionOf(int inRegion) {
    return {1, 0, '\x80', 0, static_cast<char>(inRegion >> 8), static_cast<char>(inRegion), 0, 0};
}

class ApplicationEncoding : public ResourcesTest {
  protected:
    ApplicationEncoding() {
        mProgram.Put(mFolder.MakeFile("application", "code"));
        toolbox::resources::StartAnew();
        toolbox::text::ForgetApplicationEncodingForTesting();
    }
    ~ApplicationEncoding() override { toolbox::text::ForgetApplicationEncodingForTesting(); }

    void GiveResources(const std::vector<Image>& inImages) { MakeFile("application.rsrc", inImages); }
};

TEST_F(ApplicationEncoding, UTF8WithoutResources) {
    EXPECT_EQ(kCFStringEncodingUTF8, GetApplicationTextEncoding());
}

TEST_F(ApplicationEncoding, UTF8WithoutAVersion) {
    GiveResources({ImageOf(kText, 1, "text")});
    EXPECT_EQ(kCFStringEncodingUTF8, GetApplicationTextEncoding());
}

TEST_F(ApplicationEncoding, ByTheRegion) {
    GiveResources({ImageOf(kText, 1, VersionOf(49)), ImageOf(kVersion, 2, VersionOf(20)),
                   ImageOf(kVersion, 1, VersionOf(14))});
    EXPECT_EQ(TextEncoding{kCFStringEncodingMacJapanese}, GetApplicationTextEncoding());
}

TEST_F(ApplicationEncoding, NotByTheVersionOfTheSet) {
    GiveResources({ImageOf(kVersion, 2, VersionOf(14))});
    EXPECT_EQ(kCFStringEncodingUTF8, GetApplicationTextEncoding());
}

TEST_F(ApplicationEncoding, NotByOtherOpenFiles) {
    GiveResources({ImageOf(kVersion, 1, VersionOf(0))});
    Open(MakeFile("other", {ImageOf(kVersion, 1, VersionOf(14))}));
    EXPECT_EQ(TextEncoding{kCFStringEncodingMacRoman}, GetApplicationTextEncoding());
}

TEST_F(ApplicationEncoding, RegionNeedsSixBytes) {
    GiveResources({ImageOf(kVersion, 1, VersionOf(14).substr(0, 6))});
    EXPECT_EQ(TextEncoding{kCFStringEncodingMacJapanese}, GetApplicationTextEncoding());
    toolbox::text::ForgetApplicationEncodingForTesting();
    GiveResources({ImageOf(kVersion, 1, VersionOf(14).substr(0, 5))});
    EXPECT_EQ(kCFStringEncodingUTF8, GetApplicationTextEncoding());
    toolbox::text::ForgetApplicationEncodingForTesting();
    GiveResources({ImageOf(kVersion, 1, "")});
    EXPECT_EQ(kCFStringEncodingUTF8, GetApplicationTextEncoding());
}

TEST_F(ApplicationEncoding, IsLookedUpOnce) {
    GiveResources({ImageOf(kVersion, 1, VersionOf(14))});
    EXPECT_EQ(TextEncoding{kCFStringEncodingMacJapanese}, GetApplicationTextEncoding());
    GiveResources({ImageOf(kVersion, 1, VersionOf(20))});
    EXPECT_EQ(TextEncoding{kCFStringEncodingMacJapanese}, GetApplicationTextEncoding());
}

TEST_F(ApplicationEncoding, ComesFirstForText) {
    GiveResources({ImageOf(kVersion, 1, VersionOf(14))});
    UInt8 bytes[16];
    ByteCount length = 0;
    TextEncoding encoding = 99;
    ASSERT_EQ(0, GetTextAndEncodingFromCFString(CFSTR("a\u3042"), bytes, 16, &length, &encoding));
    EXPECT_EQ(TextEncoding{kCFStringEncodingMacJapanese}, encoding);
    EXPECT_EQ("a\x82\xA0", std::string(reinterpret_cast<char*>(bytes), length));
    ASSERT_EQ(0, GetTextAndEncodingFromCFString(CFSTR("caf\u00E9"), bytes, 16, &length, &encoding));
    EXPECT_EQ(TextEncoding{kCFStringEncodingMacRoman}, encoding);
    EXPECT_EQ("caf\x8E", std::string(reinterpret_cast<char*>(bytes), length));
}

TEST_F(ApplicationEncoding, WithoutMemoryItIsUTF8UntilThereIsSome) {
    GiveResources({ImageOf(kVersion, 1, VersionOf(14))});
    int failingAllocation = 1;
    for (; failingAllocation < 1000; ++failingAllocation) {
        bool isDelivered = false;
        TextEncoding encoding = 0;
        {
            const test_files::FailingNew failure(failingAllocation);
            encoding = GetApplicationTextEncoding();
            isDelivered = failure.Delivered();
        }
        if (!isDelivered) {
            EXPECT_EQ(TextEncoding{kCFStringEncodingMacJapanese}, encoding);
            break;
        }
        EXPECT_EQ(kCFStringEncodingUTF8, encoding) << failingAllocation;
        EXPECT_EQ(TextEncoding{kCFStringEncodingMacJapanese}, GetApplicationTextEncoding())
            << failingAllocation;
        toolbox::text::ForgetApplicationEncodingForTesting();
    }
    EXPECT_GT(failingAllocation, 3);
    EXPECT_LT(failingAllocation, 1000);
}

// What is wanting for a moment settles nothing.
TEST_F(ApplicationEncoding, WithoutDescriptorsItIsUTF8UntilThereAreSome) {
    GiveResources({ImageOf(kVersion, 1, VersionOf(14))});
    for (const int number : {EMFILE, ENFILE, ENOMEM, EIO}) {
        for (int failing = 1;; ++failing) {
            bool isDelivered = false;
            TextEncoding encoding = 0;
            {
                const test_files::FailingCalls failure(failing, number);
                encoding = GetApplicationTextEncoding();
                isDelivered = failure.Delivered();
            }
            EXPECT_EQ(TextEncoding{kCFStringEncodingMacJapanese}, GetApplicationTextEncoding()) << failing;
            toolbox::text::ForgetApplicationEncodingForTesting();
            if (!isDelivered) {
                EXPECT_EQ(TextEncoding{kCFStringEncodingMacJapanese}, encoding);
                EXPECT_GT(failing, 6);
                break;
            }
            ASSERT_LT(failing, 100);
        }
    }
}

// It is in the resource fork of the program itself, if that has one.
TEST_F(ApplicationEncoding, OfTheProgramsOwnFork) {
    GiveResources({ImageOf(kVersion, 1, VersionOf(20))});
    const FSRef program = RefOf(mFolder / "application");
    using toolbox::files::Fork;
    ASSERT_EQ(noErr, WriteFork(program, Fork::kResource, ForkOf({ImageOf(kVersion, 1, VersionOf(14))})));
    EXPECT_EQ(TextEncoding{kCFStringEncodingMacJapanese}, GetApplicationTextEncoding());
    toolbox::text::ForgetApplicationEncodingForTesting();
    ASSERT_EQ(noErr, WriteFork(program, Fork::kResource, ForkOf({ImageOf(kText, 1, "text")})));
    EXPECT_EQ(kCFStringEncodingUTF8, GetApplicationTextEncoding()) << "and there alone";
}

TEST_F(ApplicationEncoding, ForksThatCannotBeReadCountAsAbsent) {
    GiveResources({ImageOf(kVersion, 1, VersionOf(14))});
    mFolder.MakeFile("._application", "no companion");
    EXPECT_EQ(TextEncoding{kCFStringEncodingMacJapanese}, GetApplicationTextEncoding());
    toolbox::text::ForgetApplicationEncodingForTesting();
    MakeFileOf("application.rsrc", std::vector<UInt8>(100, 'x'));
    EXPECT_EQ(kCFStringEncodingUTF8, GetApplicationTextEncoding());
    GiveResources({ImageOf(kVersion, 1, VersionOf(14))});
    EXPECT_EQ(kCFStringEncodingUTF8, GetApplicationTextEncoding()) << "that was a final answer";
    toolbox::text::ForgetApplicationEncodingForTesting();
    std::filesystem::remove(mFolder / "application.rsrc");
    ASSERT_EQ(0, mkfifo((mFolder / "application.rsrc").c_str(), 0600));
    EXPECT_EQ(kCFStringEncodingUTF8, GetApplicationTextEncoding()) << "without waiting for a writer";
}

TEST_F(ApplicationEncoding, WhatIsNoFileCountsAsAbsent) {
    const std::string companion = mFolder / "._application";
    for (const mode_t kind : {S_IFDIR, S_IFIFO, S_IFSOCK}) {
        GiveResources({ImageOf(kVersion, 1, VersionOf(14))});
        ASSERT_EQ(
            0, kind == S_IFDIR ? mkdir(companion.c_str(), 0700) : mknod(companion.c_str(), kind | 0600, 0));
        toolbox::text::ForgetApplicationEncodingForTesting();
        EXPECT_EQ(TextEncoding{kCFStringEncodingMacJapanese}, GetApplicationTextEncoding())
            << std::oct << kind;
        std::filesystem::remove(mFolder / "application.rsrc");
        toolbox::text::ForgetApplicationEncodingForTesting();
        EXPECT_EQ(kCFStringEncodingUTF8, GetApplicationTextEncoding());
        GiveResources({ImageOf(kVersion, 1, VersionOf(14))});
        EXPECT_EQ(kCFStringEncodingUTF8, GetApplicationTextEncoding()) << "that was a final answer";
        std::filesystem::remove(companion);
    }
}

TEST_F(ApplicationEncoding, KeepsNothingOpen) {
    GiveResources({ImageOf(kVersion, 1, VersionOf(14))});
    const std::size_t before = test_files::OpenDescriptorCount();
    EXPECT_EQ(TextEncoding{kCFStringEncodingMacJapanese}, GetApplicationTextEncoding());
    EXPECT_EQ(before, test_files::OpenDescriptorCount());
}

TEST_F(ApplicationEncoding, FirstCallOnSeveralThreads) {
    GiveResources({ImageOf(kVersion, 1, VersionOf(14))});
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back(
            [] { EXPECT_EQ(TextEncoding{kCFStringEncodingMacJapanese}, GetApplicationTextEncoding()); });
    }
    for (std::thread& thread : threads)
        thread.join();
}

// By the published region codes.
TEST(Regions, EachHasTheEncodingOfItsScript) {
    const std::map<CFStringEncoding, std::vector<int>> kRegionsOf = {
        {kCFStringEncodingMacRoman,
         {0,  1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11, 12, 15, 17, 18,  19,  22,  26,  27, 28,
          29, 30, 31, 32, 36, 37, 70, 71, 73, 74, 82, 86, 91, 92, 98, 100, 101, 102, 107, 108}},
        {kCFStringEncodingMacJapanese, {14}},
        {kCFStringEncodingMacGreek, {20, 23, 40, 64}},
        {kCFStringEncodingMacIcelandic, {21, 47}},
        {kCFStringEncodingMacTurkish, {24, 35}},
        {kCFStringEncodingMacCroatian, {25, 66, 68}},
        {kCFStringEncodingMacRomanian, {39}},
        {kCFStringEncodingMacCentralEurRoman, {41, 42, 43, 44, 45, 56, 57, 59}},
        {kCFStringEncodingMacCyrillic, {49, 61, 65, 67, 72, 99}},
        {kCFStringEncodingMacUkrainian, {62}},
    };
    std::map<int, CFStringEncoding> encodingOf;
    for (const auto& [encoding, regions] : kRegionsOf) {
        EXPECT_TRUE(CFStringIsEncodingAvailable(encoding)) << encoding;
        for (const int region : regions)
            EXPECT_TRUE(encodingOf.emplace(region, encoding).second) << region;
    }
    for (int region = -32768; region <= 32767; ++region) {
        const auto found = encodingOf.find(region);
        const CFStringEncoding expected =
            found == encodingOf.end() ? CFStringEncoding{kCFStringEncodingUTF8} : found->second;
        ASSERT_EQ(expected, toolbox::text::EncodingOfRegion(static_cast<SInt16>(region))) << region;
    }
}

}  // namespace
