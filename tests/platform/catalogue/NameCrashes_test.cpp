// A process that is killed at any system call of a change of names: nothing is lost, and who looks next finds
// each item where it was or where it is to be, with its companion. Over the real file system alone: the
// process and its calls are the kernel's.
#include "ItemChanges.h"
#include "OldItem.h"
#include "companions/CompanionInfo.h"
#include "os/SystemCalls_test_access.h"
#include "platform/forks/ForkTest.h"
#include "support/KilledChild.h"
#include "support/Rounds.h"

#include <gtest/gtest.h>
#include <toolbox/FileCopies.h>

#include <set>
#include <string>

namespace {

using namespace test_files;

class NameCrashes : public ItemChangesTest<support::KilledChildTest> {
  protected:
    // As there, of a call that answers a status; the folder's picture is its state, once inLook has looked.
    template <typename Prepare, typename Call, typename Look>
    void ExpectOneOf(const std::set<std::string>& inStates, Prepare inPrepare, Call inCall, Look inLook) {
        KilledChildTest::ExpectOneOf(
            inStates, inPrepare, [&inCall] { return inCall() == noErr; },
            [this, &inLook] {
                inLook();
                return Picture();
            });
    }

    void MakeItemAndFolder() {
        mItem = RefOf(MakeWithCompanion("", "a"));
        mSub = RefOf(mFolder.MakeFolder("sub"));
    }

