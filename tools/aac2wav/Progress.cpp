#include "Progress.h"

#include "Printable.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string_view>

namespace tool {
namespace {

constexpr std::chrono::milliseconds kInterval{200};
constexpr char kWipeLine[] = "\r\033[K";

void Tell(const std::string& inText) {
    // A progress line that cannot be written is not missed.
    [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, inText.data(), inText.size());
}

std::string LabelOf(const std::string& inPath, const std::string& inPlace) {
    const std::string name = Printable(inPath.substr(inPath.rfind('/') + 1));
    return inPlace.empty() ? name : inPlace + "  " + name;
}

// 0 when the terminal does not tell. Asked each time: a window changes its size.
std::size_t ColumnCount() {
    winsize size{};
    return ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
}

// Bytes of the UTF-8 character at the start; 1 for what is none.
std::size_t CharacterByteCount(std::string_view inText) {
    const auto lead = static_cast<unsigned char>(inText[0]);
    const std::size_t count = lead < 0xC2 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : lead < 0xF5 ? 4 : 1;
    if (count > inText.size()) return 1;
    const auto isContinuation = [](unsigned char byte) { return (byte & 0xC0) == 0x80; };
    return std::all_of(inText.begin() + 1, inText.begin() + count, isContinuation) ? count : 1;
}

// The characters that may take two columns all have three bytes or more. Some of those take one: the name is
// then cut a little early.
std::size_t WidthOf(std::size_t inCharacterByteCount) {
    return inCharacterByteCount < 3 ? 1 : 2;
}

// Bytes of as many characters as surely fit.
std::size_t FittingByteCount(std::string_view inText, std::size_t inColumnCount) {
    std::size_t at = 0;
    while (at < inText.size()) {
        const std::size_t byteCount = CharacterByteCount(inText.substr(at));
        if (WidthOf(byteCount) > inColumnCount) break;
        inColumnCount -= WidthOf(byteCount);
        at += byteCount;
    }
    return at;
}

}  // namespace

std::string ProgressLine(const std::string& inName, const std::string& inText, std::size_t inColumnCount) {
    constexpr char kGap[] = "  ";
    constexpr char kEllipsis[] = "...";
    constexpr std::size_t kLeastNameColumns = 4;
    if (inColumnCount == 0) return inName + kGap + inText;
    const std::size_t room = inColumnCount - 1;  // in the last column, some terminals go on to the next line
    const std::size_t textColumns = inText.size() + std::strlen(kGap);
    if (room < textColumns + kLeastNameColumns) return inText.substr(0, room);
    const std::size_t nameColumns = room - textColumns;
    if (FittingByteCount(inName, nameColumns) == inName.size()) return inName + kGap + inText;
    const std::size_t kept = FittingByteCount(inName, nameColumns - std::strlen(kEllipsis));
    return inName.substr(0, kept) + kEllipsis + kGap + inText;
}

std::string ProgressText(std::int64_t inDone, std::int64_t inTotal, std::int64_t inPerSecond,
                         double inElapsedSeconds) {
    if (inTotal == Progress::kUnknown) {
        char text[48];
        std::snprintf(text, sizeof text, "%.1f MB read", static_cast<double>(inDone) / 1e6);
        return text;
    }
    const double done =
        inTotal > 0 ? std::min(1.0, static_cast<double>(inDone) / static_cast<double>(inTotal)) : 1.0;
    const double soundSeconds =
        static_cast<double>(inDone) / static_cast<double>(std::max<std::int64_t>(1, inPerSecond));
    std::string text(64, '\0');
    int length = std::snprintf(text.data(), text.size(), "%3d%%  %.0fx", static_cast<int>(done * 100),
                               soundSeconds / inElapsedSeconds);
    text.resize(static_cast<std::size_t>(length));
    if (done > 0 && done < 1) {
        const auto left = static_cast<long>(std::ceil(inElapsedSeconds * (1 - done) / done));
        char rest[48];
        length = std::snprintf(rest, sizeof rest, "  %ld:%02ld left", left / 60, left % 60);
        text.append(rest, static_cast<std::size_t>(length));
    }
    return text;
}

Progress::Progress(const std::string& inPath, std::int64_t inTotal, std::int64_t inPerSecond, bool inQuiet,
                   const std::string& inPlace)
    : mName(LabelOf(inPath, inPlace)),
      mTotal(inTotal),
      mPerSecond(inPerSecond),
      mIsShown(!inQuiet && ::isatty(STDERR_FILENO) == 1),
      mStart(Clock::now()),
      mNext(mStart + kInterval) {}

Progress::~Progress() {
    if (mHasLine) Tell(kWipeLine);
}

void Progress::Advance(std::int64_t inCount) {
    mDone += inCount;
    if (!mIsShown) return;
    const Clock::time_point now = Clock::now();
    if (now >= mNext) {
        mNext = now + kInterval;
        Show(std::chrono::duration<double>(now - mStart).count());
    }
}

void Progress::Show(double inElapsedSeconds) {
    const std::string text = ProgressText(mDone, mTotal, mPerSecond, inElapsedSeconds);
    Tell(kWipeLine + ProgressLine(mName, text, ColumnCount()));
    mHasLine = true;
}

}  // namespace tool
