// The resource forks of two files that exchange their contents by exchanging their names: they change places
// in the two companions, in which all else stays.
//
// Each companion first gets the other's fork, too, and by whom to tell which of the two is its item's
// (an intent, ../../ForkIntent.h). Then the names are exchanged, which tells that, and then the intents go.
// Whatever stops it, each file has its own two forks, for whoever reads them and before anything is mended;
// what is left of the intents goes when somebody writes the companion.
#pragma once

#include "companions/CompanionNames.h"
#include "os/ItemStatus.h"
#include "places/Place.h"

#include <memory>
#include <optional>

namespace toolbox::files {

// One of the two; both stay open.
struct FileAtExchange {
    const Place& place;
    const os::ItemStatus& status;
};

class ExchangedForks {
  public:
    ExchangedForks();
    ~ExchangedForks();  // ends it, as far as is known of the names
    ExchangedForks(const ExchangedForks&) = delete;
    ExchangedForks& operator=(const ExchangedForks&) = delete;

    // Once. From then on nobody else writes either companion, nor makes one where there is none, as
    // NoNewCompanions tells; nor does anybody move an item to or from the two folders. Of two files without
    // resource forks nothing is written. ENOTSUP where forks cannot change places: a companion cannot hold
    // both, or may not be had; forks of more than 64 MB together; files of two owners; on a file system that
    // does not lock files, or tells no birth of one. EBUSY when another is about a companion for seconds.
    // Other errors are an errno of what failed, with nothing changed. May throw std::bad_alloc.
    [[nodiscard]] int Prepare(const FileAtExchange& inFile1, const FileAtExchange& inFile2);

    // Once the names are exchanged: EBUSY when another process meanwhile made a companion where there was
    // none. He looks after that whether its item is still there; so one of the two sees the other.
    [[nodiscard]] int CheckNoneCame() const;

    // What became of the names; as they were before it is told.
    enum class Names { kAsBefore, kExchanged, kUnknown };
    void SetNames(Names inNames) noexcept { mNames = inNames; }

  private:
    struct Side;

    [[nodiscard]] bool CanChangePlaces() const;
    [[nodiscard]] int MakePartsOf(Side& ioSide, const Side& inOther) const;
    void End(Side& ioSide) const noexcept;

    // Before the locks of companions, as who moves an item does it.
    std::optional<NoNewCompanions> mNoOthers;
    LockedNames mFolders;
    std::unique_ptr<Side> mSides[2];  // in the order in which they are locked
    Names mNames = Names::kAsBefore;
};

}  // namespace toolbox::files
