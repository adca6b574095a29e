// The calls by which the File Manager reaches the system, and the one place where an errno becomes a status.
#pragma once

#include <toolbox/MacErrors.h>
#include <toolbox/MacTypes.h>

#include <dirent.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/types.h>
#include <cstddef>

namespace toolbox::os {

// Each behaves as the system's own function of the same purpose: -1 or null with errno set on failure, where
// nothing else is said.
struct FileCalls {
    char* (*canonicalPath)(const char* inPath, char* outBuffer);  // realpath
    int (*statAt)(int inFolder, const char* inPath, int inFlags, unsigned inMask, struct statx* outStatus);
    int (*openFile)(const char* inPath, int inFlags);
    int (*closeFile)(int inDescriptor);
    ssize_t (*readAt)(int inDescriptor, void* outBytes, std::size_t inByteCount, off_t inOffsetBytes);
    DIR* (*openFolder)(const char* inPath);
    struct dirent* (*readFolder)(DIR* inFolder);
    int (*closeFolder)(DIR* inFolder);
    int (*createFile)(const char* inPath, int inFlags, mode_t inMode);  // open
    ssize_t (*writeAt)(int inDescriptor, const void* inBytes, std::size_t inByteCount, off_t inOffsetBytes);
    int (*reserve)(int inDescriptor, off_t inOffsetBytes,
                   off_t inByteCount);  // posix_fallocate: answers an errno
    int (*setLength)(int inDescriptor, off_t inByteCount);
    int (*setMode)(int inDescriptor, mode_t inMode);
    int (*setOwner)(int inDescriptor, uid_t inUser, gid_t inGroup);  // fchown
    int (*lockFile)(int inDescriptor, int inOperation);              // flock
    int (*syncFile)(int inDescriptor);
    int (*renameItem)(const char* inOldPath, const char* inNewPath);
    int (*removeFile)(const char* inPath);                                            // unlink
    int (*changeMode)(const char* inPath, mode_t inMode);                             // chmod
    int (*checkAccess)(int inFolder, const char* inPath, int inAccess, int inFlags);  // faccessat
    int (*statVolume)(const char* inPath, struct statvfs* outStatus);
    int (*makeFolder)(const char* inPath, mode_t inMode);
    const char* (*readVariable)(const char* inName);  // getenv
    // Both store a path that is absolute, and answer an errno: ENOENT when there is none.
    int (*findHome)(char* outPath, std::size_t inCapacity);     // of the user database
    int (*findLibrary)(char* outPath, std::size_t inCapacity);  // of what holds this code
};

const FileCalls& Calls();

// The status that answers for a failed call; noErr for 0, ioErr for what has no meaning of its own here.
OSStatus StatusOfErrno(int inErrno);

}  // namespace toolbox::os
