// The catalogue's nodes: what the process remembers of the items that it met.
//
// A folder is kept for the life of the process, with its parent and its leaf name as a hint where to look for
// it: some 80 bytes, and the name if it is long. One folder has one node whatever its paths. Of every other
// item a name by which it was met is a hint too, a folder and a leaf name, and kMaxHints of them are kept,
// the oldest out: an item whose hint is gone is found through its folder by whoever knows that. Whoever uses
// a hint verifies what lies there.
//
// An id is the inode where that lies from kFirstOrdinaryID up to kFirstAllottedID, so that it needs no
// memory; any other is allotted, and the pair kept for the life of the process, some 40 bytes each. So is
// that of an item whose inode was another's before, as far as the table knows: of folders always, of others
// while there is a hint, or where the id is kept.
//
// Items are those on disk, but where it is said that they are the catalogue's: the two differ once contents
// were exchanged.
//
// Safe on any thread; makes no system call. Functions that record may throw std::bad_alloc and then leave the
// table consistent, with some of the chain recorded.
#pragma once

#include "os/ItemStatus.h"
#include "os/Mutex.h"
#include "places/ExchangedItems.h"
#include "places/NodeKey.h"
#include "places/NumberIndex.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

namespace toolbox::files {

// Number of an item on its volume.
using NodeID = std::uint32_t;
constexpr NodeID kRootParentID = 1;               // the parent of every volume's root, itself no item
constexpr NodeID kRootID = 2;                     // a volume's root folder
constexpr NodeID kFirstOrdinaryID = 16;           // those below never name an ordinary item
constexpr NodeID kFirstAllottedID = 0x80000000U;  // those from here on are no inodes

// One item of a path from the root folder down.
struct PathStep {
    os::ItemIdentity identity;
    bool isVolumeRoot = false;  // the topmost folder of its volume
    std::string_view name;      // empty for the root folder; any other bytes but '/' and NUL
    bool isFolder = true;
    bool hasOneName = true;  // by which it is met now; any other is old
};

// An item's ids, and the folder that it is in.
struct NodeFacts {
    NodeID nodeID = 0;       // kRootID for a volume's root
    NodeID parentID = 0;     // kRootParentID for a volume's root
    bool hasParent = false;  // false for the root of all paths
    os::ItemIdentity parent;
    os::ItemIdentity item;  // who it is in the catalogue, which an exchange of contents does not change
};

// Where the table says that an item is.
struct NodeHint {
    NodeFacts facts;
    std::string name;
    std::string path;
};

class NodeTable {
  public:
    static constexpr std::size_t kMaxHints = 65536;

    // The process's one table. Tests may make their own.
    static NodeTable& Shared();

    NodeTable() = default;
    NodeTable(const NodeTable&) = delete;
    NodeTable& operator=(const NodeTable&) = delete;

    // Records the items of a path, from the root folder "/" to the item itself, as the hint for each of them.
    // Returns what is known of the last one, which alone may be no folder. inPath must not be empty.
    NodeFacts Record(const std::vector<PathStep>& inPath);

    // Records one item of a folder that has a node. False, with nothing recorded, when the folder has no
    // node, or lies within the item by what is known of it: then the whole path tells.
    bool RecordChild(const os::ItemIdentity& inFolder, const PathStep& inChild, NodeFacts& outFacts);

    // Two files that are on disk became each the other, whose contents it has now; in the catalogue each is
    // who it was, with its id and the references to it.
    void Exchange(const os::ItemIdentity& inOnDisk1, const os::ItemIdentity& inOnDisk2);
    // What an item of the catalogue is on disk.
    os::ItemIdentity OnDisk(const os::ItemIdentity& inItem) const;

    // A folder's new leaf name in the folder where it was.
    void Rename(const os::ItemIdentity& inFolder, std::string_view inName);

    // False when no folder of that identity was met, or its inode has passed to another meanwhile.
    bool GetFolder(const os::ItemIdentity& inFolder, NodeHint& outHint) const;
    // The names by which an item that is no folder was met, as far as they are kept.
    std::vector<NodeHint> GetHints(const os::ItemIdentity& inItem) const;

