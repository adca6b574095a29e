#include "NearItems.h"

#include "Finding.h"

#include <utility>

namespace toolbox::files {

bool NearItem::Find(const FSRef& inRef) {
    RememberedPlace remembered;
    if (!OpenIterators::Shared().HasAny() || !GetRememberedPlace(inRef, remembered)) return false;
    mLoan.Begin(OpenIterators::Shared(), remembered.folder);
    if (mLoan.From() == 0) return false;
    mLoan.place.name = std::move(remembered.name);
    return GetStatus(mLoan.place, mStatus) == 0 && mStatus.identity.IsSameItem(remembered.item) &&
           !IsVolumeRoot(mLoan.place, mStatus);
}

}  // namespace toolbox::files
