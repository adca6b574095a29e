#include "fakes/MP4Writer.h"

#include <gtest/gtest.h>
#include <movies/mpeg4/MPEG4Descriptors.h>

namespace toolbox::movies {
namespace {

using mirtal::fakes::Bytes;
using mirtal::fakes::Join;
using mirtal::fakes::StreamDescriptor;
using mirtal::fakes::U16;
using mirtal::fakes::U8;
using mirtal::fakes::Zeros;

// The content behind version and flags.
Bytes ContentOf(const Bytes& inBox) {
    return {inBox.begin() + 12, inBox.end()};
}

Bytes Descriptor(std::uint32_t inTag, const Bytes& inContent) {
    return Join({U8(inTag), U8(static_cast<std::uint32_t>(inContent.size())), inContent});
}

Bytes Decoder(const Bytes& inConfig) {
    return Descriptor(4, Join({U8(0x40), Zeros(12), Descriptor(5, inConfig)}));
}

TEST(MPEG4Descriptors, LongLengths) {
    DecoderDescriptor decoder;
    ASSERT_TRUE(ReadDecoderDescriptor(ContentOf(StreamDescriptor({0x12, 0x10}, 0x67)), decoder));
    EXPECT_EQ(0x67, decoder.objectType);
    EXPECT_EQ((Bytes{0x12, 0x10}), decoder.config);
}

TEST(MPEG4Descriptors, ShortLengths) {
    DecoderDescriptor decoder;
    ASSERT_TRUE(ReadDecoderDescriptor(Descriptor(3, Join({U16(0), U8(0), Decoder({1, 2, 3})})), decoder));
    EXPECT_EQ((Bytes{1, 2, 3}), decoder.config);
}

TEST(MPEG4Descriptors, OptionalFieldsAreOver) {
    DecoderDescriptor decoder;
    const Bytes fields = Join({U16(0), U8(0xe0), U16(7), U8(3), Zeros(3), U16(9)});
    ASSERT_TRUE(ReadDecoderDescriptor(Descriptor(3, Join({fields, Decoder({1})})), decoder));
    EXPECT_EQ((Bytes{1}), decoder.config);
}

TEST(MPEG4Descriptors, OtherDescriptorsBefore) {
    DecoderDescriptor decoder;
    const Bytes other = Descriptor(9, {1, 2, 3, 4});
    ASSERT_TRUE(ReadDecoderDescriptor(
        Join({other, Descriptor(3, Join({U16(0), U8(0), other, Decoder({1})}))}), decoder));
    EXPECT_EQ((Bytes{1}), decoder.config);
}

TEST(MPEG4Descriptors, WithoutAStreamDescriptor) {
    DecoderDescriptor decoder;
    ASSERT_TRUE(ReadDecoderDescriptor(Decoder({5}), decoder));
    EXPECT_EQ((Bytes{5}), decoder.config);
}

TEST(MPEG4Descriptors, WithoutConfiguration) {
    DecoderDescriptor decoder;
    decoder.config = {9};
    ASSERT_TRUE(ReadDecoderDescriptor(ContentOf(StreamDescriptor({}, 0x6b)), decoder));
    EXPECT_EQ(0x6b, decoder.objectType);
    EXPECT_TRUE(decoder.config.empty());
}

TEST(MPEG4Descriptors, EveryCutIsSafe) {
    const Bytes whole = ContentOf(StreamDescriptor({0x12, 0x10}));
    for (std::size_t count = 0; count < whole.size(); ++count) {
        DecoderDescriptor decoder;
        const bool isRead =
            ReadDecoderDescriptor({whole.begin(), whole.begin() + static_cast<long>(count)}, decoder);
        EXPECT_TRUE(count >= 14 || !isRead) << count;
        EXPECT_TRUE(!isRead || decoder.objectType == 0x40) << count;
    }
}

}  // namespace
}  // namespace toolbox::movies
