#include "ForkTest.h"

namespace {

using namespace test_files;
using support::FileWorld;

class ForksOfItems : public ForkTest {
  protected:
    using Call = OSErr (*)(const FSRef*, UniCharCount, const UniChar*);
    OSErr On(Call inCall, Which inFork) const {
        const std::u16string_view name = NameOf(inFork);
        return inCall(&mRef, name.size(), reinterpret_cast<const UniChar*>(name.data()));
    }
    // "0 8, 13 4, -1417": lengths of name and fork.
    std::string Listing() const {
        std::string text;
        CatPositionRec position = {};
        for (;;) {
            HFSUniStr255 name = {};
            SInt64 size = -1;
            UInt64 allocated = 0;
            const OSErr error = FSIterateForks(&mRef, &position, &name, &size, &allocated);
            if (error != noErr) return text + std::to_string(error);
            EXPECT_EQ(size > 0, allocated > 0);
            text += std::to_string(name.length) + ' ' + std::to_string(size) + ", ";
        }
    }
};
INSTANTIATE_TEST_SUITE_P(Worlds, ForksOfItems, support::BothWorlds(), support::NameOfWorld);

TEST_P(ForksOfItems, AreIterated) {
    EXPECT_EQ("0 8, -1417", Listing());
    MakeFork("fork");
    EXPECT_EQ("0 8, 13 4, -1417", Listing());
    CatPositionRec position = {};
    EXPECT_EQ(noErr, FSIterateForks(&mRef, &position, nullptr, nullptr, nullptr));
    EXPECT_EQ(noErr, FSIterateForks(&mRef, &position, nullptr, nullptr, nullptr));
    HFSUniStr255 name = {};
    name.length = 77;
    EXPECT_EQ(errFSNoMoreItems, FSIterateForks(&mRef, &position, &name, nullptr, nullptr));
    EXPECT_EQ(errFSNoMoreItems, FSIterateForks(&mRef, &position, &name, nullptr, nullptr));
    EXPECT_EQ(77, name.length) << "untouched";
    mFolder.MakeFile("file", "");
    EXPECT_EQ("0 0, 13 4, -1417", Listing());
}

TEST_P(ForksOfItems, AreThereAlready) {
    EXPECT_EQ(errFSForkExists, On(FSCreateFork, Which::kData));
    EXPECT_EQ(noErr, On(FSCreateFork, Which::kResource));
    EXPECT_FALSE(FileWorld::Exists(mCompanion));
    MakeFork("fork");
    EXPECT_EQ(errFSForkExists, On(FSCreateFork, Which::kResource));
}

TEST_P(ForksOfItems, AreEmptied) {
    MakeFork("fork");
    EXPECT_EQ(noErr, On(FSDeleteFork, Which::kResource));
    EXPECT_EQ("none", ForkIn(mCompanion)) << "and the rest stays";
    EXPECT_EQ(errFSForkNotFound, On(FSDeleteFork, Which::kResource));
    mFolder.MakeFile("._file",
                     CompanionOf({{toolbox::files::AppleDoubleEntry::kResourceFork, BytesOf("fork")}}));
    EXPECT_EQ(noErr, On(FSDeleteFork, Which::kResource));
    EXPECT_FALSE(FileWorld::Exists(mCompanion));
    EXPECT_EQ("the data", Contents(mPath));
    EXPECT_EQ(noErr, On(FSDeleteFork, Which::kData));
    EXPECT_EQ("", Contents(mPath));
    EXPECT_TRUE(FileWorld::Exists(mPath));
    EXPECT_EQ(noErr, On(FSDeleteFork, Which::kData));
}

TEST_P(ForksOfItems, AreNotEmptiedWhileTheyAreOpen) {
    MakeFork("fork");
    for (const Which fork : {Which::kData, Which::kResource}) {
        const Opened reader(mRef, fork, fsRdPerm);
        EXPECT_EQ(fBsyErr, On(FSDeleteFork, fork));
        EXPECT_EQ(errFSForkExists, On(FSCreateFork, fork));
    }
    EXPECT_EQ("the data", Contents(mPath));
    EXPECT_EQ("fork", ForkIn(mCompanion));
}

}  // namespace
