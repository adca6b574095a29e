// Items in folders that open iterators hold: found there by their names, however long the folder's path is.
#pragma once

#include "Finding.h"
#include "OpenIterators.h"

namespace toolbox::files {

// One thread at a time. Functions may throw std::bad_alloc.
class NearItem {
  public:
    // Once. False where no iterator holds the item's folder, where the item is not at the name by which it
    // was met there, and of a volume's root: then it is to be found in the ordinary way, which also tells
    // what is wrong.
    [[nodiscard]] bool Find(const FSRef& inRef) { return FindFolder(inRef) && LookAt(); }

    // The same in two steps, of which the second looks at the item.
    [[nodiscard]] bool FindFolder(const FSRef& inRef);
    [[nodiscard]] bool LookAt();

    // Between the two: null unless it is a file, or another item that is no folder, which its iterator has
    // just handed out. While it is lone it need not be looked at.
    const LoneItems* Lone() const;

    // As long as this lives: where it is, what the system tells of it, its folder and who holds that.
    const Place& ItemPlace() const { return mLoan.Lent().place; }
    const os::ItemStatus& Status() const { return mStatus; }
    const FoundItem& Folder() const { return mLoan.Lent().folder; }
    OpenIterators::Number Holder() const { return mLoan.From(); }

  private:
    OpenIterators::Loan mLoan;
    os::ItemIdentity mMeant;
    os::ItemStatus mStatus;
};

}  // namespace toolbox::files
