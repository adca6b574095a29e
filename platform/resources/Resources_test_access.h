// For tests only: an application of the test's choice.
#pragma once

#include "resources/Application.h"
#include "resources/Chain.h"

namespace toolbox::resources {

// Closes every file, and takes the executable at inPath for the running one from the next call on.
inline void StartWithApplication(std::string (*inExecutablePath)()) {
    CloseAllFiles();
    const std::lock_guard lock(ChainMutex());
    sExecutablePath = inExecutablePath;
    Chain::Shared() = Chain();
}

}  // namespace toolbox::resources
