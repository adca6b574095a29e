#include "Progress.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace tool {
namespace {

constexpr std::chrono::milliseconds kInterval{200};
constexpr char kWipeLine[] = "\r\033[K";

void Tell(const std::string& inText) {
    // A progress line that cannot be written is not missed.
    [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, inText.data(), inText.size());
}

// The last part of a path, without what would move the cursor.
std::string ShortName(const std::string& inPath) {
    std::string name = inPath.substr(inPath.rfind('/') + 1);
    std::replace_if(
        name.begin(), name.end(), [](unsigned char byte) { return byte < 0x20 || byte == 0x7F; }, '?');
    return name;
}

}  // namespace

std::string ProgressText(std::int64_t inDone, std::int64_t inTotal, std::int64_t inPerSecond,
                         double inElapsedSeconds) {
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

Progress::Progress(std::string inName, std::int64_t inTotal, std::int64_t inPerSecond, bool inQuiet)
    : mName(ShortName(inName)),
      mTotal(inTotal),
      mPerSecond(inPerSecond),
      mIsShown(!inQuiet && ::isatty(STDERR_FILENO) == 1),
      mStart(Clock::now()),
      mNext(mStart + kInterval) {}

Progress::~Progress() {
    if (mHasLine) {
        Tell(kWipeLine);
    }
}

void Progress::Advance(std::int64_t inCount) {
    mDone += inCount;
    if (!mIsShown) {
        return;
    }
    const Clock::time_point now = Clock::now();
    if (now >= mNext) {
        mNext = now + kInterval;
        Show(std::chrono::duration<double>(now - mStart).count());
    }
}

void Progress::Show(double inElapsedSeconds) {
    Tell(kWipeLine + mName + "  " + ProgressText(mDone, mTotal, mPerSecond, inElapsedSeconds));
    mHasLine = true;
}

}  // namespace tool
