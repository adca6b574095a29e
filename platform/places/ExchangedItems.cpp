#include "places/ExchangedItems.h"

#include <algorithm>

namespace toolbox::files {

NumberIndex::Number ExchangedItems::FindByItem(const os::ItemIdentity& inItem) const {
    return mItemIndex.Find(KeyOf(inItem).Hash(), [&](NumberIndex::Number inPair) {
        return mPairs[inPair].item.IsSameItem(inItem);
    });
}

NumberIndex::Number ExchangedItems::FindByDisk(const os::ItemIdentity& inOnDisk) const {
    return mDiskIndex.Find(KeyOf(inOnDisk).Hash(), [&](NumberIndex::Number inPair) {
        return mPairs[inPair].onDisk.IsSameItem(inOnDisk);
    });
}

os::ItemIdentity ExchangedItems::OnDisk(const os::ItemIdentity& inItem) const {
    const NumberIndex::Number pair = FindByItem(inItem);
    return pair == NumberIndex::kNone ? inItem : mPairs[pair].onDisk;
}

os::ItemIdentity ExchangedItems::InCatalogue(const os::ItemIdentity& inOnDisk) const {
    const NumberIndex::Number pair = FindByDisk(inOnDisk);
    return pair == NumberIndex::kNone ? inOnDisk : mPairs[pair].item;
}

bool ExchangedItems::FindItem(const NodeKey& inKey, os::ItemIdentity& outItem) const {
    NumberIndex::Number first = NumberIndex::kNone;
    (void)mItemIndex.Find(inKey.Hash(), [&](NumberIndex::Number inPair) {
        if (KeyOf(mPairs[inPair].item) == inKey) first = std::min(first, inPair);
        return false;
    });
    if (first == NumberIndex::kNone) return false;
    outItem = mPairs[first].item;
    return true;
}

NumberIndex::Number ExchangedItems::AddOf(const os::ItemIdentity& inItem) {
    const NumberIndex::Number known = FindByItem(inItem);
    if (known != NumberIndex::kNone) return known;
    const std::uint64_t hash = KeyOf(inItem).Hash();
    const auto pair = static_cast<NumberIndex::Number>(mPairs.size());
    mItemIndex.MakeRoom();
    mDiskIndex.MakeRoom();
    mPairs.push_back({inItem, inItem});
    mItemIndex.Add(hash, pair);
    mDiskIndex.Add(hash, pair);
    return pair;
}

void ExchangedItems::Set(NumberIndex::Number inPair, const os::ItemIdentity& inOnDisk) noexcept {
    Pair& pair = mPairs[inPair];
    mDiskIndex.Remove(KeyOf(pair.onDisk).Hash(), inPair);
    pair.onDisk = inOnDisk;
    mDiskIndex.Add(KeyOf(inOnDisk).Hash(), inPair);
}

void ExchangedItems::Exchange(const os::ItemIdentity& inOnDisk1, const os::ItemIdentity& inOnDisk2) {
    const NumberIndex::Number pair1 = AddOf(InCatalogue(inOnDisk1));
    const NumberIndex::Number pair2 = AddOf(InCatalogue(inOnDisk2));
    Set(pair1, inOnDisk2);
    Set(pair2, inOnDisk1);
}

}  // namespace toolbox::files
