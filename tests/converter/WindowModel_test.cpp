// Random windows over random movies, against a model of the rules that is written as plainly as they are
// spoken: one function over numbers, with nothing of the engine in it.
#include "converter/EngineTest.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <random>

namespace {

struct Scenario {
    std::int32_t rate;
    std::int32_t movieFrames;
    std::int64_t renderedFrames;  // from here on the exporter gives nothing
    std::int64_t start;
    std::int64_t duration;
};

void PrintTo(const Scenario& inScenario, std::ostream* ioStream) {
    *ioStream << inScenario.rate << " Hz, " << inScenario.movieFrames << " frames ("
              << inScenario.renderedFrames << " rendered), window " << inScenario.start << " + "
              << inScenario.duration;
}

std::int32_t Low(std::int64_t inValue) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(inValue));
}

std::vector<Chunk> Model(const Scenario& s) {
    std::vector<Chunk> chunks;
    const auto give = [&chunks](std::int32_t inLength, Bytes inBytes) {
        inBytes.resize(inLength > 0 ? static_cast<std::size_t>(inLength) : 0, 0);
        chunks.push_back({inLength, inBytes});
    };

    std::int64_t duration = s.duration;
    std::int32_t frames = s.movieFrames;
    if (duration > 0) {
        frames = Low(duration - 11);
        if (frames < 0) frames = 0;
        if (s.movieFrames <= frames) frames = s.movieFrames;
    } else {
        duration = frames + 44;
    }
    const std::int64_t total = static_cast<std::uint32_t>(static_cast<std::uint32_t>(frames) * 4u + 44u);
    std::int64_t position = s.start;
    const std::int64_t remaining = duration - s.start;
    std::int32_t exportStart = 0;
    if (position >= 44 && position >= total) return chunks;
    if (position >= 44) {
        exportStart = static_cast<std::int32_t>((static_cast<std::uint32_t>(position) - 44u) >> 2);
    } else {
        std::int32_t n = Low(remaining);
        if (position + n > 44) n = 44 - Low(position);
        Bytes header = ExpectedHeader(static_cast<UInt32>(s.rate), static_cast<UInt32>(frames));
        header.erase(header.begin(), header.begin() + static_cast<long>(position));
        give(n, header);
        position += n;
    }

    while (exportStart < frames) {
        std::int32_t length = frames - exportStart;
        if (s.rate < length) length = s.rate;
        const std::int64_t there =
            std::max<std::int64_t>(0, std::min<std::int64_t>(length, s.renderedFrames - exportStart));
        std::int32_t bytes = static_cast<std::int32_t>(there) * 4;
        Bytes data = fakes::ToneBytes(exportStart, there, false);
        if (bytes == 0)
            bytes = length * 4;
        else
            length = static_cast<std::int32_t>(there);
        if (position + bytes > total) bytes = Low(total - position);
        give(bytes, data);
        position += bytes;
        exportStart += length;
    }
    while (position < total) {
        std::int32_t n = s.rate * 4;
        if (position + n > total) n = Low(total - position);
        give(n, {});
        position += n;
    }
    return chunks;
}

class WindowModelTest : public EngineTest {
  protected:
    static std::vector<Chunk> Engine(const Scenario& inScenario) {
        fakes::StartScenario();
        auto script = fakes::ToneMovie(static_cast<UInt32>(inScenario.rate), inScenario.movieFrames);
        script.render = [rendered = inScenario.renderedFrames](SInt64 inFirst, SInt64 inCount) {
            return fakes::RenderTone(inFirst, inCount, rendered);
        };
        fakes::AddMovie("file", script);
        return Window("file", inScenario.start, inScenario.duration).chunks;
    }
};

TEST_F(WindowModelTest, RandomWindows) {
    std::mt19937 random(4711);
    const auto below = [&random](std::uint32_t inBound) {
        return static_cast<std::int32_t>(random() % inBound);
    };
    for (int i = 0; i < 4000; ++i) {
        Scenario s{};
        s.rate = 1 + below(20);
        s.movieFrames = below(60);
        s.renderedFrames = below(4) == 0 ? below(60) : s.movieFrames;
        s.start = below(3) == 0 ? below(50) : below(400);
        s.duration = below(4) == 0 ? -below(3) : below(3) == 0 ? below(20) : below(150);
        // Beyond 32 bits only the low word counts, or everything that follows the header.
        if (below(10) == 0) s.duration += 0x300000000LL;
        if (below(20) == 0) s.start += 0x100000000LL;
        ASSERT_EQ(Model(s), Engine(s)) << ::testing::PrintToString(s);
    }
}

TEST_F(WindowModelTest, EveryStartAndDurationOfASmallMovie) {
    for (std::int64_t start = 0; start < 100; ++start)
        for (std::int64_t duration = -1; duration < 40; ++duration) {
            const Scenario s{4, 10, 10, start, duration};
            ASSERT_EQ(Model(s), Engine(s)) << ::testing::PrintToString(s);
        }
}

}  // namespace
