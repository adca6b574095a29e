// The iterators that are open, by the numbers that programs have for them.
//
// A number is never given again. Of the walks that are not in use those that were used last hold a
// descriptor, kMaxHeld at most; others are parked and open their folder again when they are used. Safe on any
// thread.
#pragma once

#include "FolderWalk.h"
#include "os/Mutex.h"

#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>
#include <string>
#include <unordered_map>

namespace toolbox::files {

class OpenIterators {
  public:
    using Number = std::uintptr_t;  // never 0
    static constexpr std::size_t kMaxHeld = 64;

    // The process's one. Tests may make their own.
    static OpenIterators& Shared();

    // May throw std::bad_alloc, with the walk ended.
    //   inAbove  that in whose folder this one's folder was found, or 0: if it is parked by the time when
    //            this one goes, its folder is found from here
    [[nodiscard]] Number Add(std::unique_ptr<FolderWalk> inWalk, Number inAbove = 0);
    // errFSIteratorNotFound when there is none, fBsyErr when it is in use.
    [[nodiscard]] OSStatus Remove(Number inNumber);
    bool HasAny();

    // While it lives, the walk is this thread's alone. Statuses as above; there is no walk then. May throw
    // std::bad_alloc.
    class Use {
      public:
        Use(OpenIterators& ioIterators, Number inNumber);
        ~Use();
        Use(const Use&) = delete;
        Use& operator=(const Use&) = delete;

        [[nodiscard]] OSStatus Status() const { return mStatus; }
        FolderWalk& Walk() const { return *mWalk; }

      private:
        OpenIterators& mIterators;
        Number mNumber;
        FolderWalk* mWalk = nullptr;
        OSStatus mStatus;
    };

    // A folder that some iterator holds, with an item's name, while this lives. Who uses that iterator
    // meanwhile opens it again.
    class Loan {
      public:
        Loan() = default;
        ~Loan();
        Loan(const Loan&) = delete;
        Loan& operator=(const Loan&) = delete;

        // Once.
        void Begin(OpenIterators& ioIterators, const os::ItemIdentity& inFolder, std::string inName);
        Number From() const { return mFrom; }  // 0: no iterator holds it
        const LentFolder& Lent() const { return mLent; }

      private:
        LentFolder mLent;
        OpenIterators* mIterators = nullptr;
        Number mFrom = 0;
    };

  private:
    struct Entry {
        std::unique_ptr<FolderWalk> walk;
        bool isInUse = false;
        bool isHeld = false;
        std::list<Number>::iterator place;  // in mHeld, if it is held
        Number above = 0;
    };

    [[nodiscard]] OSStatus Begin(Number inNumber, FolderWalk*& outWalk);
    void End(Number inNumber) noexcept;
    void Hold(Number inNumber, Entry& ioEntry) NEEDS_LOCK(mMutex);
    void ParkOthers() noexcept NEEDS_LOCK(mMutex);
    [[nodiscard]] Number Lend(const os::ItemIdentity& inFolder, LentFolder& ioLent);
    void TakeBack(Number inNumber, Place& ioPlace, FoundItem& ioFolder);
    void Reopen(Number inNumber, FolderWalk& ioBelow) noexcept;

    os::Mutex mMutex;
    Number mLast GUARDED_BY(mMutex) = 0;
    std::unordered_map<Number, Entry> mEntries GUARDED_BY(mMutex);
    std::list<Number> mHeld GUARDED_BY(mMutex);  // the one used last first
};

}  // namespace toolbox::files
