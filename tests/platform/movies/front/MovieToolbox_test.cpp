// Entering and leaving, the sticky error, and the sound architecture.

#include "movies/front/MovieToolbox.h"

#include "keys/AccessKeyFile.h"
#include "keys/ProcessKeys.h"
#include "platform/keys/StateFolder.h"
#include "support/FailingNew.h"

#include <gtest/gtest.h>
#include <toolbox/AccessKeys.h>
#include <toolbox/Movies.h>
#include <toolbox/SoundArchitecture.h>

#include <string>
#include <thread>
#include <vector>

namespace {

using toolbox::keys::ChangeProcessKeys;
using toolbox::keys::ChangeSystemKeys;
using toolbox::keys::KeyChange;

class MovieToolboxTest : public testing::Test {
  protected:
    ~MovieToolboxTest() override {
        while (GetMoviesStickyError() != movieToolboxUninitialized)
            ExitMovies();
        for (const char* key : {"coreaudio", "soundmgr", "another"})
            EXPECT_EQ(noErr, ChangeProcessKeys(KeyChange::kRemove, {"SoundArchitecture", key}));
    }
    static void Put(const std::string& inKey, KeyChange inChange = KeyChange::kAdd) {
        ASSERT_EQ(noErr, ChangeSystemKeys(inChange, {"SoundArchitecture", inKey}));
    }
    static OSType ArchitectureAfterRestart() {
        ExitMovies();
        EXPECT_EQ(noErr, EnterMovies());
        EXPECT_EQ(noErr, GetMoviesStickyError());
        return GetSoundArchitecture();
    }

