// Where well-known folders are. Paths are absolute and need not exist.
// Safe on any thread that does not run while the environment is changed. Functions may throw std::bad_alloc.
#pragma once

#include "catalogue/Volumes.h"

#include <toolbox/Folders.h>

#include <string>
#include <vector>

namespace toolbox::files {

enum class Domain { kUser, kLocal, kSystem };

// The path is empty when the domain has no folder of the type, or it is not known. Answers 0, or the errno of
// what could not be asked for it.
[[nodiscard]] int GetDomainFolderPath(Domain inDomain, OSType inType, std::string& outPath);

struct FolderPlace {
    std::string path;
    bool isAmongOthers = false;  // where others could put a folder or link of this name
};

FolderPlace TemporaryPlace();

// The temporary folders or trashes for a volume's items, the one to prefer first. An errno as above.
std::vector<FolderPlace> TemporaryPlacesOn(const Volume& inVolume);
[[nodiscard]] int GetTrashPlacesOn(const Volume& inVolume, std::vector<FolderPlace>& outPlaces);

}  // namespace toolbox::files
