#include "places/NodeTable.h"

#include <algorithm>
#include <cassert>

namespace toolbox::files {

namespace {

// Allotted ids start far above the inodes of most volumes, so that they seldom take one away.
constexpr NodeID kFirstAllottedID = 0x80000000;
constexpr std::size_t kInitialBuckets = 64;

}  // namespace

NodeTable& NodeTable::Shared() {
    // Never destroyed: references are used by other objects' destructors at exit.
    static NodeTable& table = *new NodeTable;
    return table;
}

NodeTable::NodeTable()
    : mByIdentity(kInitialBuckets, IndexHash{&mNodes}, IndexEqual{&mNodes}),
      mNextAllottedID(kFirstAllottedID) {}

std::size_t NodeTable::KeyHash::operator()(const Key& inKey) const noexcept {
    std::uint64_t hash = inKey.number * 0x9E3779B97F4A7C15u + inKey.device;
    hash ^= hash >> 32;
    return static_cast<std::size_t>(hash * 0xD6E8FEB86659FD93u);
}

NodeTable::Index NodeTable::FindKey(const Key& inKey) const {
    const auto found = mByIdentity.find(inKey);
    return found == mByIdentity.end() ? kNone : *found;
}

NodeTable::Index NodeTable::FindItem(const os::ItemIdentity& inItem) const {
    const Index index = FindKey(KeyOf(inItem));
    return index != kNone && mNodes[index].identity.IsSameItem(inItem) ? index : kNone;
}

// Hints never form a circle: the steps recorded together are a path down from the root and no item is twice
// among them, so every node recorded leads to the root afterwards, and so does every other node, whose hints
// end in them or are as they were.
NodeID NodeTable::Record(const std::vector<PathStep>& inPath) {
    assert(!inPath.empty());
    const os::MutexLock lock(mMutex);
    std::vector<Index> chain;
    chain.reserve(inPath.size());
    for (const PathStep& step : inPath) {
        // A folder mounted somewhere beneath itself: the short way leads there as well.
        const Index known = FindKey(KeyOf(step.identity));
        const auto earlier = std::find(chain.begin(), chain.end(), known);
        if (known != kNone && earlier != chain.end())
            chain.erase(earlier + 1, chain.end());
        else
            chain.push_back(RecordStep(step, chain.empty() ? kNone : chain.back()));
    }
    return mNodes[chain.back()].ID();
}

NodeID NodeTable::RecordChild(const os::ItemIdentity& inFolder, const PathStep& inChild) {
    const os::MutexLock lock(mMutex);
    const Index folder = FindItem(inFolder);
    if (folder == kNone || IsWithin(folder, FindKey(KeyOf(inChild.identity)))) return 0;
    return mNodes[RecordStep(inChild, folder)].ID();
}

bool NodeTable::IsWithin(Index inIndex, Index inFolder) const {
    for (Index at = inIndex; at != kNone; at = mNodes[at].parent)
        if (at == inFolder) return true;
    return false;
}

NodeTable::Index NodeTable::RecordStep(const PathStep& inStep, Index inParent) {
    const Index index = FindKey(KeyOf(inStep.identity));
    if (index == kNone) return AddNode(inStep, inParent);
    Node& node = mNodes[index];
    if (!inStep.isVolumeRoot) GiveOrdinaryID(index);
    if (node.name != inStep.name) node.name.assign(inStep.name);
    node.parent = inParent;
    node.isVolumeRoot = inStep.isVolumeRoot;
    if (inStep.identity.birthNanos != 0) node.identity.birthNanos = inStep.identity.birthNanos;
    return index;
}

NodeTable::Index NodeTable::AddNode(const PathStep& inStep, Index inParent) {
    const Index index = static_cast<Index>(mNodes.size());
    mNodes.push_back({inStep.identity, 0, inParent, inStep.isVolumeRoot, std::string(inStep.name)});
    try {
        mByIdentity.insert(index);
        if (!inStep.isVolumeRoot) GiveOrdinaryID(index);
    } catch (...) {
        mByIdentity.erase(index);
        mNodes.pop_back();
        throw;
    }
    return index;
}

void NodeTable::GiveOrdinaryID(Index inIndex) {
    Node& node = mNodes[inIndex];
    if (node.ordinaryID != 0) return;
    const NodeID nodeID = ChooseID(node.identity);
    if (nodeID != node.identity.inode) mByAllottedID.emplace(Key{node.identity.device, nodeID}, inIndex);
    node.ordinaryID = nodeID;
}

NodeID NodeTable::ChooseID(const os::ItemIdentity& inItem) {
    if (inItem.inode >= kFirstOrdinaryID && inItem.inode <= UINT32_MAX) {
        const NodeID sameAsInode = static_cast<NodeID>(inItem.inode);
        if (!IsTaken(inItem.device, sameAsInode)) return sameAsInode;
    }
    while (IsTaken(inItem.device, mNextAllottedID))
        mNextAllottedID = std::max(mNextAllottedID + 1, kFirstOrdinaryID);
    const NodeID allotted = mNextAllottedID;
    mNextAllottedID = std::max(mNextAllottedID + 1, kFirstOrdinaryID);
    return allotted;
}

NodeTable::Index NodeTable::FindIndexOfID(std::uint64_t inDevice, NodeID inID) const {
    const Key key{inDevice, inID};
    const auto allotted = mByAllottedID.find(key);
    if (allotted != mByAllottedID.end()) return allotted->second;
    const Index sameInode = FindKey(key);
    return sameInode != kNone && mNodes[sameInode].ordinaryID == inID ? sameInode : kNone;
}

bool NodeTable::IsTaken(std::uint64_t inDevice, NodeID inID) const {
    return FindIndexOfID(inDevice, inID) != kNone;
}

bool NodeTable::FindID(std::uint64_t inDevice, NodeID inID, os::ItemIdentity& outItem) const {
    const os::MutexLock lock(mMutex);
    const Index index = FindIndexOfID(inDevice, inID);
    if (index == kNone) return false;
    outItem = mNodes[index].identity;
    return true;
}

void NodeTable::Rename(const os::ItemIdentity& inItem, std::string_view inName) {
    const os::MutexLock lock(mMutex);
    const Index index = FindItem(inItem);
    if (index != kNone) mNodes[index].name.assign(inName);
}

bool NodeTable::GetFacts(const os::ItemIdentity& inItem, NodeFacts& outFacts) const {
    const os::MutexLock lock(mMutex);
    const Index index = FindItem(inItem);
    if (index == kNone) return false;
    const Node& node = mNodes[index];
    outFacts.nodeID = node.ID();
    outFacts.name = node.name;
    outFacts.hasParent = node.parent != kNone;
    outFacts.parent = outFacts.hasParent ? mNodes[node.parent].identity : os::ItemIdentity();
    outFacts.parentID =
        node.isVolumeRoot != 0 || !outFacts.hasParent ? kRootParentID : mNodes[node.parent].ID();
    return true;
}

bool NodeTable::GetPath(const os::ItemIdentity& inItem, std::string& outPath) const {
    const os::MutexLock lock(mMutex);
    const Index item = FindItem(inItem);
    if (item == kNone) return false;
    std::size_t byteCount = 0;
    for (Index at = item; mNodes[at].parent != kNone; at = mNodes[at].parent)
        byteCount += 1 + mNodes[at].name.size();
    if (byteCount == 0) {
        outPath = "/";
        return true;
    }
    outPath.assign(byteCount, '/');
    for (Index at = item; mNodes[at].parent != kNone; at = mNodes[at].parent) {
        const std::string& name = mNodes[at].name;
        byteCount -= name.size();
        outPath.replace(byteCount, name.size(), name);
        byteCount -= 1;
    }
    return true;
}

std::size_t NodeTable::Count() const {
    const os::MutexLock lock(mMutex);
    return mNodes.size();
}

}  // namespace toolbox::files