    FSRef mItem = {};
    FSRef mSub = {};
};

TEST_F(NameCrashes, RenamingWithACompanion) {
    const std::set<std::string> states = {"._a=#fork of a, a=of a, ", "._b=#fork of a, b=of a, "};
    ExpectOneOf(
        states, [this] { mItem = RefOf(MakeWithCompanion("", "a")); }, [this] { return Rename(mItem, u"b"); },
        [this] {
            const std::string found = LookFor({mFolder / "a", mFolder / "b"});
            EXPECT_EQ(found == "yn" ? mFolder / "a" : mFolder / "b", PathOf(mItem)) << found;
        });
}

TEST_F(NameCrashes, MovingWithACompanion) {
    const std::set<std::string> states = {"._a=#fork of a, a=of a, sub(), ",
                                          "sub(._a=#fork of a, a=of a, ), "};
    ExpectOneOf(
        states, [this] { MakeItemAndFolder(); }, [this] { return Move(mItem, mSub); },
        [this] {
            const std::string found = LookFor({mFolder / "a", mFolder / "sub/a"});
            EXPECT_EQ(found == "yn" ? mFolder / "a" : mFolder / "sub/a", PathOf(mItem)) << found;
        });
}

TEST_F(NameCrashes, MovingTwice) {
    const std::set<std::string> states = {"sub(._a=#fork of a, a=of a, ), "};
    ExpectOneOf(
        states, [this] { MakeItemAndFolder(); }, [this] { return Move(mItem, mSub); },
        [this] {
            // As who does not look first: the second time clears away what the first one left, too.
            FSRef item = {};
            if (MakeRef(mFolder / "a", &item) == noErr)
                EXPECT_EQ(noErr, Move(item, mSub));
            else
                EXPECT_EQ("n", LookFor({mFolder / "a"}));
        });
}

TEST_F(NameCrashes, MovingWhereAnOrphanLies) {
    const std::set<std::string> states = {"._a=#fork of a, a=of a, sub(._a=#of nobody, ), ",
                                          "._a=#fork of a, a=of a, sub(a (companion)=#of nobody, ), ",
                                          "sub(._a=#fork of a, a=of a, a (companion)=#of nobody, ), "};
    ExpectOneOf(
        states,
        [this] {
            MakeItemAndFolder();
            mFolder.MakeFile("sub/._a", CompanionBytes("of nobody"));
        },
        [this] { return Move(mItem, mSub); },
        [this] {
            LookFor({mFolder / "a", mFolder / "sub/a"});
        });
}

TEST_F(NameCrashes, Deleting) {
    const std::set<std::string> states = {"._a=#fork of a, a=of a, ", "._a=#fork of a, ", ""};
    ExpectOneOf(
        states, [this] { mItem = RefOf(MakeWithCompanion("", "a")); },
        [this] { return FSDeleteObject(&mItem); }, [this] { LookFor({mFolder / "a"}); });
}

TEST_F(NameCrashes, MakingWhereAnOrphanLies) {
    const std::set<std::string> states = {"._a=#of nobody, ", "a (companion)=#of nobody, ",
                                          "a=, a (companion)=#of nobody, "};
    const FSRef here = RefOf(mFolder.Path());
    ExpectOneOf(
        states, [this] { mFolder.MakeFile("._a", CompanionBytes("of nobody")); },
        [&here] { return MakeFile(here, u"a"); }, [this] { LookFor({mFolder / "a"}); });
}

// The copy is whole or not there; what is left then is its companion alone, an ordinary file.
TEST_F(NameCrashes, Copying) {
    const auto copy = [this] {
        FSSpec item = Here("a");
        FSSpec sub = Here("sub");
        HParamBlockRec block = {};
        block.copyParam.ioVRefNum = block.copyParam.ioDstVRefNum = item.vRefNum;
        block.copyParam.ioDirID = block.copyParam.ioNewDirID = item.parID;
        block.copyParam.ioNamePtr = item.name;
        block.copyParam.ioNewName = sub.name;
        return PBHCopyFileSync(&block);
    };
    const auto prepare = [this] {
        MakeItemAndFolder();
        // So that the copy's companion need not tell another date.
        toolbox::files::Place place;
        ASSERT_EQ(0, toolbox::files::OpenPlaceOf(mFolder / "a", place));
        toolbox::files::CompanionInfo info;
        info.creationSeconds = 1000;
        ASSERT_EQ(0, toolbox::files::WriteInfo(place, info));
    };
    prepare();
    const std::string before = Picture();
    const std::string both = before.substr(0, before.find("sub("));
    const std::string companion = both.substr(0, both.find("a=of a, "));
    const std::set<std::string> states = {before, both + "sub(" + companion + "), ",
                                          both + "sub(" + both + "), "};
    ExpectOneOf(states, prepare, copy, [this] { LookFor({mFolder / "sub/a"}); });
}

// One of the two is always what either name tells, and nobody sees more of it than at the place where it is
// to be.
TEST_F(NameCrashes, Exchanging) {
    const std::set<std::string> states = {"a=of a, b=of b, ", "a=of b, b=of a, "};
    FSRef other = {};
    const auto isOfOneSecond = [this] {
        return support::FileWorld::StatusOf(mFolder / "a").stx_btime.tv_sec ==
               support::FileWorld::StatusOf(mFolder / "b").stx_btime.tv_sec;
    };
    const auto modeOf = [this](const char* inName) {
        return support::FileWorld::StatusOf(mFolder / inName).stx_mode & 07777;
    };
    ExpectOneOf(
        states,
        [&] {
            // Else the dates of creation are kept in companions.
            do {
                support::FileWorld::RemoveAll(mFolder / "a");
                support::FileWorld::RemoveAll(mFolder / "b");
                mFolder.MakeFile("a", "of a");
                mFolder.MakeFile("b", "of b");
            } while (!isOfOneSecond());
            support::FileWorld::SetMode(mFolder / "a", 0640);
            support::FileWorld::SetMode(mFolder / "b", 0604);
            mItem = RefOf(mFolder / "a");
            other = RefOf(mFolder / "b");
        },
        [&] { return FSExchangeObjects(&mItem, &other); },
        [&] {
            EXPECT_EQ(0, modeOf("a") & ~0640);
            EXPECT_EQ(0, modeOf("b") & ~0604);
        });
}

// The date of creation that only the file system tells is in the companion by then.
TEST_F(NameCrashes, ExchangingWhatWasCreatedAtAnotherTime) {
    // A date that the companion has to tell of from then on.
    const OldItem old;
    const auto createdOf = [this](const char* inName) {
        return InfoOf(mFolder / inName, kFSCatInfoCreateDate).createDate.lowSeconds;
    };
    FSRef other = {};
    UInt32 createdA = 0;
    UInt32 createdB = 0;
    ExpectOneOf(
        {"a=of a, b=of b, ", "a=of b, b=of a, "},
        [&] {
            mFolder.MakeFile("a", "of a");
            old.Name(mFolder.MakeFile("b", "of b"));
            mItem = RefOf(mFolder / "a");
            other = RefOf(mFolder / "b");
            createdA = createdOf("a");
            createdB = createdOf("b");
            EXPECT_NE(createdA, createdB);
        },
        [&] { return FSExchangeObjects(&mItem, &other); },
        [&] {
            EXPECT_EQ(createdA, createdOf("a"));
            EXPECT_EQ(createdB, createdOf("b"));
            for (const std::string& name : support::FileWorld::NamesIn(mFolder.Path()))
                if (name.starts_with("._")) support::FileWorld::RemoveAll(mFolder / name);
        });
}

// Neither file is ever told to have the other's resource fork, before anything is mended and after it.
TEST_F(NameCrashes, ExchangingForks) {
    constexpr UInt32 kIntent = toolbox::files::AppleDoubleEntry::kForkIntent;
    const auto forksOf = [this](const char* inName) {
        const Opened fork(RefOf(mFolder / inName), Which::kResource, fsRdPerm);
        return support::FileWorld::Contents(mFolder / inName) + '/' + Whole(fork) + ' ';
    };
    const auto hasIntent = [this](const char* inName) {
        const std::string path = mFolder / inName;
        return support::FileWorld::Exists(path) && EntryIn(path, kIntent) != "none";
    };
    FSRef other = {};
    bool hasSeenIntents = false;
    for (const bool haveBothForks : {true, false}) {
        if (!haveBothForks && support::Rounds(1) == 1) continue;  // which takes seconds
        const std::string forkOfB = haveBothForks ? "fork of b" : "";
        KilledChildTest::ExpectOneOf(
            {"of a/fork of a of b/" + forkOfB + ' ', "of b/" + forkOfB + " of a/fork of a "},
            [&] {
                mItem = RefOf(MakeWithCompanion("", "a"));
                other = RefOf(haveBothForks ? MakeWithCompanion("", "b") : mFolder.MakeFile("b", "of b"));
            },
            [&] { return FSExchangeObjects(&mItem, &other) == noErr; },
            [&] {
                const std::string forks = forksOf("a") + forksOf("b");
                hasSeenIntents = hasSeenIntents || hasIntent("._a");
                // Who writes them next.
                for (const char* const name : {"a", "b"}) {
                    FSCatalogInfo info = {};
                    info.finderInfo[0] = 1;
                    const FSRef ref = RefOf(mFolder / name);
                    EXPECT_EQ(noErr, FSSetCatalogInfo(&ref, kFSCatInfoFinderInfo, &info));
                }
                EXPECT_FALSE(hasIntent("._a") || hasIntent("._b"));
                EXPECT_EQ(forks, forksOf("a") + forksOf("b"));
                return forks;
            });
    }
    EXPECT_TRUE(hasSeenIntents);
}

}  // namespace
