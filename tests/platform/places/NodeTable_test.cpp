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
    return {{inDevice, inInode, 1}, false, inName};
}
PathStep Root() {
    return VolumeRoot(2, "", kDisk);
}

std::string PathOf(const NodeTable& inTable, const PathStep& inStep) {
    std::string path;
    return inTable.GetPath(inStep.identity, path) ? path : "none";
}
NodeFacts FactsOf(const NodeTable& inTable, const PathStep& inStep) {
    NodeFacts facts;
    EXPECT_TRUE(inTable.GetFacts(inStep.identity, facts));
    return facts;
}

TEST(NodeTable, EmptyKnowsNothing) {
    const NodeTable table;
    NodeFacts facts;
    EXPECT_EQ(0u, table.Count());
    EXPECT_FALSE(table.GetFacts(Root().identity, facts));
    EXPECT_EQ("none", PathOf(table, Root()));
}

TEST(NodeTable, RootAlone) {
    NodeTable table;
    EXPECT_EQ(kRootID, table.Record({Root()}));
    EXPECT_EQ("/", PathOf(table, Root()));
    const NodeFacts facts = FactsOf(table, Root());
    EXPECT_EQ(kRootID, facts.nodeID);
    EXPECT_EQ(kRootParentID, facts.parentID);
    EXPECT_FALSE(facts.hasParent);
}

TEST(NodeTable, PathAndIdsFollowTheInodes) {
    NodeTable table;
    EXPECT_EQ(300u, table.Record({Root(), Folder(200, "music"), File(300, "a b.m4a")}));
    EXPECT_EQ(3u, table.Count());
    EXPECT_EQ("/music/a b.m4a", PathOf(table, File(300, "")));
    EXPECT_EQ("/music", PathOf(table, Folder(200, "")));
    const NodeFacts facts = FactsOf(table, File(300, ""));
    EXPECT_EQ(300u, facts.nodeID);
    EXPECT_EQ(200u, facts.parentID);
    ASSERT_TRUE(facts.hasParent);
    EXPECT_EQ(200u, facts.parent.inode);
    EXPECT_EQ("a b.m4a", facts.name);
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
    const NodeID first = table.Record(path);
    EXPECT_EQ(first, table.Record(path));
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
    table.Rename(File(999, "").identity, "nobody");
    EXPECT_EQ(3u, table.Count());
}

TEST(NodeTable, ChildIsRecordedFromItsFolderAlone) {
    NodeTable table;
    table.Record({Root(), Folder(200, "music")});
    EXPECT_EQ(300u, table.RecordChild(Folder(200, "").identity, File(300, "a.m4a")));
    EXPECT_EQ("/music/a.m4a", PathOf(table, File(300, "")));
    EXPECT_EQ(200u, FactsOf(table, File(300, "")).parentID);
    EXPECT_EQ(300u, table.RecordChild(Root().identity, File(300, "b.m4a"))) << "moved since";
    EXPECT_EQ("/b.m4a", PathOf(table, File(300, "")));
    EXPECT_EQ(kRootID, table.RecordChild(Folder(200, "").identity, VolumeRoot(9, "disk")));
    EXPECT_EQ("/music/disk", PathOf(table, VolumeRoot(9, "")));
    EXPECT_EQ(4u, table.Count());
}

TEST(NodeTable, ChildOfAFolderThatHasNoNode) {
    NodeTable table;
    table.Record({Root(), Folder(200, "music")});
    EXPECT_EQ(0u, table.RecordChild(Folder(201, "").identity, File(300, "a.m4a")));
    PathStep later = Folder(200, "");
    later.identity.birthNanos = 2;
    EXPECT_EQ(0u, table.RecordChild(later.identity, File(300, "a.m4a"))) << "another has its inode";
    EXPECT_EQ(2u, table.Count());
}

