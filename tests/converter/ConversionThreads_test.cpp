// Conversions side by side: the same bytes as one after the other.
#include "MediaFolder.h"

#include <atomic>
#include <thread>

using namespace media;

namespace {

std::vector<std::string> Files() {
    const std::string folder = std::string(MIRTAL_FIXTURES) + '/';
    return {folder + "tone-44100-stereo.m4a",
            folder + "tone-44100-stereo.aac",
            folder + "tone-8000-mono.m4a",
            folder + "tone-96000-stereo.m4a",
            folder + "fragmented.mp4",
            folder + "damaged.m4a",
            folder + "noise-pns-44100-stereo.m4a",
            folder + "tone-48000-5_1.m4a",
            folder + "words.m4a",
            folder + "main-44100-stereo.m4a"};
}

TEST(ConversionThreads, DifferentAndTheSameFilesAtOnce) {
    constexpr int kThreadCount = 8;
    constexpr int kRounds = 3;
    const std::vector<std::string> files = Files();
    std::vector<Bytes> expected;
    for (const std::string& file : files) {
        expected.push_back(Whole(file));
        ASSERT_EQ(file == files[8], expected.back().empty()) << file;
    }
    std::atomic<int> differences = 0;
    std::atomic<int> conversions = 0;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreadCount; ++thread) {
        threads.emplace_back([&, thread] {
            for (std::size_t i = 0; i < files.size() * kRounds; ++i) {
                // Threads 0 and 4, 1 and 5, ... meet at the same file.
                const std::size_t file = (i + static_cast<std::size_t>(thread % 4)) % files.size();
                differences += Whole(files[file]) != expected[file];
                differences +=
                    AnnouncedByteCount(files[file]) != static_cast<long long>(expected[file].size());
                ++conversions;
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(0, differences);
    EXPECT_EQ(kThreadCount * kRounds * static_cast<int>(files.size()), conversions);
}

}  // namespace
