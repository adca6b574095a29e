// The MPEG-4 importer where the device or the memory fails: at every call in turn, until none fails.
#include "MPEG4Import.h"
#include "fakes/AACEncoder.h"
#include "support/FailingCalls.h"
#include "support/FailingNew.h"

#include <gtest/gtest.h>
#include <toolbox/MacErrors.h>

#include <cerrno>
#include <new>

namespace toolbox::movies {
namespace {

using namespace mirtal::fakes;
using FileBytes = mirtal::fakes::Bytes;
using test_files::FailingCalls;
using test_files::FailingNew;

// Sound at a rate that has a packet probed, tables larger than what is read at once, the header behind the
// media, and fragments behind the header.
FileBytes ManyReads() {
    const EncodedSound tone = EncodeAAC({.sampleRateHz = 16000, .channelCount = 1, .frameCount = 4096});
    std::vector<FileBytes> packets = tone.packets;
    while (packets.size() < 9000)
        packets.push_back(tone.packets.back());
    MP4File file;
    file.order = {"ftyp", "mdat", "moov", "frag"};
    file.tracks = {AACTrack({0x14, 0x08}, 16000, 1, packets)};
    file.tracks[0].packetsPerChunk = 3;
    file.tracks[0].edits = {{5000, 1024}};
    file.moreInMovie = GaplessTagBox("0 840 2F4 1CCC");
    MP4Fragment fragment;
    fragment.packets = tone.packets;
    file.fragments = {fragment, fragment};
    return WriteMP4(file);
}

TEST(MPEG4Faults, EveryFailingRead) {
    const auto file = FileOf(ManyReads());
    for (const auto extent : {FailingCalls::kOnce, FailingCalls::kForever}) {
        int failing = 1;
        for (;; ++failing) {
            ImportedMovie movie;
            std::string problem;
            OSStatus status = noErr;
            bool delivered = false;
            {
                const FailingCalls calls(failing, EIO, extent);
                status = ImportMPEG4(file, movie, problem);
                delivered = calls.Delivered();
            }
            if (!delivered) {
                EXPECT_EQ(noErr, status);
                break;
            }
            EXPECT_EQ(ioErr, status) << "read " << failing;
        }
        EXPECT_GT(failing, 10);  // the file is one that takes many reads
    }
}

TEST(MPEG4Faults, EveryFailingAllocation) {
    const auto file = FileOf(ManyReads());
    int failing = 1;
    for (;; ++failing) {
        bool delivered = false;
        bool hasThrown = false;
        OSStatus status = noErr;
        {
            ImportedMovie movie;
            std::string problem;
            const FailingNew allocations(failing);
            try {
                status = ImportMPEG4(file, movie, problem);
            } catch (const std::bad_alloc&) {
                hasThrown = true;
            }
            delivered = allocations.Delivered();
        }
        if (!delivered) {
            EXPECT_FALSE(hasThrown);
            EXPECT_EQ(noErr, status);
            break;
        }
        // No memory is neither a damaged file nor one of another kind.
        EXPECT_TRUE(hasThrown) << "allocation " << failing << " gave " << status;
    }
    EXPECT_GT(failing, 10);
}

}  // namespace
}  // namespace toolbox::movies
