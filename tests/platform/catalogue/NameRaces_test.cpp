// Items that several programs, and the threads of one, make, rename, exchange, look for and delete in one
// folder at once. Run under the thread sanitizer too.
#include "ItemChanges.h"
#include "platform/forks/ForkTest.h"
#include "support/OneWorld.h"
#include "support/Rounds.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <toolbox/ItemLookup.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <map>
#include <new>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace test_files;
using support::FileWorld;

constexpr int kThreads = 8;
constexpr int kProcesses = 4;  // beside the one that has the threads
constexpr int kSteps = 90;
constexpr int kLongRaces = 60;  // more than a minute

// Two sorts of items that stay: with a resource fork, and with Finder information. Of both there are fewer
// than names. Files that come and go have names of their own.
constexpr int kItems = 3;
constexpr int kNames = 5;
constexpr int kPassingNames = 3;

constexpr UInt32 kForkIntent = toolbox::files::AppleDoubleEntry::kForkIntent;

using Outcomes = std::set<OSErr>;
// Somebody else was quicker, or is about it: he holds the companion.
const Outcomes kOfLooking = {noErr, fnfErr};
const Outcomes kOfChanging = {noErr, fnfErr, fBsyErr};
const Outcomes kOfNaming = {noErr, fnfErr, fBsyErr, dupFNErr};
// Between the two looks one was renamed, to the other's name.
const Outcomes kOfExchanging = {noErr, fnfErr, fBsyErr, sameFileErr};

// What all processes and threads did together.
struct Tally {
    std::atomic<int> made = 0;
    std::atomic<int> deleted = 0;
    // Made, and renamed or deleted by another before the call came to an end.
    std::atomic<int> taken = 0;
    std::atomic<int> renamed = 0;
    std::atomic<int> exchanged = 0;
    std::atomic<int> found = 0;
};

std::u16string Wide(const std::string& inName) {
    return {inName.begin(), inName.end()};
}

// In memory that processes share.
class SharedTally {
  public:
    SharedTally()
        : mMemory(mmap(nullptr, sizeof(Tally), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0)) {
        if (mMemory == MAP_FAILED) throw std::bad_alloc();
        new (mMemory) Tally;
    }
    ~SharedTally() { EXPECT_EQ(0, munmap(mMemory, sizeof(Tally))); }
    SharedTally(const SharedTally&) = delete;
    SharedTally& operator=(const SharedTally&) = delete;
    Tally& Get() const { return *static_cast<Tally*>(mMemory); }

  private:
    void* mMemory;
};

class NameRaces : public ItemChangesTest<support::RealFolderTest> {
  protected:
    NameRaces() {
        for (int item = 0; item < kItems; ++item) {
            const std::string number = std::to_string(item);
            MakeWithCompanion("", "f" + number);
            FSCatalogInfo info = {};
            info.finderInfo[0] = static_cast<UInt8>(item + 1);
            const FSRef ref = RefOf(mFolder.MakeFile("p" + number, "of p" + number));
            EXPECT_EQ(noErr, FSSetCatalogInfo(&ref, kFSCatInfoFinderInfo, &info));
        }
    }

    // One who does something over and over, by dice of his own.
    class Actor {
      public:
        Actor(const NameRaces& inTest, Tally& ioTally, unsigned inNumber)
            : mTest(inTest), mTally(ioTally), mDice(inNumber) {}

        void Act(int inSteps) {
            for (int step = 0; step < inSteps; ++step) {
                switch (Throw(8)) {
                    case 0:
                    case 1:
                        RenameOne(Name("f", kNames), Name("f", kNames));
                        break;
                    case 2:
                        RenameOne(Name("p", kNames), Name("p", kNames));
                        break;
                    case 3: {
                        const char* const sort = Throw(2) == 0 ? "f" : "p";
                        ExchangeTwo(Name(sort, kNames), Name(sort, kNames));
                        break;
                    }
                    case 4:
                        MakeOne(Name("n", kPassingNames));
                        break;
                    case 5:
                        DeleteOne(Name("n", kPassingNames));
                        break;
                    case 6:
                        RenameOne(Name("n", kPassingNames), Name("n", kPassingNames));
                        break;
                    default:
                        Look(Name(Throw(2) == 0 ? "f" : "p", kNames));
                        break;
                }
            }
        }

