// Where the sound comes from: a file, or a pipe whose bytes are kept in a nameless file until all of them are
// there, because the length is told first.
#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <string>

namespace tool {

// Throws Failure (EX_NOINPUT; EX_USAGE for standard input that is a terminal) when there is neither a regular
// file to read nor a pipe. inInput is "-" for standard input. Takes nothing from a pipe.
void RequireReadable(const std::string& inInput);

class Input {
  public:
    // Reads a pipe to its end, into $TMPDIR or else /var/tmp. Standard input that is a regular file at its
    // beginning is used as it is. Throws Interrupted, or Failure: as RequireReadable, EX_DATAERR for more
    // than inSpoolLimitBytes, EX_CANTCREAT and EX_IOERR when they cannot be kept.
    Input(const std::string& inInput, std::int64_t inSpoolLimitBytes, bool inQuiet);
    ~Input();
    Input(const Input&) = delete;
    Input& operator=(const Input&) = delete;

    const std::string& Name() const { return mName; }  // for messages
    const std::string& Path() const { return mPath; }  // to open it by, as long as this lives
    // Of last access and of last change, when the work began.
    const timespec (&Times() const)[2] { return mTimes; }

  private:
    void OpenStandardInput();
    void OpenPath(const std::string& inPath);
    void Spool(int inDescriptor);

    std::string mName;
    std::string mPath;
    std::int64_t mSpoolLimitBytes;
    bool mIsQuiet;
    int mSpool = -1;
    timespec mTimes[2] = {};
};

}  // namespace tool
