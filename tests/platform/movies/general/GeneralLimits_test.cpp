// How much of a file the general importer looks at, and that it stops when it is told to.
#include "GeneralImports.h"
#include "os/SystemCalls_test_access.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <toolbox/MacErrors.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <string>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define MIRTAL_IS_SANITIZED
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define MIRTAL_IS_SANITIZED
#endif
#endif

namespace toolbox::movies {
namespace {

using general_imports::Imported;
using general_imports::MakeFile;
using mirtal::fakes::NewMemoryFile;

// A WAV of 16-bit mono at 8000 Hz: inGapBytes of zeros between its format and its sound, as many behind the
// sound. Zeros are chunks without a name that hold nothing, one behind the other.
std::shared_ptr<const MediaFile> NewSparseWAV(std::int64_t inGapBytes, std::uint32_t inFrameCount,
                                              std::int64_t inTailBytes) {
    const auto number = [](std::uint32_t inValue) {
        std::string bytes;
        for (int shift = 0; shift < 32; shift += 8)
            bytes += static_cast<char>(inValue >> shift);
        return bytes;
    };
    const std::string start = "RIFF" + number(0xFFFFFFFF) + "WAVEfmt " + number(16) + number(0x10001) +
                              number(8000) + number(16000) + number(0x100002);
    const std::string sound =
        "data" + number(inFrameCount * 2) + std::string(std::size_t{inFrameCount} * 2, '\x11');
    const auto startBytes = static_cast<std::int64_t>(start.size());
    const std::int64_t sizeBytes =
        startBytes + inGapBytes + static_cast<std::int64_t>(sound.size()) + inTailBytes;
    const int descriptor = memfd_create("sparse", MFD_CLOEXEC);
    EXPECT_EQ(startBytes, pwrite(descriptor, start.data(), start.size(), 0));
    EXPECT_EQ(static_cast<ssize_t>(sound.size()),
              pwrite(descriptor, sound.data(), sound.size(), startBytes + inGapBytes));
    EXPECT_EQ(0, ftruncate(descriptor, sizeBytes));
    return std::make_shared<const MediaFile>(descriptor, sizeBytes, "sparse");
}

class GeneralImporterLimits : public testing::Test {
  protected:
    static constexpr std::int64_t kLimitBytes = std::int64_t{64} << 20;
    static constexpr std::int64_t kBufferBytes = 128 * 1024;

    GeneralImporterLimits() {
        sBytesRead = 0;
        os::CallsForTesting().pread = [](int inDescriptor, void* outBytes, std::size_t inCount,
                                         off_t inOffset) {
            const ssize_t count = pread(inDescriptor, outBytes, inCount, inOffset);
            sBytesRead += count;
            return count;
        };
    }
    ~GeneralImporterLimits() override { os::CallsForTesting() = mRealCalls; }

    static Imported Import(const std::shared_ptr<const MediaFile>& inFile) {
        Imported result;
        result.status = ImportGeneral(inFile, result.movie, result.problem);
        return result;
    }

    static void ExpectReadable(const SoundTrack& inTrack) {
        const auto reader = inTrack.packets->NewReader();
        for (std::uint32_t packet = 0; packet < inTrack.packets->PacketCount(); ++packet) {
            PacketBytes bytes;
            ASSERT_EQ(noErr, reader->Read(packet, bytes)) << packet;
            ASSERT_EQ(0x11, bytes.data[0]) << packet;
        }
    }