      private:
        int Throw(int inCount) { return static_cast<int>(mDice() % static_cast<unsigned>(inCount)); }
        std::string Name(const char* inPrefix, int inCount) {
            return inPrefix + std::to_string(Throw(inCount));
        }
        static bool Is(const Outcomes& inOutcomes, OSErr inError, const char* inCall) {
            EXPECT_EQ(1U, inOutcomes.count(inError)) << inCall << ": " << inError;
            return inError == noErr;
        }
        bool Find(const std::string& inName, FSRef& outRef) const {
            const std::u16string name = Wide(inName);
            return Is(
                kOfLooking,
                FSMakeFSRefUnicode(&mTest.mHere, name.size(), UnitsOf(name), kTextEncodingUnknown, &outRef),
                "FSMakeFSRefUnicode");
        }

        void RenameOne(const std::string& inName, const std::string& inNewName) {
            FSRef ref = {};
            if (Find(inName, ref))
                mTally.renamed += Is(kOfNaming, Rename(ref, Wide(inNewName)), "FSRenameUnicode");
        }
        void ExchangeTwo(const std::string& inName, const std::string& inOther) {
            FSRef ref = {};
            FSRef other = {};
            if (inName != inOther && Find(inName, ref) && Find(inOther, other))
                mTally.exchanged += Is(kOfExchanging, FSExchangeObjects(&ref, &other), "FSExchangeObjects");
        }
        void MakeOne(const std::string& inName) {
            FSRef ref = {};
            const OSErr error = MakeFile(mTest.mHere, Wide(inName), &ref);
            mTally.taken += error == fnfErr;
            if (!Is(kOfNaming, error, "FSCreateFileUnicode")) return;
            ++mTally.made;
            FSCatalogInfo info = {};
            info.finderInfo[0] = 'n';
            Is(kOfChanging, FSSetCatalogInfo(&ref, kFSCatInfoFinderInfo, &info), "FSSetCatalogInfo");
        }
        void DeleteOne(const std::string& inName) {
            FSRef ref = {};
            if (Find(inName, ref)) mTally.deleted += Is(kOfChanging, FSDeleteObject(&ref), "FSDeleteObject");
        }
        void Look(const std::string& inName) {
            FSSpec spec = {};
            if (!Is(kOfLooking,
                    FSMakeFSSpec(mTest.mWhere.volume, static_cast<SInt32>(mTest.mWhere.nodeID),
                                 PascalName(inName), &spec),
                    "FSMakeFSSpec"))
                return;
            FSRef ref = {};
            if (!Is(kOfLooking, FSpMakeFSRef(&spec, &ref), "FSpMakeFSRef")) return;
            FSCatalogInfo info = {};
            HFSUniStr255 name = {};
            mTally.found += Is(kOfLooking,
                               FSGetCatalogInfo(&ref, kFSCatInfoNodeFlags | kFSCatInfoFinderInfo, &info,
                                                &name, nullptr, nullptr),
                               "FSGetCatalogInfo");
        }

        const NameRaces& mTest;
        Tally& mTally;
        std::mt19937 mDice;
    };

    // All of them at once, until each has done as much.
    void Race(int inSteps, unsigned inSeed) {
        int gate[2] = {};
        ASSERT_EQ(0, pipe(gate));
        std::vector<pid_t> processes;
        // First, while this process has no other thread.
        for (int i = 0; i < kProcesses; ++i) {
            std::fflush(nullptr);
            const pid_t child = fork();
            ASSERT_GE(child, 0);
            if (child != 0) {
                processes.push_back(child);
                continue;
            }
            char byte = 0;
            close(gate[1]);
            if (read(gate[0], &byte, 1) != 0) _exit(2);
            Actor(*this, mTally.Get(), inSeed + kThreads + static_cast<unsigned>(i)).Act(inSteps);
            std::fflush(nullptr);
            _exit(HasFailure() ? 1 : 0);
        }
        close(gate[0]);
        std::vector<std::thread> threads;
        for (int i = 0; i < kThreads; ++i)
            threads.emplace_back([this, inSteps, number = inSeed + static_cast<unsigned>(i)] {
                Actor(*this, mTally.Get(), number).Act(inSteps);
            });
        close(gate[1]);
        for (std::thread& thread : threads)
            thread.join();
        for (const pid_t process : processes) {
            int status = 0;
            EXPECT_EQ(process, waitpid(process, &status, 0));
            EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
        }
    }

