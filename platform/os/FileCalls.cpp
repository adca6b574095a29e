#include "os/FileCalls.h"

#include "FileCalls_test_access.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <limits.h>
#include <link.h>
#include <pwd.h>
#include <stdio.h>
#include <sys/file.h>
#include <unistd.h>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace toolbox::os {

namespace {

int OpenFile(const char* inPath, int inFlags) {
    return ::open(inPath, inFlags);
}

int CreateFile(const char* inPath, int inFlags, mode_t inMode) {
    return ::open(inPath, inFlags, inMode);
}

const char* ReadVariable(const char* inName) {
    return std::getenv(inName);
}

int CopyAbsolutePath(const char* inPath, char* outPath, std::size_t inCapacity) {
    if (inPath == nullptr || inPath[0] != '/') return ENOENT;
    if (std::strlen(inPath) >= inCapacity) return ENAMETOOLONG;
    std::strcpy(outPath, inPath);
    return 0;
}

int FindHome(char* outPath, std::size_t inCapacity) {
    std::vector<char> text(1024);
    for (;;) {
        struct passwd entry = {};
        struct passwd* found = nullptr;
        const int error = ::getpwuid_r(::getuid(), &entry, text.data(), text.size(), &found);
        if (error == ERANGE && text.size() < 1024 * 1024) {
            text.resize(text.size() * 2);
            continue;
        }
        if (error != 0) return error;
        return found == nullptr ? ENOENT : CopyAbsolutePath(found->pw_dir, outPath, inCapacity);
    }
}

int FindLibrary(char* outPath, std::size_t inCapacity) {
    Dl_info info = {};
    struct link_map* library = nullptr;
    if (::dladdr1(reinterpret_cast<const void*>(&FindLibrary), &info, reinterpret_cast<void**>(&library),
                  RTLD_DL_LINKMAP) == 0 ||
        library == nullptr)
        return ENOENT;
    // The program itself has no name there.
    const char* name = library->l_name[0] == 0 ? "/proc/self/exe" : library->l_name;
    char path[PATH_MAX];
    if (::realpath(name, path) == nullptr) return errno;
    return CopyAbsolutePath(path, outPath, inCapacity);
}

FileCalls sCalls = {::realpath,        ::statx,     OpenFile,     ::close,    ::pread,
                    ::opendir,         ::readdir,   ::closedir,   CreateFile, ::pwrite,
                    ::posix_fallocate, ::ftruncate, ::fchmod,     ::fchown,   ::flock,
                    ::fsync,           ::rename,    ::unlink,     ::chmod,    ::faccessat,
                    ::statvfs,         ::mkdir,     ReadVariable, FindHome,   FindLibrary};

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

}  // namespace toolbox::os
