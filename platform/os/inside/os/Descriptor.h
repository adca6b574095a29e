// Open files: who owns them, and reading and writing until all is done. Functions answer 0 or an errno.
#pragma once

#include <fcntl.h>
#include <sys/types.h>
#include <toolbox/MacTypes.h>

#include <cstddef>
#include <span>
#include <string>
#include <utility>

namespace toolbox::os {

// Closes what it holds. One thread at a time, but for reading.
class Descriptor {
  public:
    Descriptor() = default;
    explicit Descriptor(int inNumber) noexcept : mNumber(inNumber) {}
    ~Descriptor() { (void)Close(); }
    Descriptor(Descriptor&& ioOther) noexcept : mNumber(ioOther.Release()) {}
    Descriptor& operator=(Descriptor&& ioOther) noexcept {
        std::swap(mNumber, ioOther.mNumber);
        return *this;
    }

    bool IsOpen() const { return mNumber >= 0; }
    int Number() const { return mNumber; }
    // The caller's to close from now on; -1 when none is held.
    int Release() noexcept { return std::exchange(mNumber, -1); }
    // Some file systems tell only now that there was no room. It is closed also then.
    int Close() noexcept;

  private:
    int mNumber = -1;
};

// Opens what inPath names from inFolder, which may be AT_FDCWD; however long the path is. O_CLOEXEC goes
// without saying. outFile is not open on failure.
[[nodiscard]] int OpenFile(int inFolder, const char* inPath, int inFlags, Descriptor& outFile,
                           mode_t inMode = 0);
[[nodiscard]] inline int OpenFile(const char* inPath, int inFlags, Descriptor& outFile, mode_t inMode = 0) {
    return OpenFile(AT_FDCWD, inPath, inFlags, outFile, inMode);
}

// Flags for an item as it lies there: no link is followed, and a pipe that took its place does not hold us
// until somebody writes to it.
constexpr int kItemItself = O_NONBLOCK | O_NOCTTY | O_NOFOLLOW;

// Asked before each call to the system, also when a signal cut the last one short; true ends the reading.
struct StopQuestion {
    bool (*mustStop)(const void* inContext) = nullptr;
    const void* context = nullptr;
};

// Reads until inByteCount bytes are there or the file ends. outCount: how many there were, also on failure.
// ECANCELED when it was told to stop.
[[nodiscard]] int ReadAt(int inDescriptor, void* outBytes, std::size_t inByteCount, UInt64 inOffsetBytes,
                         std::size_t& outCount, const StopQuestion& inQuestion = {});
// All that a file holds, but no more than inMaxBytes of it; also of the kernel's files, which tell no size.
// May throw std::bad_alloc.
[[nodiscard]] int ReadFromStart(int inDescriptor, std::size_t inMaxBytes, std::string& outContents);
[[nodiscard]] int WriteAt(int inDescriptor, std::span<const UInt8> inBytes, UInt64 inOffsetBytes = 0);
// The same; outCount: how many were written, also on failure.
[[nodiscard]] int WriteAt(int inDescriptor, std::span<const UInt8> inBytes, UInt64 inOffsetBytes,
                          std::size_t& outCount);
// What is made again when a signal cuts it short. Sync: what was written is there also after the machine has
// failed.
[[nodiscard]] int Sync(int inDescriptor);
[[nodiscard]] int SetLength(int inDescriptor, UInt64 inByteCount);
// Room on the disk, which the file does not have as its length. EOPNOTSUPP or ENOSYS where none is given.
[[nodiscard]] int Reserve(int inDescriptor, UInt64 inOffsetBytes, UInt64 inByteCount);

// Of what has no positions, such as a terminal: what is there now, and no more than asked for; outCount is 0
// at its end. And all that is to be written.
[[nodiscard]] int ReadSome(int inDescriptor, void* outBytes, std::size_t inByteCount, std::size_t& outCount);
[[nodiscard]] int WriteAll(int inDescriptor, const void* inBytes, std::size_t inByteCount);

}  // namespace toolbox::os
