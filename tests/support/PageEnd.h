// Bytes at the very end of a page, for what is said to touch a byte behind them, or not to.
#pragma once

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstddef>
#include <new>

namespace support {

class PageEnd {
  public:
    enum Beyond { kNothing = PROT_NONE, kReadOnly = PROT_READ };  // what may be done with the page behind

    // inByteCount is at most a page's.
    PageEnd(std::size_t inByteCount, Beyond inBeyond)
        : mPageByteCount(static_cast<std::size_t>(sysconf(_SC_PAGESIZE))),
          mPages(
              mmap(nullptr, 2 * mPageByteCount, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)) {
        if (mPages == MAP_FAILED) throw std::bad_alloc();
        unsigned char* const end = static_cast<unsigned char*>(mPages) + mPageByteCount;
        mBytes = end - inByteCount;
        if (mprotect(end, mPageByteCount, inBeyond) != 0) throw std::bad_alloc();
    }
    ~PageEnd() { munmap(mPages, 2 * mPageByteCount); }
    PageEnd(const PageEnd&) = delete;
    PageEnd& operator=(const PageEnd&) = delete;

    unsigned char* Bytes() const { return mBytes; }

  private:
    const std::size_t mPageByteCount;
    void* const mPages;
    unsigned char* mBytes = nullptr;
};

// For EXPECT_EXIT: the process did not come to its own good end. A sanitizer exits by itself where the kernel
// would have sent a signal.
inline bool IsKilled(int inStatus) {
    return !WIFEXITED(inStatus) || WEXITSTATUS(inStatus) != 0;
}

}  // namespace support
