// What names a few large folders have, so that a name that is not there need not be looked for.
//
// Looking for a name that is the same but for case and composition takes all names of the folder. Those are
// kept as numbers, of which two similar names have one, and the system tells of each name that comes from
// before they are read (inotify). So a number that is not there means that no such name is, whatever any
// program did by the time of the question. A number that is there means nothing: names that went stay.
//
// A folder is forgotten when the system cannot tell all: where it lost changes, where the folder is gone or
// its volume is unmounted. Never kept are folders of file systems that other machines or programs may change
// unheard (catalogue/VolumeFeatures.h), encrypted ones, and those as small as kSmallFolderBytes, of a few
// hundred names at most, which are read as quickly as they are watched. Where nothing can be watched, folders
// are read each time.
//
// kMaxFolders are kept, those that were asked for last, in kMaxBytes altogether; a folder of more than three
// quarters of a million names is not kept, which would take more than half of that. One descriptor is open
// from the first folder that is watched on, because closing it lasts as long as reading a large folder; a
// child of fork closes it. No volume is held busy.
//
// Who goes through a folder of any size may hear by the same watch what comes into it (Hearing).
//
// Safe on any thread.
#pragma once

#include "NumberSet.h"
#include "names/CatalogueNames.h"
#include "os/FolderWatches.h"
#include "os/Mutex.h"
#include "places/Place.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace toolbox::files {

// The number of a name, which it has in common with those that are similar. May throw std::bad_alloc.
std::uint64_t NumberOfName(std::string_view inDiskName);

class KnownNames {
  public:
    static constexpr std::size_t kMaxFolders = 8;
    static constexpr std::size_t kMaxBytes = std::size_t{1} << 24;
    static constexpr std::int64_t kSmallFolderBytes = 4096;

    // The process's one memory. Tests make smaller ones.
    static KnownNames& Shared();
    explicit KnownNames(std::size_t inMaxBytes = kMaxBytes) : mMaxBytes(inMaxBytes) {}
    KnownNames(const KnownNames&) = delete;
    KnownNames& operator=(const KnownNames&) = delete;

    // Whether a folder, which was just opened, has no name that is similar. False where that is not known.
    //   inFolded  FoldedName of it
    bool HasNoneLike(const os::ItemStatus& inFolder, std::u16string_view inFolded) noexcept;
    // Whether it has none that is similar to what has a place, and none to its companion. May throw
    // std::bad_alloc.
    bool HasNeither(const Place& inItem);
    // Whether each of its names is its name in a specification, too.
    bool HasSpecNamesOnly(const os::ItemStatus& inFolder) noexcept;

    // The names that come into an open folder while this lives. Its questions are safe on any thread.
    class Hearing {
      public:
        explicit Hearing(KnownNames& ioKnown) : mKnown(ioKnown) {}
        ~Hearing();
        Hearing(const Hearing&) = delete;
        Hearing& operator=(const Hearing&) = delete;

        // Once. False where not all would be heard. May throw std::bad_alloc.
        [[nodiscard]] bool Begin(const Place& inFolder);
        // Whether none came by now that is similar to that of an item of the folder, and none to its
        // companion's, since it has begun. False where that is not known.
        bool HasNeitherCome(const std::string& inDiskName) const noexcept;

      private:
        KnownNames& mKnown;
        std::uint64_t mFolder = 0;  // 0: not begun
    };

    // One reading of all names of an open folder.
    class Reading {
      public:
        // Before the first name is read.
        Reading(KnownNames& ioKnown, const Place& inFolder) noexcept;
        ~Reading();
        Reading(const Reading&) = delete;
        Reading& operator=(const Reading&) = delete;

        void Add(std::string_view inDiskName, std::u16string_view inFolded) noexcept;
        // When all were read.
        void Keep() noexcept;

      private:
        KnownNames& mKnown;
        std::uint64_t mFolder;  // 0: it is not to be kept
        NumberSet mNames;
        bool mHasOtherNames = false;
    };

