// Whole files through the MPEG-4 importer: whatever it accepts must hold together, and its packets must be
// readable or fail with a status.
#include <sys/mman.h>
#include <toolbox/MacErrors.h>
#include <track/MovieImporter.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>

namespace {

using namespace toolbox::movies;

void Check(bool inHolds) {
    if (!inHolds) std::abort();
}

std::shared_ptr<const MediaFile> FileOf(const std::uint8_t* inBytes, std::size_t inByteCount) {
    const int descriptor = memfd_create("fuzz", MFD_CLOEXEC);
    Check(descriptor >= 0 && write(descriptor, inBytes, inByteCount) == static_cast<ssize_t>(inByteCount));
    return std::make_shared<const MediaFile>(descriptor, static_cast<std::int64_t>(inByteCount), "fuzz");
}

void CheckPackets(const SoundTrack& inSound) {
    const auto reader = inSound.packets->NewReader();
    const std::uint32_t count = std::min(inSound.packets->PacketCount(), std::uint32_t{200});
    std::uint32_t sum = 0;
    for (std::uint32_t packet = 0; packet < count; ++packet) {
        PacketBytes bytes;
        if (reader->Read(packet, bytes) != noErr) continue;
        for (std::size_t i = 0; i < bytes.sizeBytes + 64; ++i)
            sum += bytes.data[i];
    }
    // The sum is there so that reading what is promised to be readable is not left out.
    asm volatile("" : : "r"(sum));
}

void CheckSound(const SoundTrack& inSound) {
    Check(!inSound.formats.empty() && inSound.packets != nullptr);
    for (const SoundFormat& format : inSound.formats)
        Check(format.sampleRateHz != 0);
    std::uint32_t packet = 0;
    std::int64_t frame = 0;
    for (const PacketSpan& span : inSound.spans) {
        Check(span.firstPacket == packet && span.packetCount > 0);
        Check(span.firstFrame >= frame && span.frameCount >= 0);
        Check(span.format < inSound.formats.size());
        Check(!span.durations.empty() && span.durations.front().firstPacket == span.firstPacket);
        packet += span.packetCount;
        frame = span.firstFrame + span.frameCount;
    }
    Check(packet == inSound.packets->PacketCount());
    for (const Edit& edit : inSound.edits)
        Check(edit.frameCount > 0 && edit.mediaStart >= Edit::kEmpty);
    Check(inSound.FrameCount() >= 0);
    CheckPackets(inSound);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* inBytes, std::size_t inByteCount) {
    ImportedMovie movie;
    std::string problem;
    const OSStatus status = ImportMPEG4(FileOf(inBytes, inByteCount), movie, problem);
    Check(status == noErr || status == cantFindHandler || status == invalidMovie);
    Check((status == invalidMovie) == !problem.empty());
    if (status != noErr) return 0;
    for (const ImportedTrack& track : movie.tracks) {
        Check(track.duration.units >= 0 && track.duration.unitsPerSecond > 0);
        if (track.sound) CheckSound(*track.sound);
    }
    return 0;
}
