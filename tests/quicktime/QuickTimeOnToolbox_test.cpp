// The room over the real toolbox and its QuickTime.framework, as a program links them.
#include "support/TemporaryFolder.h"

#include <converter/AACToWAV.h>
#include <gtest/gtest.h>
#include <quicktime/StDisableQTInteraction.h>
#include <quicktime/UQTAccess.h>
#include <quicktime/UQTInteraction.h>
#include <quicktime/UQTProperties.h>
#include <quicktime/WeakQTSymbols.h>
#include <toolbox/AccessKeys.h>
#include <toolbox/MacErrors.h>
#include <toolbox/MacMemory.h>
#include <toolbox/MovieProperties.h>
#include <toolbox/Movies.h>
#include <toolbox/SoundArchitecture.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace {

namespace fs = std::filesystem;

TEST(QuickTimeOnToolbox, AllNineAreFound) {
    EXPECT_EQ(noErr, LoadWeakQTSymbols());
    EXPECT_EQ(1, qtInited);
    EXPECT_NE(nullptr, _QTBeginUserInteractionSuppression);
    EXPECT_NE(nullptr, _QTEndUserInteractionSuppression);
    EXPECT_NE(nullptr, _QTIsUserInteractionAllowed);
    EXPECT_NE(nullptr, _QTGetMoviePropertyInfo);
    EXPECT_NE(nullptr, _QTGetMovieProperty);
    EXPECT_NE(nullptr, _QTSetMovieProperty);
    EXPECT_NE(nullptr, _QTGetProcessPropertyInfo);
    EXPECT_NE(nullptr, _QTGetProcessProperty);
    EXPECT_NE(nullptr, _QTSetProcessProperty);
    EXPECT_EQ(noErr, LoadWeakQTSymbols());
}

TEST(QuickTimeOnToolbox, SuppressionNests) {
    EXPECT_TRUE(UQTInteraction::IsInteractionAllowed());
    const long outer = UQTInteraction::BeginSuppress();
    const long inner = UQTInteraction::BeginSuppress();
    EXPECT_NE(0, outer);
    EXPECT_NE(outer, inner);
    EXPECT_FALSE(UQTInteraction::IsInteractionAllowed());
    UQTInteraction::EndSuppress(inner);
    EXPECT_FALSE(UQTInteraction::IsInteractionAllowed());
    UQTInteraction::EndSuppress(outer);
    EXPECT_TRUE(UQTInteraction::IsInteractionAllowed());
    UQTInteraction::EndSuppress(outer);
    UQTInteraction::EndSuppress(0);
    EXPECT_TRUE(UQTInteraction::IsInteractionAllowed());
}

TEST(QuickTimeOnToolbox, GuardSuppressesInItsScope) {
    {
        const StDisableQTInteraction outer;
        EXPECT_FALSE(UQTInteraction::IsInteractionAllowed());
        { const StDisableQTInteraction inner; }
        EXPECT_FALSE(UQTInteraction::IsInteractionAllowed());
    }
    EXPECT_TRUE(UQTInteraction::IsInteractionAllowed());
    EXPECT_THROW(
        {
            const StDisableQTInteraction guard;
            throw 1;
        },
        int);
    EXPECT_TRUE(UQTInteraction::IsInteractionAllowed());
}

