#include "Source.h"

#include "Command.h"
#include "support/FailingNew.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <toolbox/Files.h>
#include <toolbox/MacErrors.h>
#include <toolbox/Resources.h>
#include <toolbox/StatusText.h>
#include <unistd.h>

#include <csignal>
#include <cstring>
#include <filesystem>
#include <new>
#include <string>
#include <thread>

namespace {

using tool::Failure;

Failure FailureOfCode(long inCode) {
    return tool::FailureOf(LException(inCode, TCFString()), "song.m4a");
}

TEST(FailureOf, TellsMemoryFromSound) {
    EXPECT_EQ(EX_OSERR, FailureOfCode(memFullErr).ExitCode());
    EXPECT_EQ(EX_OSERR, FailureOfCode(static_cast<long>(FourChars("nilP"))).ExitCode());
    EXPECT_STREQ("not enough memory", FailureOfCode(static_cast<long>(FourChars("nilP"))).what());
    EXPECT_STREQ("not enough memory", FailureOfCode(memFullErr).what());
    const Failure failure = FailureOfCode(paramErr);
    EXPECT_EQ(EX_DATAERR, failure.ExitCode());
    EXPECT_STREQ("cannot be decoded: an argument, or what the file holds, makes no sense", failure.what());
    EXPECT_EQ("song.m4a", failure.Subject());
}

// A thread of its own, so that no later test meets the system's error.
TEST(FailureOf, HasTheSystemsWordsWhereTheyTellMore) {
    std::thread([] {
        const test_files::TemporaryFolder folder;
        const std::string path = folder.MakeFile("program", "its data");
        const std::u16string forkName = u"RESOURCE_FORK";
        FSRef file;
        ASSERT_EQ(noErr, FSPathMakeRef(reinterpret_cast<const UInt8*>(path.c_str()), &file, nullptr));
        rlimit before;
        getrlimit(RLIMIT_FSIZE, &before);
        const rlimit nothing{0, before.rlim_max};
        const auto signalBefore = std::signal(SIGXFSZ, SIG_IGN);
        setrlimit(RLIMIT_FSIZE, &nothing);
        const OSErr error = FSCreateResourceFork(&file, forkName.size(),
                                                 reinterpret_cast<const UniChar*>(forkName.data()), 0);
        setrlimit(RLIMIT_FSIZE, &before);
        std::signal(SIGXFSZ, signalBefore);
        ASSERT_EQ(ioErr, error);
        EXPECT_STREQ(
            "cannot be decoded: reading or writing failed, or it would be longer than files may be: File too "
            "large",
            FailureOfCode(error).what());
    }).join();
}

// A file of no folder has a descriptor's path.
TEST(OpenExporter, OpensAFileInNoFolder) {
    const std::string bytes = tools_test::ReadFile(tools_test::Fixture("tone-8000-mono.m4a"));
    const int descriptor = memfd_create("sound", MFD_CLOEXEC);
    ASSERT_EQ(static_cast<ssize_t>(bytes.size()), write(descriptor, bytes.data(), bytes.size()));
    const tool::Input input("/proc/self/fd/" + std::to_string(descriptor), 0, true);
    EXPECT_EQ(8000, tool::FrameCountOf(*tool::OpenExporter(input, {})));
    close(descriptor);
}

TEST(OpenExporter, TellsWhatIsNoSound) {
    const tool::Input input("/proc/self/exe", 0, true);
    try {
        static_cast<void>(tool::OpenExporter(input, {}));
        ADD_FAILURE() << "it opened";
    } catch (const Failure& failure) {
        EXPECT_EQ(EX_DATAERR, failure.ExitCode());
        EXPECT_EQ("/proc/self/exe", failure.Subject());
    }
}

// Whichever allocation is the first to fail, it is memory that is told of.
TEST(OpenExporter, TellsOfMemoryThatIsShort) {
    const tool::Input input(tools_test::Fixture("tone-44100-stereo.m4a"), 0, true);
    static_cast<void>(tool::OpenExporter(input, {}));
    int failed = 0;
    for (int allocation = 1;; ++allocation) {
        const test_files::FailingNew failing(allocation);
        try {
            static_cast<void>(tool::OpenExporter(input, {}));
        } catch (const Failure& failure) {
            ASSERT_EQ(EX_OSERR, failure.ExitCode()) << allocation << ": " << failure.what();
        } catch (const std::bad_alloc&) {
        }
        if (!failing.Delivered()) break;
        ++failed;
    }
    EXPECT_LT(10, failed);
}

// So too where it fails on the way to the reason, and only once.
TEST(OpenExporter, TakesMemoryThatIsShortForNothingElse) {
    for (const std::string& path :
         {tools_test::Fixture("tone-44100-stereo.m4a"), std::string("/proc/self/exe")}) {
        const tool::Input input(path, 0, true);
        int shortCount = 0;
        for (int allocation = 1;; ++allocation) {
            const test_files::FailingNew failing(allocation, test_files::FailingNew::kOnce);
            try {
                static_cast<void>(tool::OpenExporter(input, {}));
            } catch (const Failure& failure) {
                const bool isShort = failure.ExitCode() == EX_OSERR;
                shortCount += isShort ? 1 : 0;
                EXPECT_TRUE(isShort || path == "/proc/self/exe") << allocation << ": " << failure.what();
                EXPECT_TRUE(isShort || failure.ExitCode() == EX_DATAERR)
                    << allocation << ": " << failure.what();
            } catch (const std::bad_alloc&) {
            }
            if (!failing.Delivered()) break;
        }
        EXPECT_LT(5, shortCount) << path;
    }
}

TEST(OpenExporter, TellsWhatHasGone) {
    const tools_test::TemporaryFolder folder;
    tools_test::WriteFile(folder / "song.m4a", "sound");
    const tool::Input input(folder / "song.m4a", 0, true);
    std::filesystem::remove(folder / "song.m4a");
    try {
        static_cast<void>(tool::OpenExporter(input, {}));
        ADD_FAILURE() << "it opened";
    } catch (const Failure& failure) {
        EXPECT_EQ(EX_NOINPUT, failure.ExitCode());
        EXPECT_STREQ(GetStatusText(fnfErr), failure.what());
    }
}

TEST(OpenExporter, TellsWhyTheSoundCannotBeDecoded) {
    for (const char* name : {"encrypted.mp4", "encrypted-with-video.mp4"}) {
        try {
            static_cast<void>(tool::OpenExporter({tools_test::Fixture(name), 0, true}, {}));
            ADD_FAILURE() << "it opened";
        } catch (const Failure& failure) {
            EXPECT_EQ(EX_DATAERR, failure.ExitCode());
            EXPECT_STREQ("the sound is encrypted (AAC LC)", failure.what());
        }
    }
}

std::string Refusal(OSStatus inStatus, const char* inFormatName) {
    MovieSoundReport report{};
    report.decodable = inStatus;
    std::strcpy(report.formatName, inFormatName);
    try {
        tool::RequireDecodable(report, "song.m4a");
    } catch (const Failure& failure) {
        EXPECT_EQ(EX_DATAERR, failure.ExitCode());
        EXPECT_EQ("song.m4a", failure.Subject());
        return failure.what();
    }
    return "";
}

TEST(RequireDecodable, TellsWhy) {
    EXPECT_EQ("", Refusal(noErr, "AAC LC"));
    EXPECT_EQ("the sound is encrypted (AAC LC)", Refusal(badFormat, "AAC LC"));
    EXPECT_EQ("there is no decoder for USAC", Refusal(noCodecErr, "USAC"));
    EXPECT_EQ("there is no decoder for its format", Refusal(noCodecErr, ""));
    EXPECT_EQ("cannot be decoded: reading or writing failed, or it would be longer than files may be",
              Refusal(ioErr, "AAC LC"));
    MovieSoundReport report{};
    report.decodable = memFullErr;
    try {
        tool::RequireDecodable(report, "song.m4a");
        ADD_FAILURE() << "nothing thrown";
    } catch (const Failure& failure) {
        EXPECT_EQ(EX_OSERR, failure.ExitCode());
    }
}

std::string Told(const MovieSoundReport& inReport, const tool::Options& inOptions) {
    tool::SetCommandName("aac2wav");
    testing::internal::CaptureStderr();
    EXPECT_EQ(inReport.damagedPacketCount > 0, tool::TellDamage(inReport, "song.m4a", inOptions));
    return testing::internal::GetCapturedStderr();
}

std::string Damage(std::uint64_t inPackets, SInt64 inFrames, std::uint64_t inSkippedBytes,
                   UInt32 inRateHz = 44100) {
    MovieSoundReport report{};
    report.sampleRateHz = inRateHz;
    report.damagedPacketCount = inPackets;
    report.silencedFrameCount = inFrames;
    report.skippedByteCount = inSkippedBytes;
    return Told(report, {});
}

TEST(TellDamage, CountsPacketsAndMilliseconds) {
    EXPECT_EQ("", Damage(0, 0, 0));
    EXPECT_EQ("aac2wav: song.m4a: warning: 1 damaged packet, 23 ms of sound replaced by silence\n",
              Damage(1, 1024, 0));
    EXPECT_EQ("aac2wav: song.m4a: warning: 2 damaged packets, 100 ms of sound replaced by silence\n",
              Damage(2, 4410, 0));
    EXPECT_EQ("aac2wav: song.m4a: warning: 5 damaged packets, 0 ms of sound replaced by silence\n",
              Damage(5, 9, 0, 0));
}

TEST(TellDamage, ACutFileIsToldInItsOwnWords) {
    MovieSoundReport report{};
    report.sampleRateHz = 44100;
    report.isCutOff = 1;
    report.damagedPacketCount = 1;
    const std::string cut =
        "aac2wav: song.m4a: warning: the file is cut off: it promises more sound than it holds";
    EXPECT_EQ(cut + '\n', Told(report, {}));
    report.damagedPacketCount = 2;
    report.silencedFrameCount = 4410;
    EXPECT_EQ(cut + "; 1 damaged packet, 100 ms of sound replaced by silence\n", Told(report, {}));
}

// What makes the exit code is an error.
TEST(TellDamage, QuietlyOnlyWhatIsAFailure) {
    MovieSoundReport report{};
    report.sampleRateHz = 44100;
    report.skippedByteCount = 1;
    tool::Options options;
    options.isQuiet = true;
    EXPECT_EQ("", Told(report, options));
    report.damagedPacketCount = 1;
    report.silencedFrameCount = 1024;
    EXPECT_EQ("aac2wav: song.m4a: 1 damaged packet, 23 ms of sound replaced by silence\n",
              Told(report, options));
    options.keepsGoing = true;
    EXPECT_EQ("", Told(report, options));
}

TEST(TellDamage, SkippedBytesAreToldButLoseNoSound) {
    EXPECT_EQ("aac2wav: song.m4a: warning: 1 byte without sound skipped\n", Damage(0, 0, 1));
}

}  // namespace
