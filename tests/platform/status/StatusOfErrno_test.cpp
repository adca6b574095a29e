#include "status/StatusOfErrno.h"

#include <gtest/gtest.h>
#include <toolbox/MacErrors.h>

#include <cerrno>
#include <thread>

namespace {

using toolbox::StatusOfErrno;

TEST(StatusOfErrno, Table) {
    const struct {
        int number;
        OSStatus status;
    } kCases[] = {{0, noErr},           {ENOENT, fnfErr},
                  {ESTALE, fnfErr},     {ENOTDIR, dirNFErr},
                  {EACCES, -5000},      {EPERM, permErr},
                  {EROFS, wPrErr},      {ELOOP, bdNamErr},
                  {EILSEQ, bdNamErr},   {ENAMETOOLONG, bdNamErr},
                  {EMFILE, tmfoErr},    {ENFILE, tmfoErr},
                  {ENOMEM, memFullErr}, {ENOSPC, dskFulErr},
                  {EDQUOT, dskFulErr},  {ENOPKG, unimpErr},
                  {EEXIST, dupFNErr},   {EBUSY, fBsyErr},
                  {EAGAIN, fBsyErr},    {ETXTBSY, fBsyErr},
                  {ENOTEMPTY, fBsyErr}, {EISDIR, -1302},
                  {EXDEV, -1303},       {EINVAL, paramErr},
                  {EFAULT, paramErr},   {ECANCELED, userCanceledErr},
                  {EIO, ioErr},         {ENXIO, ioErr},
                  {ENOTTY, ioErr},      {99999, ioErr}};
    for (const auto& one : kCases)
        EXPECT_EQ(one.status, StatusOfErrno(one.number)) << one.number;
}

TEST(StatusOfErrno, EveryFailureIsNegative) {
    for (int number = 1; number < 200; ++number)
        EXPECT_LT(StatusOfErrno(number), 0) << number;
}

TEST(SystemErrorText, OfWhatHasNoMeaningOfItsOwn) {
    toolbox::ForgetSystemError();
    EXPECT_STREQ("", toolbox::SystemErrorText(ioErr));
    EXPECT_EQ(ioErr, StatusOfErrno(ENXIO));
    EXPECT_STREQ("No such device or address", toolbox::SystemErrorText(ioErr));
    EXPECT_EQ(fnfErr, StatusOfErrno(ENOENT));
    EXPECT_STREQ("No such device or address", toolbox::SystemErrorText(ioErr))
        << "the last one that became it";
    EXPECT_STREQ("", toolbox::SystemErrorText(fnfErr)) << "the status tells as much";
    std::thread([] { EXPECT_STREQ("", toolbox::SystemErrorText(ioErr)) << "another thread's"; }).join();
    toolbox::ForgetSystemError();
    EXPECT_STREQ("", toolbox::SystemErrorText(ioErr));
}

TEST(SystemErrorText, NotOfContentsThatMakeNoSense) {
    for (const int senseless : {EBADMSG, ENODATA}) {
        EXPECT_EQ(ioErr, StatusOfErrno(EIO));
        EXPECT_EQ(ioErr, StatusOfErrno(senseless));
        EXPECT_STREQ("", toolbox::SystemErrorText(ioErr)) << "the earlier one was another's";
    }
}

}  // namespace