TEST(QuickTimeOnToolbox, PropertiesOfAMovie) {
    const Movie movie = MovieFromPath(MIRTAL_FIXTURES "/tone-44100-stereo.m4a");
    ASSERT_NE(nullptr, movie);

    OSType type = 0;
    ByteCount size = 0;
    UInt32 flags = 0;
    EXPECT_EQ(noErr, UQTProperties::GetMoviePropertyInfo(movie, kMoviePropertyClassAudio,
                                                         kMoviePropertySampleRate, &type, &size, &flags));
    EXPECT_EQ(kPropertyTypeUInt32, type);
    EXPECT_EQ(sizeof(UInt32), size);
    EXPECT_EQ(static_cast<UInt32>(kComponentPropertyFlagCanGetNow), flags);

    UInt32 rateHz = 0;
    EXPECT_EQ(noErr,
              UQTProperties::GetMovieProperty(movie, kMoviePropertyClassAudio, kMoviePropertySampleRate,
                                              sizeof rateHz, &rateHz, nullptr));
    EXPECT_EQ(44100U, rateHz);

    SInt32 timeScale = 8000;
    EXPECT_EQ(noErr, UQTProperties::SetMovieProperty(movie, kMoviePropertyClassTime, kMoviePropertyTimeScale,
                                                     sizeof timeScale, &timeScale));
    EXPECT_EQ(8000, GetMovieTimeScale(movie));
    EXPECT_EQ(kQTPropertyReadOnlyErr,
              UQTProperties::SetMovieProperty(movie, kMoviePropertyClassAudio, kMoviePropertySampleRate,
                                              sizeof rateHz, &rateHz));
    EXPECT_EQ(kQTPropertyNotSupportedErr, UQTProperties::GetMovieProperty(movie, 1, 2, 4, &rateHz, nullptr));
    DisposeMovie(movie);
}

TEST(QuickTimeOnToolbox, PropertyOfTheProcess) {
    OSType type = 0;
    ByteCount size = 0;
    UInt32 flags = 0;
    EXPECT_EQ(noErr, UQTProperties::GetProcessPropertyInfo(FourChars("qges"), FourChars("snda"), &type, &size,
                                                           &flags));
    EXPECT_EQ(kPropertyTypeOSType, type);
    EXPECT_EQ(4U, size);
    for (const OSType architecture : {kSoundArchitectureSoundManager, kSoundArchitectureCoreAudio}) {
        EXPECT_EQ(noErr, UQTProperties::SetProcessProperty(FourChars("qges"), FourChars("snda"),
                                                           sizeof architecture, &architecture));
        unsigned long got = ~0UL;
        EXPECT_EQ(noErr, UQTAccess::GetSoundManagerArchitecture(got));
        EXPECT_EQ(architecture, got);
    }
}

TEST(QuickTimeOnToolbox, NullsReachTheToolbox) {
    EXPECT_EQ(invalidMovie,
              UQTProperties::GetMoviePropertyInfo(nullptr, kMoviePropertyClassTime, kMoviePropertyDuration,
                                                  nullptr, nullptr, nullptr));
    EXPECT_EQ(invalidMovie, UQTProperties::GetMovieProperty(nullptr, kMoviePropertyClassTime,
                                                            kMoviePropertyDuration, 8, nullptr, nullptr));
    EXPECT_EQ(invalidMovie, UQTProperties::SetMovieProperty(nullptr, kMoviePropertyClassTime,
                                                            kMoviePropertyTimeScale, 4, nullptr));
    EXPECT_EQ(noErr, UQTProperties::GetProcessPropertyInfo(FourChars("qges"), FourChars("snda"), nullptr,
                                                           nullptr, nullptr));
    EXPECT_EQ(paramErr,
              UQTProperties::GetProcessProperty(FourChars("qges"), FourChars("snda"), 4, nullptr, nullptr));
    EXPECT_EQ(paramErr, UQTProperties::SetProcessProperty(FourChars("qges"), FourChars("snda"), 4, nullptr));
}

TEST(QuickTimeOnToolbox, RefusalsAreTheToolboxs) {
    UInt32 value = 0x12345678;
    ByteCount size = 77;
    EXPECT_EQ(kQTPropertyBadValueSizeErr,
              UQTProperties::GetProcessProperty(FourChars("qges"), FourChars("snda"), 3, &value, &size));
    EXPECT_EQ(kQTPropertyBadValueSizeErr,
              UQTProperties::SetProcessProperty(FourChars("qges"), FourChars("snda"), 8, &value));
    EXPECT_EQ(paramErr, UQTProperties::SetProcessProperty(FourChars("qges"), FourChars("snda"), 4, &value));
    EXPECT_EQ(kQTPropertyNotSupportedErr,
              UQTProperties::GetProcessProperty(FourChars("qges"), FourChars("none"), 4, &value, &size));
    EXPECT_EQ(0x12345678U, value);
    EXPECT_EQ(77U, size);
}