// Folders changed places, and the hints do not know it yet.
TEST(NodeTable, ChildThatTheFolderLiesWithinFormsNoCircle) {
    NodeTable table;
    table.Record({Root(), Folder(200, "x"), Folder(201, "y"), Folder(202, "z")});
    ASSERT_EQ(0u, table.RecordChild(Folder(202, "").identity, Folder(200, "x")));
    ASSERT_EQ(0u, table.RecordChild(Folder(202, "").identity, Folder(202, "z")));
    ASSERT_EQ(0u, table.RecordChild(Folder(202, "").identity, Root()));
    EXPECT_EQ("/x/y/z", PathOf(table, Folder(202, "")));
}

TEST(NodeTable, LargeInodesGetIdsOfTheirOwn) {
    NodeTable table;
    const std::uint64_t large = std::uint64_t{1} << 40;
    const NodeID first = table.Record({Root(), File(large, "a")});
    const NodeID second = table.Record({Root(), File(large + 1, "b")});
    EXPECT_NE(first, second);
    EXPECT_GE(first, kFirstOrdinaryID);
    EXPECT_EQ(first, table.Record({Root(), File(large, "a")}));
    EXPECT_EQ(first, FactsOf(table, File(large, "")).nodeID);
}

TEST(NodeTable, LargestInodeThatFitsKeepsItsNumber) {
    NodeTable table;
    EXPECT_EQ(UINT32_MAX, table.Record({Root(), File(UINT32_MAX, "a")}));
    EXPECT_NE(0u, table.Record({Root(), File(std::uint64_t{UINT32_MAX} + 1, "b")}));
}

TEST(NodeTable, AnIdThatWasAllottedIsNotFree) {
    NodeTable table;
    const NodeID allotted = table.Record({Root(), File(std::uint64_t{1} << 40, "large")});
    const NodeID rival = table.Record({Root(), File(allotted, "rival")});
    EXPECT_NE(allotted, rival);
    EXPECT_EQ(allotted, FactsOf(table, File(std::uint64_t{1} << 40, "")).nodeID);
}

TEST(NodeTable, AnInodeInUseIsNotAllotted) {
    NodeTable table;
    const NodeID firstAllotted = NodeTable().Record({Root(), File(std::uint64_t{1} << 40, "probe")});
    EXPECT_EQ(firstAllotted, table.Record({Root(), File(firstAllotted, "plain")}));
    EXPECT_NE(firstAllotted, table.Record({Root(), File(std::uint64_t{1} << 40, "large")}));
}

TEST(NodeTable, LowInodesOfOrdinaryItemsAreNotTheirIds) {
    NodeTable table;
    const PathStep root = VolumeRoot(128, "", kDisk);
    table.Record({root});
    EXPECT_EQ(kRootID, FactsOf(table, root).nodeID);
    for (const std::uint64_t inode : {0, 1, 2, 15}) {
        EXPECT_GE(table.Record({root, File(inode, "low")}), kFirstOrdinaryID) << inode;
    }
    EXPECT_EQ(16u, table.Record({root, File(16, "first")}));
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
    std::string path;
    PathStep known = Folder(200, "");
    EXPECT_TRUE(table.GetPath(known.identity, path));
    EXPECT_EQ("/x", path);
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

TEST(NodeTable, ManyNodesKeepTheirPaths) {
    NodeTable table;
    for (int number = 0; number < 5000; ++number) {
        const std::string name = "file " + std::to_string(number);
        table.Record({Root(), Folder(100000 + number % 7, "f" + std::to_string(number % 7)),
                      File(1000 + number, name)});
    }
    EXPECT_EQ(5008u, table.Count());
    for (int number = 0; number < 5000; ++number) {
        EXPECT_EQ("/f" + std::to_string(number % 7) + "/file " + std::to_string(number),
                  PathOf(table, File(1000 + number, "")));
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
        EXPECT_EQ(300u, table.Record(path));
        EXPECT_EQ(4u, table.Count());
        EXPECT_EQ('/' + longName + '/' + longName + '/' + longName, PathOf(table, File(300, "")));
    });
    EXPECT_GT(failureCount, 4);
}

}  // namespace
