// Items that exchanged their contents: what each of them is on disk since.
//
// In the catalogue an item whose contents were exchanged with another's is the item that it was; on disk it
// is the other one. One pair is kept for the life of the process for every item that this was ever done to,
// some 70 bytes. One thread at a time.
#pragma once

#include "os/ItemStatus.h"
#include "places/NodeKey.h"
#include "places/NumberIndex.h"

#include <deque>

namespace toolbox::files {

class ExchangedItems {
  public:
    // Of an item in the catalogue, and the other way round; what was never exchanged is itself.
    os::ItemIdentity OnDisk(const os::ItemIdentity& inItem) const;
    os::ItemIdentity InCatalogue(const os::ItemIdentity& inOnDisk) const;

    // The item that is known in the catalogue by the inode: of several that had it one after the other the
    // first. False when none was exchanged.
    bool FindItem(const NodeKey& inKey, os::ItemIdentity& outItem) const;

    // Two that are on disk became each the other. May throw std::bad_alloc, with nothing changed.
    void Exchange(const os::ItemIdentity& inOnDisk1, const os::ItemIdentity& inOnDisk2);

  private:
    struct Pair {
        os::ItemIdentity item;
        os::ItemIdentity onDisk;
    };

    NumberIndex::Number FindByItem(const os::ItemIdentity& inItem) const;
    NumberIndex::Number FindByDisk(const os::ItemIdentity& inOnDisk) const;
    // The pair of an item in the catalogue, which is itself on disk until it is set.
    NumberIndex::Number AddOf(const os::ItemIdentity& inItem);
    void Set(NumberIndex::Number inPair, const os::ItemIdentity& inOnDisk) noexcept;

    std::deque<Pair> mPairs;
    NumberIndex mItemIndex;
    NumberIndex mDiskIndex;
};

}  // namespace toolbox::files