    static inline std::int64_t sBytesRead = 0;
    const os::SystemCalls mRealCalls = os::Calls();
};

TEST_F(GeneralImporterLimits, SoundWithNothingBehindItEndsThere) {
    constexpr std::int64_t kTailBytes = std::int64_t{256} << 20;
    const Imported imported = Import(NewSparseWAV(0, 1000, kTailBytes));
    ASSERT_EQ(noErr, imported.status) << imported.problem;
    EXPECT_EQ(1000, imported.Sound().FrameCount());
    EXPECT_EQ(static_cast<std::uint64_t>(kTailBytes), imported.Sound().skippedByteCount);
    // Opened twice, and each time looked at what is behind the sound for other chunks and for more sound.
    EXPECT_GE(sBytesRead, kLimitBytes);
    EXPECT_LE(sBytesRead, 4 * kLimitBytes + 16 * kBufferBytes);
    sBytesRead = 0;
    ExpectReadable(imported.Sound());
    EXPECT_LE(sBytesRead, 2 * kLimitBytes + 16 * kBufferBytes);
}

TEST_F(GeneralImporterLimits, SoundWithLittleBehindItIsWhole) {
    const Imported imported = Import(NewSparseWAV(0, 1000, kLimitBytes - 4 * kBufferBytes));
    ASSERT_EQ(noErr, imported.status) << imported.problem;
    EXPECT_EQ(1000, imported.Sound().FrameCount());
    EXPECT_EQ(0u, imported.Sound().skippedByteCount);
}

TEST_F(GeneralImporterLimits, ALongWayToTheSound) {
    Imported imported = Import(NewSparseWAV(kLimitBytes - 4 * kBufferBytes, 1000, 0));
    ASSERT_EQ(noErr, imported.status) << imported.problem;
    EXPECT_EQ(1000, imported.Sound().FrameCount());
    ExpectReadable(imported.Sound());
    sBytesRead = 0;
    imported = Import(NewSparseWAV(2 * kLimitBytes, 1000, 0));
    EXPECT_EQ(invalidMovie, imported.status);
    EXPECT_EQ("there is neither sound nor picture in 64 MB of the file", imported.problem);
    EXPECT_LE(sBytesRead, kLimitBytes + 16 * kBufferBytes);
}

// Other sound goes on for longer than the limit while the chosen one is silent.
TEST_F(GeneralImporterLimits, APauseUnderOtherSoundIsNoEnd) {
    for (const char* extension : {"mka", "mov"}) {
        const std::string bytes =
            MakeFile(8000, 24 * 8000,
                     "-f lavfi -i anullsrc=r=192000:cl=7.1 -t 24 -map 0 -map 1 -filter:a:0 "
                     "\"aselect='lt(t,0.5)+gt(t,23.5)'\" -c:a pcm_s16le -max_interleave_delta 0",
                     extension);
        ASSERT_LT(kLimitBytes + (std::int64_t{4} << 20), static_cast<std::int64_t>(bytes.size()));
        const Imported imported = general_imports::Import(bytes);
        ASSERT_EQ(noErr, imported.status) << imported.problem;
        // Blocks of 1024 frames, four before the pause and four behind it; the last is no whole one.
        EXPECT_EQ(7 * 1024 + 512, imported.Sound().FrameCount()) << extension;
        EXPECT_EQ(0u, imported.Sound().skippedByteCount);
        EXPECT_FALSE(imported.Sound().isCutOff);
        const auto reader = imported.Sound().packets->NewReader();
        PacketBytes last;
        ASSERT_EQ(noErr, reader->Read(imported.Sound().packets->PacketCount() - 1, last));
        EXPECT_NE(nullptr, last.data);
    }
}

// Packets of what nobody knows to be sound show nothing.
TEST_F(GeneralImporterLimits, PrivateDataIsNotReadToItsEnd) {
    const std::string bytes = MakeFile(8000, 8, "-f data -i /dev/zero -map 1 -c copy -fs 140M", "ts");
    ASSERT_LT(2 * kLimitBytes, static_cast<std::int64_t>(bytes.size()));
    EXPECT_EQ(invalidMovie, general_imports::Import(bytes).status);
    EXPECT_LE(sBytesRead, kLimitBytes + 64 * kBufferBytes);
}

// What is asked between two packets is asked of a file in the buffer, too.
TEST_F(GeneralImporterLimits, StopsBetweenPackets) {
    struct Stop {
        int last;
        int asked = 0;
        static Boolean Ask(void* inContext) {
            auto& self = *static_cast<Stop*>(inContext);
            return ++self.asked > self.last;
        }
    };
    const std::string bytes = MakeFile(44100, 44100, "-c:a flac", "flac");
    int last = 0;
    for (bool isWhole = false; !isWhole; ++last) {
        const auto file = NewMemoryFile(bytes);
        Stop stop{last};
        StopCheck check(Stop::Ask, &stop);
        file->SetStopCheck(&check);
        const Imported imported = Import(file);
        file->SetStopCheck(nullptr);
        isWhole = imported.status == noErr;
        EXPECT_EQ(isWhole ? last : last + 1, stop.asked);
        EXPECT_EQ(!isWhole, check.IsStopped());
        if (!isWhole) {
            EXPECT_EQ(userCanceledErr, imported.status) << last;
        }
    }
    EXPECT_GT(last, 10) << "there are ten packets";
}

// Sanitizers take address space for themselves, and end the process where there is none left.
#ifndef MIRTAL_IS_SANITIZED
// Files for which libavformat wants more memory than there is, each in a process of its own.
class GeneralImporterMemory : public testing::Test {
  protected:
    GeneralImporterMemory() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
    ~GeneralImporterMemory() override { GTEST_FLAG_SET(death_test_style, mStyle); }

