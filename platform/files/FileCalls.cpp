#include "FileCalls.h"

#include "FileCalls_test_access.h"

#include <fcntl.h>
#include <stdio.h>
#include <unistd.h>
#include <cerrno>
#include <cstdlib>

namespace toolbox::files {

namespace {

int OpenFile(const char* inPath, int inFlags) {
    return ::open(inPath, inFlags);
}

int CreateFile(const char* inPath, int inFlags, mode_t inMode) {
    return ::open(inPath, inFlags, inMode);
}

FileCalls sCalls = {::realpath, ::statx,    OpenFile,   ::close,  ::pread,           ::opendir,
                    ::readdir,  ::closedir, CreateFile, ::pwrite, ::posix_fallocate, ::ftruncate,
                    ::fchmod,   ::fsync,    ::rename,   ::unlink};

}  // namespace

const FileCalls& Calls() {
    return sCalls;
}
FileCalls& CallsForTesting() {
    return sCalls;
}

OSStatus StatusOfErrno(int inErrno) {
    switch (inErrno) {
        case 0:
            return noErr;
        case ENOENT:
        case ESTALE:
            return fnfErr;
        case ENOTDIR:
            return dirNFErr;
        case EACCES:
            return afpAccessDenied;
        case EPERM:
            return permErr;
        case EROFS:
            return wPrErr;
        case ELOOP:
        case ENAMETOOLONG:
        case EILSEQ:
            return bdNamErr;
        case EMFILE:
        case ENFILE:
            return tmfoErr;
        case ENOMEM:
            return memFullErr;
        case ENOSPC:
        case EDQUOT:
            return dskFulErr;
        case EEXIST:
            return dupFNErr;
        case EBUSY:
        case EAGAIN:
        case ETXTBSY:
        case ENOTEMPTY:
            return fBsyErr;
        case EISDIR:
            return notAFileErr;
        case EXDEV:
            return diffVolErr;
        case EINVAL:
        case EFAULT:
            return paramErr;
        default:
            return ioErr;
    }
}

}  // namespace toolbox::files
