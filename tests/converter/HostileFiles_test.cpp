// Files cut off anywhere, with bytes changed, or with claims far beyond their size, through whole
// conversions.
#include "MediaFolder.h"
#include "fakes/MP4Writer.h"
#include "support/Rounds.h"
#include "support/TemporaryFolder.h"

#include <converter/WAVReader.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <toolbox/MacErrors.h>
#include <toolbox/SoundReport.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <iterator>
#include <random>

using namespace media;

namespace {

// Enough for a file that claims hours: what comes until then is looked at, and the conversion ended.
constexpr std::size_t kMaxBytes = 20u << 20;
constexpr int kMaxChunks = 500;
struct Enough {};

struct Count {
    std::size_t bytes = 0;
    int chunks = 0;
    bool wasBelowZero = false;

    static void Take(void* inContext, void*, long inLength) {
        auto& count = *static_cast<Count*>(inContext);
        count.wasBelowZero |= inLength < 0;
        count.bytes += static_cast<std::size_t>(std::max(inLength, 0L));
        if (count.bytes > kMaxBytes || ++count.chunks > kMaxChunks) throw Enough();
    }
};

struct Sound {
    bool isDecodable;
    SInt64 byteCount;  // of the whole stream, exact
};

Sound Examine(const std::string& inPath) {
    WAVReader reader(inPath.c_str());
    MovieSoundReport report;
    EXPECT_EQ(noErr, GetMovieSoundReport(reader.Exporter().GetMovie(), &report));
    return {report.decodable == noErr, reader.ByteCount()};
}

// Announced is delivered, unless the file or its sound is refused. Beyond 4 GiB lengths wrap: such a stream
// is only to be survived.
void ExpectConsistent(const std::string& inPath, const std::string& inWhat) {
    const long long announced = AnnouncedByteCount(inPath);
    Count count;
    bool isCutShort = false;
    try {
        convert_AAC_to_WAV(inPath.c_str(), &count, Count::Take);
    } catch (const Enough&) {
        isCutShort = true;
    }
    if (count.bytes == 0) return;
    const Sound sound = Examine(inPath);
    if (sound.byteCount > 0xFFFFFFFF) return;
    EXPECT_FALSE(count.wasBelowZero) << inWhat;
    if (isCutShort) return;
    EXPECT_EQ(sound.isDecodable ? announced : 44, static_cast<long long>(count.bytes)) << inWhat;
}

class HostileFiles : public ::testing::TestWithParam<std::string> {
  protected:
    HostileFiles() {
        std::ifstream file(std::string(MIRTAL_FIXTURES) + '/' + GetParam(), std::ios::binary);
        mContents.assign(std::istreambuf_iterator<char>(file), {});
        ::testing::internal::CaptureStderr();
    }
    // Damage is counted, and nobody's terminal is written on.
    ~HostileFiles() override { EXPECT_EQ("", ::testing::internal::GetCapturedStderr()); }

    test_files::TemporaryFolder mFolder;
    std::string mContents;
};

TEST_P(HostileFiles, CutOffAnywhere) {
    constexpr std::size_t kCuts = 200;
    ASSERT_GT(mContents.size(), 1000u);
    for (std::size_t cut = 0; cut < kCuts; ++cut) {
        // The first bytes one by one, then evenly.
        const std::size_t byteCount = cut < 50 ? cut : mContents.size() * (cut - 50) / (kCuts - 50);
        const std::string path = mFolder.MakeFile("cut", std::string_view(mContents).substr(0, byteCount));
        ExpectConsistent(path, "cut at " + std::to_string(byteCount));
    }
}

TEST_P(HostileFiles, ChangedBytes) {
    std::mt19937 random(static_cast<unsigned>(mContents.size()));
    // Half of the changes fall among the tables, which are small beside the sound.
    const std::size_t tables = mContents.find("moov");
    for (int round = 0, rounds = support::Rounds(500); round < rounds; ++round) {
        std::string changed = mContents;
        const bool isInTables = tables != std::string::npos && round % 2 == 0;
        const std::size_t first = isInTables ? tables : 0;
        const std::size_t span =
            std::min<std::size_t>(isInTables ? 2000 : changed.size(), changed.size() - first);
        const std::size_t at = first + random() % span;
        changed[at] = static_cast<char>(random());
        ExpectConsistent(mFolder.MakeFile("changed", changed), "byte " + std::to_string(at));
    }
}

INSTANTIATE_TEST_SUITE_P(Kinds, HostileFiles,
                         ::testing::Values("tone-16000-mono.m4a", "tone-16000-stereo.aac", "fragmented.mp4",
                                           "chapters.m4b", "alac-44100-stereo.m4a"),
                         TestName);

using mirtal::fakes::Bytes;

// A track whose tables claim 2^32 - 1 packets, in a file of a kilobyte.
Bytes Claimant(bool inIsConstantSize) {
    const Bytes config = {0x12, 0x10};
    auto track = mirtal::fakes::AACTrack(config, 44100, 2, mirtal::fakes::NumberedPackets(4, 20));
    using namespace mirtal::fakes;
    track.replaced["stts"] = TableBox("stts", 1, Join({U32(0xFFFFFFFF), U32(1024)}));
    track.replaced["stsz"] = FullBox("stsz", 0, 0, Join({U32(inIsConstantSize ? 1 : 0), U32(0xFFFFFFFF)}));
    track.replaced["stsc"] = TableBox("stsc", 1, Join({U32(1), U32(0xFFFFFFFF), U32(1)}));
    MP4File file;
    file.tracks = {track};
    return WriteMP4(file);
}

std::chrono::microseconds ProcessorTime(const struct rusage& inUsage) {
    const auto time = [](const timeval& inTime) {
        return std::chrono::seconds(inTime.tv_sec) + std::chrono::microseconds(inTime.tv_usec);
    };
    return time(inUsage.ru_utime) + time(inUsage.ru_stime);
}

// At most 100 ms of the processor and 20 MB, the length asked for and the file converted, in a child of its
// own whose peak memory nothing else has raised.
void ExpectCheap(const std::string& inPath) {
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        struct rusage before;
        struct rusage after;
        getrusage(RUSAGE_SELF, &before);
        AnnouncedByteCount(inPath);
        Count count;
        try {
            convert_AAC_to_WAV(inPath.c_str(), &count, Count::Take);
        } catch (const Enough&) {
        }
        getrusage(RUSAGE_SELF, &after);
        const auto spent = ProcessorTime(after) - ProcessorTime(before);
        // ru_maxrss is in KiB and never falls.
        const bool isSmall = after.ru_maxrss - before.ru_maxrss < 20 * 1024;
        _exit((spent < std::chrono::milliseconds(100) ? 0 : 1) + (isSmall ? 0 : 2));
    }
    int status = 0;
    ASSERT_EQ(child, waitpid(child, &status, 0));
    ASSERT_TRUE(WIFEXITED(status)) << status;
    EXPECT_EQ(0, WEXITSTATUS(status)) << "1: slow, 2: large";
}

TEST(HostileClaims, FourBillionPacketsInAKilobyte) {
    const test_files::TemporaryFolder folder;
    for (const bool isConstantSize : {false, true}) {
        const Bytes bytes = Claimant(isConstantSize);
        ASSERT_LT(bytes.size(), 1200u);
        const std::string path =
            folder.MakeFile("claim.m4a", {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
        ExpectCheap(path);
    }
}

}  // namespace
