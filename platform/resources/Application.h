// Where the running application's own resources are.
#pragma once

#include "ResourceFile.h"

#include <memory>
#include <string>

namespace toolbox::resources {

// The path of the running executable; empty when the system does not tell.
extern std::string (*sExecutablePath)();

// The application's resource file, or null.
std::unique_ptr<ResourceFile> OpenResourcesOfApplication();

}  // namespace toolbox::resources
