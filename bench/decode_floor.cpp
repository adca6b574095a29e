// How much a whole export takes over decoding alone.
//
//     decode-floor FILE [ROUNDS]
//     decode-floor --once FILE
//
// The packets of FILE's sound, found by the importers, go through a bare decoder loop that throws the sound
// away; then the same file is exported a second at a time. Both in turn, ROUNDS times (default 15); the
// fastest of each counts. With --once the packets are decoded as they are read, once: for comparing the whole
// process with others.

#include <movies/front/MovieObjects.h>
#include <toolbox/Aliases.h>
#include <toolbox/Movies.h>
#include <toolbox/SoundReport.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
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
        FSNewAliasMinimal(&item, &alias) != noErr)
        Fail("no such file");
    Movie movie = nullptr;
    const OSErr error = NewMovieFromDataRef(&movie, 0, nullptr, reinterpret_cast<Handle>(alias), rAliasType);
    DisposeHandle(reinterpret_cast<Handle>(alias));
    if (error != noErr) Fail(GetMovieOpenErrorText());
    return movie;
}

// libavcodec's own loop: a packet in, its frames thrown away.
class BareDecoder {
  public:
    explicit BareDecoder(const SoundFormat& inFormat)
        : mContext(avcodec_alloc_context3(avcodec_find_decoder(static_cast<AVCodecID>(inFormat.codecID)))) {
        if (mContext == nullptr || mContext->codec == nullptr) Fail("no decoder");
        mContext->thread_count = 1;
        const std::size_t configBytes = inFormat.decoderConfig.size();
        mContext->extradata =
            static_cast<std::uint8_t*>(av_mallocz(configBytes + AV_INPUT_BUFFER_PADDING_SIZE));
        std::copy(inFormat.decoderConfig.begin(), inFormat.decoderConfig.end(), mContext->extradata);
        mContext->extradata_size = static_cast<int>(configBytes);
        if (avcodec_open2(mContext, mContext->codec, nullptr) < 0) Fail("the decoder does not open");
    }
    ~BareDecoder() {
        av_frame_free(&mFrame);
        av_packet_free(&mPacket);
        avcodec_free_context(&mContext);
    }
    BareDecoder(const BareDecoder&) = delete;
    BareDecoder& operator=(const BareDecoder&) = delete;

    // Returns the frames decoded. A buffer that the bytes lie in spares the decoder a copy.
    std::int64_t Decode(const std::uint8_t* inBytes, std::size_t inByteCount, AVBufferRef* inBuffer) {
        mPacket->data = const_cast<std::uint8_t*>(inBytes);  // the decoder only reads
        mPacket->size = static_cast<int>(inByteCount);
        mPacket->buf = inBuffer;
        avcodec_send_packet(mContext, mPacket);
        mPacket->buf = nullptr;
        std::int64_t frameCount = 0;
        while (avcodec_receive_frame(mContext, mFrame) >= 0)
            frameCount += mFrame->nb_samples;
        return frameCount;
    }

  private:
    AVCodecContext* mContext;
    AVPacket* mPacket = av_packet_alloc();
    AVFrame* mFrame = av_frame_alloc();
};

// The packets are read beforehand, so that reading costs nothing here.
std::int64_t DecodeBarely(const SoundFormat& inFormat,
                          const std::vector<std::vector<std::uint8_t>>& inPackets) {
    BareDecoder decoder(inFormat);
    AVBufferRef* block = av_buffer_alloc(1);  // that all packets pretend to lie in
    std::int64_t frameCount = 0;
    for (const std::vector<std::uint8_t>& bytes : inPackets)
        frameCount += decoder.Decode(bytes.data(), bytes.size() - AV_INPUT_BUFFER_PADDING_SIZE, block);
    av_buffer_unref(&block);
    return frameCount;
}

// The least that any process has to do that decodes the file.
std::int64_t DecodeAsRead(const SoundTrack& inSound) {
    BareDecoder decoder(inSound.formats.front());
    const auto reader = inSound.packets->NewReader();
    std::int64_t frameCount = 0;
    for (std::uint32_t number = 0; number < inSound.packets->PacketCount(); ++number) {
        PacketBytes bytes;
        if (reader->Read(number, bytes) != noErr || bytes.sizeBytes == 0) continue;
        frameCount += decoder.Decode(bytes.data, bytes.sizeBytes, bytes.owner);
    }
    return frameCount;
}

std::int64_t Export(const char* inPath) {
    const Movie movie = Open(inPath);
    MovieSoundReport report;
    if (GetMovieSoundReport(movie, &report) != noErr) Fail("there is no report of the sound");
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

const SoundTrack& SoundOf(Movie inMovie) {
    const OpaqueTrack* track = inMovie->FirstSoundTrack();
    if (track == nullptr) Fail("no sound");
    return *track->media.sound;
}

void Compare(const char* inPath, int inRounds) {
    const Movie movie = Open(inPath);
    const SoundTrack& sound = SoundOf(movie);
    const std::vector<std::vector<std::uint8_t>> packets = ReadPackets(sound);

    double decodeMillis = std::numeric_limits<double>::max();
    double exportMillis = std::numeric_limits<double>::max();
    std::int64_t decodedFrames = 0;
    std::int64_t exportedFrames = 0;
    for (int round = 0; round < inRounds; ++round) {
        double start = Milliseconds();
        decodedFrames = DecodeBarely(sound.formats.front(), packets);
        decodeMillis = std::min(decodeMillis, Milliseconds() - start);
        start = Milliseconds();
        exportedFrames = Export(inPath);
        exportMillis = std::min(exportMillis, Milliseconds() - start);
    }
    const double seconds = static_cast<double>(decodedFrames) / sound.SampleRateHz();
    std::printf("decoding alone  %9.2f ms  %6.0f x real time  %lld frames\n", decodeMillis,
                seconds * 1000 / decodeMillis, static_cast<long long>(decodedFrames));
    std::printf("whole export    %9.2f ms  %6.0f x real time  %lld frames\n", exportMillis,
                seconds * 1000 / exportMillis, static_cast<long long>(exportedFrames));
    std::printf("over decoding   %9.2f %%\n", (exportMillis / decodeMillis - 1) * 100);
    DisposeMovie(movie);
}

}  // namespace

int main(int inArgumentCount, char** inArguments) {
    av_log_set_level(AV_LOG_QUIET);
    if (inArgumentCount == 3 && std::strcmp(inArguments[1], "--once") == 0) {
        const Movie movie = Open(inArguments[2]);
        std::printf("%lld frames\n", static_cast<long long>(DecodeAsRead(SoundOf(movie))));
        DisposeMovie(movie);
    } else if (inArgumentCount == 2 || inArgumentCount == 3) {
        Compare(inArguments[1], inArgumentCount > 2 ? std::max(1, std::atoi(inArguments[2])) : 15);
    } else {
        Fail("usage: decode-floor FILE [ROUNDS], or decode-floor --once FILE");
    }
    return 0;
}
