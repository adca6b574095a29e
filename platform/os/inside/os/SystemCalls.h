// The calls by which the platform reaches the system: all of them, by the system's own names. Outside stand
// what std::mutex and operator new call, exit(), which does not come back to tell of a failure, and what the
// libraries beneath call by themselves.
#pragma once

#include <dirent.h>
#include <dlfcn.h>
#include <locale.h>
#include <sys/types.h>
#include <time.h>

#include <cstddef>
#include <cstdint>
#include <type_traits>

struct group;
struct flock;
struct passwd;
struct sigaction;
struct statvfs;
struct statx;
struct sysinfo;

namespace toolbox::os {

// How a call tells that it failed.
enum class Failure {
    kMinusOne,  // by -1, with errno
    kZero,      // by 0 or null, with errno
    kOnlyZero,  // by 0 or null without errno; it may be an answer as well
    kErrno,     // by the errno itself
    kClosed,    // by -1, with errno; what it was to close is closed all the same
    kNoMemory,  // by null: it gives memory
    kNone       // not at all
};

// CALL(name, type, failure, the system's function). Items are named by an open folder and a path in it, so
// that AT_FDCWD stands for what is no folder in particular. openat always takes a mode, ioctl a
// number, and fcntl the lock of a range. Memory has its place here too, where rooms allocate by hand.
// clang-format off
#define TOOLBOX_SYSTEM_CALLS(CALL)                                                                          \
    CALL(openat, int(int, const char*, int, mode_t), kMinusOne, OpenAt)                                     \
    CALL(close, int(int), kClosed, ::close)                                                                 \
    CALL(pread, ssize_t(int, void*, std::size_t, off_t), kMinusOne, ::pread)                                \
    CALL(pwrite, ssize_t(int, const void*, std::size_t, off_t), kMinusOne, ::pwrite)                        \
    CALL(read, ssize_t(int, void*, std::size_t), kMinusOne, ::read)                                         \
    CALL(write, ssize_t(int, const void*, std::size_t), kMinusOne, ::write)                                 \
    CALL(copy_file_range, ssize_t(int, off_t*, int, off_t*, std::size_t, unsigned), kMinusOne,              \
         ::copy_file_range)                                                                                 \
    CALL(lseek, off_t(int, off_t, int), kMinusOne, ::lseek)                                                 \
    CALL(ioctl, int(int, unsigned long, int), kMinusOne, ControlByNumber)                                   \
    CALL(posix_fallocate, int(int, off_t, off_t), kErrno, ::posix_fallocate)                                \
    CALL(ftruncate, int(int, off_t), kMinusOne, ::ftruncate)                                                \
    CALL(fsync, int(int), kMinusOne, ::fsync)                                                               \
    CALL(flock, int(int, int), kMinusOne, ::flock)                                                          \
    CALL(fcntl, int(int, int, struct flock*), kMinusOne, LockRange)                                         \
    CALL(fallocate, int(int, int, off_t, off_t), kMinusOne, ::fallocate)                                    \
    CALL(fchmod, int(int, mode_t), kMinusOne, ::fchmod)                                                     \
    CALL(fchown, int(int, uid_t, gid_t), kMinusOne, ::fchown)                                               \
    CALL(fchownat, int(int, const char*, uid_t, gid_t, int), kMinusOne, ::fchownat)                         \
    CALL(flistxattr, ssize_t(int, char*, std::size_t), kMinusOne, ::flistxattr)                             \
    CALL(fgetxattr, ssize_t(int, const char*, void*, std::size_t), kMinusOne, ::fgetxattr)                  \
    CALL(fsetxattr, int(int, const char*, const void*, std::size_t, int), kMinusOne, ::fsetxattr)           \
    CALL(fdopendir, DIR*(int), kZero, ::fdopendir)                                                          \
    CALL(readdir, struct dirent*(DIR*), kZero, ::readdir)                                                   \
    CALL(closedir, int(DIR*), kClosed, ::closedir)                                                          \
    CALL(statx, int(int, const char*, int, unsigned, struct statx*), kMinusOne, ::statx)                    \
    CALL(statvfs, int(const char*, struct statvfs*), kMinusOne, ::statvfs)                                  \
    CALL(faccessat, int(int, const char*, int, int), kMinusOne, ::faccessat)                                \
    CALL(fchmodat, int(int, const char*, mode_t, int), kMinusOne, ::fchmodat)                               \
    CALL(utimensat, int(int, const char*, const struct timespec*, int), kMinusOne, ::utimensat)             \
    CALL(mkdirat, int(int, const char*, mode_t), kMinusOne, ::mkdirat)                                      \
    CALL(renameat2, int(int, const char*, int, const char*, unsigned), kMinusOne, ::renameat2)              \
    CALL(linkat, int(int, const char*, int, const char*, int), kMinusOne, ::linkat)                         \
    CALL(unlinkat, int(int, const char*, int), kMinusOne, ::unlinkat)                                       \
    CALL(readlinkat, ssize_t(int, const char*, char*, std::size_t), kMinusOne, ::readlinkat)                \
    CALL(realpath, char*(const char*, char*), kZero, ::realpath)                                            \
    CALL(inotify_init1, int(int), kMinusOne, ::inotify_init1)                                               \
    CALL(inotify_add_watch, int(int, const char*, std::uint32_t), kMinusOne, ::inotify_add_watch)           \
    CALL(inotify_rm_watch, int(int, int), kMinusOne, ::inotify_rm_watch)                                    \
    CALL(mount, int(const char*, const char*, const char*, unsigned long, const void*), kMinusOne, ::mount) \
    CALL(isatty, int(int), kZero, ::isatty)                                                                 \
    CALL(getenv, char*(const char*), kOnlyZero, ::getenv)                                                   \
    CALL(getuid, uid_t(), kNone, ::getuid)                                                                  \
    CALL(geteuid, uid_t(), kNone, ::geteuid)                                                                \
    CALL(getpid, pid_t(), kNone, ::getpid)                                                                  \
    CALL(getpwuid_r, int(uid_t, struct passwd*, char*, std::size_t, struct passwd**), kErrno, ::getpwuid_r) \
    CALL(getpwnam_r, int(const char*, struct passwd*, char*, std::size_t, struct passwd**), kErrno,         \
         ::getpwnam_r)                                                                                      \
    CALL(getgrgid_r, int(gid_t, struct group*, char*, std::size_t, struct group**), kErrno, ::getgrgid_r)   \
    CALL(getgrnam_r, int(const char*, struct group*, char*, std::size_t, struct group**), kErrno,           \
         ::getgrnam_r)                                                                                      \
    CALL(getrandom, ssize_t(void*, std::size_t, unsigned), kMinusOne, ::getrandom)                          \
    CALL(clock_gettime, int(clockid_t, struct timespec*), kMinusOne, ::clock_gettime)                       \
    CALL(clock_nanosleep, int(clockid_t, int, const struct timespec*, struct timespec*), kErrno,            \
         ::clock_nanosleep)                                                                                 \
    CALL(sysconf, long(int), kMinusOne, ::sysconf)                                                          \
    CALL(sysinfo, int(struct sysinfo*), kMinusOne, ::sysinfo)                                               \
    CALL(sigaction, int(int, const struct sigaction*, struct sigaction*), kMinusOne, ::sigaction)           \
    CALL(raise, int(int), kMinusOne, ::raise)                                                               \
    CALL(dlopen, void*(const char*, int), kOnlyZero, ::dlopen)                                              \
    CALL(dlclose, int(void*), kClosed, ::dlclose)                                                           \
    CALL(dlsym, void*(void*, const char*), kOnlyZero, ::dlsym)                                              \
    CALL(dlinfo, int(void*, int, void*), kMinusOne, ::dlinfo)                                               \
    CALL(dladdr1, int(const void*, Dl_info*, void**, int), kOnlyZero, ::dladdr1)                            \
    CALL(newlocale, locale_t(int, const char*, locale_t), kZero, ::newlocale)                               \
    CALL(uselocale, locale_t(locale_t), kZero, ::uselocale)                                                 \
    CALL(freelocale, void(locale_t), kNone, ::freelocale)                                                   \
    CALL(strerror_l, char*(int, locale_t), kNone, ::strerror_l)                                             \
    CALL(malloc, void*(std::size_t), kNoMemory, ::malloc)                                                   \
    CALL(calloc, void*(std::size_t, std::size_t), kNoMemory, ::calloc)                                      \
    CALL(realloc, void*(void*, std::size_t), kNoMemory, ::realloc)                                          \
    CALL(free, void(void*), kNone, ::free)
// clang-format on

struct SystemCalls {
#define TOOLBOX_MEMBER(NAME, TYPE, FAILURE, FUNCTION) std::add_pointer_t<TYPE> NAME;
    TOOLBOX_SYSTEM_CALLS(TOOLBOX_MEMBER)
#undef TOOLBOX_MEMBER
};

// The calls in use.
extern SystemCalls sSystemCalls;

inline const SystemCalls& Calls() {
    return sSystemCalls;
}

}  // namespace toolbox::os
