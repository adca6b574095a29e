// Where a stream goes: a file that appears under its name only when it is whole, standard output, or a
// device.
#pragma once

#include <sys/stat.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tool {

// Writes all bytes, however many calls it takes. Throws Failure (EX_IOERR, about inSubject) or Interrupted.
void WriteAll(int inDescriptor, const void* inBytes, std::size_t inByteCount, const std::string& inSubject);

// On standard output, whole. Throws as WriteAll.
void Print(const std::string& inText);

// Whether something has this name: a link to nothing, too, but no folder, which cannot be an output.
bool IsTaken(const std::string& inPath);

// The file that a path leads to, which need not be there yet. Throws Failure (EX_CANTCREAT) for links that
// lead back to themselves.
std::string FollowLinks(const std::string& inPath);

// Belongs to one thread. Unless Commit was called, the destructor leaves things as they were before.
class Output {
  public:
    enum class Replace {
        kNothing,    // a name that nobody typed
        kSoundOnly,  // a file that is empty, or a WAV file by another
        kThisFile,   // whatever is there now, but not what comes in its place meanwhile
        kAnything
    };
    // What has a name before the work begins.
    struct Seen {
        bool exists = false;
        struct stat item {};
    };
    struct Manner {
        Replace replace = Replace::kSoundOnly;
        // What is written is no WAV file: kSoundOnly then replaces only what is empty. A file of the same
        // bytes is left as it is, so that a command can be repeated.
        bool isHeaderless = false;
        bool isSynced = false;      // Commit waits until the disk has it
        bool makesFolders = false;  // those on the way to the file
        // From Check. A file that is not this one stays, except with kAnything.
        std::optional<Seen> seen;
    };

    // "-" is standard output. A regular file, new or old, is written under another name in the same folder; a
    // device or pipe is written to directly; a link is followed, also to where nothing is yet. Throws
    // Failure: EX_USAGE for standard output that is a terminal, EX_CANTCREAT.
    Output(const std::string& inPath, const Manner& inManner);
    ~Output();
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    // Throws what the constructor would for what is there already; changes nothing. Reading the input can
    // take hours: the constructor is to be told what was there before, by the manner.
    static Seen Check(const std::string& inPath, const Manner& inManner);

    // An old WAV file stands there, all of it.
    bool ReplacesWholeWAV() const { return mOldIsWhole; }

    void Write(const void* inBytes, std::size_t inByteCount);
    std::int64_t ByteCount() const { return mByteCount; }

    // Closes the file and gives it its name, keeping the permissions of one that it replaces. A file that was
    // not there at first, or is another one now, is only replaced with Replace::kAnything. Throws Failure
    // (EX_IOERR, EX_CANTCREAT), and the file has no name then, with one exception: when isSynced, its bytes
    // are on the disk and it has its name before the folders are waited for, and keeps it when they fail.
    void Commit();

    // Gives the file these times, of last access and of last change; after Commit. Nothing happens to what is
    // no file.
    void SetTimes(const timespec (&inTimes)[2]) const;

  private:
    struct Old;
    static Old LookAt(const std::string& inPath, const Manner& inManner);
    static void RequireSeen(const std::string& inPath, const Manner& inManner, const Old& inOld);
    static void LookIntoFile(const std::string& inPath, const Manner& inManner, Old& ioOld);
    void OpenStandardOutput();
    void OpenDirectly();
    void OpenBeside(mode_t inMode);
    void OpenNew();
    void MakeFolders();
    void RemoveMadeFolders() const;
    void TakeName();
    void SyncFolders() const;

    std::string mPath;           // as given, for messages
    std::string mTarget;         // links followed
    std::string mTemporaryPath;  // empty when written directly, and once it has its name
    Manner mManner;
    bool mHasOld = false;
    struct stat mOld {};
    bool mOldIsWhole = false;
    bool mMustMatch = false;  // the old file stays, and must have the same bytes
    bool mIsNamed = false;
    std::vector<std::string> mMadeFolders;
    int mDescriptor = -1;
    std::int64_t mByteCount = 0;
};

}  // namespace tool
