#include "Rendering.h"

#include <gtest/gtest.h>
#include <toolbox/MacErrors.h>

#include <cstdint>
#include <string>
#include <vector>

namespace {

using mirtal::fakes::DecodeBarely;
using mirtal::fakes::NewSound;
using mirtal::fakes::Trimming;
using test_rendering::Encoded;
using test_rendering::EncodedSound;
using test_rendering::ExpectPurity;
using test_rendering::FiveSeconds;
using test_rendering::Rendering;
using test_rendering::Samples;
using test_rendering::SoundToEncode;

// Bits, the most significant of each byte first.
class BitWriter {
  public:
    void Put(unsigned inValue, int inWidth) {
        for (int bit = inWidth - 1; bit >= 0; --bit) {
            if (mBitCount % 8 == 0) mBytes.push_back(0);
            mBytes.back() |= static_cast<std::uint8_t>((inValue >> bit & 1) << (7 - mBitCount % 8));
            ++mBitCount;
        }
    }
    const std::vector<std::uint8_t>& Bytes() const { return mBytes; }

  private:
    std::vector<std::uint8_t> mBytes;
    int mBitCount = 0;
};

// A fill element of 14 bytes with an encoder's signature, before the packet's own elements.
std::vector<std::uint8_t> WithSignature(const std::vector<std::uint8_t>& inPacket) {
    BitWriter writer;
    writer.Put(6, 3);
    writer.Put(14, 4);
    writer.Put(0, 4 + 13);
    for (const char character : std::string("libfaac 1.2"))
        writer.Put(static_cast<unsigned char>(character), 8);
    writer.Put(0, 14 * 8 - 4 - 13 - 11 * 8);
    for (const std::uint8_t byte : inPacket)
        writer.Put(byte, 8);
    return writer.Bytes();
}

// Left alone, the decoder drops 1024 frames when it meets this signature: the sound came out that much short.
TEST(SoundRenderer, AnEncodersSignatureTrimsNothing) {
    EncodedSound encoded = Encoded(FiveSeconds(1));
    const auto format = NewSound(encoded).track->formats[0];
    Rendering plain(NewSound(encoded));
    encoded.packets[0] = WithSignature(encoded.packets[0]);
    EXPECT_EQ(encoded.DecodedFrameCount() - 1024,
              DecodeBarely(format, encoded.packets, Trimming::kDecoders).size() / 2);
    Rendering signedOne(NewSound(encoded));
    EXPECT_EQ(plain.Whole(), signedOne.Whole());
    EXPECT_EQ(0U, signedOne.Damage().PacketCount());
}

// The same amid the sound: what was rendered before stays, nothing is lost, and windows still equal the
// whole.
TEST(SoundRenderer, SignaturesAnywhereTrimNothing) {
    const EncodedSound plain = Encoded(FiveSeconds());
    const Samples whole = Rendering(NewSound(plain)).Whole();
    // Within a cell, at the end of one (the next one's pre-roll), at the beginning of one, the last packet.
    const std::size_t last = plain.packets.size() - 1;
    for (const std::vector<std::size_t>& places :
         {std::vector<std::size_t>{20}, {43}, {44}, {last}, {1, 2, 60, 87, 88, last}}) {
        EncodedSound encoded = plain;
        for (const std::size_t place : places)
            encoded.packets[place] = WithSignature(encoded.packets[place]);
        Rendering rendering(NewSound(encoded));
        EXPECT_EQ(whole, rendering.Whole()) << places.front();
        EXPECT_EQ(0U, rendering.Damage().PacketCount());
        Rendering windows(NewSound(encoded));
        ExpectPurity(windows, 20);
    }
}

TEST(SoundRenderer, ASignatureInPerceptualNoiseChangesNoSample) {
    SoundToEncode description = FiveSeconds(1);
    description.allowsPerceptualNoise = true;
    description.bitsPerSecond = 24000;
    EncodedSound encoded = Encoded(description);
    const Samples whole = Rendering(NewSound(encoded)).Whole();
    encoded.packets[20] = WithSignature(encoded.packets[20]);
    EXPECT_EQ(whole, Rendering(NewSound(encoded)).Whole());
}

}  // namespace