    // Forgets all folders, and closes the descriptor.
    void Close() noexcept;

    // Around a fork. In the child nothing is known.
    void HoldForFork() NO_LOCK_ANALYSIS { mMutex.Lock(); }
    void GoOnInParent() NO_LOCK_ANALYSIS { mMutex.Unlock(); }
    void GoOnInChild() noexcept;

  private:
    struct Folder {
        std::uint64_t number;  // given once
        os::ItemStatus status;
        int watch;
        std::uint64_t lastUse;
        int readingCount = 0;
        bool isWhole = false;  // its names are all
        NumberSet names;
        bool hasOtherNames = false;  // than those that specifications have
        NumberSet newNames;          // since the first of those who read began
        bool hasOtherNewNames = false;
    };

    [[nodiscard]] std::uint64_t Begin(const Place& inFolder);
    [[nodiscard]] std::uint64_t BeginKnown(const os::ItemStatus& inFolder, bool& outIsOfKnownVolume) noexcept;
    [[nodiscard]] std::uint64_t BeginNew(const os::ItemStatus& inFolder, const char* inPath);
    void End(std::uint64_t inNumber) noexcept;
    void EndHearing(std::uint64_t inNumber) noexcept;
    bool HasNeitherCome(std::uint64_t inNumber, const std::string& inDiskName);
    void Drop(std::uint64_t inNumber) noexcept;
    void Take(std::uint64_t inNumber, NumberSet& ioNames, bool inHasOtherNames);

    Folder* Find(const os::ItemStatus& inFolder) noexcept NEEDS_LOCK(mMutex);
    Folder* Find(std::uint64_t inNumber) noexcept NEEDS_LOCK(mMutex);
    // One whose names are all known, by now; null where they are not.
    Folder* FindWhole(const os::ItemStatus& inFolder) noexcept NEEDS_LOCK(mMutex);
    void EndReading(Folder& ioFolder) noexcept NEEDS_LOCK(mMutex);
    Folder& Oldest() noexcept NEEDS_LOCK(mMutex);
    [[nodiscard]] bool Hear() noexcept NEEDS_LOCK(mMutex);
    void Hear(const os::FolderWatches::Change& inChange) NEEDS_LOCK(mMutex);
    void KeepWithinBounds() noexcept NEEDS_LOCK(mMutex);
    void Forget(const Folder& inFolder) noexcept NEEDS_LOCK(mMutex);
    void CloseHeld() noexcept NEEDS_LOCK(mMutex);

    std::size_t MaxFolderBytes() const { return mMaxBytes / 2; }

    const std::size_t mMaxBytes;
    os::Mutex mMutex;
    std::vector<Folder> mFolders GUARDED_BY(mMutex);
    os::FolderWatches mWatches GUARDED_BY(mMutex);
    std::u16string mFolded GUARDED_BY(mMutex);
    bool mHasLostChanges GUARDED_BY(mMutex) = false;
    std::uint64_t mLastNumber GUARDED_BY(mMutex) = 0;
    std::uint64_t mUses GUARDED_BY(mMutex) = 0;
};

// As FindName, for names that are the same as inName but for case and composition: the place gets each of
// those. Where none is known to be, nothing is read.
template <typename IsWanted>
[[nodiscard]] int FindSimilarNames(Place& ioPlace, std::u16string_view inName, IsWanted inIsWanted) {
    const std::u16string wanted = FoldedName(inName);
    KnownNames& known = KnownNames::Shared();
    if (known.HasNoneLike(ioPlace.folderStatus, wanted)) return ENOENT;
    KnownNames::Reading reading(known, ioPlace);
    std::u16string folded;
    const int error = FindName(ioPlace, [&](const struct dirent& inEntry) {
        FoldDiskName(ioPlace.name, folded);
        reading.Add(ioPlace.name, folded);
        return folded == wanted ? inIsWanted(inEntry) : ENOENT;
    });
    if (error == ENOENT) reading.Keep();
    return error;
}

}  // namespace toolbox::files
