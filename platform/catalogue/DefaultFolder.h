// The folder that volume 0 with folder 0 stands for. Safe on any thread. May throw std::bad_alloc.
#pragma once

#include "catalogue/Catalogue.h"

namespace toolbox::files {

// dirNFErr when none was set, or it is gone.
[[nodiscard]] OSStatus FindDefaultFolder(FoundItem& outFolder);

}  // namespace toolbox::files
