// An item held open while it is changed, as a place only: so it cannot become another meanwhile, nor a link
// to somebody's. May throw std::bad_alloc, with nothing left open.
#pragma once

#include "catalogue/Catalogue.h"
#include "os/Descriptor.h"

#include <string>

namespace toolbox::files {

class HeldItem {
  public:
    // One that was just found; fnfErr when it is there no more.
    [[nodiscard]] OSStatus Open(const FoundItem& inItem);

    // These answer 0 or an errno. A null date stays as it is.
    [[nodiscard]] int GetStatus(os::ItemStatus& outStatus) const;
    [[nodiscard]] int SetMode(mode_t inMode) const;
    [[nodiscard]] int SetOwner(uid_t inOwner, gid_t inGroup) const;
    [[nodiscard]] int SetDates(const os::Moment* inAccess, const os::Moment* inContent) const;

  private:
    os::Descriptor mFile;
    std::string mPath;
};

}  // namespace toolbox::files
