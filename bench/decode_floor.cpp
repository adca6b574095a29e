// How much a whole export takes over decoding alone.
//
//     decode-floor FILE [ROUNDS]
//
// The packets of FILE's sound, found by the importers, go through a bare decoder loop that throws the sound
// away; then the same file is exported a second at a time. Both in turn, ROUNDS times (default 15); the
// fastest of each counts.

#include <movies/MovieObjects.h>
#include <toolbox/Aliases.h>
#include <toolbox/Movies.h>
#include <toolbox/SoundReport.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <limits>
#include <vector>

extern "C" {
#include <libavcodec/avcodec.h>
}

namespace {

using toolbox::movies::PacketBytes;
using toolbox::movies::SoundFormat;
using toolbox::movies::SoundTrack;

// Of processor time, which other programs on the machine disturb less than the time that passes.
double Milliseconds() {
    return static_cast<double>(std::clock()) * 1000 / CLOCKS_PER_SEC;
}

[[noreturn]] void Fail(const char* inWhat) {
    std::fprintf(stderr, "decode-floor: %s\n", inWhat);
    std::exit(1);
}

Movie Open(const char* inPath) {
    FSRef item;
    AliasHandle alias = nullptr;
    if (FSPathMakeRef(reinterpret_cast<const UInt8*>(inPath), &item, nullptr) != noErr ||
        FSNewAliasMinimal(&item, &alias) != noErr) {
        Fail("no such file");
    }
    Movie movie = nullptr;
    const OSErr error = NewMovieFromDataRef(&movie, 0, nullptr, reinterpret_cast<Handle>(alias), rAliasType);
    DisposeHandle(reinterpret_cast<Handle>(alias));
    if (error != noErr) Fail(GetMovieOpenErrorText());
    return movie;
}

AVCodecContext* OpenDecoder(const SoundFormat& inFormat) {
    const AVCodec* codec = avcodec_find_decoder(static_cast<AVCodecID>(inFormat.codecID));
    AVCodecContext* context = avcodec_alloc_context3(codec);
    if (codec == nullptr || context == nullptr) Fail("no decoder");
    context->thread_count = 1;
    context->extradata =
        static_cast<std::uint8_t*>(av_mallocz(inFormat.decoderConfig.size() + AV_INPUT_BUFFER_PADDING_SIZE));
    std::copy(inFormat.decoderConfig.begin(), inFormat.decoderConfig.end(), context->extradata);
    context->extradata_size = static_cast<int>(inFormat.decoderConfig.size());
    if (avcodec_open2(context, codec, nullptr) < 0) Fail("the decoder does not open");
    return context;
}

// Returns the frames decoded. The packets are read beforehand, so that reading costs nothing here.
std::int64_t DecodeBarely(const SoundFormat& inFormat, std::vector<std::vector<std::uint8_t>>& ioPackets) {
    AVCodecContext* context = OpenDecoder(inFormat);
    AVPacket* packet = av_packet_alloc();
    AVFrame* frame = av_frame_alloc();
    // One block that all packets pretend to lie in spares the decoder a copy, as reading by blocks does.
    AVBufferRef* block = av_buffer_alloc(1);
    std::int64_t frameCount = 0;
    for (std::vector<std::uint8_t>& bytes : ioPackets) {
        packet->data = bytes.data();
        packet->size = static_cast<int>(bytes.size()) - AV_INPUT_BUFFER_PADDING_SIZE;
        packet->buf = block;
        avcodec_send_packet(context, packet);
        packet->buf = nullptr;
        while (avcodec_receive_frame(context, frame) >= 0)
            frameCount += frame->nb_samples;
    }
    av_buffer_unref(&block);
    av_frame_free(&frame);
    av_packet_free(&packet);
    avcodec_free_context(&context);
    return frameCount;
}

std::int64_t Export(const char* inPath) {
    const Movie movie = Open(inPath);
    MovieSoundReport report;
    GetMovieSoundReport(movie, &report);
    const MovieExportComponent exporter = OpenDefaultComponent(MovieExportType, FourChars("snd "));
    const Handle block = NewHandle(0);
    const auto rateHz = static_cast<TimeScale>(std::min<UInt32>(report.sampleRateHz, 65535));
    SetMovieTimeScale(movie, rateHz);
    std::int64_t frameCount = 0;
    for (SInt64 start = 0;; start += rateHz) {
        if (MovieExportToHandle64(exporter, block, movie, nullptr, start, rateHz) != noErr)
            Fail("the export fails");
        const std::int64_t rendered = (GetHandleSize(block) - 84) / 4;
        if (rendered == 0) break;
        frameCount += rendered;
    }
    CloseComponent(exporter);
    DisposeHandle(block);
    DisposeMovie(movie);
    return frameCount;
}

std::vector<std::vector<std::uint8_t>> ReadPackets(const SoundTrack& inSound) {
    std::vector<std::vector<std::uint8_t>> packets;
    const auto reader = inSound.packets->NewReader();
    for (std::uint32_t number = 0; number < inSound.packets->PacketCount(); ++number) {
        PacketBytes bytes;
        if (reader->Read(number, bytes) != noErr || bytes.sizeBytes == 0) continue;
        packets.emplace_back(bytes.data, bytes.data + bytes.sizeBytes);
        packets.back().resize(bytes.sizeBytes + AV_INPUT_BUFFER_PADDING_SIZE);
    }
    return packets;
}

}  // namespace

int main(int inArgumentCount, char** inArguments) {
    if (inArgumentCount < 2) Fail("usage: decode-floor FILE [ROUNDS]");
    const int rounds = inArgumentCount > 2 ? std::max(1, std::atoi(inArguments[2])) : 15;
    av_log_set_level(AV_LOG_QUIET);
    const Movie movie = Open(inArguments[1]);
    const OpaqueTrack* track = movie->FirstSoundTrack();
    if (track == nullptr) Fail("no sound");
    const SoundTrack& sound = *track->media.sound;
    std::vector<std::vector<std::uint8_t>> packets = ReadPackets(sound);

    double decodeMillis = std::numeric_limits<double>::max();
    double exportMillis = std::numeric_limits<double>::max();
    std::int64_t decodedFrames = 0;
    std::int64_t exportedFrames = 0;
    for (int round = 0; round < rounds; ++round) {
        double start = Milliseconds();
        decodedFrames = DecodeBarely(sound.formats.front(), packets);
        decodeMillis = std::min(decodeMillis, Milliseconds() - start);
        start = Milliseconds();
        exportedFrames = Export(inArguments[1]);
        exportMillis = std::min(exportMillis, Milliseconds() - start);
    }
    const double seconds = static_cast<double>(decodedFrames) / sound.SampleRateHz();
    std::printf("decoding alone  %9.2f ms  %6.0f x real time  %lld frames\n", decodeMillis,
                seconds * 1000 / decodeMillis, static_cast<long long>(decodedFrames));
    std::printf("whole export    %9.2f ms  %6.0f x real time  %lld frames\n", exportMillis,
                seconds * 1000 / exportMillis, static_cast<long long>(exportedFrames));
    std::printf("over decoding   %9.2f %%\n", (exportMillis / decodeMillis - 1) * 100);
    DisposeMovie(movie);
    return 0;
}
