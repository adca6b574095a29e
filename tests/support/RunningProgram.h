// A program of the test's choice as the one that runs.
#pragma once

#include "os/SystemCalls_test_access.h"

#include <cerrno>
#include <string>
#include <string_view>
#include <utility>

namespace test_files {

// While it lives, the path of the running program is what was put last; at first nobody can tell it. One at a
// time, on one thread.
class RunningProgram {
  public:
    RunningProgram() : mReal(toolbox::os::CallsForTesting().readlinkat) {
        sPath.clear();
        sReal = mReal;
        toolbox::os::CallsForTesting().readlinkat = [](int inFolder, const char* inPath, char* outTarget,
                                                       std::size_t inCapacity) -> ssize_t {
            if (std::string_view(inPath) != "/proc/self/exe")
                return sReal(inFolder, inPath, outTarget, inCapacity);
            if (sPath.empty()) return errno = EACCES, -1;
            return static_cast<ssize_t>(sPath.copy(outTarget, inCapacity));
        };
    }
    ~RunningProgram() { toolbox::os::CallsForTesting().readlinkat = mReal; }
    RunningProgram(const RunningProgram&) = delete;
    RunningProgram& operator=(const RunningProgram&) = delete;

    static void Put(std::string inPath) { sPath = std::move(inPath); }

  private:
    using Call = decltype(toolbox::os::SystemCalls::readlinkat);

    static inline std::string sPath;
    static inline Call sReal;
    Call mReal;
};

}  // namespace test_files
