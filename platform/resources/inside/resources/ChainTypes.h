// The resources of one file by their type, gathered when they are first asked for: counting and walking by
// index, which ask again for each one, then need not go through the file each time.
#pragma once

#include "resources/ResourceFile.h"

#include <toolbox/MacTypes.h>

#include <optional>
#include <unordered_map>
#include <vector>

namespace toolbox::resources {

// Belongs to the chain and its lock. The file is to outlive it, and to tell of each resource added or
// removed.
class FileTypes {
  public:
    explicit FileTypes(ResourceFile& inFile) : mFile(&inFile) {}

    // In the order of the file. May throw std::bad_alloc, as may Order.
    const std::vector<Resource*>& OfType(ResType inType);
    // Each type once, in the order of its first resource. Good until the file changes.
    const std::vector<ResType>& Order();

    // The resource is in the file's list already, behind all others of its type.
    void Added(Resource& ioResource) noexcept;
    // Of the resource only the address is looked at.
    void Removed(ResType inType, const Resource& inResource) noexcept;

  private:
    using ByType = std::unordered_map<ResType, std::vector<Resource*>>;

    ResourceFile* mFile;
    std::optional<ByType> mByType;
    std::optional<std::vector<ResType>> mOrder;
};

}  // namespace toolbox::resources
