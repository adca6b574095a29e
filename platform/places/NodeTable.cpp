#include "places/NodeTable.h"

#include <algorithm>
#include <cassert>
#include <utility>

namespace toolbox::files {

namespace {

bool IsItsOwnID(std::uint64_t inInode) {
    return inInode >= kFirstOrdinaryID && inInode < kFirstAllottedID;
}

}  // namespace

NodeTable& NodeTable::Shared() {
    // Never destroyed: references are used by other objects' destructors at exit.
    static NodeTable& table = *new NodeTable;
    return table;
}

NodeTable::Index NodeTable::FindKey(const NodeKey& inKey) const {
    const Index found = mFolderIndex.Find(inKey.Hash(), [&](Index inIndex) {
        mMutex.AssertHeld();
        return KeyOf(mFolders[inIndex].identity) == inKey;
    });
    return found == NumberIndex::kNone ? kNone : found;
}

NodeTable::Index NodeTable::FindFolder(const os::ItemIdentity& inFolder) const {
    const Index index = FindKey(KeyOf(inFolder));
    return index != kNone && mFolders[index].identity.IsSameItem(inFolder) ? index : kNone;
}

// Hints never form a circle: the steps recorded together are a path down from the root and no folder is twice
// among them, so every folder recorded leads to the root afterwards, and so does every other one, whose hints
// end in them or are as they were.
NodeFacts NodeTable::Record(const std::vector<PathStep>& inPath) {
    assert(!inPath.empty() && inPath.front().isFolder);
    const os::MutexLock lock(mMutex);
    std::vector<Index> chain;
    chain.reserve(inPath.size());
    for (const PathStep& step : inPath) {
        if (!step.isFolder) return RecordHint(step, chain.back());
        // A folder mounted somewhere beneath itself: the short way leads there as well.
        const Index known = FindKey(KeyOf(step.identity));
        const auto earlier = std::find(chain.begin(), chain.end(), known);
        if (known != kNone && earlier != chain.end())
            chain.erase(earlier + 1, chain.end());
        else
            chain.push_back(RecordFolder(step, chain.empty() ? kNone : chain.back()));
    }
    return FactsOf(chain.back());
}

bool NodeTable::RecordChild(const os::ItemIdentity& inFolder, const PathStep& inChild, NodeFacts& outFacts) {
    const os::MutexLock lock(mMutex);
    const Index folder = FindFolder(inFolder);
    if (folder == kNone) return false;
    if (!inChild.isFolder) {
        outFacts = RecordHint(inChild, folder);
        return true;
    }
    const Index known = FindKey(KeyOf(inChild.identity));
    // What is new holds nothing, and what lies in the folder already does not hold it: no way up is needed.
    const bool isPlain = known == kNone || mFolders[known].parent == folder;
    if (!isPlain && IsWithin(folder, known)) return false;
    outFacts = FactsOf(RecordFolder(inChild, folder));
    return true;
}

bool NodeTable::IsWithin(Index inIndex, Index inFolder) const {
    for (Index at = inIndex; at != kNone; at = mFolders[at].parent)
        if (at == inFolder) return true;
    return false;
}

NodeTable::Index NodeTable::RecordFolder(const PathStep& inStep, Index inParent) {
    const Index index = FindKey(KeyOf(inStep.identity));
    if (index == kNone) return AddFolder(inStep, inParent);
    Folder& folder = mFolders[index];
    NodeID id = folder.ordinaryID;
    // The id of the folder that had the inode before is not this one's.
    if (!folder.identity.IsSameItem(inStep.identity)) id = Allot(inStep.identity);
    if (id == 0 && !inStep.isVolumeRoot) id = ChooseID(inStep.identity, true);
    if (folder.name != inStep.name) folder.name.assign(inStep.name);
    folder.ordinaryID = id;
    folder.parent = inParent;
    folder.isVolumeRoot = inStep.isVolumeRoot;
    if (inStep.identity.birthNanos != 0) folder.identity.birthNanos = inStep.identity.birthNanos;
    return index;
}

NodeTable::Index NodeTable::AddFolder(const PathStep& inStep, Index inParent) {
    const NodeID id = inStep.isVolumeRoot ? 0 : ChooseID(inStep.identity, true);
    const auto index = static_cast<Index>(mFolders.size());
    mFolderIndex.MakeRoom();
    mFolders.push_back({inStep.identity, id, inParent, inStep.isVolumeRoot, std::string(inStep.name)});
    mFolderIndex.Add(KeyOf(inStep.identity).Hash(), index);
    return index;
}

// The hint that a name takes the place of: the same name; or any, also of an item that had the inode before,
// where it is the one name.
NodeTable::Index NodeTable::FindHint(const PathStep& inStep, Index inFolder) const {
    const NodeKey key = KeyOf(inStep.identity);
    return mHintIndex.Find(key.Hash(), [&](Index inIndex) {
        mMutex.AssertHeld();
        const Hint& hint = mHints[inIndex];
        return KeyOf(hint.identity) == key &&
               (inStep.hasOneName || (hint.folder == inFolder && hint.name == inStep.name));
    });
}

NodeFacts NodeTable::RecordHint(const PathStep& inStep, Index inFolder) {
    const os::ItemIdentity item = mExchanged.InCatalogue(inStep.identity);
    const NodeID id = ChooseID(item, false);
    const Index known = FindHint(inStep, inFolder);
    if (known == NumberIndex::kNone) {
        AddHint(inStep, inFolder);
        return FactsIn(inFolder, id, item);
    }
    Hint& hint = mHints[known];
    if (hint.name != inStep.name) hint.name.assign(inStep.name);
    hint.folder = inFolder;
    if (inStep.identity.birthNanos != 0) hint.identity.birthNanos = inStep.identity.birthNanos;
    return FactsIn(inFolder, id, item);
}

void NodeTable::AddHint(const PathStep& inStep, Index inFolder) {
    Hint hint = {inStep.identity, inFolder, std::string(inStep.name)};
    std::size_t index = mHints.size();
    if (index < kMaxHints) {
        mHintIndex.MakeRoom();
        mHints.push_back(std::move(hint));
    } else {
        index = std::exchange(mOldestHint, (mOldestHint + 1) % kMaxHints);
        mHintIndex.Remove(KeyOf(mHints[index].identity).Hash(), static_cast<Index>(index));
        mHints[index] = std::move(hint);
    }
    mHintIndex.Add(KeyOf(inStep.identity).Hash(), static_cast<Index>(index));
}

// A file that is made where a folder was deleted, within a tick of the file system's clock, has all that
// tells one item from another in common with it; but neither ever becomes the other.
bool NodeTable::HadAnother(const os::ItemIdentity& inItem, bool inIsFolder) const {
    const NodeKey key = KeyOf(inItem);
    const Index folder = FindKey(key);
    if (folder != kNone && !(inIsFolder && mFolders[folder].identity.IsSameItem(inItem))) return true;
    const auto isAnother = [&](const os::ItemIdentity& inFile) {
        return KeyOf(inFile) == key && (inIsFolder || !inFile.IsSameItem(inItem));
    };
    // The id is that item's for ever, whoever has the inode since.
    os::ItemIdentity exchanged;
    if (mExchanged.FindItem(key, exchanged)) return isAnother(exchanged);
    const Index kept = mKeptIndex.Find(key.Hash(), [&](Index inIndex) {
        mMutex.AssertHeld();
        return isAnother(mKept[inIndex]);
    });
    if (kept != NumberIndex::kNone) return true;
    return mHintIndex.Find(key.Hash(), [&](Index inIndex) {
        mMutex.AssertHeld();
        return isAnother(mHints[inIndex].identity);
    }) != NumberIndex::kNone;
}

NodeID NodeTable::ChooseID(const os::ItemIdentity& inItem, bool inIsFolder) {
    const NodeID known = KnownID(inItem);
    const bool isItsOwn = known >= kFirstAllottedID || (known != 0 && !HadAnother(inItem, inIsFolder));
    return isItsOwn ? known : Allot(inItem);
}

// That of an item that has an id, and 0 where none can be told.
NodeID NodeTable::KnownID(const os::ItemIdentity& inItem) const {
    const Index allotted = FindAllotted(inItem);
    if (allotted != NumberIndex::kNone) return kFirstAllottedID + allotted;
    return IsItsOwnID(inItem.inode) ? static_cast<NodeID>(inItem.inode) : 0;
}

NodeTable::Index NodeTable::FindAllotted(const os::ItemIdentity& inItem) const {
    return mAllottedIndex.Find(KeyOf(inItem).Hash(), [&](Index inIndex) {
        mMutex.AssertHeld();
        return mAllotted[inIndex].IsSameItem(inItem);
    });
}

NodeID NodeTable::Allot(const os::ItemIdentity& inItem) {
    Index index = FindAllotted(inItem);
    if (index == NumberIndex::kNone) {
        index = static_cast<Index>(mAllotted.size());
        mAllottedIndex.MakeRoom();
        mAllotted.push_back(inItem);
        mAllottedIndex.Add(KeyOf(inItem).Hash(), index);
    }
    return kFirstAllottedID + index;
}

bool NodeTable::FindID(std::uint64_t inDevice, NodeID inID, os::ItemIdentity& outItem) const {
    const os::MutexLock lock(mMutex);
    if (inID >= kFirstAllottedID) {
        const std::size_t index = inID - kFirstAllottedID;
        if (index >= mAllotted.size() || mAllotted[index].device != inDevice) return false;
        outItem = mExchanged.OnDisk(mAllotted[index]);
        return true;
    }
    const NodeKey key = {inDevice, inID};
    const Index folder = FindKey(key);
    if (folder != kNone && mFolders[folder].ordinaryID == inID) {
        outItem = mFolders[folder].identity;
        return true;
    }
    if (!IsItsOwnID(inID)) return false;
    if (mExchanged.FindItem(key, outItem) && KnownID(outItem) == inID) {
        outItem = mExchanged.OnDisk(outItem);
        return true;
    }
    const Index hint = mHintIndex.Find(key.Hash(), [&](Index inIndex) {
        mMutex.AssertHeld();
        const os::ItemIdentity& item = mHints[inIndex].identity;
        return KeyOf(item) == key && KnownID(item) == inID;
    });
    if (hint == NumberIndex::kNone) return false;
    outItem = mHints[hint].identity;
    return true;
}

void NodeTable::KeepID(const os::ItemIdentity& inItem) {
    const os::MutexLock lock(mMutex);
    const NodeKey key = KeyOf(inItem);
    const Index known = mKeptIndex.Find(key.Hash(), [&](Index inIndex) {
        mMutex.AssertHeld();
        return mKept[inIndex].IsSameItem(inItem);
    });
    if (known != NumberIndex::kNone) return;
    mKeptIndex.MakeRoom();
    mKept.push_back(inItem);
    mKeptIndex.Add(key.Hash(), static_cast<Index>(mKept.size() - 1));
}

void NodeTable::Exchange(const os::ItemIdentity& inOnDisk1, const os::ItemIdentity& inOnDisk2) {
    const os::MutexLock lock(mMutex);
    mExchanged.Exchange(inOnDisk1, inOnDisk2);
}

os::ItemIdentity NodeTable::OnDisk(const os::ItemIdentity& inItem) const {
    const os::MutexLock lock(mMutex);
    return mExchanged.OnDisk(inItem);
}

void NodeTable::Rename(const os::ItemIdentity& inFolder, std::string_view inName) {
    const os::MutexLock lock(mMutex);
    const Index index = FindFolder(inFolder);
    if (index != kNone) mFolders[index].name.assign(inName);
}

NodeFacts NodeTable::FactsIn(Index inFolder, NodeID inID, const os::ItemIdentity& inItem) const {
    const Folder& folder = mFolders[inFolder];
    return {inID, folder.ID(), true, folder.identity, inItem};
}

NodeFacts NodeTable::FactsOf(Index inFolder) const {
    const Folder& folder = mFolders[inFolder];
    if (folder.parent == kNone) return {folder.ID(), kRootParentID, false, {}, folder.identity};
    NodeFacts facts = FactsIn(folder.parent, folder.ID(), folder.identity);
    if (folder.isVolumeRoot != 0) facts.parentID = kRootParentID;
    return facts;
}

// Of the folder, or of a name in it.
std::string NodeTable::PathOf(Index inFolder, std::string_view inName) const {
    std::vector<std::string_view> names;
    if (!inName.empty()) names.push_back(inName);
    for (Index at = inFolder; mFolders[at].parent != kNone; at = mFolders[at].parent)
        names.push_back(mFolders[at].name);
    if (names.empty()) return "/";
    std::size_t byteCount = 0;
    for (const std::string_view name : names)
        byteCount += 1 + name.size();
    std::string path;
    path.reserve(byteCount);
    for (auto name = names.rbegin(); name != names.rend(); ++name)
        path.append(1, '/').append(*name);
    return path;
}

bool NodeTable::GetFolder(const os::ItemIdentity& inFolder, NodeHint& outHint) const {
    const os::MutexLock lock(mMutex);
    const Index index = FindFolder(inFolder);
    if (index == kNone) return false;
    outHint = {FactsOf(index), mFolders[index].name, PathOf(index)};
    return true;
}

std::vector<NodeHint> NodeTable::GetHints(const os::ItemIdentity& inItem) const {
    const os::MutexLock lock(mMutex);
    std::vector<NodeHint> hints;
    const os::ItemIdentity item = mExchanged.InCatalogue(inItem);
    const NodeID id = KnownID(item);
    if (id == 0) return hints;
    (void)mHintIndex.Find(KeyOf(inItem).Hash(), [&](Index inIndex) {
        mMutex.AssertHeld();
        const Hint& hint = mHints[inIndex];
        if (hint.identity.IsSameItem(inItem))
            hints.push_back({FactsIn(hint.folder, id, item), hint.name, PathOf(hint.folder, hint.name)});
        return false;
    });
    return hints;
}

bool NodeTable::GetNameIn(const os::ItemIdentity& inFolder, const os::ItemIdentity& inItem,
                          std::string& outName) const {
    const os::MutexLock lock(mMutex);
    const Index folder = FindFolder(inFolder);
    if (folder == kNone) return false;
    const Index found = mHintIndex.Find(KeyOf(inItem).Hash(), [&](Index inIndex) {
        mMutex.AssertHeld();
        return mHints[inIndex].folder == folder && mHints[inIndex].identity.IsSameItem(inItem);
    });
    if (found == NumberIndex::kNone) return false;
    outName = mHints[found].name;
    return true;
}

bool NodeTable::GetNameOfFolder(const os::ItemIdentity& inFolder, os::ItemIdentity& outParent,
                                std::string& outName) const {
    const os::MutexLock lock(mMutex);
    const Index index = FindFolder(inFolder);
    if (index == kNone) return false;
    const Folder& folder = mFolders[index];
    if (folder.parent == kNone || folder.isVolumeRoot != 0) return false;
    outParent = mFolders[folder.parent].identity;
    outName = folder.name;
    return true;
}

std::size_t NodeTable::Count() const {
    const os::MutexLock lock(mMutex);
    return mFolders.size() + mHints.size();
}

}  // namespace toolbox::files
