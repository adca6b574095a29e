// The gapless tag's text, and what is made of its numbers.
#include <movies/mpeg4/MPEG4Gapless.h>

#include <cstdint>
#include <cstdlib>

namespace {

void Check(bool inHolds) {
    if (!inHolds) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* inBytes, std::size_t inByteCount) {
    using namespace toolbox::movies;
    GaplessTag tag;
    if (!ParseGaplessTag(reinterpret_cast<const char*>(inBytes), inByteCount, tag)) return 0;
    constexpr std::int64_t kMediaFrames[] = {0, 1, 1024, 135168, std::int64_t{1} << 53};
    for (const std::int64_t mediaFrames : kMediaFrames) {
        for (const std::uint32_t ratio : {1U, 2U}) {
            GaplessTrim trim;
            if (!ApplyGaplessTag(tag, mediaFrames, ratio, trim)) continue;
            Check(trim.startFrames >= 0 && trim.soundFrames > 0);
            Check(trim.soundFrames <= mediaFrames - trim.startFrames);
        }
    }
    return 0;
}
