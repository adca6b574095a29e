// Where a stream goes: a file that appears under its name only when it is whole, standard output, or a
// device.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <string>

namespace tool {

// Writes all bytes, however many calls it takes. Throws Failure (EX_IOERR, about inSubject) or Interrupted.
void WriteAll(int inDescriptor, const void* inBytes, std::size_t inByteCount, const std::string& inSubject);

// Belongs to one thread. Unless Commit was called, the destructor leaves things as they were before.
class Output {
  public:
    enum class Replace { kSoundOnly, kAnything };

    // "-" is standard output. A regular file, new or old, is written under another name in the same folder; a
    // device or pipe is written to directly; a link is followed, also to where nothing is yet. An old file is
    // replaced when it is empty or a WAV file, whatever it is with Replace::kAnything. Throws Failure:
    // EX_USAGE for standard output that is a terminal, EX_CANTCREAT.
    Output(const std::string& inPath, Replace inReplace);
    ~Output();
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    void Write(const void* inBytes, std::size_t inByteCount);
    std::int64_t ByteCount() const { return mByteCount; }

    // Closes the file and gives it its name, keeping the permissions of one that it replaces. With
    // Replace::kSoundOnly, a file that was not there at first is not replaced. Throws Failure (EX_IOERR,
    // EX_CANTCREAT). What the disk itself still holds back is not waited for.
    void Commit();

  private:
    void OpenStandardOutput();
    void OpenDirectly();
    void OpenBeside(mode_t inMode);

    std::string mPath;           // as given, for messages
    std::string mTarget;         // links followed
    std::string mTemporaryPath;  // empty when written directly
    bool mMustBeNew = false;     // nothing may be lost by taking the name
    int mDescriptor = -1;
    std::int64_t mByteCount = 0;
};

}  // namespace tool
