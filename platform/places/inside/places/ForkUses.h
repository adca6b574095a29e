// Which forks of which files this process has open, and who may open one beside them.
//
// Safe on any thread; makes no system call.
#pragma once

#include "os/ItemStatus.h"

#include <cstdint>

namespace toolbox::files {

enum class ForkAccess { kRead, kWriteShared, kWriteAlone };

// One opening of a fork, while it lives.
class ForkUse {
  public:
    ForkUse() = default;
    ~ForkUse() { End(); }
    ForkUse(const ForkUse&) = delete;
    ForkUse& operator=(const ForkUse&) = delete;

    // Once. EBUSY when the fork is open to write and one of the two does not share it; 0 else. May throw
    // std::bad_alloc.
    [[nodiscard]] int Begin(const os::ItemIdentity& inFile, bool inIsResource, ForkAccess inAccess);
    void End() noexcept;

  private:
    bool mIsInUse = false;
    os::ItemIdentity mFile;
    bool mIsResource = false;
    ForkAccess mAccess = ForkAccess::kRead;
    friend class ForkUses;
};

struct ForksInUse {
    bool isDataOpen = false;
    bool isResourceOpen = false;
};
// Of an item, by whichever of its names they were opened.
ForksInUse FindForksInUse(const os::ItemIdentity& inItem);
// Of any item of a device.
bool HasForksInUse(std::uint64_t inDevice);

}  // namespace toolbox::files
