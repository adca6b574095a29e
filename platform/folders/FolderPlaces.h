// Where well-known folders are. Paths are absolute and need not exist.
// Safe on any thread that does not run while the environment is changed. Functions may throw std::bad_alloc.
#pragma once

#include "catalogue/Volumes.h"

#include <toolbox/Folders.h>

#include <string>
#include <vector>

namespace toolbox::files {

enum class Domain { kUser, kLocal, kSystem };

// Empty when the domain has no folder of the type, or it is not known.
std::string DomainFolderPath(Domain inDomain, OSType inType);

struct FolderPlace {
    std::string path;
    bool isVolumesOwn = false;  // on a volume where others could put a folder or link of this name
};

// The temporary folders or trashes for a volume's items, the one to prefer first.
std::vector<FolderPlace> TemporaryPlacesOn(const Volume& inVolume);
std::vector<FolderPlace> TrashPlacesOn(const Volume& inVolume);

}  // namespace toolbox::files
