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

// While it lives, the table's calls about files reach a tree of its own, which begins as an empty root and
// what the kernel tells of this process in /proc: the table of mounts, and the descriptors. Births are told
// apart to the nanosecond. Descriptors of the system's are unknown to it, and its own to the system. Errors
// are those of Linux, also in their order of precedence where it matters. Access is that of this process's
// users. It tells of no changes (inotify), as kernels can be built. The root is the very folder that the
// real one is, mounted as it is; nothing else has anything in common with what is or was on this machine or
// in memory. Any number of threads, but one such file system at a time.
class MemoryFiles {
  public:
    MemoryFiles();
    ~MemoryFiles();
    MemoryFiles(const MemoryFiles&) = delete;
    MemoryFiles& operator=(const MemoryFiles&) = delete;

    // What the table has no call for; as the system's calls they answer 0 or an errno.
    int MakeLink(const std::string& inTarget, const std::string& inPath);
    // A pipe or the like, by the kind that is in its mode.
    int MakeSpecial(const std::string& inPath, mode_t inMode);
    int SetCurrentFolder(const std::string& inPath);
    // An empty volume; a folder that is at another place too; neither.
    int MountVolume(const std::string& inPath);
    int MountFolder(const std::string& inFolder, const std::string& inPath);
    int Unmount(const std::string& inPath);
    // What is mounted there is not to be written by this way any more.
    int ForbidWriting(const std::string& inPath);

    // What all files of the first volume together may hold.
    void SetCapacity(std::uint64_t inByteCount);
    // No read or write moves more than this.
    void SetMaxBytesPerCall(std::size_t inByteCount);
    void SetMaxDescriptors(std::size_t inCount);
    std::size_t OpenCount() const;

  private:
    // Bytes that are locked, to be read by others too or by none.
    struct Range {
        off_t start = 0;
        off_t end = 0;
        bool isAlone = false;
    };
    // What one open made: descriptors of one would share it.
    struct OpenFile {
        MemoryLocation at;
        int flags = 0;
        std::size_t position = 0;
        int lock = 0;  // LOCK_SH, LOCK_EX or none
        std::vector<Range> ranges = {};

        MemoryNode& Item() const { return *at.node; }
    };
    // What an open folder tells, in the state of when it was opened.
    struct Listing {
        int descriptor = -1;
        std::vector<struct dirent> entries;
        std::size_t next = 0;
    };
    using Last = MemoryTree::Last;
    using Place = MemoryTree::Place;

    // The table's calls.
    int Open(int inFolder, const char* inPath, int inFlags, mode_t inMode);
    int Close(int inDescriptor);
    ssize_t ReadAt(int inDescriptor, void* outBytes, std::size_t inByteCount, off_t inOffset);
    ssize_t WriteAt(int inDescriptor, const void* inBytes, std::size_t inByteCount, off_t inOffset);
    ssize_t Read(int inDescriptor, void* outBytes, std::size_t inByteCount);
    ssize_t Write(int inDescriptor, const void* inBytes, std::size_t inByteCount);
    int Reserve(int inDescriptor, off_t inOffset, off_t inByteCount);
    int SetLength(int inDescriptor, off_t inByteCount);
    int Sync(int inDescriptor);
    static int Lock(int inDescriptor, int inOperation);
    int LockRange(int inDescriptor, int inCommand, struct flock* ioLock);
    int Allocate(int inDescriptor, int inMode, off_t inOffset, off_t inByteCount);
    int SetModeOfOpen(int inDescriptor, mode_t inMode);
    int SetOwnerOfOpen(int inDescriptor, uid_t inUser, gid_t inGroup);
    int SetOwner(int inFolder, const char* inPath, uid_t inUser, gid_t inGroup, int inFlags);
    ssize_t CopyRange(int inFrom, off_t* ioFromOffset, int inTo, off_t* ioToOffset, std::size_t inByteCount,
                      unsigned inFlags);
    off_t Seek(int inDescriptor, off_t inOffset, int inWhence);
    int Control(int inDescriptor, unsigned long inRequest, int inNumber);
    ssize_t ListAttributes(int inDescriptor, char* outNames, std::size_t inCapacity);
    ssize_t GetAttribute(int inDescriptor, const char* inName, void* outBytes, std::size_t inCapacity);
    int SetAttribute(int inDescriptor, const char* inName, const void* inBytes, std::size_t inByteCount,
                     int inFlags);
    int MountAt(const char* inSource, const char* inFolder, const char* inType, unsigned long inFlags,
                const void* inOptions);
    DIR* List(int inDescriptor);
    struct dirent* NextOf(DIR* ioListing);
    int CloseListing(DIR* inListing);
    int GetStatus(int inFolder, const char* inPath, int inFlags, unsigned inMask, struct statx* outStatus);
    int GetVolumeStatus(const char* inPath, struct statvfs* outStatus);
    int CheckAccess(int inFolder, const char* inPath, int inMode, int inFlags);
    int SetMode(int inFolder, const char* inPath, mode_t inMode, int inFlags);
    int SetTimes(int inFolder, const char* inPath, const timespec* inTimes, int inFlags);
    int MakeFolder(int inFolder, const char* inPath, mode_t inMode);
    int Rename(int inOldFolder, const char* inOldPath, int inNewFolder, const char* inNewPath,
               unsigned inFlags);
    int AddName(int inOldFolder, const char* inOldPath, int inNewFolder, const char* inNewPath, int inFlags);
    int Remove(int inFolder, const char* inPath, int inFlags);
    ssize_t ReadLink(int inFolder, const char* inPath, char* outTarget, std::size_t inCapacity);
    char* Canonical(const char* inPath, char* outBuffer);

