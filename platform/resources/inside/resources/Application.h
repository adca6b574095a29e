// Where the running application's own resources are.
#pragma once

#include "resources/ResourceFile.h"

#include <memory>

namespace toolbox::resources {

// The application's resource file; noErr and null when there is none that can be read. Else tmfoErr,
// memFullErr or fBsyErr: what prevented it may be over later.
[[nodiscard]] OSStatus OpenResourcesOfApplication(std::unique_ptr<ResourceFile>& outFile);

}  // namespace toolbox::resources
