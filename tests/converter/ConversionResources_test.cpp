// What thousands of conversions leave behind: nothing.
#include "MediaFolder.h"
#include "support/TemporaryFolder.h"

#include <corefoundation/CF_test_access.h>
#include <malloc.h>
#include <movies/front/Movies_test_access.h>
#include <toolbox/MacMemory.h>

using namespace media;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define MIRTAL_ALLOCATOR_IS_REPLACED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define MIRTAL_ALLOCATOR_IS_REPLACED 1
#endif
#endif

namespace {

struct Held {
    std::uint64_t handles = GetLiveHandleCount();
    std::uint64_t pointers = GetLivePtrCount();
    std::int64_t movies = toolbox::movies::LiveMovieCount();
    std::int64_t components = toolbox::movies::LiveComponentInstanceCount();
    std::int64_t strings = toolbox::corefoundation::LiveObjectsForTesting();
    std::size_t descriptors = test_files::OpenDescriptorCount();

    bool operator==(const Held&) const = default;
};

void Discard(void* inContext, void*, long inLength) {
    *static_cast<long long*>(inContext) += inLength;
}

long long Convert(const char* inPath) {
    long long byteCount = 0;
    convert_AAC_to_WAV(inPath, &byteCount, Discard);
    return byteCount;
}

void ExpectNoGrowth(const std::string& inName, long long inByteCount) {
    const std::string path = std::string(MIRTAL_FIXTURES) + '/' + inName;
    for (int i = 0; i < 50; ++i)
        ASSERT_EQ(inByteCount, Convert(path.c_str()));
    const Held before;
    const std::size_t heapBefore = mallinfo2().uordblks;
    for (int i = 0; i < 2000; ++i)
        ASSERT_EQ(inByteCount, Convert(path.c_str()));
    EXPECT_TRUE(Held() == before);
#ifndef MIRTAL_ALLOCATOR_IS_REPLACED
    // What the allocator keeps at hand counts as used, and varies: less than 32 bytes for each conversion.
    EXPECT_LT(mallinfo2().uordblks, heapBefore + 2000 * 32);
#else
    static_cast<void>(heapBefore);  // the sanitizer's own leak check stands in
#endif
}

TEST(ConversionResources, TwoThousandOfAShortMPEG4File) {
    ExpectNoGrowth("one-packet-44100-stereo.m4a", 1024 * 4 + 44);
}

TEST(ConversionResources, TwoThousandOfRawAAC) {
    ExpectNoGrowth("tone-7350-stereo.aac", 9216 * 4 + 44);
}

TEST(ConversionResources, TwoThousandRefused) {
    ExpectNoGrowth("encrypted.mp4", 0);
    ExpectNoGrowth("words.m4a", 0);
}

TEST(ConversionResources, TwoThousandEndedByTheCallersException) {
    struct Stop {};
    const std::string path = std::string(MIRTAL_FIXTURES) + "/one-packet-44100-stereo.m4a";
    const auto stop = [](void*, void*, long) { throw Stop(); };
    EXPECT_THROW(convert_AAC_to_WAV(path.c_str(), nullptr, stop), Stop);
    const Held before;
    for (int i = 0; i < 2000; ++i)
        EXPECT_THROW(convert_AAC_to_WAV(path.c_str(), nullptr, stop), Stop);
    EXPECT_TRUE(Held() == before);
}

}  // namespace
