// The catalogue's nodes: every item that a reference was ever made to, and the folders above it.
//
// A node is an item (device and inode), with its parent's node and its leaf name as a hint where to look for
// it. The hint is the latest path by which the item was found; whoever uses it verifies what lies there.
// Nodes are kept for the life of the process, some 110 bytes each and the name if it is long, and one item
// has one node whatever its paths: a second reference to an item adds nothing. Safe on any thread; makes no
// system call. Functions that record may throw std::bad_alloc and then leave the table consistent, with some
// of the chain recorded.
#pragma once

#include "os/ItemStatus.h"
#include "os/Mutex.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace toolbox::files {

// Number of an item on its volume. It is the inode where that fits and is free, else one allotted by the
// table.
using NodeID = std::uint32_t;
constexpr NodeID kRootParentID = 1;      // the parent of every volume's root, itself no item
constexpr NodeID kRootID = 2;            // a volume's root folder
constexpr NodeID kFirstOrdinaryID = 16;  // those below never name an ordinary item

// One item of a path from the root folder down.
struct PathStep {
    os::ItemIdentity identity;
    bool isVolumeRoot = false;  // the topmost folder of its volume
    std::string_view name;      // empty for the root folder; any other bytes but '/' and NUL
};

struct NodeFacts {
    NodeID nodeID = 0;       // kRootID for a volume's root
    NodeID parentID = 0;     // kRootParentID for a volume's root
    bool hasParent = false;  // false for the root of all paths
    os::ItemIdentity parent;
    std::string name;
};

class NodeTable {
  public:
    // The process's one table. Tests may make their own.
    static NodeTable& Shared();

    NodeTable();
    NodeTable(const NodeTable&) = delete;
    NodeTable& operator=(const NodeTable&) = delete;

    // Records the items of a path, from the root folder "/" to the item itself, as the hint for each of them.
    // Returns the last one's id. inPath must not be empty.
    NodeID Record(const std::vector<PathStep>& inPath);

    // Records one item of a folder that has a node. Returns its id; 0, with nothing recorded, when the folder
    // has no node, or lies within the item by what is known of it: then the whole path tells.
    NodeID RecordChild(const os::ItemIdentity& inFolder, const PathStep& inChild);

    // The node's new leaf name in the folder where it was.
    void Rename(const os::ItemIdentity& inItem, std::string_view inName);

    // False when the item has no node, or its inode has passed to another item meanwhile.
    bool GetFacts(const os::ItemIdentity& inItem, NodeFacts& outFacts) const;
    bool GetPath(const os::ItemIdentity& inItem, std::string& outPath) const;

    // The item with a node id, which is not kRootID: roots are found by their volumes. False when it has no
    // node.
    bool FindID(std::uint64_t inDevice, NodeID inID, os::ItemIdentity& outItem) const;

    std::size_t Count() const;

  private:
    using Index = std::uint32_t;
    static constexpr Index kNone = INT32_MAX;

    struct Node {
        os::ItemIdentity identity;
        NodeID ordinaryID;  // 0 until it was met as anything but a volume's root
        Index parent : 31;
        Index isVolumeRoot : 1;  // where the hint says that it is
        std::string name;
        NodeID ID() const { return isVolumeRoot != 0 ? kRootID : ordinaryID; }
    };
    struct Key {
        std::uint64_t device;
        std::uint64_t number;  // inode or node id
        bool operator==(const Key&) const = default;
    };
    static Key KeyOf(const os::ItemIdentity& inItem) { return {inItem.device, inItem.inode}; }

    struct KeyHash {
        std::size_t operator()(const Key& inKey) const noexcept;
    };
    // The index keeps node numbers only; keys are read from the nodes.
    struct IndexHash {
        using is_transparent = void;
        const std::deque<Node>* nodes;
        std::size_t operator()(Index inIndex) const noexcept {
            return (*this)(KeyOf((*nodes)[inIndex].identity));
        }
        std::size_t operator()(const Key& inKey) const noexcept { return KeyHash()(inKey); }
    };
    struct IndexEqual {
        using is_transparent = void;
        const std::deque<Node>* nodes;
        Key Of(Index inIndex) const { return KeyOf((*nodes)[inIndex].identity); }
        bool operator()(Index inLeft, Index inRight) const { return inLeft == inRight; }
        bool operator()(Index inLeft, const Key& inRight) const { return Of(inLeft) == inRight; }
        bool operator()(const Key& inLeft, Index inRight) const { return inLeft == Of(inRight); }
    };

    mutable os::Mutex mMutex;

    Index FindKey(const Key& inKey) const NEEDS_LOCK(mMutex);
    Index FindItem(const os::ItemIdentity& inItem) const NEEDS_LOCK(mMutex);
    bool IsWithin(Index inIndex, Index inFolder) const NEEDS_LOCK(mMutex);
    Index RecordStep(const PathStep& inStep, Index inParent) NEEDS_LOCK(mMutex);
    Index AddNode(const PathStep& inStep, Index inParent) NEEDS_LOCK(mMutex);
    void GiveOrdinaryID(Index inIndex) NEEDS_LOCK(mMutex);
    NodeID ChooseID(const os::ItemIdentity& inItem) NEEDS_LOCK(mMutex);
    Index FindIndexOfID(std::uint64_t inDevice, NodeID inID) const NEEDS_LOCK(mMutex);
    bool IsTaken(std::uint64_t inDevice, NodeID inID) const NEEDS_LOCK(mMutex);

    std::deque<Node> mNodes GUARDED_BY(mMutex);
    std::unordered_set<Index, IndexHash, IndexEqual> mByIdentity GUARDED_BY(mMutex);
    // Only of nodes whose id is not their inode.
    std::unordered_map<Key, Index, KeyHash> mByAllottedID GUARDED_BY(mMutex);
    NodeID mNextAllottedID GUARDED_BY(mMutex);
};

}  // namespace toolbox::files
