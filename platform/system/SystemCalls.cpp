#include "SystemCalls.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

namespace toolbox::system {

namespace {

ssize_t ReadFile(const char* inPath, char* outBytes, std::size_t inCapacity) {
    const int descriptor = open(inPath, O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) return -1;
    // What the kernel tells of a process comes whole in one read, if it fits.
    ssize_t count;
    do
        count = read(descriptor, outBytes, inCapacity);
    while (count < 0 && errno == EINTR);
    const int error = errno;
    close(descriptor);
    errno = error;
    return count;
}

}  // namespace

SystemCalls sSystemCalls = {::clock_gettime, ::sysinfo, ::sysconf, ::readlink, ReadFile};

}  // namespace toolbox::system
