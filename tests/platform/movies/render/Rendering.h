// What the renderer's tests share: sounds encoded once, and a renderer over packets in memory.
#pragma once

#include "fakes/AnyEncoder.h"
#include "fakes/MemorySound.h"

#include <gtest/gtest.h>
#include <render/SoundRenderer.h>
#include <toolbox/MacErrors.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <memory>
#include <random>
#include <tuple>
#include <utility>
#include <vector>

namespace test_rendering {

using mirtal::fakes::EncodedSound;
using mirtal::fakes::MemorySound;
using mirtal::fakes::Sound;
using mirtal::fakes::SoundToEncode;
using toolbox::movies::DamageLog;
using toolbox::movies::SoundRenderer;
using toolbox::movies::SoundTrack;

using Samples = std::vector<std::int16_t>;  // left and right alternating

inline SoundToEncode FiveSeconds(std::uint16_t inChannelCount = 2) {
    SoundToEncode sound;
    sound.kind = Sound::kNoise;
    sound.channelCount = inChannelCount;
    sound.frameCount = 5 * 44100;
    return sound;
}

// Encoding takes longer than all else here: each sound is encoded once.
inline const EncodedSound& Encoded(const SoundToEncode& inSound) {
    using Key = std::tuple<Sound, std::uint32_t, std::uint16_t, std::uint32_t, std::uint32_t, bool>;
    static std::map<Key, EncodedSound> sEncoded;
    const Key key(inSound.kind, inSound.sampleRateHz, inSound.channelCount, inSound.frameCount,
                  inSound.bitsPerSecond, inSound.allowsPerceptualNoise);
    const auto found = sEncoded.find(key);
    return found != sEncoded.end() ? found->second
                                   : sEncoded.emplace(key, mirtal::fakes::EncodeAAC(inSound)).first->second;
}

// A track with a renderer of its own, cells of a second.
class Rendering {
  public:
    explicit Rendering(MemorySound inSound, std::uint32_t inRateHz = 0)
        : mStore(inSound.store),
          mTrack(std::move(inSound.track)),
          mRateHz(inRateHz == 0 ? mTrack->SampleRateHz() : inRateHz) {
        Begin();
    }

    void Begin() { mRenderer = std::make_unique<SoundRenderer>(mTrack, mDamage, mRateHz, 1); }
    std::int64_t FrameCount() const { return mRenderer->FrameCount(); }
    mirtal::fakes::MemoryPackets& Store() { return *mStore; }
    const DamageLog& Damage() const { return *mDamage; }
    OSStatus Status(std::int64_t inFirst, std::int64_t inCount) {
        std::vector<std::uint8_t> bytes(static_cast<std::size_t>(inCount) * 4);
        return mRenderer->Render(inFirst, inCount, bytes.data());
    }

    Samples Render(std::int64_t inFirst, std::int64_t inCount) {
        // The bytes beyond, and those never written, would show.
        std::vector<std::uint8_t> bytes(static_cast<std::size_t>(inCount) * 4 + 1, 0xA5);
        EXPECT_EQ(noErr, mRenderer->Render(inFirst, inCount, bytes.data()));
        EXPECT_EQ(0xA5, bytes.back());
        return mirtal::fakes::FromBigEndian(bytes.data(), static_cast<std::size_t>(inCount) * 2);
    }
    Samples Whole() { return Render(0, FrameCount()); }

  private:
    std::shared_ptr<mirtal::fakes::MemoryPackets> mStore;
    std::shared_ptr<const SoundTrack> mTrack;
    std::uint32_t mRateHz;
    std::shared_ptr<DamageLog> mDamage = std::make_shared<DamageLog>();
    std::unique_ptr<SoundRenderer> mRenderer;
};

inline Samples Cut(const Samples& inSamples, std::int64_t inFirst, std::int64_t inCount) {
    return Samples(inSamples.begin() + inFirst * 2, inSamples.begin() + (inFirst + inCount) * 2);
}

inline bool IsSilent(const Samples& inSamples) {
    return std::all_of(inSamples.begin(), inSamples.end(),
                       [](std::int16_t inSample) { return inSample == 0; });
}

// Any window, after any other, equals the same frames of the whole; and so do consecutive ones of any length.
inline void ExpectPurity(Rendering& ioRendering, int inWindowCount = 60) {
    const Samples whole = ioRendering.Whole();
    const std::int64_t frameCount = ioRendering.FrameCount();
    std::mt19937 random(5);
    for (int i = 0; i < inWindowCount; ++i) {
        const auto first = static_cast<std::int64_t>(random() % static_cast<std::uint64_t>(frameCount));
        const std::int64_t longest = std::min<std::int64_t>(frameCount - first, i % 3 == 0 ? 60000 : 1500);
        const auto count = static_cast<std::int64_t>(random() % static_cast<std::uint64_t>(longest + 1));
        if (i % 7 == 0) ioRendering.Begin();
        ASSERT_EQ(Cut(whole, first, count), ioRendering.Render(first, count)) << first << " +" << count;
    }
    Samples pieces;
    for (std::int64_t first = 0; first < frameCount;) {
        const std::int64_t count =
            std::min<std::int64_t>(frameCount - first, 1 + static_cast<std::int64_t>(random() % 5000));
        const Samples piece = ioRendering.Render(first, count);
        pieces.insert(pieces.end(), piece.begin(), piece.end());
        first += count;
    }
    ASSERT_EQ(whole, pieces);
}
}  // namespace test_rendering
