#include "places/NodeTable.h"

#include "support/FailEach.h"
#include "support/FailingNew.h"

#include <gtest/gtest.h>

#include <new>

namespace {

using namespace toolbox::files;
using namespace toolbox::os;

constexpr std::uint64_t kDisk = 65024;
constexpr std::uint64_t kOtherDisk = 7;

PathStep Folder(std::uint64_t inInode, std::string_view inName, std::uint64_t inDevice = kDisk) {
    return {{inDevice, inInode, 1}, false, inName};
}
PathStep VolumeRoot(std::uint64_t inInode, std::string_view inName, std::uint64_t inDevice = kOtherDisk) {
    return {{inDevice, inInode, 1}, true, inName};
}
PathStep File(std::uint64_t inInode, std::string_view inName, std::uint64_t inDevice = kDisk) {
    return {{inDevice, inInode, 1}, false, inName, false};
}
PathStep OneOfItsNames(std::uint64_t inInode, std::string_view inName) {
    return {{kDisk, inInode, 1}, false, inName, false, false};
}
PathStep Root() {
    return VolumeRoot(2, "", kDisk);
}

// Of what is no folder in one, and of a folder in the one above; "" where none is told.
std::string NameIn(const NodeTable& inTable, const PathStep& inFolder, const PathStep& inItem) {
    std::string name;
    return inTable.GetNameIn(inFolder.identity, inItem.identity, name) ? name : "";
}
std::string NameOf(const NodeTable& inTable, const PathStep& inFolder, const PathStep& inParent) {
    std::string name;
    ItemIdentity parent;
    if (!inTable.GetNameOfFolder(inFolder.identity, parent, name)) return "";
    EXPECT_TRUE(parent.IsSameItem(inParent.identity));
    return name;
}

// Where the table says that the item is; the names of one that has several one after the other.
std::string PathOf(const NodeTable& inTable, const PathStep& inStep) {
    NodeHint hint;
    if (inTable.GetFolder(inStep.identity, hint)) return hint.path;
    std::string paths;
    for (const NodeHint& each : inTable.GetHints(inStep.identity))
        paths += (paths.empty() ? "" : " ") + each.path;
    return paths.empty() ? "none" : paths;
}
NodeHint HintOf(const NodeTable& inTable, const PathStep& inStep) {
    NodeHint hint;
    if (inTable.GetFolder(inStep.identity, hint)) return hint;
    const std::vector<NodeHint> hints = inTable.GetHints(inStep.identity);
    EXPECT_EQ(1u, hints.size());
    return hints.empty() ? hint : hints[0];
}
NodeFacts FactsOf(const NodeTable& inTable, const PathStep& inStep) {
    return HintOf(inTable, inStep).facts;
}
NodeID Record(NodeTable& ioTable, const std::vector<PathStep>& inPath) {
    return ioTable.Record(inPath).nodeID;
}
// Its id, or 0.
NodeID RecordChild(NodeTable& ioTable, const PathStep& inFolder, const PathStep& inChild) {
    NodeFacts facts;
    return ioTable.RecordChild(inFolder.identity, inChild, facts) ? facts.nodeID : 0;
}

TEST(NodeTable, EmptyKnowsNothing) {
    const NodeTable table;
    NodeHint hint;
    ItemIdentity found;
    EXPECT_EQ(0u, table.Count());
    EXPECT_FALSE(table.GetFolder(Root().identity, hint));
    EXPECT_TRUE(table.GetHints(File(300, "").identity).empty());
    EXPECT_TRUE(table.GetHints(File(kFirstAllottedID, "").identity).empty());
    EXPECT_FALSE(table.FindID(kDisk, 300, found));
    EXPECT_FALSE(table.FindID(kDisk, kFirstAllottedID, found));
    EXPECT_EQ("none", PathOf(table, Root()));
}

TEST(NodeTable, RootAlone) {
    NodeTable table;
    EXPECT_EQ(kRootID, Record(table, {Root()}));
    EXPECT_EQ("/", PathOf(table, Root()));
    const NodeFacts facts = FactsOf(table, Root());
    EXPECT_EQ(kRootID, facts.nodeID);
    EXPECT_EQ(kRootParentID, facts.parentID);
    EXPECT_FALSE(facts.hasParent);
}

TEST(NodeTable, PathAndIdsFollowTheInodes) {
    NodeTable table;
    EXPECT_EQ(300u, Record(table, {Root(), Folder(200, "music"), File(300, "a b.m4a")}));
    EXPECT_EQ(3u, table.Count());
    EXPECT_EQ("/music/a b.m4a", PathOf(table, File(300, "")));
    EXPECT_EQ("/music", PathOf(table, Folder(200, "")));
    const NodeFacts facts = FactsOf(table, File(300, ""));
    EXPECT_EQ(300u, facts.nodeID);
    EXPECT_EQ(200u, facts.parentID);
    ASSERT_TRUE(facts.hasParent);
    EXPECT_EQ(200u, facts.parent.inode);
    EXPECT_EQ("a b.m4a", HintOf(table, File(300, "")).name);
    EXPECT_EQ(kRootID, FactsOf(table, Folder(200, "")).parentID);
}

TEST(NodeTable, ItemsByTheirIds) {
    NodeTable table;
    table.Record({Root(), Folder(200, "music"), File(0x123456789AU, "large")});
    table.Record({Root(), VolumeRoot(200, "other disk")});
    ItemIdentity found;
    ASSERT_TRUE(table.FindID(kDisk, 200, found));
    EXPECT_EQ(kDisk, found.device);
    EXPECT_EQ(200u, found.inode);
    EXPECT_FALSE(table.FindID(kDisk, kRootID, found)) << "every volume's root has that one";
    EXPECT_FALSE(table.FindID(kOtherDisk, kRootID, found));
    const NodeID allotted = FactsOf(table, File(0x123456789AU, "")).nodeID;
    ASSERT_TRUE(table.FindID(kDisk, allotted, found));
    EXPECT_EQ(0x123456789AU, found.inode);
    EXPECT_FALSE(table.FindID(kOtherDisk, 200, found)) << "that is its inode, not its id";
    EXPECT_FALSE(table.FindID(kDisk, 201, found));
    EXPECT_FALSE(table.FindID(99, 200, found));
}

TEST(NodeTable, RecordingAgainAddsNothing) {
    NodeTable table;
    const std::vector<PathStep> path = {Root(), Folder(200, "music"), File(300, "a.m4a")};
    const NodeID first = Record(table, path);
    EXPECT_EQ(first, Record(table, path));
    EXPECT_EQ(3u, table.Count());
}

TEST(NodeTable, LatestPathIsTheHint) {
    NodeTable table;
    table.Record({Root(), Folder(200, "music"), File(300, "a.m4a")});
    table.Record({Root(), Folder(201, "other"), File(300, "b.m4a")});
    EXPECT_EQ("/other/b.m4a", PathOf(table, File(300, "")));
    EXPECT_EQ(4u, table.Count());
}

TEST(NodeTable, RenamedFolderMovesWhatIsInIt) {
    NodeTable table;
    table.Record({Root(), Folder(200, "music"), File(300, "a.m4a")});
    table.Rename(Folder(200, "").identity, "sound");
    EXPECT_EQ("/sound/a.m4a", PathOf(table, File(300, "")));
    table.Rename(Folder(999, "").identity, "nobody");
    EXPECT_EQ(3u, table.Count());
}

TEST(NodeTable, ChildIsRecordedFromItsFolderAlone) {
    NodeTable table;
    table.Record({Root(), Folder(200, "music")});
    EXPECT_EQ(300u, RecordChild(table, Folder(200, ""), File(300, "a.m4a")));
    EXPECT_EQ("/music/a.m4a", PathOf(table, File(300, "")));
    EXPECT_EQ(200u, FactsOf(table, File(300, "")).parentID);
    EXPECT_EQ(300u, RecordChild(table, Root(), File(300, "b.m4a"))) << "moved since";
    EXPECT_EQ("/b.m4a", PathOf(table, File(300, "")));
    EXPECT_EQ(kRootID, RecordChild(table, Folder(200, ""), VolumeRoot(9, "disk")));
    EXPECT_EQ("/music/disk", PathOf(table, VolumeRoot(9, "")));
    EXPECT_EQ(4u, table.Count());
}

TEST(NodeTable, ChildOfAFolderThatHasNoNode) {
    NodeTable table;
    table.Record({Root(), Folder(200, "music")});
    EXPECT_EQ(0u, RecordChild(table, Folder(201, ""), File(300, "a.m4a")));
    PathStep later = Folder(200, "");
    later.identity.birthNanos = 2;
    EXPECT_EQ(0u, RecordChild(table, later, File(300, "a.m4a"))) << "another has its inode";
    EXPECT_EQ(2u, table.Count());
}

// Folders changed places, and the hints do not know it yet.
TEST(NodeTable, ChildThatTheFolderLiesWithinFormsNoCircle) {
    NodeTable table;
    table.Record({Root(), Folder(200, "x"), Folder(201, "y"), Folder(202, "z")});
    ASSERT_EQ(0u, RecordChild(table, Folder(202, ""), Folder(200, "x")));
    ASSERT_EQ(0u, RecordChild(table, Folder(202, ""), Folder(202, "z")));
    ASSERT_EQ(0u, RecordChild(table, Folder(202, ""), Root()));
    EXPECT_EQ("/x/y/z", PathOf(table, Folder(202, "")));
}

TEST(NodeTable, LargeInodesGetIdsOfTheirOwn) {
    NodeTable table;
    const std::uint64_t large = std::uint64_t{1} << 40;
    const NodeID first = Record(table, {Root(), File(large, "a")});
    const NodeID second = Record(table, {Root(), File(large + 1, "b")});
    EXPECT_NE(first, second);
    EXPECT_GE(first, kFirstOrdinaryID);
    EXPECT_EQ(first, Record(table, {Root(), File(large, "a")}));
    EXPECT_EQ(first, FactsOf(table, File(large, "")).nodeID);
}

TEST(NodeTable, AnIdIsAnInodeOrAllotted) {
    NodeTable table;
    EXPECT_EQ(kFirstAllottedID - 1, Record(table, {Root(), File(kFirstAllottedID - 1, "largest")}));
    const NodeID allotted = Record(table, {Root(), File(std::uint64_t{1} << 40, "large")});
    EXPECT_EQ(kFirstAllottedID, allotted);
    const NodeID rival = Record(table, {Root(), File(allotted, "has its number")});
    EXPECT_EQ(allotted + 1, rival);
    EXPECT_EQ(allotted, FactsOf(table, File(std::uint64_t{1} << 40, "")).nodeID);
    EXPECT_EQ(rival, FactsOf(table, File(allotted, "")).nodeID);
}

TEST(NodeTable, AllottedIdsAreKeptWhenTheItemIsGone) {
    NodeTable table;
    const std::uint64_t large = std::uint64_t{1} << 40;
    const NodeID first = Record(table, {Root(), File(large, "a")});
    PathStep another = File(large, "b");
    another.identity.birthNanos = 2;
    const NodeID second = Record(table, {Root(), another});
    EXPECT_NE(first, second) << "an id passes to nobody";
    EXPECT_EQ(second, Record(table, {Root(), another}));
    ItemIdentity found;
    ASSERT_TRUE(table.FindID(kDisk, first, found));
    EXPECT_EQ(1, found.birthNanos);
}

TEST(NodeTable, IdOfAFolderPassesToNobody) {
    NodeTable table;
    EXPECT_EQ(200u, Record(table, {Root(), Folder(200, "old")}));
    PathStep later = Folder(200, "new");
    later.identity.birthNanos = 2;
    const NodeID id = Record(table, {Root(), later});
    EXPECT_GE(id, kFirstAllottedID);
    EXPECT_EQ(id, Record(table, {Root(), later}));
    ItemIdentity found;
    EXPECT_FALSE(table.FindID(kDisk, 200, found));
    ASSERT_TRUE(table.FindID(kDisk, id, found));
    EXPECT_EQ(2, found.birthNanos);
}

// A file's inode, which passes to another file, and to a folder; the one that had it first may be met again.
TEST(NodeTable, IdOfAFilePassesToNobodyWhileItIsRemembered) {
    NodeTable table;
    Record(table, {Root()});
    PathStep second = OneOfItsNames(300, "second");
    second.identity.birthNanos = 2;
    PathStep folder = Folder(300, "folder");
    folder.identity.birthNanos = 3;
    ItemIdentity found;
    EXPECT_EQ(300u, RecordChild(table, Root(), File(300, "first")));
    EXPECT_EQ(kFirstAllottedID, RecordChild(table, Root(), second));
    EXPECT_EQ(kFirstAllottedID + 1, RecordChild(table, Root(), folder));
    EXPECT_EQ(kFirstAllottedID, RecordChild(table, Root(), second)) << "keeps its own";
    EXPECT_EQ(kFirstAllottedID, FactsOf(table, second).nodeID);
    ASSERT_TRUE(table.FindID(kDisk, 300, found));
    EXPECT_EQ(1, found.birthNanos);
    ASSERT_TRUE(table.FindID(kDisk, kFirstAllottedID, found));
    EXPECT_EQ(2, found.birthNanos);
    // The one name of the one that has the inode now takes the place of the other's, which nobody finds then.
    second.hasOneName = true;
    EXPECT_EQ(kFirstAllottedID, RecordChild(table, Root(), second));
    EXPECT_FALSE(table.FindID(kDisk, 300, found));
}

// Of one inode and one birth, as the clock tells it, and yet two items.
TEST(NodeTable, AFileIsNoFolderThatHadItsInode) {
    NodeTable table;
    EXPECT_EQ(300u, Record(table, {Root(), Folder(300, "folder")}));
    EXPECT_EQ(kFirstAllottedID, RecordChild(table, Root(), File(300, "file")));
    EXPECT_EQ(400u, RecordChild(table, Root(), File(400, "other")));
    table.Exchange(File(300, "").identity, File(400, "").identity);
    EXPECT_EQ(kFirstAllottedID, RecordChild(table, Root(), File(400, "file")));
    EXPECT_EQ(400u, RecordChild(table, Root(), File(300, "other")));
    ItemIdentity found;
    ASSERT_TRUE(table.FindID(kDisk, kFirstAllottedID, found));
    EXPECT_EQ(400u, found.inode);
    ASSERT_TRUE(table.FindID(kDisk, 400, found));
    EXPECT_EQ(300u, found.inode);
}

TEST(NodeTable, AFolderIsNoFileThatHadItsInode) {
    NodeTable table;
    Record(table, {Root()});
    EXPECT_EQ(300u, RecordChild(table, Root(), File(300, "file")));
    EXPECT_EQ(kFirstAllottedID, Record(table, {Root(), Folder(300, "folder")}));
    table.KeepID(File(301, "").identity);
    EXPECT_EQ(kFirstAllottedID + 1, Record(table, {Root(), Folder(301, "folder of one that is kept")}));
    table.Exchange(File(302, "").identity, File(303, "").identity);
    EXPECT_EQ(kFirstAllottedID + 2, Record(table, {Root(), Folder(302, "folder of one exchanged")}));
}

TEST(NodeTable, AKeptIdPassesToNobody) {
    NodeTable table;
    table.Record({Root(), Folder(100, "folder")});
    const PathStep kept = File(1000, "kept");
    table.KeepID(kept.identity);
    table.KeepID(kept.identity);
    PathStep later = File(1000, "later");
    later.identity.birthNanos = 2;
    const NodeID id = RecordChild(table, Folder(100, ""), later);
    EXPECT_LE(kFirstAllottedID, id) << "nothing else remembers the first";
    EXPECT_EQ(id, RecordChild(table, Folder(100, ""), later));
    ItemIdentity found;
    EXPECT_FALSE(table.FindID(kDisk, 1000, found)) << "it is not that of the second";
}

TEST(NodeTable, LowInodesOfOrdinaryItemsAreNotTheirIds) {
    NodeTable table;
    const PathStep root = VolumeRoot(128, "", kDisk);
    table.Record({root});
    EXPECT_EQ(kRootID, FactsOf(table, root).nodeID);
    for (const std::uint64_t inode : {0, 1, 2, 15}) {
        EXPECT_GE(Record(table, {root, File(inode, "low")}), kFirstOrdinaryID) << inode;
    }
    EXPECT_EQ(16u, Record(table, {root, File(16, "first")}));
}

TEST(NodeTable, EachVolumeHasItsRoot) {
    NodeTable table;
    table.Record({Root(), Folder(200, "mnt"), VolumeRoot(256, "disk"), File(300, "a", kOtherDisk)});
    const NodeFacts mounted = FactsOf(table, VolumeRoot(256, ""));
    EXPECT_EQ(kRootID, mounted.nodeID);
    EXPECT_EQ(kRootParentID, mounted.parentID);
    EXPECT_TRUE(mounted.hasParent);
    EXPECT_EQ(kRootID, FactsOf(table, File(300, "", kOtherDisk)).parentID);
    EXPECT_EQ("/mnt/disk/a", PathOf(table, File(300, "", kOtherDisk)));
}

// A folder that is mounted elsewhere, too, is a root by the one path and an ordinary folder by the other.
TEST(NodeTable, AFolderIsWhatItIsByItsLatestPath) {
    NodeTable table;
    const std::vector<PathStep> mounted = {Root(), VolumeRoot(400, "bound", kDisk), File(401, "a")};
    const std::vector<PathStep> ordinary = {Root(), Folder(200, "x"), Folder(400, "y"), File(401, "a")};
    table.Record(mounted);
    EXPECT_EQ(kRootID, FactsOf(table, Folder(400, "")).nodeID);
    EXPECT_EQ(kRootParentID, FactsOf(table, Folder(400, "")).parentID);
    EXPECT_EQ(kRootID, FactsOf(table, File(401, "")).parentID);
    table.Record(ordinary);
    EXPECT_EQ(400u, FactsOf(table, Folder(400, "")).nodeID);
    EXPECT_EQ(200u, FactsOf(table, Folder(400, "")).parentID);
    EXPECT_EQ(400u, FactsOf(table, File(401, "")).parentID);
    table.Record(mounted);
    EXPECT_EQ(kRootID, FactsOf(table, Folder(400, "")).nodeID);
    ItemIdentity found;
    ASSERT_TRUE(table.FindID(kDisk, 400, found)) << "an id that was handed out stays the item's";
    EXPECT_EQ(400u, found.inode);
}

TEST(NodeTable, SameInodeOnTwoVolumesIsTwoItems) {
    NodeTable table;
    table.Record({Root(), File(300, "a")});
    table.Record({Root(), VolumeRoot(256, "disk"), File(300, "b", kOtherDisk)});
    EXPECT_EQ("/a", PathOf(table, File(300, "")));
    EXPECT_EQ("/disk/b", PathOf(table, File(300, "", kOtherDisk)));
}

TEST(NodeTable, FolderMountedBeneathItself) {
    NodeTable table;
    table.Record({Root(), Folder(200, "mnt"), Folder(2, "all"), Folder(300, "etc"), File(301, "hosts")});
    EXPECT_EQ("/", PathOf(table, Root()));
    EXPECT_EQ("/etc/hosts", PathOf(table, File(301, "")));
    EXPECT_EQ("/mnt", PathOf(table, Folder(200, "")));
}

TEST(NodeTable, HintsFormNoCircleWhenFoldersChangePlaces) {
    NodeTable table;
    table.Record({Root(), Folder(200, "x"), Folder(201, "y")});
    table.Record({Root(), Folder(201, "y"), Folder(200, "x")});
    EXPECT_EQ("/y/x", PathOf(table, Folder(200, "")));
    EXPECT_EQ("/y", PathOf(table, Folder(201, "")));
}

TEST(NodeTable, HintsFormNoCircleWhenAnInodeChangesHandsOnTheWay) {
    NodeTable table;
    PathStep again = Folder(200, "z");
    again.identity.birthNanos = 2;
    table.Record({Root(), Folder(200, "x"), Folder(201, "y"), again});
    EXPECT_EQ("/x", PathOf(table, Folder(200, "")));
}

TEST(NodeTable, InodeOfADeletedItemNamesTheNewOneOnly) {
    NodeTable table;
    const PathStep before = File(300, "old");
    PathStep after = File(300, "new");
    after.identity.birthNanos = 2;
    table.Record({Root(), before});
    table.Record({Root(), after});
    EXPECT_EQ("none", PathOf(table, before));
    EXPECT_EQ("/new", PathOf(table, after));
    EXPECT_EQ(2u, table.Count());
}

TEST(NodeTable, UnknownBirthAgreesWithAny) {
    NodeTable table;
    PathStep unknown = File(300, "a");
    unknown.identity.birthNanos = 0;
    table.Record({Root(), unknown});
    EXPECT_EQ("/a", PathOf(table, File(300, "")));
    table.Record({Root(), File(300, "b")});
    table.Record({Root(), unknown});
    EXPECT_EQ("/a", PathOf(table, unknown));
}

TEST(NodeTable, SeveralNamesAreSeveralHints) {
    NodeTable table;
    table.Record({Root(), Folder(200, "x"), OneOfItsNames(300, "a")});
    EXPECT_EQ(300u, RecordChild(table, Root(), OneOfItsNames(300, "b")));
    RecordChild(table, Folder(200, ""), OneOfItsNames(300, "a"));
    EXPECT_EQ(2u, table.GetHints(File(300, "").identity).size());
    EXPECT_NE(std::string::npos, PathOf(table, File(300, "")).find("/x/a"));
    EXPECT_NE(std::string::npos, PathOf(table, File(300, "")).find("/b"));
    EXPECT_EQ(4u, table.Count());
}

TEST(NodeTable, TheLastNameOfSeveralTakesThePlaceOfOne) {
    NodeTable table;
    table.Record({Root(), OneOfItsNames(300, "a")});
    table.Record({Root(), File(300, "b")});
    EXPECT_EQ("/b", PathOf(table, File(300, ""))) << "which is its only one by now";
}

TEST(NodeTable, OldestHintsGo) {
    NodeTable table;
    table.Record({Root(), Folder(100, "folder")});
    const auto name = [](std::size_t inNumber) {
        return "a file of some length " + std::to_string(inNumber);
    };
    constexpr std::size_t kFiles = NodeTable::kMaxHints + 1000;
    for (std::size_t number = 0; number < kFiles; ++number)
        ASSERT_EQ(1000 + number, RecordChild(table, Folder(100, ""), File(1000 + number, name(number))));
    EXPECT_EQ(NodeTable::kMaxHints + 2, table.Count());
    ItemIdentity found;
    for (std::size_t number = 0; number < kFiles; ++number) {
        const bool isKept = number >= 1000;
        ASSERT_EQ(isKept ? "/folder/" + name(number) : "none", PathOf(table, File(1000 + number, "")));
        ASSERT_EQ(isKept, table.FindID(kDisk, static_cast<NodeID>(1000 + number), found));
    }
    EXPECT_EQ(1000u, RecordChild(table, Folder(100, ""), File(1000, "again")));
    EXPECT_EQ("/folder/again", PathOf(table, File(1000, "")));
    EXPECT_EQ("none", PathOf(table, File(2000, ""))) << "the oldest by then";
    EXPECT_EQ("/folder", PathOf(table, Folder(100, "")));
}

// What a listing of a million files leaves behind.
TEST(NodeTable, MemoryIsBounded) {
    constexpr std::uint64_t kItems = 1'000'000;
    constexpr std::int64_t kMaxBytes = 64 << 20;
    const std::uint64_t large = std::uint64_t{1} << 40;
    for (const std::uint64_t firstInode : {std::uint64_t{1000}, large}) {
        const std::int64_t before = test_files::LiveNewBytes();
        NodeTable table;
        table.Record({Root(), Folder(100, "folder")});
        NodeID last = 0;
        for (std::uint64_t number = 0; number < kItems; ++number) {
            last =
                RecordChild(table, Folder(100, ""),
                            File(firstInode + number, "a photograph of " + std::to_string(number) + ".jpeg"));
        }
        const std::int64_t bytes = test_files::LiveNewBytes() - before;
        EXPECT_LT(bytes, kMaxBytes) << firstInode;
        EXPECT_GT(bytes, std::int64_t{NodeTable::kMaxHints * 64}) << "what is kept was counted";
        RecordProperty(firstInode == large ? "allotted_bytes" : "inode_bytes", std::to_string(bytes));
        ItemIdentity found;
        ASSERT_TRUE(table.FindID(kDisk, last, found));
        EXPECT_EQ(firstInode + kItems - 1, found.inode);
        if (firstInode != large) continue;
        ASSERT_TRUE(table.FindID(kDisk, kFirstAllottedID, found)) << "allotted ids stay";
        EXPECT_EQ(large, found.inode);
    }
}

TEST(NodeTable, ShortMemoryLeavesItConsistent) {
    const std::string longName(100, 'n');
    const std::uint64_t large = std::uint64_t{1} << 40;
    const std::vector<PathStep> path = {Root(), Folder(200, longName), Folder(large, longName),
                                        File(300, longName)};
    const int failureCount = support::FailEach<test_files::FailingNew>([&](const auto& inUnderFault) {
        NodeTable table;
        bool ranOut = false;
        const bool failed = inUnderFault([&] {
            try {
                table.Record(path);
            } catch (const std::bad_alloc&) {
                ranOut = true;
            }
        });
        EXPECT_EQ(failed, ranOut);
        EXPECT_EQ(failed, table.Count() < 4u);
        EXPECT_EQ(300u, Record(table, path));
        EXPECT_EQ(4u, table.Count());
        EXPECT_EQ('/' + longName + '/' + longName + '/' + longName, PathOf(table, File(300, "")));
    });
    EXPECT_GT(failureCount, 4);
}

// Each has the other's contents now, and is who it was: its id and what refers to it stay with its name.
TEST(NodeTable, ExchangedFilesKeepTheirIds) {
    NodeTable table;
    table.Record({Root(), Folder(200, "music"), File(300, "a")});
    table.Record({Root(), Folder(200, "music"), File(0x123456789AU, "b")});
    const NodeID allotted = FactsOf(table, File(0x123456789AU, "")).nodeID;
    table.Exchange(File(300, "").identity, File(0x123456789AU, "").identity);
    EXPECT_EQ(300u, RecordChild(table, Folder(200, ""), File(0x123456789AU, "a")));
    EXPECT_EQ(allotted, RecordChild(table, Folder(200, ""), File(300, "b")));
    EXPECT_EQ(300u, FactsOf(table, File(0x123456789AU, "")).item.inode);
    EXPECT_EQ(0x123456789AU, FactsOf(table, File(300, "")).item.inode);
    EXPECT_EQ(0x123456789AU, table.OnDisk(File(300, "").identity).inode);
    ItemIdentity found;
    ASSERT_TRUE(table.FindID(kDisk, 300, found));
    EXPECT_EQ(0x123456789AU, found.inode);
    ASSERT_TRUE(table.FindID(kDisk, allotted, found));
    EXPECT_EQ(300u, found.inode);
}

// The id is a name's still, so the next file that the inode is given to gets another.
TEST(NodeTable, AnExchangedFilesIdPassesToNoOther) {
    NodeTable table;
    table.Record({Root(), File(300, "document")});
    table.Record({Root(), File(400, "new")});
    table.Exchange(File(300, "").identity, File(400, "").identity);
    EXPECT_EQ(300u, RecordChild(table, Root(), File(400, "document")));
    const PathStep later = {{kDisk, 300, 2}, false, "later", false};
    EXPECT_EQ(kFirstAllottedID, RecordChild(table, Root(), later));
    EXPECT_EQ(300u, RecordChild(table, Root(), File(400, "document"))) << "it is met again";
    ItemIdentity found;
    ASSERT_TRUE(table.FindID(kDisk, 300, found));
    EXPECT_EQ(400u, found.inode);
    // The next time that the document is written, the new contents lie in the first inode.
    table.Exchange(File(400, "").identity, later.identity);
    EXPECT_EQ(300u, RecordChild(table, Root(), {later.identity, false, "document", false}));
    EXPECT_EQ(kFirstAllottedID, RecordChild(table, Root(), File(400, "later")));
    ASSERT_TRUE(table.FindID(kDisk, 300, found));
    EXPECT_EQ(2, found.birthNanos);
    ASSERT_TRUE(table.FindID(kDisk, kFirstAllottedID, found));
    EXPECT_EQ(400u, found.inode);
}

TEST(NodeTable, NamesWithoutPaths) {
    NodeTable table;
    const PathStep folder = Folder(100, "folder");
    const PathStep other = Folder(200, "other");
    const PathStep volume = VolumeRoot(2, "volume");
    const PathStep file = File(300, "file");
    table.Record({Root(), folder, file});
    table.Record({Root(), other});
    table.Record({Root(), volume});
    EXPECT_EQ("file", NameIn(table, folder, file));
    EXPECT_EQ("", NameIn(table, other, file));
    EXPECT_EQ("", NameIn(table, Folder(400, "unknown"), file));
    EXPECT_EQ("", NameIn(table, folder, {{kDisk, 300, 2}, false, "file", false})) << "has the inode since";
    table.Record({Root(), other, OneOfItsNames(300, "another")});
    EXPECT_EQ("file", NameIn(table, folder, file));
    EXPECT_EQ("another", NameIn(table, other, file));
    EXPECT_EQ("folder", NameOf(table, folder, Root()));
    EXPECT_EQ("", NameOf(table, Root(), Root()));
    EXPECT_EQ("", NameOf(table, volume, Root())) << "has the folder's name where it is mounted";
    EXPECT_EQ("", NameOf(table, Folder(400, "unknown"), Root()));
}

}  // namespace
