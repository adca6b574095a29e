#include "os/SystemCalls.h"

#include <fcntl.h>
#include <grp.h>
#include <link.h>
#include <pwd.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/file.h>
#include <sys/inotify.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/sysinfo.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace toolbox::os {

namespace {

// The system's own reads a mode only where the flags tell of one.
int OpenAt(int inFolder, const char* inPath, int inFlags, mode_t inMode) {
    return ::openat(inFolder, inPath, inFlags, inMode);
}

int ControlByNumber(int inDescriptor, unsigned long inRequest, int inNumber) {
    return ::ioctl(inDescriptor, inRequest, inNumber);
}

// Of what it can do, the locks of ranges alone.
int LockRange(int inDescriptor, int inCommand, struct flock* ioLock) {
    return ::fcntl(inDescriptor, inCommand, ioLock);
}

}  // namespace

#define TOOLBOX_FUNCTION(NAME, TYPE, FAILURE, FUNCTION) FUNCTION,
SystemCalls sSystemCalls = {TOOLBOX_SYSTEM_CALLS(TOOLBOX_FUNCTION)};
#undef TOOLBOX_FUNCTION

}  // namespace toolbox::os