    // Without paths. A name by which what is no folder was met in a folder, as far as it is kept; and a
    // folder's name, and the folder where it has it: false of a volume's root too.
    bool GetNameIn(const os::ItemIdentity& inFolder, const os::ItemIdentity& inItem,
                   std::string& outName) const;
    bool GetNameOfFolder(const os::ItemIdentity& inFolder, os::ItemIdentity& outParent,
                         std::string& outName) const;

    // The item with a node id, which is not kRootID: roots are found by their volumes. False when the table
    // has none; it may know no more of one whose id is its inode.
    bool FindID(std::uint64_t inDevice, NodeID inID, os::ItemIdentity& outItem) const;

    // Keeps the id of an item of the catalogue for the life of the process: whoever has its inode later gets
    // another one.
    void KeepID(const os::ItemIdentity& inItem);

    // Folders and hints.
    std::size_t Count() const;

  private:
    using Index = NumberIndex::Number;
    static constexpr Index kNone = INT32_MAX;

    struct Folder {
        os::ItemIdentity identity;
        NodeID ordinaryID;  // 0 until it was met as anything but a volume's root
        Index parent : 31;
        Index isVolumeRoot : 1;  // where the hint says that it is
        std::string name;
        NodeID ID() const { return isVolumeRoot != 0 ? kRootID : ordinaryID; }
    };
    struct Hint {
        os::ItemIdentity identity;
        Index folder;
        std::string name;
    };

    mutable os::Mutex mMutex;

    Index FindKey(const NodeKey& inKey) const NEEDS_LOCK(mMutex);
    Index FindFolder(const os::ItemIdentity& inFolder) const NEEDS_LOCK(mMutex);
    Index FindHint(const PathStep& inStep, Index inFolder) const NEEDS_LOCK(mMutex);
    Index FindAllotted(const os::ItemIdentity& inItem) const NEEDS_LOCK(mMutex);
    bool IsWithin(Index inIndex, Index inFolder) const NEEDS_LOCK(mMutex);
    Index RecordFolder(const PathStep& inStep, Index inParent) NEEDS_LOCK(mMutex);
    Index AddFolder(const PathStep& inStep, Index inParent) NEEDS_LOCK(mMutex);
    NodeFacts RecordHint(const PathStep& inStep, Index inFolder) NEEDS_LOCK(mMutex);
    void AddHint(const PathStep& inStep, Index inFolder) NEEDS_LOCK(mMutex);
    // Whether the inode was another item's before, as far as that is remembered.
    bool HadAnother(const os::ItemIdentity& inItem, bool inIsFolder) const NEEDS_LOCK(mMutex);
    NodeID KnownID(const os::ItemIdentity& inItem) const NEEDS_LOCK(mMutex);
    NodeID ChooseID(const os::ItemIdentity& inItem, bool inIsFolder) NEEDS_LOCK(mMutex);
    NodeID Allot(const os::ItemIdentity& inItem) NEEDS_LOCK(mMutex);
    NodeFacts FactsOf(Index inFolder) const NEEDS_LOCK(mMutex);
    NodeFacts FactsIn(Index inFolder, NodeID inID, const os::ItemIdentity& inItem) const NEEDS_LOCK(mMutex);
    std::string PathOf(Index inFolder, std::string_view inName = {}) const NEEDS_LOCK(mMutex);

    std::deque<Folder> mFolders GUARDED_BY(mMutex);
    NumberIndex mFolderIndex GUARDED_BY(mMutex);
    std::deque<Hint> mHints GUARDED_BY(mMutex);
    NumberIndex mHintIndex GUARDED_BY(mMutex);
    std::size_t mOldestHint GUARDED_BY(mMutex) = 0;             // once there are kMaxHints
    std::deque<os::ItemIdentity> mAllotted GUARDED_BY(mMutex);  // in the order of their ids
    NumberIndex mAllottedIndex GUARDED_BY(mMutex);
    std::deque<os::ItemIdentity> mKept GUARDED_BY(mMutex);
    NumberIndex mKeptIndex GUARDED_BY(mMutex);
    ExchangedItems mExchanged GUARDED_BY(mMutex);
};

}  // namespace toolbox::files
