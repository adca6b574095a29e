// The system under the File Manager, failing at a call of the test's choice.
#pragma once

#include "files/FileCalls_test_access.h"

#include <cerrno>

namespace test_files {

// While it lives, the n-th call of any of the table's functions fails with an errno: once, or it and all
// after it. A call that closes does close before it fails, as the system's own does. One at a time, on one
// thread.
class FailingCalls {
  public:
    enum Extent { kOnce, kForever };

    FailingCalls(int inFailingCall, int inErrno, Extent inExtent = kOnce)
        : mReal(toolbox::files::CallsForTesting()) {
        sFailingCall = inFailingCall;
        sErrno = inErrno;
        sExtent = inExtent;
        sCallCount = 0;
        sReal = mReal;
        toolbox::files::CallsForTesting() = {
            [](const char* inPath, char* outBuffer) -> char* {
                return Fails() ? nullptr : sReal.canonicalPath(inPath, outBuffer);
            },
            [](int inFolder, const char* inPath, int inFlags, unsigned inMask, struct statx* outStatus) {
                return Fails() ? -1 : sReal.statAt(inFolder, inPath, inFlags, inMask, outStatus);
            },
            [](const char* inPath, int inFlags) { return Fails() ? -1 : sReal.openFile(inPath, inFlags); },
            [](int inDescriptor) {
                const int result = sReal.closeFile(inDescriptor);
                return Fails() ? -1 : result;
            },
            [](int inDescriptor, void* outBytes, std::size_t inByteCount, off_t inOffset) -> ssize_t {
                return Fails() ? -1 : sReal.readAt(inDescriptor, outBytes, inByteCount, inOffset);
            },
            [](const char* inPath) -> DIR* { return Fails() ? nullptr : sReal.openFolder(inPath); },
            [](DIR * inFolder) -> struct dirent* {return Fails() ? nullptr : sReal.readFolder(inFolder);
    }
    , [](DIR* inFolder) {
        const int result = sReal.closeFolder(inFolder);
        return Fails() ? -1 : result;
    }
};
}  // namespace test_files
~FailingCalls() {
    toolbox::files::CallsForTesting() = mReal;
}
FailingCalls(const FailingCalls&) = delete;
FailingCalls& operator=(const FailingCalls&) = delete;

bool Delivered() const {
    return sCallCount >= sFailingCall;
}

private:
static bool Fails() {
    ++sCallCount;
    const bool fails = sExtent == kOnce ? sCallCount == sFailingCall : sCallCount >= sFailingCall;
    if (fails) errno = sErrno;
    return fails;
}

static inline int sFailingCall;
static inline int sErrno;
static inline Extent sExtent;
static inline int sCallCount;
static inline toolbox::files::FileCalls sReal;
toolbox::files::FileCalls mReal;
}
;

}  // namespace test_files
