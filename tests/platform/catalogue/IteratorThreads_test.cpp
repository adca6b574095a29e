// Folders gone through by several threads at once, each with iterators of its own, while others make, rename
// and delete what is in them. Run under the thread sanitizer too.
#include "Iterating.h"
#include "support/OneWorld.h"
#include "support/Rounds.h"

#include <gtest/gtest.h>

#include <atomic>
#include <map>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace test_files;

constexpr int kIterating = 8;
constexpr int kChanging = 2;
constexpr int kStaying = 40;
const int kRounds = support::Rounds(60);

class IteratorThreads : public ItemChangesTest<support::RealFolderTest> {
  protected:
    // Names that come and go, also by their companions.
    void Change(int inThread, const FSRef& inFolder) {
        const std::string prefix = "change " + std::to_string(inThread) + ' ';
        for (int i = 0; !mMustStop; i = (i + 1) % 7) {
            const std::string name = prefix + std::to_string(i);
            const std::u16string wide(name.begin(), name.end());
            FSRef ref = {};
            EXPECT_EQ(noErr, MakeFile(inFolder, wide, &ref)) << name;
            FSCatalogInfo info = {};
            info.finderInfo[0] = 1;
            EXPECT_EQ(noErr, FSSetCatalogInfo(&ref, kFSCatInfoFinderInfo, &info));
            EXPECT_EQ(noErr, Rename(ref, wide + u" renamed", &ref));
            EXPECT_EQ(noErr, Rename(ref, wide, &ref));
            EXPECT_EQ(noErr, FSDeleteObject(&ref));
        }
    }
    // What stays comes exactly once, whatever else does; nothing comes twice under one name.
    static void ExpectAll(const Listing& inListing, int inExpected) {
        EXPECT_EQ(noErr, inListing.opening);
        EXPECT_EQ(0U, inListing.failures.size());
        std::map<std::string, int> stayed;
        std::set<std::pair<std::string, UInt32>> met;
        for (const ListedItem& item : inListing.items) {
            if (item.name.starts_with("stay")) ++stayed[item.name];
            EXPECT_TRUE(met.insert({item.name, item.info.parentDirID}).second) << item.name << " came twice";
            EXPECT_FALSE(item.name.starts_with("._change")) << item.name;
        }
        EXPECT_EQ(static_cast<std::size_t>(inExpected), stayed.size());
        for (const auto& [name, count] : stayed)
            EXPECT_EQ(1, count) << name;
    }

    std::atomic<bool> mMustStop = false;
};

TEST_F(IteratorThreads, WhatStaysComesOnceWhileOthersChangeTheFolder) {
    for (int i = 0; i < kStaying; ++i)
        MakeWithCompanion("", "stay " + std::to_string(i));
    mFolder.MakeFolder("stay sub/stay inner");
    const FSRef folder = RefOf(mFolder.Path());
    const FSRef sub = RefOf(mFolder / "stay sub");
    const std::size_t descriptors = OpenDescriptorCount();
    std::vector<std::thread> changing;
    for (int thread = 0; thread < kChanging; ++thread)
        changing.emplace_back([&, thread] { Change(thread, thread == 0 ? folder : sub); });
    std::vector<std::thread> iterating;
    for (int thread = 0; thread < kIterating; ++thread)
        iterating.emplace_back([&, thread] {
            for (int round = 0; round < kRounds; ++round) {
                const bool isTree = (thread + round) % 2 == 0;
                const Listing listing = ListAll(folder, isTree ? kFSIterateSubtree : kFSIterateFlat,
                                                static_cast<ItemCount>(1 + round % 5),
                                                kFSCatInfoParentDirID | kFSCatInfoFinderInfo);
                ExpectAll(listing, kStaying + (isTree ? 2 : 1));
            }
        });
    for (std::thread& thread : iterating)
        thread.join();
    mMustStop = true;
    for (std::thread& thread : changing)
        thread.join();
    EXPECT_EQ(descriptors, OpenDescriptorCount());
}

// More iterators than hold a descriptor, so that threads park each other's.
TEST_F(IteratorThreads, IteratorsParkOneAnother) {
    constexpr int kIterators = 20;
    for (int i = 0; i < 10; ++i)
        mFolder.MakeFile("stay " + std::to_string(i));
    const FSRef folder = RefOf(mFolder.Path());
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kIterating; ++thread)
        threads.emplace_back([&] {
            std::vector<std::unique_ptr<OpenedIterator>> iterators;
            std::vector<Names> names(kIterators);
            for (int i = 0; i < kIterators; ++i)
                iterators.push_back(std::make_unique<OpenedIterator>(folder));
            for (int i = 0; i < 11 * kIterators; ++i) {
                const auto index = static_cast<std::size_t>(i % kIterators);
                names[index].push_back(iterators[index]->Next());
            }
            for (Names& found : names) {
                EXPECT_EQ("status -1417", found.back());
                EXPECT_EQ(11U, std::set<std::string>(found.begin(), found.end()).size());
            }
        });
    for (std::thread& thread : threads)
        thread.join();
}

}  // namespace
