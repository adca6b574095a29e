// What the system may fail any call with, and the status that tells of it.
#pragma once

#include "support/FailingCalls.h"
#include "support/FileWorld.h"

#include <toolbox/MacErrors.h>
#include <toolbox/MacTypes.h>

#include <cerrno>
#include <utility>
#include <vector>

namespace test_files {

struct Failure {
    int error;
    OSErr status;
    FailingCalls::Extent extent;
};

// All of them in memory; one over the real world, which costs more time.
inline std::vector<Failure> FailuresIn(support::FileWorld& inWorld) {
    std::vector<std::pair<int, OSErr>> errors = {{EIO, ioErr}};
    if (inWorld.Memory() != nullptr)
        errors.insert(errors.end(), {{ENOSPC, dskFulErr}, {EDQUOT, dskFulErr}, {EMFILE, tmfoErr}});
    std::vector<Failure> failures;
    for (const auto& [error, status] : errors)
        for (const auto extent : {FailingCalls::kOnce, FailingCalls::kForever})
            failures.push_back({error, status, extent});
    return failures;
}

}  // namespace test_files
