// Questions to the user database, which is asked with more room until that is enough for the answer.
#pragma once

#include <cerrno>
#include <cstddef>
#include <vector>

namespace toolbox::os {

// 0 once inUse(entry) was called, ENOENT when the database has no such entry or there is nobody to tell, else
// the error of a database that could not be asked. May throw std::bad_alloc.
//   inAsk  int(Entry&, char* outText, std::size_t inCapacity, Entry*& outFound): as getpwuid_r
template <typename Entry, typename Ask, typename Use>
[[nodiscard]] int AskDatabase(Ask inAsk, Use inUse) {
    constexpr std::size_t kFirstBytes = 1024;
    constexpr std::size_t kMaxBytes = 1024 * 1024;
    int error = ERANGE;
    for (std::vector<char> text(kFirstBytes); text.size() <= kMaxBytes; text.resize(text.size() * 2)) {
        Entry entry = {};
        Entry* found = nullptr;
        error = inAsk(entry, text.data(), text.size(), found);
        if (error == ERANGE || error == EINTR) continue;
        if (error == 0 && found == nullptr) error = ENOENT;
        if (error == 0) inUse(*found);
        break;
    }
    // So the system's manual lists what means that nobody tells.
    return error == ESRCH || error == EBADF || error == EPERM ? ENOENT : error;
}

}  // namespace toolbox::os