// System-wide keys in a folder of the test's own.
class AccessOnToolboxTest : public ::testing::Test {
  protected:
    AccessOnToolboxTest() {
        setenv("XDG_STATE_HOME", mState.Path().c_str(), 1);
        unsetenv("QuickTimeSafety");
    }
    ~AccessOnToolboxTest() override {
        // Entered calls are counted: leaving one too often does nothing.
        ExitMovies();
        unsetenv("XDG_STATE_HOME");
        EXPECT_EQ(mHandles, GetLiveHandleCount());
    }

    std::string KeyFile() const { return mState / "mirtal/access-keys"; }
    std::string KeyFileText() const {
        std::ifstream file(KeyFile(), std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(file), {});
    }
    static unsigned long Architecture() {
        unsigned long architecture = 0;
        EXPECT_EQ(noErr, UQTAccess::GetSoundManagerArchitecture(architecture));
        return architecture;
    }

    const test_files::TemporaryFolder mState;
    const UInt64 mHandles = GetLiveHandleCount();
};

TEST_F(AccessOnToolboxTest, KeysOfTheProcess) {
    EXPECT_FALSE(UQTAccess::IsRegistered("A type", "Key", false));
    EXPECT_EQ(noErr, UQTAccess::Register("A type", "Key", false));
    EXPECT_TRUE(UQTAccess::IsRegistered("A type", "Key", false));
    EXPECT_TRUE(UQTAccess::IsRegistered("A type", "kEY", false));
    EXPECT_FALSE(UQTAccess::IsRegistered("A type", "Ke", false));
    EXPECT_FALSE(UQTAccess::IsRegistered("A type", "Keys", false));
    EXPECT_FALSE(UQTAccess::IsRegistered("A type", "Key", true));
    EXPECT_EQ(noErr, UQTAccess::Unregister("A type", "Key", false));
    EXPECT_FALSE(UQTAccess::IsRegistered("A type", "Key", false));
    EXPECT_FALSE(fs::exists(KeyFile()));
}

TEST_F(AccessOnToolboxTest, KeysOfTheSystem) {
    for (const char* const key : {"one", "", "three \xFF"})
        EXPECT_EQ(noErr, UQTAccess::Register("Type", key, true));
    for (const char* const key : {"one", "ONE", "", "three \xFF"})
        EXPECT_TRUE(UQTAccess::IsRegistered("Type", key, true)) << key;
    EXPECT_FALSE(UQTAccess::IsRegistered("Type", "one", false));
    EXPECT_EQ(noErr, UQTAccess::Unregister("Type", "one", true));
    EXPECT_FALSE(UQTAccess::IsRegistered("Type", "one", true));
    EXPECT_TRUE(UQTAccess::IsRegistered("Type", "", true));
}

TEST_F(AccessOnToolboxTest, InitializedWhileEntered) {
    EXPECT_FALSE(UQTAccess::IsMovieToolboxInitialized());
    EnterMovies();
    EXPECT_TRUE(UQTAccess::IsMovieToolboxInitialized());
    ExitMovies();
    EXPECT_FALSE(UQTAccess::IsMovieToolboxInitialized());
}

TEST_F(AccessOnToolboxTest, SwitchesFromCoreAudio) {
    ASSERT_EQ(noErr, UQTAccess::Register("SoundArchitecture", "coreaudio", true));
    EnterMovies();
    EXPECT_EQ(kSoundArchitectureCoreAudio, Architecture());

    EXPECT_EQ(noErr, UQTAccess::SetSoundManagerArchitecture());
    EXPECT_EQ(kSoundArchitectureSoundManager, Architecture());
    EXPECT_FALSE(UQTAccess::IsRegistered("SoundArchitecture", "coreaudio", true));
    EXPECT_TRUE(UQTAccess::IsRegistered("SoundArchitecture", "soundmgr", true));
    EXPECT_TRUE(UQTAccess::IsMovieToolboxInitialized());
    ASSERT_NE(nullptr, std::getenv("QuickTimeSafety"));
    EXPECT_STREQ("OFF", std::getenv("QuickTimeSafety"));
}

