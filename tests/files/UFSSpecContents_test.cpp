// Folders by what is in them, and lists of items.
#include "SpecTest.h"
#include "fakes/Collation.h"

#include <files/UFSSpec.h>

#include <new>

namespace {

using namespace test_files;
using Items = std::vector<TFSSpec>;

constexpr unsigned char kPrefix[] = "\3abc";

class UFSSpecContentsTest : public SpecTest {
  protected:
    static Items Contents(const TFSSpec& inFolder, bool inFilesOnly = false) {
        Items items;
        EXPECT_EQ(noErr, UFSSpec::GetFolderContents(inFolder, items, inFilesOnly));
        return items;
    }
    static Log Fields(const Items& inItems) {
        Log fields;
        for (const TFSSpec& item : inItems)
            fields.push_back(SpecTest::Fields(item));
        return fields;
    }
    static Log Expanded(Items inItems, long inDepth = 10, bool inIncludeInvisible = false) {
        UFSSpec::ExpandFolderContents(inItems, inDepth, inIncludeInvisible);
        return Fields(inItems);
    }
    static void Hide(UInt32 inID) {
        FileInfo info = {};
        info.finderFlags = kIsInvisible;
        std::memcpy(fakes::ItemOf(inID).info.finderInfo, &info, sizeof info);
    }

