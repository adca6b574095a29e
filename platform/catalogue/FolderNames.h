// The names in a folder, each of them once, in bounded memory.
//
// Names come in the order of a number that is made from each. So the last one that was passed tells all that
// were: whatever happens in the folder meanwhile, none comes twice, and what was read can be dropped at any
// time and read again from there. A folder with more names than are kept is read several times, each time for
// those that come next. What has no name yet when its turn is read does not come.
//
// An item and its companion have one number, so that with the one it is known whether there is the other.
// One thread at a time. Functions may throw std::bad_alloc, with nothing passed.
#pragma once

#include "places/Place.h"

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace toolbox::files {

class FolderNames {
  public:
    static constexpr std::size_t kMaxNames = 1 << 17;
    static constexpr std::size_t kMaxNameBytes = 1 << 22;

    explicit FolderNames(std::size_t inMaxNames = kMaxNames, std::size_t inMaxNameBytes = kMaxNameBytes)
        : mMaxNames(inMaxNames), mMaxNameBytes(inMaxNameBytes) {}

    // Reads what comes behind the last one passed, as much as is kept. 0 or an errno; then nothing is read.
    // ioFolder's name is changed.
    //   inMeet  of each name that the folder has, kept or not; may throw std::bad_alloc
    template <typename Meet>
    [[nodiscard]] int Read(Place& ioFolder, Meet inMeet) {
        BeginReading();
        const int error = FindName(ioFolder, [&](const struct dirent&) {
            inMeet(ioFolder.name);
            Take(ioFolder.name);
            return ENOENT;
        });
        return EndReading(error);
    }
    [[nodiscard]] int Read(Place& ioFolder) {
        return Read(ioFolder, [](const std::string&) {});
    }
    // Whether it is to be read (again) before there is a current name: at first, when all that was read is
    // passed and there was more, and when it was dropped.
    bool MustRead() const { return mNext == mNames.size() && mHasMore; }

    // Null when there is none (left); good until the next call that is not const.
    const char* Current() const;
    void Pass();
    std::size_t CountToCome() const { return mNames.size() - mNext; }  // of those that were read
    bool IsPassedLast(std::string_view inName) const { return mHasPassed && inName == mPassed; }

    // Whether a companion's name is beside the current one, as it was when they were read.
    bool HasCompanionName() const;

    // Forgets what was read, but not what was passed.
    void Drop() noexcept;
    // Nothing comes any more.
    void End() noexcept;

  private:
    struct Name {
        std::uint64_t number;
        std::uint32_t offset;  // in mBytes, where a NUL ends it
        std::uint32_t length;
    };

    std::string_view TextOf(const Name& inName) const {
        return {mBytes.data() + inName.offset, inName.length};
    }
    bool IsBefore(const Name& inLeft, const Name& inRight) const;
    bool IsPassed(const Name& inName) const;
    void BeginReading();
    [[nodiscard]] int EndReading(int inError);
    void Take(std::string_view inName);
    void Sort();
    void KeepHalf();
    void PutBytesInOrder();
    void Clear() noexcept;

    std::size_t mMaxNames;
    std::size_t mMaxNameBytes;
    std::vector<Name> mNames;  // sorted once they are read
    std::string mBytes;
    std::size_t mNext = 0;
    bool mHasMore = true;                   // than was read
    std::uint64_t mMaxNumber = UINT64_MAX;  // beyond it nothing is kept this time

    bool mHasPassed = false;
    std::uint64_t mPassedNumber = 0;
    std::string mPassed;
};

}  // namespace toolbox::files