    test_movies::StateFolder mState;
};

TEST_F(MovieToolboxTest, EnteringCounts) {
    EXPECT_EQ(movieToolboxUninitialized, GetMoviesStickyError());
    EXPECT_EQ(-2020, GetMoviesStickyError());
    ExitMovies();
    EXPECT_EQ(noErr, EnterMovies());
    EXPECT_EQ(noErr, GetMoviesStickyError()) << "one too many was ignored";
    EXPECT_EQ(noErr, EnterMovies());
    ExitMovies();
    EXPECT_EQ(noErr, GetMoviesStickyError());
    ExitMovies();
    EXPECT_EQ(movieToolboxUninitialized, GetMoviesStickyError());
}

TEST_F(MovieToolboxTest, FirstFailureSticks) {
    EnterMovies();
    Movie movie = nullptr;
    EXPECT_EQ(paramErr, NewMovieFromDataRef(&movie, 0, nullptr, nullptr, rAliasType));
    EXPECT_EQ(paramErr, GetMoviesStickyError());
    const Handle nonsense = NewHandleClear(3);
    EXPECT_EQ(couldNotResolveDataRef, NewMovieFromDataRef(&movie, 0, nullptr, nonsense, rAliasType));
    EXPECT_EQ(paramErr, GetMoviesStickyError()) << "asking does not clear it, and the second does not count";
    ClearMoviesStickyError();
    EXPECT_EQ(noErr, GetMoviesStickyError());
    EXPECT_EQ(invalidDataRef, NewMovieFromDataRef(&movie, 0, nullptr, nonsense, FourChars("url ")));
    EXPECT_EQ(invalidDataRef, GetMoviesStickyError());
    ClearMoviesStickyError();
    EXPECT_EQ(couldNotResolveDataRef, NewMovieFromDataRef(&movie, 0, nullptr, nonsense, rAliasType));
    EXPECT_EQ(couldNotResolveDataRef, GetMoviesStickyError());
    DisposeHandle(nonsense);
    ClearMoviesStickyError();
    EXPECT_EQ(paramErr, QTGetAccessKeys(nullptr, 0, nullptr));
    EXPECT_EQ(paramErr, GetMoviesStickyError());
    EXPECT_EQ(noErr, EnterMovies());
    EXPECT_EQ(paramErr, GetMoviesStickyError()) << "only the first entering clears it";
    ExitMovies();
    ExitMovies();
    EXPECT_EQ(noErr, EnterMovies());
    EXPECT_EQ(noErr, GetMoviesStickyError());
}

TEST_F(MovieToolboxTest, ClearingDoesNotEnter) {
    ClearMoviesStickyError();
    EXPECT_EQ(movieToolboxUninitialized, GetMoviesStickyError());
    Movie movie = nullptr;
    EXPECT_EQ(paramErr, NewMovieFromDataRef(&movie, 0, nullptr, nullptr, rAliasType)) << "as ever";
    EXPECT_EQ(movieToolboxUninitialized, GetMoviesStickyError());
}

TEST_F(MovieToolboxTest, NotingPassesTheErrorOn) {
    EnterMovies();
    EXPECT_EQ(noErr, toolbox::movies::NoteMoviesError(noErr));
    EXPECT_EQ(noErr, GetMoviesStickyError());
    EXPECT_EQ(ioErr, toolbox::movies::NoteMoviesError(ioErr));
    EXPECT_EQ(memFullErr, toolbox::movies::NoteMoviesError(memFullErr));
    EXPECT_EQ(ioErr, GetMoviesStickyError());
}

TEST_F(MovieToolboxTest, ArchitectureFollowsSystemWideKeys) {
    EnterMovies();
    EXPECT_EQ(kSoundArchitectureCoreAudio, GetSoundArchitecture()) << "without keys";
    Put("soundmgr");
    EXPECT_EQ(kSoundArchitectureCoreAudio, GetSoundArchitecture()) << "not before a restart";
    EnterMovies();
    EXPECT_EQ(kSoundArchitectureCoreAudio, GetSoundArchitecture()) << "entering again is none";
    ExitMovies();
    EXPECT_EQ(kSoundArchitectureSoundManager, ArchitectureAfterRestart());
    Put("CoreAudio");
    EXPECT_EQ(kSoundArchitectureCoreAudio, ArchitectureAfterRestart()) << "the stronger of both, in any case";
    Put("coreaudio", KeyChange::kRemove);
    EXPECT_EQ(kSoundArchitectureSoundManager, ArchitectureAfterRestart());
    Put("soundmgr", KeyChange::kRemove);
    Put("another");
    EXPECT_EQ(kSoundArchitectureCoreAudio, ArchitectureAfterRestart());
}

TEST_F(MovieToolboxTest, KeysOfTheProcessGoBefore) {
    EnterMovies();
    Put("coreaudio");
    EXPECT_EQ(noErr, ChangeProcessKeys(KeyChange::kAdd, {"soundarchitecture", "another"}));
    EXPECT_EQ(kSoundArchitectureCoreAudio, ArchitectureAfterRestart());
    EXPECT_EQ(noErr, ChangeProcessKeys(KeyChange::kAdd, {"soundarchitecture", "SOUNDMGR"}));
    EXPECT_EQ(kSoundArchitectureSoundManager, ArchitectureAfterRestart());
    EXPECT_EQ(noErr, ChangeProcessKeys(KeyChange::kAdd, {"SoundArchitecture", "coreaudio"}));
    Put("coreaudio", KeyChange::kRemove);
    Put("soundmgr");
    EXPECT_EQ(kSoundArchitectureCoreAudio, ArchitectureAfterRestart());
}

TEST_F(MovieToolboxTest, ArchitectureSetLastsUntilTheRestart) {
    EnterMovies();
    EXPECT_EQ(noErr, SetSoundArchitecture(kSoundArchitectureSoundManager));
    EXPECT_EQ(kSoundArchitectureSoundManager, GetSoundArchitecture());
    EXPECT_EQ(paramErr, SetSoundArchitecture(0));
    EXPECT_EQ(paramErr, SetSoundArchitecture(FourChars("none")));
    EXPECT_EQ(kSoundArchitectureSoundManager, GetSoundArchitecture());
    EXPECT_EQ(kSoundArchitectureCoreAudio, ArchitectureAfterRestart());
}

TEST_F(MovieToolboxTest, DamagedKeysLeaveAStickyError) {
    EnterMovies();
    EXPECT_EQ(noErr, SetSoundArchitecture(kSoundArchitectureSoundManager));
    ExitMovies();
    mState.PutText("damaged");
    EXPECT_EQ(noErr, EnterMovies());
    EXPECT_EQ(badFileFormat, GetMoviesStickyError());
    EXPECT_EQ(kSoundArchitectureCoreAudio, GetSoundArchitecture());
    EXPECT_EQ("damaged", mState.Text());
}

TEST_F(MovieToolboxTest, NoMemoryLeavesAStickyError) {
    Put("soundmgr");
    for (int failing = 1;; ++failing) {
        bool wasDelivered = false;
        {
            test_files::FailingNew fault(failing);
            EXPECT_EQ(noErr, EnterMovies());
            wasDelivered = fault.Delivered();
        }
        EXPECT_EQ(wasDelivered ? memFullErr : noErr, GetMoviesStickyError()) << failing;
        EXPECT_EQ(wasDelivered ? kSoundArchitectureCoreAudio : kSoundArchitectureSoundManager,
                  GetSoundArchitecture());
        ExitMovies();
        if (wasDelivered) continue;
        EXPECT_GT(failing, 1) << "nothing could fail";
        break;
    }
}

TEST_F(MovieToolboxTest, ManyThreads) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([] {
            for (int round = 0; round < 200; ++round) {
                EXPECT_EQ(noErr, EnterMovies());
                EXPECT_NE(movieToolboxUninitialized, GetMoviesStickyError());
                EXPECT_EQ(noErr, SetSoundArchitecture(kSoundArchitectureCoreAudio));
                EXPECT_EQ(kSoundArchitectureCoreAudio, GetSoundArchitecture());
                ExitMovies();
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(movieToolboxUninitialized, GetMoviesStickyError());
}

}  // namespace
