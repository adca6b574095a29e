// Where the fields of boxes are: byte offsets in a box's content, or in an entry of its table, by the names
// and clauses of ISO/IEC 14496-12 (the file format). Fields of a box that has them begin behind version and
// flags.
#pragma once

#include <cstdint>

namespace toolbox::movies::fields {

// FullBox, 4.2: version in 8 bits, flags in 24.
constexpr std::int64_t kFullBoxBytes = 4;
// The form of most tables: FullBox, entry_count in 32 bits, entries.
constexpr std::int64_t kEntryCount = 4;
constexpr std::int64_t kEntries = 8;

// "mvhd" 8.2.2, "tkhd" 8.3.2 and "mdhd" 8.4.2 begin alike: creation_time and modification_time, of 32 bits
// or, in version 1, of 64, and then timescale, in "tkhd" track_ID.
constexpr std::int64_t kBehindTimes = 12;
constexpr std::int64_t kBehindLargeTimes = 20;
// "tkhd": the flag track_enabled, in the last byte of the flags.
constexpr std::int64_t kLastFlagsByte = 3;
constexpr std::uint8_t kTrackEnabled = 1;
// "mdhd": language, behind timescale and duration.
constexpr std::int64_t kLanguage = 20;
constexpr std::int64_t kLargeLanguage = 32;
// "hdlr" 8.4.3: pre_defined, handler_type.
constexpr std::int64_t kHandlerType = 8;
constexpr std::int64_t kHandlerBytes = 12;

// "elst" 8.6.6: segment_duration and media_time, of 32 bits or, in version 1, of 64; the media rate.
constexpr std::uint32_t kEditBytes = 12;
constexpr std::uint32_t kLargeEditBytes = 20;
constexpr std::int64_t kEditMediaTime = 4;
constexpr std::int64_t kLargeEditMediaTime = 8;

// "stts" 8.6.1.2: sample_count, sample_delta.
constexpr std::uint32_t kTimeBytes = 8;
constexpr std::int64_t kTimeCount = 0;
constexpr std::int64_t kTimeDelta = 4;

// "stsz" 8.7.3.2: sample_size, sample_count. "stz2" 8.7.3.3: reserved in 24 bits, field_size, sample_count.
constexpr std::int64_t kSizesHeadBytes = 12;
constexpr std::int64_t kSampleSize = 4;
constexpr std::int64_t kFieldSize = 7;
constexpr std::int64_t kSampleCount = 8;

// "stsc" 8.7.4: first_chunk, samples_per_chunk, sample_description_index.
constexpr std::uint32_t kChunkRunBytes = 12;
constexpr std::int64_t kFirstChunk = 0;
constexpr std::int64_t kSamplesPerChunk = 4;
constexpr std::int64_t kDescriptionIndex = 8;

// "stco" and "co64" 8.7.5: chunk_offset.
constexpr std::uint32_t kChunkOffsetBytes = 4;
constexpr std::uint32_t kLargeChunkOffsetBytes = 8;

// AudioSampleEntry 12.2.3, counted from the start of its box. Version, compression id and packet size are
// QuickTime's, where the standard has reserved fields; samplerate is 16.16.
constexpr std::int64_t kSoundVersion = 16;
constexpr std::int64_t kChannelCount = 24;
constexpr std::int64_t kSampleSizeBits = 26;
constexpr std::int64_t kSampleRate = 32;
constexpr std::int64_t kSoundEntryBytes = 36;
// What QuickTime's version 1 adds: four numbers of samples and bytes in a packet.
constexpr std::int64_t kSoundVersion1Bytes = 16;
// And its version 2: sizeOfStructOnly, audioSampleRate (a 64-bit float), numAudioChannels, a constant,
// constBitsPerChannel, formatSpecificFlags and two numbers of a packet.
constexpr std::int64_t kSoundStructSize = 36;
constexpr std::int64_t kSoundRate64 = 40;
constexpr std::int64_t kSoundChannels32 = 48;
constexpr std::int64_t kSoundBits32 = 56;
constexpr std::int64_t kSoundVersion2Bytes = 36;

}  // namespace toolbox::movies::fields