    // Information that one process sets while another deletes the item and a third makes one of the same name
    // may outlive it, as an ordinary file.
    bool IsInfoOfDeleted(const std::string& inName) const {
        if (inName.find(" (companion") != 2) return false;
        EXPECT_EQ(CompanionBytes("").substr(0, 4), FileWorld::Contents(mFolder / inName).substr(0, 4))
            << inName;
        return true;
    }

    // No item twice, none lost; each companion has its item, and each item its own.
    void ExpectWhole() const {
        for (const auto& [prefix, count] : std::map<std::string, int>{{"f", kNames}, {"p", kNames}, {"n", 3}})
            for (int i = 0; i < count; ++i)
                LookFor({mFolder / (prefix + std::to_string(i))});
        std::multiset<std::string> contents;
        std::multiset<std::string> marks;
        int passingCount = 0;
        const std::vector<std::string> names = FileWorld::NamesIn(mFolder.Path());
        for (const std::string& name : names) {
            const std::string path = mFolder / name;
            if (name.starts_with("._")) {
                EXPECT_TRUE(FileWorld::Exists(mFolder / name.substr(2))) << name;
                continue;
            }
            if (name[0] == 'n') {
                if (!IsInfoOfDeleted(name)) ++passingCount;
                continue;
            }
            contents.insert(FileWorld::Contents(path));
            if (name[0] == 'f') {
                EXPECT_EQ("fork " + FileWorld::Contents(path), ForkIn(mFolder / ("._" + name))) << name;
                EXPECT_EQ("none", EntryIn(mFolder / ("._" + name), kForkIntent)) << name;
                continue;
            }
            marks.insert(std::to_string(InfoOf(path, kFSCatInfoFinderInfo).finderInfo[0]));
        }
        EXPECT_EQ((std::multiset<std::string>{"of f0", "of f1", "of f2", "of p0", "of p1", "of p2"}),
                  contents)
            << testing::PrintToString(names);
        EXPECT_EQ((std::multiset<std::string>{"1", "2", "3"}), marks) << testing::PrintToString(names);
        const Tally& tally = mTally.Get();
        EXPECT_LE(tally.made - tally.deleted, passingCount);
        EXPECT_GE(tally.made + tally.taken - tally.deleted, passingCount) << testing::PrintToString(names);
    }

    FSRef mHere = RefOf(mFolder.Path());
    FSCatalogInfo mWhere = InfoOf(mFolder.Path(), kFSCatInfoVolume | kFSCatInfoNodeID);
    SharedTally mTally;
};

TEST_F(NameRaces, ProcessesAndThreads) {
    const std::size_t descriptors = OpenDescriptorCount();
    const int rounds = support::Rounds(1) > 1 ? kLongRaces : 1;
    for (int round = 0; round < rounds && !HasFailure(); ++round) {
        Race(support::Rounds(kSteps), static_cast<unsigned>(round * (kThreads + kProcesses)));
        ExpectWhole();
    }
    EXPECT_EQ(descriptors, OpenDescriptorCount());
    const Tally& tally = mTally.Get();
    for (const auto* const count :
         {&tally.made, &tally.deleted, &tally.renamed, &tally.exchanged, &tally.found})
        EXPECT_GT(*count, 0);
    RecordProperty("made", tally.made);
    RecordProperty("taken", tally.taken);
    RecordProperty("deleted", tally.deleted);
    RecordProperty("renamed", tally.renamed);
    RecordProperty("exchanged", tally.exchanged);
    RecordProperty("found", tally.found);
}

}  // namespace
