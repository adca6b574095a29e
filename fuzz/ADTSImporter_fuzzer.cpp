// Raw AAC files of hostile making: importing them, and reading every packet that they claim.
#include "track/MovieImporter.h"

#include <sys/mman.h>
#include <toolbox/MacErrors.h>
#include <unistd.h>

#include <cstdlib>

using namespace toolbox::movies;

namespace {

std::shared_ptr<const MediaFile> NewFile(const std::uint8_t* inBytes, std::size_t inCount) {
    const int descriptor = memfd_create("fuzz", MFD_CLOEXEC);
    if (descriptor < 0 || write(descriptor, inBytes, inCount) != static_cast<ssize_t>(inCount)) {
        std::abort();  // the machine has no more to give: nothing that the importer did
    }
    return std::make_shared<const MediaFile>(descriptor, static_cast<std::int64_t>(inCount), "fuzz");
}

void Require(bool inHolds) {
    if (!inHolds) std::abort();
}

void CheckSpans(const SoundTrack& inTrack) {
    std::uint32_t packet = 0;
    std::int64_t frame = 0;
    for (const PacketSpan& span : inTrack.spans) {
        Require(span.format < inTrack.formats.size() && inTrack.formats[span.format].sampleRateHz != 0);
        Require(span.firstPacket == packet && span.packetCount > 0 && span.firstFrame == frame);
        Require(!span.durations.empty() && span.durations.front().firstPacket == packet);
        packet += span.packetCount;
        frame += span.frameCount;
    }
    Require(packet == inTrack.packets->PacketCount() && frame == inTrack.FrameCount());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* inBytes, std::size_t inCount) {
    ImportedMovie movie;
    std::string problem;
    if (ImportADTS(NewFile(inBytes, inCount), movie, problem) != noErr) return 0;
    const SoundTrack& track = *movie.tracks.at(0).sound;
    CheckSpans(track);
    const auto reader = track.packets->NewReader();
    unsigned sum = 0;
    for (std::uint32_t packet = 0; packet < track.packets->PacketCount(); ++packet) {
        PacketBytes bytes;
        const OSStatus status = reader->Read(packet, bytes);
        Require(status == noErr || status == eofErr);
        for (std::size_t byte = 0; status == noErr && byte < bytes.sizeBytes + 64; ++byte)
            sum += bytes.data[byte];
    }
    Require(track.skippedByteCount <= inCount);
    return sum == 0xFFFFFFFF ? -1 : 0;
}
