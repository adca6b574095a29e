// Environment variables of a test's choice, under the File Manager.
#pragma once

#include "os/SystemCalls_test_access.h"

#include <initializer_list>
#include <map>
#include <string>
#include <utility>

namespace test_files {

// While it lives, these are the only variables that there are. One at a time, on one thread.
class Variables {
  public:
    explicit Variables(std::initializer_list<std::pair<const std::string, std::string>> inValues)
        : mReal(toolbox::os::CallsForTesting().getenv) {
        sValues = inValues;
        toolbox::os::CallsForTesting().getenv = [](const char* inName) -> char* {
            const auto found = sValues.find(inName);
            return found == sValues.end() ? nullptr : found->second.data();
        };
    }
    ~Variables() { toolbox::os::CallsForTesting().getenv = mReal; }
    Variables(const Variables&) = delete;
    Variables& operator=(const Variables&) = delete;

    std::string& operator[](const std::string& inName) { return sValues[inName]; }

  private:
    static inline std::map<std::string, std::string> sValues;
    char* (*mReal)(const char*);
};

}  // namespace test_files
