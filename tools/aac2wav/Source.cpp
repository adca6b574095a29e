#include "Source.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <toolbox/Files.h>
#include <toolbox/MacErrors.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

namespace tool {
namespace {

constexpr char kOutOfMemory[] = "out of memory";

// Tells apart what the engine answers with one code.
void RequireReadableFile(const std::string& inPath) {
    if (inPath == "-") {
        throw Failure(EX_USAGE, {}, "standard input cannot be converted: it has no length to announce");
    }
    struct stat item {};
    if (::stat(inPath.c_str(), &item) != 0) {
        throw Failure(EX_NOINPUT, inPath, SystemReason(errno));
    }
    if (S_ISDIR(item.st_mode)) {
        throw Failure(EX_NOINPUT, inPath, "is a folder");
    }
    if (!S_ISREG(item.st_mode)) {
        throw Failure(EX_NOINPUT, inPath, "is no regular file");
    }
    const int descriptor = ::open(inPath.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) {
        throw Failure(EX_NOINPUT, inPath, SystemReason(errno));
    }
    ::close(descriptor);
}

Failure OpenFailure(const LException& inException, const std::string& inPath) {
    // A file of no folder, one in memory, can be opened by its path and has no place in the catalogue. No
    // movie was asked for then, and the toolbox's text is another file's.
    FSRef item;
    if (FSPathMakeRef(reinterpret_cast<const UInt8*>(inPath.c_str()), &item, nullptr) != noErr) {
        return Failure(EX_NOINPUT, inPath, "is in no folder");
    }
    const std::string reason = GetMovieOpenErrorText();
    return reason.empty() ? FailureOf(inException, inPath) : Failure(EX_DATAERR, inPath, reason);
}

template <typename Opened, typename... Arguments>
std::unique_ptr<Opened> Open(const std::string& inPath, Arguments... inArguments) {
    RequireReadableFile(inPath);
    try {
        return std::make_unique<Opened>(inPath.c_str(), inArguments...);
    } catch (const LException& exception) {
        throw OpenFailure(exception, inPath);
    }
}

std::string Count(std::uint64_t inCount, const char* inUnit) {
    return std::to_string(inCount) + ' ' + inUnit + (inCount == 1 ? "" : "s");
}

}  // namespace

std::unique_ptr<SegmentExporter> OpenExporter(const std::string& inPath) {
    return Open<SegmentExporter>(inPath);
}

std::unique_ptr<WAVReader> OpenReader(const std::string& inPath, WAVReader::Header inHeader) {
    return Open<WAVReader>(inPath, inHeader);
}

void RequireDecodable(const MovieSoundReport& inReport, const std::string& inPath) {
    if (inReport.decodable == noErr) {
        return;
    }
    const std::string format = inReport.formatName[0] != '\0' ? inReport.formatName : "its format";
    if (inReport.decodable == badFormat) {
        throw Failure(EX_DATAERR, inPath, "the sound is encrypted (" + format + ")");
    }
    if (inReport.decodable == noCodecErr) {
        throw Failure(EX_DATAERR, inPath, "there is no decoder for " + format);
    }
    throw Failure(EX_DATAERR, inPath,
                  "cannot be decoded (status " + std::to_string(inReport.decodable) + ")");
}

MovieSoundReport ReportOf(const SegmentExporter& inExporter) {
    MovieSoundReport report{};
    return GetMovieSoundReport(inExporter.GetMovie(), &report) == noErr ? report : MovieSoundReport{};
}

SInt64 FrameCountOf(const SegmentExporter& inExporter) {
    return GetMovieDuration64(inExporter.GetMovie(), static_cast<UInt32>(inExporter.SampleRate()));
}

Failure FailureOf(const LException& inException, const std::string& inPath) {
    const auto code = static_cast<OSStatus>(inException.GetErrorCode());
    if (code == memFullErr || code == static_cast<OSStatus>(FourChars("nilP"))) {
        return Failure(EX_OSERR, inPath, kOutOfMemory);
    }
    return Failure(EX_DATAERR, inPath, "cannot be decoded (status " + std::to_string(code) + ")");
}

bool TellDamage(const MovieSoundReport& inReport, const std::string& inPath, bool inQuiet) {
    if (inReport.skippedByteCount > 0 && !inQuiet) {
        Say(inPath, "warning: " + Count(inReport.skippedByteCount, "byte") + " without sound skipped");
    }
    if (inReport.damagedPacketCount == 0) {
        return false;
    }
    if (!inQuiet) {
        const SInt64 silencedMillis =
            inReport.sampleRateHz > 0 ? inReport.silencedFrameCount * 1000 / inReport.sampleRateHz : 0;
        Say(inPath, "warning: " + Count(inReport.damagedPacketCount, "damaged packet") + ", " +
                        std::to_string(silencedMillis) + " ms of sound replaced by silence");
    }
    return true;
}

}  // namespace tool
