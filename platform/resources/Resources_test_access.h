// For tests only: the chain as after the start of the process.
#pragma once

#include "resources/Chain.h"

namespace toolbox::resources {

// Closes every file; the next call looks for the application's again.
inline void StartAnew() {
    CloseAllFiles();
    const os::MutexLock lock(ChainMutex());
    Chain::Shared() = Chain();
}

}  // namespace toolbox::resources
