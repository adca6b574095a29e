// A file system in memory in the place of the real one.
#pragma once

#include "os/SystemCalls_test_access.h"
#include "support/MemoryTree.h"

#include <dirent.h>

#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace support {

// While it lives, the table's calls about files reach a tree of its own, which begins as an empty root: one
// volume, where births are told apart to the nanosecond. Descriptors of the system's are unknown to it, and
// its own to the system. Errors are those of Linux, also in their order of precedence where it matters. Any
// number of threads, but one such file system at a time.
class MemoryFiles {
  public:
    MemoryFiles();
    ~MemoryFiles();
    MemoryFiles(const MemoryFiles&) = delete;
    MemoryFiles& operator=(const MemoryFiles&) = delete;

    // The table has no call for it. 0 or an errno.
    int MakeLink(const std::string& inTarget, const std::string& inPath);

    // What all files together may hold.
    void SetCapacity(std::uint64_t inByteCount);
    // No read or write moves more than this.
    void SetMaxBytesPerCall(std::size_t inByteCount);
    std::size_t OpenCount() const;

  private:
    // What one open made: descriptors of one would share it.
    struct OpenFile {
        MemoryNodePtr item;
        int flags = 0;
        std::size_t position = 0;
        int lock = 0;  // LOCK_SH, LOCK_EX or none
    };
    // What an open folder tells, in the state of when it was opened.
    struct Listing {
        int descriptor = -1;
        std::vector<struct dirent> entries;
        std::size_t next = 0;
    };

    static void Replace(toolbox::os::SystemCalls& ioCalls);
    static void ReplaceByPath(toolbox::os::SystemCalls& ioCalls);

    // All but the last answer as the system's calls do.
    int Open(int inFolder, const char* inPath, int inFlags, mode_t inMode);
    int Close(int inDescriptor);
    ssize_t Read(int inDescriptor, void* outBytes, std::size_t inByteCount, off_t inOffset, bool inMovesOn);
    ssize_t Write(int inDescriptor, const void* inBytes, std::size_t inByteCount, off_t inOffset,
                  bool inMovesOn);
    int Reserve(int inDescriptor, off_t inOffset, off_t inByteCount);
    int SetLength(int inDescriptor, off_t inByteCount);
    int Lock(int inDescriptor, int inOperation);
    Listing* List(int inDescriptor);
    struct dirent* NextOf(Listing& ioListing);
    int CloseListing(Listing* inListing);
    int GetStatus(int inFolder, const char* inPath, int inFlags, struct statx& outStatus);
    int GetVolumeStatus(const char* inPath, struct statvfs& outStatus);
    int CheckAccess(int inFolder, const char* inPath, int inMode, int inFlags);
    int SetMode(const MemoryNodePtr& inItem, mode_t inMode);
    int SetOwner(const MemoryNodePtr& inItem, uid_t inUser, gid_t inGroup);
    int MakeFolder(int inFolder, const char* inPath, mode_t inMode);
    int Rename(int inOldFolder, const char* inOldPath, int inNewFolder, const char* inNewPath,
               unsigned inFlags);
    int Remove(int inFolder, const char* inPath, int inFlags);
    ssize_t ReadLink(int inFolder, const char* inPath, char* outTarget, std::size_t inCapacity);
    char* Canonical(const char* inPath, char* outBuffer);

    OpenFile* Get(int inDescriptor);
    int FolderOf(int inFolder, const char* inPath, MemoryNodePtr& outFolder);
    int Find(int inFolder, const char* inPath, bool inFollowsLast, MemoryTree::Place& outPlace);
    int FindItem(int inFolder, const char* inPath, bool inFollowsLast, MemoryNodePtr& outItem);
    int CheckReplacement(const MemoryTree::Place& inOld, const MemoryTree::Place& inNew,
                         unsigned inFlags) const;
    bool IsLockedByAnother(const OpenFile& inFile, int inLock) const;
    std::uint64_t FreeByteCount() const;

    static MemoryFiles* sInUse;
    const toolbox::os::SystemCalls mReal;
    mutable std::mutex mMutex;
    std::condition_variable mUnlocked;
    MemoryTree mTree;
    std::map<int, OpenFile> mOpenFiles;
    std::map<Listing*, std::unique_ptr<Listing>> mListings;
    std::uint64_t mCapacityBytes = 1 << 30;
    std::size_t mMaxBytesPerCall = SIZE_MAX;
};

}  // namespace support
