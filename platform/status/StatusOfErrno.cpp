#include "status/StatusOfErrno.h"

#include <toolbox/MacErrors.h>

#include <cerrno>

namespace toolbox {

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
        case ECANCELED:
            return userCanceledErr;
        default:
            return ioErr;
    }
}

}  // namespace toolbox
