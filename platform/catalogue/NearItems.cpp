#include "NearItems.h"

#include <utility>

namespace toolbox::files {

bool NearItem::FindFolder(const FSRef& inRef) {
    RememberedPlace remembered;
    if (!OpenIterators::Shared().HasAny() || !GetRememberedPlace(inRef, remembered)) return false;
    mMeant = remembered.item;
    mLoan.Begin(OpenIterators::Shared(), remembered.folder, std::move(remembered.name));
    return mLoan.From() != 0;
}

const LoneItems* NearItem::Lone() const {
    const LentFolder& lent = mLoan.Lent();
    const bool isIt = lent.lone != nullptr && lent.item.kind != os::ItemKind::kFolder &&
                      lent.item.identity.IsSameItem(mMeant);
    return isIt ? lent.lone.get() : nullptr;
}

bool NearItem::LookAt() {
    return GetStatus(ItemPlace(), mStatus) == 0 && mStatus.identity.IsSameItem(mMeant) &&
           !IsVolumeRoot(ItemPlace(), mStatus);
}

}  // namespace toolbox::files
