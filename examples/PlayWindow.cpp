// Plays a part of a file: its WAV stream goes to standard output, for a sound server or into a file.
//   play-window song.m4a 90 120.5 | aplay           seconds
//   play-window song.m4a 44100f 88200f >part.wav    frames; TO is not included
//   play-window --raw song.m4a 90 | aplay -f cd     samples only, to the end
// Only the part is decoded. Exit codes: 0; 64 usage; 65 cannot be played; 66 cannot be read; 71 memory; 74
// writing failed.
#include <converter/FailureStatus.h>
#include <converter/WAVReader.h>
#include <foundation/LException.h>
#include <sysexits.h>
#include <toolbox/MacErrors.h>
#include <toolbox/SoundReport.h>
#include <toolbox/StatusText.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstring>
#include <iostream>
#include <memory>
#include <string_view>
#include <vector>

namespace {

constexpr SInt64 kFrameBytes = 4;
constexpr std::size_t kBufferBytes = 65536;

int Fail(int inExitCode, std::string_view inAbout, std::string_view inReason) {
    std::cerr << "play-window: " << inAbout << ": " << inReason << '\n';
    return inExitCode;
}

// "90", "90.5" seconds or "44100f" frames, as frames of a stream of this rate; -1 for anything else.
SInt64 ReadFrames(std::string_view inText, SInt32 inRateHz) {
    const bool isFrames = !inText.empty() && inText.back() == 'f';
    if (isFrames) inText.remove_suffix(1);
    double number = 0;
    const char* const end = inText.data() + inText.size();
    const auto [stop, error] = std::from_chars(inText.data(), end, number, std::chars_format::fixed);
    if (error != std::errc() || stop != end || !std::isfinite(number) || std::signbit(number)) return -1;
    constexpr double kMaxFrames = 9e15;  // whole numbers are exact up to here
    return std::llround(std::min(isFrames ? number : number * inRateHz, kMaxFrames));
}

// Writes it all. False when standard output takes no more; errno tells why.
bool Write(const unsigned char* inBytes, std::size_t inByteCount) {
    while (inByteCount > 0) {
        const ssize_t count = ::write(STDOUT_FILENO, inBytes, inByteCount);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return false;
        inBytes += count;
        inByteCount -= static_cast<std::size_t>(count);
    }
    return true;
}

//   inTo  null: to the end
int Play(const char* inPath, const char* inFrom, const char* inTo, bool inRaw) {
    // Opened with options, so that the exception has the reason.
    MovieOpenOptions options{};
    options.byteCount = sizeof options;
    auto exporter = std::make_unique<SegmentExporter>(inPath, options);

    FrameRange range;
    range.first = ReadFrames(inFrom, exporter->SampleRate());
    if (range.first < 0) return Fail(EX_USAGE, inFrom, "is neither seconds nor frames");
    if (inTo != nullptr) range.end = ReadFrames(inTo, exporter->SampleRate());
    if (range.end < 0) return Fail(EX_USAGE, inTo, "is neither seconds nor frames");
    if (range.end <= range.first) return Fail(EX_USAGE, inTo, "is not behind the beginning");

    WAVReader reader(std::move(exporter), WAVReader::Header::kRIFF, range);
    if (reader.FrameCount() == 0) return Fail(EX_USAGE, inFrom, "is at the end or past it");
    if (!inRaw && reader.ByteCount() > WAVReader::kMaxRIFFBytes)
        return Fail(EX_DATAERR, inPath, "is too long for a WAV file");
    std::vector<unsigned char> bytes(kBufferBytes);
    SInt64 position = inRaw ? reader.ByteCount() - reader.FrameCount() * kFrameBytes : 0;
    while (const std::size_t count = reader.Read(position, bytes.data(), bytes.size())) {
        if (!Write(bytes.data(), count)) return Fail(EX_IOERR, "standard output", std::strerror(errno));
        position += static_cast<SInt64>(count);
    }
    return EX_OK;
}

int Explain(const LException& inException, const char* inPath) {
    const OSStatus status = StatusOfFailure(inException);
    if (status == memFullErr) return Fail(EX_OSERR, inPath, GetStatusText(memFullErr));
    // Opening tells more than its status does; what failed later has only that.
    const char* const opening = GetMovieOpenErrorText();
    const char* const reason = *opening != '\0' ? opening : GetFailureText(status);
    constexpr OSStatus kUnreadable[] = {fnfErr,          dirNFErr,    bdNamErr, permErr,
                                        afpAccessDenied, notAFileErr, ioErr};
    const bool isUnreadable = std::count(std::begin(kUnreadable), std::end(kUnreadable), status) > 0;
    return Fail(isUnreadable ? EX_NOINPUT : EX_DATAERR, inPath, reason);
}

}  // namespace

int main(int argc, char** argv) {
    const bool isRaw = argc > 1 && std::string_view(argv[1]) == "--raw";
    char** const words = argv + 1 + isRaw;
    const auto count = argc - 1 - isRaw;
    if (count < 1 || count > 3) return Fail(EX_USAGE, "usage", "play-window [--raw] FILE [FROM [TO]]");
    if (::isatty(STDOUT_FILENO) != 0) return Fail(EX_USAGE, "standard output", "is a terminal");
    try {
        return Play(words[0], count > 1 ? words[1] : "0", count > 2 ? words[2] : nullptr, isRaw);
    } catch (const LException& exception) {
        return Explain(exception, words[0]);
    } catch (const std::bad_alloc&) {
        return Fail(EX_OSERR, words[0], GetStatusText(memFullErr));
    }
}
