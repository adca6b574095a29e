// The sound files in a folder and in those beneath it.
#pragma once

#include "Failure.h"

#include <sys/types.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tool {

using FileIdentity = std::pair<dev_t, ino_t>;

// Links followed; nothing where nothing is.
std::optional<FileIdentity> IdentityOf(const std::string& inPath);

struct FoundFile {
    std::string path;            // the folder's, as given, and the way from there
    std::string relativeFolder;  // that way without the name: empty, or ending in a slash
};

// Files whose extension is known, by the names that IsSoundExtension has; in the order of their names, those
// of a folder before those beneath it. Hidden files and folders are left out, links to folders, and the
// folder inLeftOut. Folders that cannot be read are in outFailures, and names that cannot be looked at.
// Throws Interrupted.
std::vector<FoundFile> FindSoundFiles(const std::string& inFolder,
                                      const std::optional<FileIdentity>& inLeftOut,
                                      std::vector<Failure>& outFailures);

}  // namespace tool
