#include "LoneItems.h"

#include "companions/Companions.h"

#include <new>

namespace toolbox::files {

void LoneItems::Add(std::string_view inDiskName) {
    if (!inDiskName.starts_with(kCompanionPrefix) || mCompanionCount > kMaxCompanions) return;
    ++mCompanionCount;
    mCompanions.Insert(NumberOfName(inDiskName));
}

// By numbers that similar names have in common: some file systems take one for the other.
bool LoneItems::IsLone(const std::string& inDiskName) const noexcept {
    if (inDiskName.starts_with(kCompanionPrefix) || mCompanionCount > kMaxCompanions) return false;
    try {
        if (!mCompanions.IsEmpty() && mCompanions.Has(NumberOfName(CompanionName(inDiskName)))) return false;
    } catch (const std::bad_alloc&) {
        return false;
    }
    return mHearing.HasNeitherCome(inDiskName);
}

}  // namespace toolbox::files