TEST_F(AccessOnToolboxTest, SecondSwitchChangesNothing) {
    EXPECT_EQ(noErr, UQTAccess::SetSoundManagerArchitecture());
    EXPECT_EQ(kSoundArchitectureSoundManager, Architecture());
    // The file is replaced on a change: one that stays keeps its date. A restart would choose anew.
    fs::last_write_time(KeyFile(), fs::file_time_type::clock::now() - std::chrono::hours(1));
    const auto date = fs::last_write_time(KeyFile());
    const std::string text = KeyFileText();
    EXPECT_EQ(noErr, SetSoundArchitecture(kSoundArchitectureCoreAudio));

    EXPECT_EQ(noErr, UQTAccess::SetSoundManagerArchitecture());
    EXPECT_EQ(date, fs::last_write_time(KeyFile()));
    EXPECT_EQ(text, KeyFileText());
    EXPECT_EQ(kSoundArchitectureCoreAudio, Architecture());
}

TEST_F(AccessOnToolboxTest, ToolboxStaysEntered) {
    EXPECT_EQ(noErr, UQTAccess::SetSoundManagerArchitecture());
    EXPECT_TRUE(UQTAccess::IsMovieToolboxInitialized());
    ExitMovies();
    EXPECT_FALSE(UQTAccess::IsMovieToolboxInitialized());
}

TEST_F(AccessOnToolboxTest, SwitchWaitsUntilTheSecondOwnerHasLeftToo) {
    EnterMovies();
    EnterMovies();
    for (int call = 1; call <= 2; ++call) {
        EXPECT_EQ(noErr, UQTAccess::SetSoundManagerArchitecture()) << call;
        EXPECT_EQ(kSoundArchitectureCoreAudio, Architecture()) << call;
    }
    EXPECT_TRUE(UQTAccess::IsRegistered("SoundArchitecture", "soundmgr", true));
    ExitMovies();
    EXPECT_TRUE(UQTAccess::IsMovieToolboxInitialized());
    EXPECT_EQ(kSoundArchitectureCoreAudio, Architecture());
    ExitMovies();
    EXPECT_FALSE(UQTAccess::IsMovieToolboxInitialized());
    EnterMovies();
    EXPECT_EQ(kSoundArchitectureSoundManager, Architecture());
}

TEST_F(AccessOnToolboxTest, DamagedKeysStopTheSwitch) {
    fs::create_directories(mState / "mirtal");
    std::ofstream(KeyFile()) << "something else\n";
    EXPECT_FALSE(UQTAccess::IsRegistered("SoundArchitecture", "soundmgr", true));
    EXPECT_EQ(badFileFormat, UQTAccess::SetSoundManagerArchitecture());
    EXPECT_EQ("something else\n", KeyFileText());
    EXPECT_STREQ("OFF", std::getenv("QuickTimeSafety"));
    EXPECT_TRUE(UQTAccess::IsMovieToolboxInitialized());
}

TEST_F(AccessOnToolboxTest, KeysThatCannotBeWrittenStopTheSwitch) {
    std::ofstream(mState / "mirtal") << "a file where the folder should be";
    const OSErr status = UQTAccess::Register("SoundArchitecture", "soundmgr", true);
    EXPECT_NE(noErr, status);
    EXPECT_EQ(status, UQTAccess::SetSoundManagerArchitecture());
}

TEST_F(AccessOnToolboxTest, NoMemoryForTheKey) {
    SetMemoryLimit(1);
    EXPECT_EQ(paramErr, UQTAccess::Register("Type", "a key", false));
    EXPECT_EQ(paramErr, UQTAccess::Unregister("Type", "a key", false));
    EXPECT_FALSE(UQTAccess::IsRegistered("Type", "a key", false));
    SetMemoryLimit(0);
    EXPECT_FALSE(UQTAccess::IsRegistered("Type", "a key", false));
}

}  // namespace
