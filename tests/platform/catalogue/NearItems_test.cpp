#include "catalogue/NearItems.h"

#include "Iterating.h"
#include "support/CountedCalls.h"
#include "support/FailEach.h"
#include "support/FailingNew.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace {

using namespace test_files;
using support::FileWorld;
using toolbox::files::NearItem;
using toolbox::files::OpenIterators;

class NearItems : public IteratingTest {
  protected:
    // The one item of that name, as a deleting iterator hands it out.
    static FSRef Meet(OpenedIterator& ioIterator, const std::string& inName) {
        FSRef ref = {};
        std::string name = ioIterator.Next(nullptr, &ref);
        while (name != inName && !name.starts_with("status"))
            name = ioIterator.Next(nullptr, &ref);
        EXPECT_EQ(inName, name);
        return ref;
    }
};
INSTANTIATE_TEST_SUITE_P(Worlds, NearItems, support::BothWorlds(), support::NameOfWorld);

// A look at the item, the deletion, and before and after it one for a companion: however deep its folder
// lies.
TEST_P(NearItems, WhatIsDeletedInAnIteratorsFolder) {
    mFolder.MakeFolder("a/b/c/d");
    mFolder.MakeFile("a/b/c/d/file");
    mFolder.MakeFolder("a/b/c/d/sub");
    OpenedIterator iterator(RefOf(mFolder / "a/b/c/d"), kFSIterateDelete);
    const FSRef file = Meet(iterator, "file");
    OpenedIterator another(RefOf(mFolder / "a/b/c/d"), kFSIterateDelete);
    const FSRef sub = Meet(another, "sub");
    for (const FSRef& item : {file, sub}) {
        const CountedCalls calls;
        EXPECT_EQ(noErr, FSDeleteObject(&item));
        EXPECT_EQ("openat 2, statx 1, unlinkat 1", calls.Made());
    }
    EXPECT_EQ("", PictureOf(mFolder / "a/b/c/d"));
    EXPECT_EQ(fnfErr, FSDeleteObject(&file));
}

TEST_P(NearItems, AnIteratorOfAFolderInIt) {
    mFolder.MakeFolder("a/b/c/d/sub");
    mFolder.MakeFile("a/b/c/d/sub/file");
    const std::string longWay = [&] {
        const FSRef sub = RefOf(mFolder / "a/b/c/d/sub");
        const CountedCalls calls;
        const OpenedIterator iterator(sub);
        EXPECT_EQ(noErr, iterator.Status());
        return calls.Made();
    }();
    OpenedIterator above(RefOf(mFolder / "a/b/c/d"));
    const FSRef sub = Meet(above, "sub");
    FileWorld::Rename(mFolder / "a", mFolder / "moved");
    const CountedCalls calls;
    OpenedIterator iterator(sub);
    EXPECT_NE(longWay, calls.Made());
    EXPECT_EQ("file", iterator.Next());
}

// Who is met is who is deleted, wherever it is; what has taken its place stays.
TEST_P(NearItems, WhatTookItsPlaceStays) {
    mFolder.MakeFolder("sub");
    mFolder.MakeFile("sub/file", "old");
    mFolder.MakeFolder("elsewhere");
    OpenedIterator iterator(RefOf(mFolder / "sub"), kFSIterateDelete);
    FSRef file = Meet(iterator, "file");
    FileWorld::Rename(mFolder / "sub/file", mFolder / "sub/renamed");
    mFolder.MakeFile("sub/file", "new");
    EXPECT_EQ(noErr, FSDeleteObject(&file));
    EXPECT_EQ("file=new, ", PictureOf(mFolder / "sub"));
    EXPECT_EQ(fnfErr, FSDeleteObject(&file));
    EXPECT_EQ("file=new, ", PictureOf(mFolder / "sub"));

    // The folder itself is another by now.
    file = RefOf(mFolder / "sub/file");
    FileWorld::Rename(mFolder / "sub", mFolder / "elsewhere/sub");
    mFolder.MakeFolder("sub");
    mFolder.MakeFile("sub/file", "another");
    EXPECT_EQ(noErr, FSDeleteObject(&file));
    EXPECT_EQ("elsewhere(sub(), ), sub(file=another, ), ", Picture());
}

TEST_P(NearItems, OfSeveralNamesTheOneThatIsMeant) {
    for (const bool isFirst : {false, true}) {
        mFolder.MakeFolder("sub");
        mFolder.MakeFile("sub/one", "both");
        ASSERT_EQ(0, FileWorld::MakeHardLink(mFolder / "sub/one", mFolder / "sub/two"));
        const OpenedIterator iterator(RefOf(mFolder / "sub"), kFSIterateDelete);
        const FSRef one = RefOf(mFolder / "sub/one");
        const FSRef two = RefOf(mFolder / "sub/two");
        const FSRef& meant = isFirst ? one : two;
        for (const OSErr expected : {OSErr{noErr}, OSErr{fnfErr}}) {
            EXPECT_EQ(expected, FSDeleteObject(&meant));
            EXPECT_EQ(isFirst ? "two=both, " : "one=both, ", PictureOf(mFolder / "sub"));
        }
        FileWorld::RemoveAll(mFolder / "sub");
    }
}

