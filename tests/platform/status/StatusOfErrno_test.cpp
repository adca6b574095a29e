#include "status/StatusOfErrno.h"

#include <toolbox/MacErrors.h>

#include <gtest/gtest.h>

#include <cerrno>

namespace {

using toolbox::StatusOfErrno;

TEST(StatusOfErrno, Table) {
    const struct {
        int number;
        OSStatus status;
    } kCases[] = {{0, noErr},
                  {ENOENT, fnfErr},
                  {ESTALE, fnfErr},
                  {ENOTDIR, dirNFErr},
                  {EACCES, -5000},
                  {EPERM, permErr},
                  {EROFS, wPrErr},
                  {ELOOP, bdNamErr},
                  {EILSEQ, bdNamErr},
                  {ENAMETOOLONG, bdNamErr},
                  {EMFILE, tmfoErr},
                  {ENFILE, tmfoErr},
                  {ENOMEM, memFullErr},
                  {ENOSPC, dskFulErr},
                  {EDQUOT, dskFulErr},
                  {EEXIST, dupFNErr},
                  {EBUSY, fBsyErr},
                  {EAGAIN, fBsyErr},
                  {ETXTBSY, fBsyErr},
                  {ENOTEMPTY, fBsyErr},
                  {EISDIR, -1302},
                  {EXDEV, -1303},
                  {EINVAL, paramErr},
                  {EFAULT, paramErr},
                  {ECANCELED, userCanceledErr},
                  {EIO, ioErr},
                  {ENXIO, ioErr},
                  {ENOTTY, ioErr},
                  {99999, ioErr}};
    for (const auto& one : kCases)
        EXPECT_EQ(one.status, StatusOfErrno(one.number)) << one.number;
}

TEST(StatusOfErrno, EveryFailureIsNegative) {
    for (int number = 1; number < 200; ++number)
        EXPECT_LT(StatusOfErrno(number), 0) << number;
}

}  // namespace