    // Calls one of these, one thread at a time.
    template <auto kFunction>
    struct StandIn;
    static void Replace(toolbox::os::SystemCalls& ioCalls);

    // 0 or an errno.
    int FindToOpen(int inFolder, const char* inPath, int inFlags, Place& outPlace);
    int FindNewName(int inFolder, const char* inPath, Place& outPlace);
    int CheckOpening(const Place& inPlace, int inFlags) const;
    int FolderOf(int inFolder, const char* inPath, MemoryLocation& outFolder);
    int Find(int inFolder, const char* inPath, Last inLast, Place& outPlace);
    // What is open itself where the path is empty and the flags allow for that.
    int FindItem(int inFolder, const char* inPath, int inFlags, MemoryLocation& outItem);
    int CheckRename(const Place& inOld, const Place& inNew, unsigned inFlags) const;

    OpenFile* Get(int inDescriptor);      // null: it is not open
    OpenFile* GetOpen(int inDescriptor);  // nor is what is open only as a place
    ssize_t ReadFrom(const OpenFile& inFile, void* outBytes, std::size_t inByteCount,
                     std::size_t inOffset) const;
    ssize_t WriteTo(OpenFile& ioFile, const void* inBytes, std::size_t inByteCount,
                    std::size_t inOffset) const;
    static int SetModeOf(const MemoryLocation& inItem, mode_t inMode);
    static int SetOwnerOf(const MemoryLocation& inItem, uid_t inUser, gid_t inGroup);
    bool IsLockedByAnother(const OpenFile& inFile, int inLock) const;
    bool IsLockedByAnother(const OpenFile& inFile, const Range& inRange) const;
    bool IsBusy(const MemoryMount& inMount) const;

    // What the kernel tells of this process.
    void MakeProcess();
    void TellOfOpened(int inDescriptor, const std::string& inPath);
    void TellOfClosed(int inDescriptor);
    Place InProcess(const std::string& inFolder, const std::string& inName) const;

    static MemoryFiles* sInUse;
    const toolbox::os::SystemCalls mReal;
    mutable std::mutex mMutex;
    std::condition_variable mUnlocked;
    MemoryTree mTree;
    MemoryLocation mCurrentFolder = mTree.Root();
    std::map<int, OpenFile> mOpenFiles;
    std::map<Listing*, std::unique_ptr<Listing>> mListings;
    std::size_t mMaxBytesPerCall = SIZE_MAX;
    std::size_t mMaxDescriptors = 1 << 20;
};

}  // namespace support