TEST_P(NearItems, WhatIsLockedAfterItWasMetStays) {
    mFolder.MakeFile("file");
    MakeWithCompanion("", "forked");
    OpenedIterator iterator(mHere, kFSIterateDelete);
    const FSRef file = Meet(iterator, "file");
    ASSERT_EQ(noErr, SetLock(file, true));
    EXPECT_EQ(fLckdErr, FSDeleteObject(&file));
    const FSRef lock = RefOf(mFolder / "._file");
    EXPECT_EQ(fLckdErr, FSDeleteObject(&lock)) << "the lock goes with it";
    ASSERT_EQ(noErr, SetLock(file, false));
    EXPECT_EQ(noErr, FSDeleteObject(&file));
    const FSRef forked = RefOf(mFolder / "forked");
    EXPECT_EQ(noErr, FSDeleteObject(&forked));
    EXPECT_EQ(Names{}, FileWorld::NamesIn(mFolder.Path())) << "companions go with their items";
}

// Who uses the iterator meanwhile opens the folder again, and what comes back is closed then.
TEST_P(NearItems, TheIteratorMayBeUsedMeanwhile) {
    mFolder.MakeFile("file");
    const FSRef file = RefOf(mFolder / "file");
    const std::size_t descriptors = OpenDescriptorCount();
    OpenedIterator iterator(mHere);
    {
        NearItem item;
        ASSERT_TRUE(item.Find(file));
        EXPECT_EQ("file", item.ItemPlace().name);
        EXPECT_EQ(descriptors + 1, OpenDescriptorCount());
        NearItem another;
        EXPECT_FALSE(another.Find(file)) << "the folder is lent";
        EXPECT_EQ("file", iterator.Next());
        EXPECT_EQ(descriptors + 2, OpenDescriptorCount());
    }
    EXPECT_EQ(descriptors + 1, OpenDescriptorCount());
    {
        NearItem item;
        EXPECT_TRUE(item.Find(file));
        EXPECT_EQ(noErr, iterator.Close());
    }
    EXPECT_EQ(descriptors, OpenDescriptorCount());
    NearItem item;
    EXPECT_FALSE(item.Find(file)) << "there is no iterator any more";
}

// The iterator above one that goes holds its folder again, unless that is not above any more.
TEST_P(NearItems, TheWayBackUp) {
    for (const bool isMoved : {false, true}) {
        mFolder.MakeFolder("other");
        mFolder.MakeFolder("top/sub");
        mFolder.MakeFolder("elsewhere");
        const std::size_t descriptors = OpenDescriptorCount();
        OpenedIterator top(RefOf(mFolder / "top"));
        const FSRef sub = Meet(top, "sub");
        std::vector<std::unique_ptr<OpenedIterator>> others;
        for (std::size_t i = 0; i < OpenIterators::kMaxHeld; ++i)
            others.push_back(std::make_unique<OpenedIterator>(RefOf(mFolder / "other")));
        EXPECT_EQ(descriptors + OpenIterators::kMaxHeld, OpenDescriptorCount());
        others.clear();
        EXPECT_EQ(descriptors, OpenDescriptorCount()) << "that of the top was closed for them";
        NearItem item;
        EXPECT_FALSE(item.Find(sub));

        // One within another is known by that; so the top holds its folder first.
        EXPECT_EQ("status -1417", top.Next());
        EXPECT_EQ(descriptors + 1, OpenDescriptorCount());
        OpenedIterator below(sub);
        for (std::size_t i = 1; i < OpenIterators::kMaxHeld; ++i)
            others.push_back(std::make_unique<OpenedIterator>(RefOf(mFolder / "other")));
        others.clear();
        EXPECT_EQ(descriptors + 1, OpenDescriptorCount()) << "that of the one below";
        if (isMoved) FileWorld::Rename(mFolder / "top/sub", mFolder / "elsewhere/sub");
        EXPECT_EQ(noErr, below.Close());
        EXPECT_EQ(descriptors + (isMoved ? 0 : 1), OpenDescriptorCount());
        EXPECT_EQ("status -1417", top.Next());
        FileWorld::RemoveAll(mFolder / "elsewhere");
        FileWorld::RemoveAll(mFolder / "top");
    }
}

TEST_P(NearItems, EachAllocationFailing) {
    mFolder.MakeFolder("sub");
    int refusals = 0;
    (void)support::FailEach<FailingNew>([&](const auto& inUnderFault) {
        mFolder.MakeFile("sub/a file whose name is too long to be kept in place");
        OpenedIterator iterator(RefOf(mFolder / "sub"), kFSIterateDelete);
        FSRef file = {};
        (void)iterator.Next(nullptr, &file);
        OSErr error = 1;
        inUnderFault([&] { error = FSDeleteObject(&file); });
        EXPECT_TRUE(error == noErr || error == memFullErr) << error;
        EXPECT_EQ(error == noErr, PictureOf(mFolder / "sub").empty());
        refusals += error == memFullErr ? 1 : 0;
    });
    EXPECT_GT(refusals, 1);
}

}  // namespace
