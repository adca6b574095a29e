// What a system call that stands in for the system's answers when it fails.
#pragma once

#include <cerrno>

namespace support {

inline int Fail(int inErrno) {
    errno = inErrno;
    return -1;
}

}  // namespace support