    // Ends the process with 0 when it is so. What has to be loaded is loaded before memory gets short.
    [[noreturn]] static void ExitAs(OSStatus inStatus, const std::shared_ptr<const MediaFile>& inFile,
                                    std::int64_t inSpareBytes) {
        static_cast<void>(general_imports::Import(MakeFile(8000, 800, "-c:a pcm_s16be", "mov")));
        std::int64_t pageCount = 0;
        std::ifstream("/proc/self/statm") >> pageCount;
        const auto limitBytes = static_cast<rlim_t>(pageCount * sysconf(_SC_PAGESIZE) + inSpareBytes);
        const rlimit limit{limitBytes, limitBytes};
        if (setrlimit(RLIMIT_AS, &limit) != 0) std::_Exit(2);
        ImportedMovie movie;
        std::string problem;
        const OSStatus status = ImportGeneral(inFile, movie, problem);
        std::fprintf(stderr, "status %d: %s\n", static_cast<int>(status), problem.c_str());
        std::_Exit(status == inStatus ? 0 : 1);
    }

    // Its table of sizes claims so many; behind it, nothing as far as inSizeBytes.
    static std::shared_ptr<const MediaFile> NewMovie(std::uint32_t inSampleCount, std::int64_t inSizeBytes) {
        std::string mov = MakeFile(48000, 480, "-c:a pcm_s16be -movflags +faststart", "mov");
        const std::size_t sizes = mov.find("stsz");
        EXPECT_NE(std::string::npos, sizes);
        general_imports::Put32(mov, sizes + 8, 0, true);
        general_imports::Put32(mov, sizes + 12, inSampleCount, true);
        const int descriptor = memfd_create("movie", MFD_CLOEXEC);
        EXPECT_EQ(static_cast<ssize_t>(mov.size()), pwrite(descriptor, mov.data(), mov.size(), 0));
        EXPECT_EQ(0, ftruncate(descriptor, inSizeBytes));
        return std::make_shared<const MediaFile>(descriptor, inSizeBytes, "movie");
    }

    static constexpr std::int64_t kMegabyte = 1 << 20;
    const std::string mStyle = GTEST_FLAG_GET(death_test_style);
};

TEST_F(GeneralImporterMemory, IsShortWhereTheFileMayNeedIt) {
    // Of four bytes each: more than there is, and less than such a file can hold.
    EXPECT_EXIT(ExitAs(memFullErr, NewMovie(30000000, 240 * kMegabyte), 64 * kMegabyte),
                testing::ExitedWithCode(0), "");
}

TEST_F(GeneralImporterMemory, IsNotWhatATableLacksThatNoFileHolds) {
    EXPECT_EXIT(ExitAs(invalidMovie, NewMovie(30000000, 100000), 64 * kMegabyte), testing::ExitedWithCode(0),
                "claims more than the file can hold");
}

TEST_F(GeneralImporterMemory, IsShortForAPacket) {
    // All of the sound in one.
    EXPECT_EXIT(
        ExitAs(memFullErr,
               NewMemoryFile(MakeFile(44100, 7000000, "-af asetnsamples=n=7000000 -c:a pcm_s16le", "flv")),
               8 * kMegabyte),
        testing::ExitedWithCode(0), "");
}
#endif

}  // namespace
}  // namespace toolbox::movies
