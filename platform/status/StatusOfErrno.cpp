#include "status/StatusOfErrno.h"

#include "os/ErrorText.h"

#include <toolbox/MacErrors.h>

#include <cerrno>

namespace toolbox {

namespace {

thread_local int tOtherError = 0;

}  // namespace

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
        // Of companions that the host does not allow; the system has no such error of files.
        case ENOPKG:
            return unimpErr;
        case ECANCELED:
            return userCanceledErr;
        // What a file holds makes no sense: no error of the system.
        case EBADMSG:
        case ENODATA:
            tOtherError = 0;
            return ioErr;
        default:
            tOtherError = inErrno;
            return ioErr;
    }
}

void ForgetSystemError() {
    tOtherError = 0;
}

const char* SystemErrorText(OSStatus inStatus) {
    return inStatus == ioErr && tOtherError != 0 ? os::GetErrorText(tOtherError) : "";
}

}  // namespace toolbox