    const TFSSpec mHereSpec{-1, kHere};
    const TFSSpec mFolderSpec{-1, kFolder};
    const TFSSpec mFileSpec{-1, kHere, String("file")};
    const Log mOfThese = Asked();
};

TEST_F(UFSSpecContentsTest, GetFolderContents) {
    EXPECT_EQ((Log{"-1 20 file", "-1 40 "}), Fields(Contents(mHereSpec)));
    EXPECT_EQ(
        (Log{"PBMakeFSRefSync(-1, 20, )", "FSOpenIterator(20, 0)", "FSGetCatalogInfoBulk(20, 1, 30)",
             "FSGetCatalogInfoBulk(20, 1, 30)", "FSGetCatalogInfoBulk(20, 1, 30)", "FSCloseIterator(20)"}),
        Asked());
    EXPECT_EQ(Log{"-1 20 file"}, Fields(Contents(mHereSpec, true)));
    Items items(1, mFileSpec);
    EXPECT_EQ(noErr, UFSSpec::GetFolderContents(mFolderSpec, items, false));
    EXPECT_EQ((Log{"-1 20 file", "-1 40 inner"}), Fields(items)) << "they are added";
}

TEST_F(UFSSpecContentsTest, GetFolderContentsOfNothing) {
    EXPECT_EQ(Log(), Fields(Contents(TFSSpec(-1, kThere))));
    EXPECT_EQ(Log(), Fields(Contents(TFSSpec(-1, kMissing))));
    EXPECT_EQ(Log(), Fields(Contents(TFSSpec(-1, kHere, String("none")))));
    EXPECT_EQ(Log{"FSOpenIterator"}, fakes::CallsOf({"FSOpenIterator"}));
}

TEST_F(UFSSpecContentsTest, GetFolderContentsPassesOverWhatMayNotBeRead) {
    fakes::AnswerInTurn("FSGetCatalogInfoBulk", {afpAccessDenied});
    EXPECT_EQ((Log{"-1 20 file", "-1 40 "}), Fields(Contents(mHereSpec)));
    EXPECT_EQ(4U, fakes::CallsOf({"FSGetCatalogInfoBulk"}).size());
    fakes::AnswerInTurn("FSGetCatalogInfoBulk", {noErr, ioErr});
    EXPECT_EQ(Log{"-1 20 file"}, Fields(Contents(mHereSpec))) << "what ends it is not told";
}

TEST_F(UFSSpecContentsTest, GetFolderContentsFails) {
    Items items;
    EXPECT_EQ(errFSNotAFolder, UFSSpec::GetFolderContents(mFileSpec, items, false));
    fakes::Refuse("FSCloseIterator", ioErr);
    EXPECT_EQ(ioErr, UFSSpec::GetFolderContents(mHereSpec, items, false));
    EXPECT_EQ(2U, items.size());
    fakes::Refuse("FSOpenIterator", afpAccessDenied);
    EXPECT_EQ(afpAccessDenied, UFSSpec::GetFolderContents(mHereSpec, items, false));
    EXPECT_EQ(2U, items.size());
}

TEST_F(UFSSpecContentsTest, ExpandFolderContents) {
    fakes::PutFile(31, kHere, "y");
    fakes::PutFile(32, kThere, "b");
    const TFSSpec other(fakes::RefOf(32));
    for (const long depth : {0L, 1L, 100L, -1L}) {
        EXPECT_EQ((Log{"-1 20 file", "-1 20 y", "-1 21 b"}), Expanded({mHereSpec, other}, depth))
            << "the subfolder and what is in it are gone";
        EXPECT_EQ((Log{"-1 21 b", "-1 40 inner"}), Expanded({other, mFolderSpec}, depth));
    }
    EXPECT_EQ(Log(), Expanded({}));
    EXPECT_EQ(Log{"-1 20 new"}, Expanded({TFSSpec(-1, kHere, String("new"))})) << "what is not there stays";
}

TEST_F(UFSSpecContentsTest, ExpandFolderContentsWithoutInvisibleItems) {
    fakes::PutFile(31, kHere, ".hidden");
    fakes::PutFile(32, kThere, ".top");
    fakes::PutFolder(50, kThere, ".folder");
    fakes::PutFile(51, 50, "shown");
    Hide(kFile);
    const Items items = {mHereSpec, TFSSpec(fakes::RefOf(32)), mFileSpec, TFSSpec(fakes::RefOf(50)),
                         mFolderSpec};
    EXPECT_EQ((Log{"-1 50 shown", "-1 40 inner"}), Expanded(items));
    EXPECT_EQ((Log{"-1 20 .hidden", "-1 20 file", "-1 21 .top", "-1 20 file", "-1 50 shown", "-1 40 inner"}),
              Expanded(items, 10, true));
}

TEST_F(UFSSpecContentsTest, ExpandFolderContentsAsksForNoMore) {
    (void)Expanded({mFolderSpec}, 0, true);
    EXPECT_EQ((Log{"PBMakeFSRefSync(-1, 40, )", "FSGetCatalogInfo(40, 2)", "PBMakeFSRefSync(-1, 40, )",
                   "FSOpenIterator(40, 0)", "FSGetCatalogInfoBulk(40, 1, 30)",
                   "FSGetCatalogInfoBulk(40, 1, 30)", "FSCloseIterator(40)"}),
              Asked());
}

// What can be thrown leaves the list as it was, and no iterator open.
TEST_F(UFSSpecContentsTest, ListsWithEveryFailingCall) {
    for (int failing = 1;; ++failing) {
        fakes::FailCall(0);
        Items items = {mHereSpec, mFileSpec};
        fakes::FailCall(failing);
        const long code = Thrown([&] { UFSSpec::ExpandFolderContents(items, 1, true); });
        if (code != 0) {
            EXPECT_EQ((Log{"-1 20 ", "-1 20 file"}), Fields(items)) << failing;
        }
        EXPECT_EQ(0, fakes::LiveIterators());
        if (!fakes::FailureDelivered()) break;
    }
}

TEST_F(UFSSpecContentsTest, FinderCompareNames) {
    fakes::CollateByUnits();
    const FinderCompareNames comesBefore;
    const TFSSpec a(-1, kHere, String("a"));
    const TFSSpec b(-1, kThere, String("b"));
    EXPECT_TRUE(comesBefore(a, b));
    EXPECT_FALSE(comesBefore(b, a) || comesBefore(a, a));
    EXPECT_TRUE(comesBefore(a, mFolderSpec) && comesBefore(mFileSpec, mFolderSpec)) << "by its real name";
    EXPECT_FALSE(comesBefore(mFolderSpec, mFileSpec));
}

TEST_F(UFSSpecContentsTest, SortTFSSpecs) {
    fakes::CollateByUnits();
    const TFSSpec a(-1, kThere, String("a"));
    const TFSSpec z(-1, kHere, String("z"));
    Items items = {z, mFolderSpec, a, mFileSpec, mHereSpec};
    (void)Asked();
    UFSSpec::SortTFSSpecs(items);
    EXPECT_EQ((Log{"-1 21 a", "-1 20 file", "-1 40 ", "-1 20 ", "-1 20 z"}), Fields(items));
    const Log asked = Asked();
    EXPECT_EQ(1, std::count(asked.begin(), asked.end(), "FSGetCatalogInfo(20, 0, name)"));
    EXPECT_EQ(1, std::count(asked.begin(), asked.end(), "FSGetCatalogInfo(40, 0, name)"));
    items.clear();
    UFSSpec::SortTFSSpecs(items);
    EXPECT_TRUE(items.empty());
}

TEST_F(UFSSpecContentsTest, CleanTempItems) {
    fakes::PutFile(50, fakes::kTemporary, "abc123");
    fakes::PutFolder(51, fakes::kTemporary, "abcTemp");
    fakes::PutFile(52, 51, "inner");
    fakes::PutFile(53, fakes::kTemporary, "xabc");
    fakes::PutFile(54, fakes::kTemporary, "Abc");
    fakes::PutFile(55, kHere, "abc");
    fakes::SetVolumeCount(1);
    UFSSpec::CleanTempItems(kPrefix);
    EXPECT_EQ("here(abc, file, folder(inner)), temp(Abc, xabc), there()", fakes::CatalogueText());
    const Log asked = Asked();
    EXPECT_EQ("FSGetVolumeInfo(0, 1, 0)", asked[0]);
    EXPECT_EQ("FindFolder(-1, 1952804208, 0)", asked[1]);
    EXPECT_EQ("FSGetVolumeInfo(0, 2, 0)", asked.back());
}

TEST_F(UFSSpecContentsTest, CleanTempItemsOfEveryVolume) {
    fakes::PutFolder(50, fakes::kOtherRoot, "temp");
    fakes::PutFile(51, 50, "abc");
    fakes::PutFile(52, fakes::kTemporary, "abc");
    fakes::SetWellKnownFolder(-2, 0x74656D70, 50);
    fakes::AnswerInTurn("FindFolder", {fnfErr});
    UFSSpec::CleanTempItems(kPrefix);
    EXPECT_TRUE(fakes::HasItem(52) && !fakes::HasItem(51)) << "the first has no such folder";
    UFSSpec::CleanTempItems(kPrefix);
    EXPECT_FALSE(fakes::HasItem(52));
}

TEST_F(UFSSpecContentsTest, CleanTempItemsTakesNoPrefixForAll) {
    fakes::PutFile(50, fakes::kTemporary, "abc");
    (void)Asked();
    for (const char* const prefix : {"", "\1\xFF"})
        EXPECT_EQ(paramErr,
                  Thrown([&] { UFSSpec::CleanTempItems(reinterpret_cast<const unsigned char*>(prefix)); }));
    EXPECT_EQ(paramErr, Thrown([] { UFSSpec::CleanTempItems(nullptr); }));
    EXPECT_EQ(Log(), Asked()) << "nothing is done";
}

// Nothing but what begins with the prefix goes, whatever fails.
TEST_F(UFSSpecContentsTest, CleanTempItemsWithEveryFailingCall) {
    for (int failing = 1;; ++failing) {
        Start();
        fakes::PutFile(50, fakes::kTemporary, "abc");
        fakes::PutFile(51, fakes::kTemporary, "other");
        fakes::FailCall(failing);
        const long code = Thrown([] { UFSSpec::CleanTempItems(kPrefix); });
        EXPECT_TRUE(code == 0 || (code == paramErr && failing == 1)) << failing << ' ' << code;
        EXPECT_TRUE(fakes::HasItem(51));
        if (!fakes::FailureDelivered()) break;
    }
    EXPECT_FALSE(fakes::HasItem(50));
}

}  // namespace
