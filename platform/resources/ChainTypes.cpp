#include "resources/ChainTypes.h"

#include <new>
#include <unordered_set>

namespace toolbox::resources {

const std::vector<Resource*>& FileTypes::OfType(ResType inType) {
    static const std::vector<Resource*>& sNone = *new std::vector<Resource*>;
    if (!mByType) {
        ByType byType;
        for (const auto& resource : mFile->Resources())
            byType[resource->reference.type].push_back(resource.get());
        mByType = std::move(byType);
    }
    const auto found = mByType->find(inType);
    return found == mByType->end() ? sNone : found->second;
}

const std::vector<ResType>& FileTypes::Order() {
    if (!mOrder) {
        std::vector<ResType> order;
        std::unordered_set<ResType> seen;
        for (const auto& resource : mFile->Resources()) {
            const ResType type = resource->reference.type;
            // Neighbours are of one type mostly.
            if (!order.empty() && order.back() == type) continue;
            if (seen.insert(type).second) order.push_back(type);
        }
        mOrder = std::move(order);
    }
    return *mOrder;
}

void FileTypes::Added(Resource& ioResource) noexcept {
    mOrder.reset();
    if (!mByType) return;
    try {
        (*mByType)[ioResource.reference.type].push_back(&ioResource);
    } catch (const std::bad_alloc&) {
        mByType.reset();
    }
}

void FileTypes::Removed(ResType inType, const Resource& inResource) noexcept {
    mOrder.reset();
    if (!mByType) return;
    const auto found = mByType->find(inType);
    if (found != mByType->end()) std::erase(found->second, &inResource);
}

}  // namespace toolbox::resources
