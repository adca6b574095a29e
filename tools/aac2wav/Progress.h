// A line that tells how far the work has come, on standard error while that is a terminal.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>

namespace tool {

class Progress {
  public:
    // As a total: nobody knows how many there will be. They are bytes then.
    static constexpr std::int64_t kUnknown = std::numeric_limits<std::int64_t>::min();

    // inTotal and inPerSecond in the units that Advance counts: all of them, and those of one second of
    // sound. inPlace: "2 of 5", or empty.
    Progress(const std::string& inPath, std::int64_t inTotal, std::int64_t inPerSecond, bool inQuiet,
             const std::string& inPlace = {});
    ~Progress();  // wipes the line
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void Advance(std::int64_t inCount);

  private:
    void Show(double inElapsedSeconds);

    using Clock = std::chrono::steady_clock;
    std::string mName;
    std::int64_t mTotal;
    std::int64_t mPerSecond;
    std::int64_t mDone = 0;
    bool mIsShown;
    bool mHasLine = false;
    Clock::time_point mStart;
    Clock::time_point mNext;
};

// For the line: "43%  2840x  0:02 left", or "17.2 MB read" of a total that is not known. inElapsedSeconds >
// 0.
std::string ProgressText(std::int64_t inDone, std::int64_t inTotal, std::int64_t inPerSecond,
                         double inElapsedSeconds);

// Name and text so that they stay on one line of inColumnCount columns: the name is shortened, and left out
// where nothing of it would remain. With 0, nothing is.
std::string ProgressLine(const std::string& inName, const std::string& inText, std::size_t inColumnCount);

}  // namespace tool
