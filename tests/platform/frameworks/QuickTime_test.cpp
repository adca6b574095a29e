// QuickTime.framework over the toolbox's library, as programs use both.

#include "FrameworkFunctions.h"
#include "platform/keys/StateFolder.h"
#include "support/PseudoTerminal.h"

#include <gtest/gtest.h>
#include <toolbox/AccessKeys.h>
#include <toolbox/Aliases.h>
#include <toolbox/Dialogs.h>
#include <toolbox/Interaction.h>
#include <toolbox/SoundArchitecture.h>
#include <toolbox/SoundReport.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <limits>
#include <string>

namespace {

using test_frameworks::FrameworkFunctions;

constexpr UInt32 kReadOnly = kComponentPropertyFlagCanGetNow;
constexpr UInt32 kReadAndWrite = kComponentPropertyFlagCanGetNow | kComponentPropertyFlagCanSetNow;

class FixtureMovie {
  public:
    explicit FixtureMovie(const std::string& inName) {
        const std::string path = std::string(MIRTAL_FIXTURES "/") + inName;
        FSRef item;
        AliasHandle alias = nullptr;
        if (FSPathMakeRef(reinterpret_cast<const UInt8*>(path.c_str()), &item, nullptr) != noErr ||
            FSNewAliasMinimal(&item, &alias) != noErr)
            throw std::runtime_error("no alias of " + path);
        const OSErr error =
            NewMovieFromDataRef(&mMovie, 0, nullptr, reinterpret_cast<Handle>(alias), rAliasType);
        DisposeHandle(reinterpret_cast<Handle>(alias));
        if (error != noErr) throw std::runtime_error(GetMovieOpenErrorText());
    }
    ~FixtureMovie() { DisposeMovie(mMovie); }
    FixtureMovie(const FixtureMovie&) = delete;
    FixtureMovie& operator=(const FixtureMovie&) = delete;
    operator Movie() const { return mMovie; }

  private:
    Movie mMovie = nullptr;
};

class QuickTimeFramework : public testing::Test {
  protected:
    template <typename Value>
    Value Get(Movie inMovie, OSType inClass, OSType inID) {
        Value value = {};
        ByteCount size = 0;
        EXPECT_EQ(noErr, mFramework.getMovie(inMovie, inClass, inID, sizeof value, &value, &size));
        EXPECT_EQ(sizeof value, size);
        return value;
    }
    void ExpectInfo(Movie inMovie, OSType inClass, OSType inID, OSType inType, ByteCount inSize,
                    UInt32 inFlags) {
        OSType type = 0;
        ByteCount size = 0;
        UInt32 flags = 0;
        EXPECT_EQ(noErr, mFramework.getMovieInfo(inMovie, inClass, inID, &type, &size, &flags));
        EXPECT_EQ(inType, type);
        EXPECT_EQ(inSize, size);
        EXPECT_EQ(inFlags, flags);
        EXPECT_EQ(noErr, mFramework.getMovieInfo(inMovie, inClass, inID, nullptr, nullptr, nullptr));
    }
    // Every function answers inStatus and leaves the caller's memory alone.
    void ExpectNoProperty(Movie inMovie, OSType inClass, OSType inID, OSStatus inStatus) {
        OSType type = 17;
        ByteCount size = 18;
        UInt32 flags = 19;
        UInt64 value = 20;
        EXPECT_EQ(inStatus, mFramework.getMovieInfo(inMovie, inClass, inID, &type, &size, &flags));
        EXPECT_EQ(inStatus, mFramework.getMovie(inMovie, inClass, inID, sizeof value, &value, &size));
        EXPECT_EQ(inStatus, mFramework.setMovie(inMovie, inClass, inID, sizeof value, &value));
        EXPECT_EQ(17U, type);
        EXPECT_EQ(18U, size);
        EXPECT_EQ(19U, flags);
        EXPECT_EQ(20U, value);
    }

    FrameworkFunctions mFramework;
};

TEST_F(QuickTimeFramework, IsAVersionedBundle) {
    const std::filesystem::path bundle = MIRTAL_FRAMEWORK;
    EXPECT_EQ("A", std::filesystem::read_symlink(bundle / "Versions/Current"));
    EXPECT_EQ("Versions/Current/QuickTime", std::filesystem::read_symlink(bundle / "QuickTime"));
    EXPECT_EQ("Versions/Current/Resources", std::filesystem::read_symlink(bundle / "Resources"));
    EXPECT_TRUE(std::filesystem::is_regular_file(bundle / "Versions/A/QuickTime"));
    std::ifstream file(bundle / "Resources/Info.plist");
    const std::string info(std::istreambuf_iterator<char>(file), {});
    for (const char* line : {"<string>com.mirtal.QuickTime</string>", "<string>FMWK</string>"})
        EXPECT_NE(std::string::npos, info.find(line)) << line;
    EXPECT_EQ(std::string::npos, info.find('@')) << "a value that was not filled in";
}

TEST_F(QuickTimeFramework, SuppressesInteractionOfTheToolbox) {
    EXPECT_TRUE(mFramework.isAllowed());
    const long first = mFramework.begin();
    const long second = mFramework.begin();
    EXPECT_GT(first, 0);
    EXPECT_NE(first, second);
    EXPECT_FALSE(mFramework.isAllowed());
    EXPECT_FALSE(IsUserInteractionAllowed());
    mFramework.end(0);
    mFramework.end(second + 1);
    mFramework.end(first);
    EXPECT_FALSE(mFramework.isAllowed());
    mFramework.end(second);
    EXPECT_TRUE(mFramework.isAllowed());
    EXPECT_TRUE(IsUserInteractionAllowed());
}

TEST_F(QuickTimeFramework, SuppressedAlertAsksNobody) {
    const auto showAlerts = [this] {
        const long token = mFramework.begin();
        const int suppressed = StopAlert(251, nullptr);
        mFramework.end(token);
        return suppressed == 1 && StopAlert(252, nullptr) == 6 ? 0 : 1;
    };
    int result = -1;
    const std::string shown = test_interface::AtTerminal("6\n", showAlerts, result);
    EXPECT_EQ(0, result) << shown;
    EXPECT_EQ(shown.find("Item ["), shown.rfind("Item [")) << "asked once: " << shown;
}

TEST_F(QuickTimeFramework, PropertiesOfAMovie) {
    const FixtureMovie movie("tone-44100-mono.m4a");
    const OSType time = FourChars("time"), audio = FourChars("audi");
    ExpectInfo(movie, time, FourChars("dura"), FourChars("comp"), 8, kReadOnly);
    ExpectInfo(movie, time, FourChars("scal"), FourChars("long"), 4, kReadAndWrite);
    ExpectInfo(movie, audio, FourChars("rate"), FourChars("magn"), 4, kReadOnly);
    ExpectInfo(movie, audio, FourChars("chan"), FourChars("magn"), 4, kReadOnly);
    ExpectInfo(movie, audio, FourChars("frmt"), FourChars("type"), 4, kReadOnly);
    ExpectInfo(movie, audio, FourChars("dmgd"), FourChars("ucom"), 8, kReadOnly);

    EXPECT_EQ(GetMovieDuration(movie), Get<SInt64>(movie, time, FourChars("dura")));
    EXPECT_EQ(GetMovieTimeScale(movie), Get<SInt32>(movie, time, FourChars("scal")));
    EXPECT_EQ(44100U, Get<UInt32>(movie, audio, FourChars("rate")));
    EXPECT_EQ(1U, Get<UInt32>(movie, audio, FourChars("chan")));
    EXPECT_EQ(FourChars("mp4a"), Get<OSType>(movie, audio, FourChars("frmt")));
    EXPECT_EQ(0U, Get<UInt64>(movie, audio, FourChars("dmgd")));
}

TEST_F(QuickTimeFramework, RateIsNotHalvedAsInADescription) {
    const FixtureMovie movie("tone-96000-stereo.m4a");
    EXPECT_EQ(96000U, Get<UInt32>(movie, kMoviePropertyClassAudio, kMoviePropertySampleRate));
    EXPECT_EQ(2U, Get<UInt32>(movie, kMoviePropertyClassAudio, kMoviePropertyChannelCount));
}

TEST_F(QuickTimeFramework, TimeScaleIsSet) {
    const FixtureMovie movie("sweep-44100-stereo.m4a");
    const auto set = [&](SInt32 inTimeScale) {
        return mFramework.setMovie(movie, kMoviePropertyClassTime, kMoviePropertyTimeScale,
                                   sizeof inTimeScale, &inTimeScale);
    };
    EXPECT_EQ(noErr, set(44100));
    EXPECT_EQ(44100, GetMovieTimeScale(movie));
    EXPECT_EQ(132300, Get<SInt64>(movie, kMoviePropertyClassTime, kMoviePropertyDuration));
    for (const SInt32 wrong : {0, -1, std::numeric_limits<SInt32>::min()})
        EXPECT_EQ(paramErr, set(wrong));
    EXPECT_EQ(44100, GetMovieTimeScale(movie));
    constexpr SInt32 kFinest = std::numeric_limits<SInt32>::max();
    EXPECT_EQ(noErr, set(kFinest));
    EXPECT_EQ(kFinest, GetMovieDuration(movie)) << "as much as a TimeValue holds";
    EXPECT_EQ(SInt64{3} * kFinest, Get<SInt64>(movie, kMoviePropertyClassTime, kMoviePropertyDuration));
}

TEST_F(QuickTimeFramework, DamageIsCountedAsItIsMet) {
    const FixtureMovie movie("damaged.m4a");
    SetMovieTimeScale(movie, 44100);
    const auto before = Get<UInt64>(movie, kMoviePropertyClassAudio, kMoviePropertyDamagedPacketCount);
    const Handle sound = NewHandle(0);
    const ComponentInstance exporter = OpenDefaultComponent(MovieExportType, FourChars("snd "));
    EXPECT_EQ(noErr, MovieExportToHandle(exporter, sound, movie, nullptr, 0, GetMovieDuration(movie)));
    CloseComponent(exporter);
    DisposeHandle(sound);
    const auto after = Get<UInt64>(movie, kMoviePropertyClassAudio, kMoviePropertyDamagedPacketCount);
    EXPECT_GT(after, before);
    MovieSoundReport report;
    EXPECT_EQ(noErr, GetMovieSoundReport(movie, &report));
    EXPECT_EQ(report.damagedPacketCount, after);
}

TEST_F(QuickTimeFramework, MovieWithoutSoundHasNoPropertiesOfSound) {
    const FixtureMovie movie("video-only.mp4");
    for (const OSType id : {kMoviePropertySampleRate, kMoviePropertyChannelCount, kMoviePropertySoundFormat,
                            kMoviePropertyDamagedPacketCount})
        ExpectNoProperty(movie, kMoviePropertyClassAudio, id, -2200);
    ExpectNoProperty(movie, kMoviePropertyClassAudio, kMoviePropertyTimeScale, -2195);
    EXPECT_EQ(GetMovieDuration(movie), Get<SInt64>(movie, kMoviePropertyClassTime, kMoviePropertyDuration));
}

TEST_F(QuickTimeFramework, SoundThatIsNotTheFirstTrack) {
    const FixtureMovie movie("with-video.mp4");
    EXPECT_EQ(44100U, Get<UInt32>(movie, kMoviePropertyClassAudio, kMoviePropertySampleRate));
}

TEST_F(QuickTimeFramework, WhatIsNoPropertyOfAMovie) {
    const FixtureMovie movie("tone-44100-stereo.m4a");
    EXPECT_EQ(-2195, kQTPropertyNotSupportedErr);
    ExpectNoProperty(movie, kMoviePropertyClassTime, kMoviePropertySampleRate, -2195);
    ExpectNoProperty(movie, kMoviePropertyClassAudio, kMoviePropertyDuration, -2195);
    ExpectNoProperty(movie, FourChars("none"), kMoviePropertyDuration, -2195);
    ExpectNoProperty(movie, 0, 0, -2195);
    ExpectNoProperty(movie, kProcessPropertyClassSettings, kProcessPropertySoundArchitecture, -2195);
    ExpectNoProperty(nullptr, kMoviePropertyClassTime, kMoviePropertyDuration, invalidMovie);
    ExpectNoProperty(nullptr, 0, 0, invalidMovie);
}

TEST_F(QuickTimeFramework, SizesOfMovieValues) {
    const FixtureMovie movie("tone-44100-stereo.m4a");
    const SInt32 timeScale = GetMovieTimeScale(movie);
    unsigned char room[16];
    std::memset(room, 0xEE, sizeof room);
    ByteCount size = 17;
    const OSType time = kMoviePropertyClassTime;
    for (const ByteCount wrong : {0, 1, 3})
        EXPECT_EQ(-2184, mFramework.getMovie(movie, time, kMoviePropertyTimeScale, wrong, room, &size));
    EXPECT_EQ(17U, size);
    EXPECT_EQ(0xEE, room[0]);
    // At an odd address, with more room than is needed.
    EXPECT_EQ(noErr, mFramework.getMovie(movie, time, kMoviePropertyTimeScale, 15, room + 1, &size));
    EXPECT_EQ(4U, size);
    EXPECT_EQ(0, std::memcmp(room + 1, &timeScale, 4));
    EXPECT_EQ(0xEE, room[5]);
    EXPECT_EQ(noErr, mFramework.getMovie(movie, time, kMoviePropertyTimeScale, 4, room, nullptr));
    EXPECT_EQ(paramErr, mFramework.getMovie(movie, time, kMoviePropertyTimeScale, 4, nullptr, &size));
    for (const ByteCount wrong : {0, 3, 5, 8})
        EXPECT_EQ(-2184, mFramework.setMovie(movie, time, kMoviePropertyTimeScale, wrong, room));
    EXPECT_EQ(paramErr, mFramework.setMovie(movie, time, kMoviePropertyTimeScale, 4, nullptr));
    EXPECT_EQ(timeScale, GetMovieTimeScale(movie));
    EXPECT_EQ(noErr, mFramework.setMovie(movie, time, kMoviePropertyTimeScale, 4, room));
}

TEST_F(QuickTimeFramework, ReadOnlyPropertiesOfAMovie) {
    const FixtureMovie movie("tone-44100-stereo.m4a");
    const UInt64 value = 1;
    EXPECT_EQ(-2191, mFramework.setMovie(movie, kMoviePropertyClassTime, kMoviePropertyDuration, 8, &value));
    for (const OSType id : {kMoviePropertySampleRate, kMoviePropertyChannelCount, kMoviePropertySoundFormat,
                            kMoviePropertyDamagedPacketCount})
        for (const ByteCount size : {4, 8, 1})
            EXPECT_EQ(-2191, mFramework.setMovie(movie, kMoviePropertyClassAudio, id, size, &value));
    EXPECT_EQ(-2191, mFramework.setMovie(movie, kMoviePropertyClassTime, kMoviePropertyDuration, 0, nullptr));
}

constexpr OSType kSettings = FourChars("qges");
constexpr OSType kArchitecture = FourChars("snda");

class ProcessProperties : public QuickTimeFramework {
  protected:
    ProcessProperties() { EnterMovies(); }
    ~ProcessProperties() override { ExitMovies(); }

    OSType Architecture() {
        OSType value = 0;
        EXPECT_EQ(noErr, mFramework.getProcess(kSettings, kArchitecture, 4, &value, nullptr));
        return value;
    }

    test_movies::StateFolder mState;
};

TEST_F(ProcessProperties, InfoOfTheSoundArchitecture) {
    OSType type = 0;
    ByteCount size = 0;
    UInt32 flags = 0;
    EXPECT_EQ(noErr, mFramework.getProcessInfo(kSettings, kArchitecture, &type, &size, &flags));
    EXPECT_EQ(FourChars("type"), type);
    EXPECT_EQ(4U, size);
    EXPECT_EQ(kReadAndWrite, flags);
    EXPECT_EQ(noErr, mFramework.getProcessInfo(kSettings, kArchitecture, nullptr, nullptr, nullptr));
}

TEST_F(ProcessProperties, SoundArchitectureIsReadAndWritten) {
    EXPECT_EQ(kSoundArchitectureCoreAudio, Architecture());
    OSType value = kSoundArchitectureSoundManager;
    EXPECT_EQ(noErr, mFramework.setProcess(kSettings, kArchitecture, 4, &value));
    EXPECT_EQ(kSoundArchitectureSoundManager, Architecture());
    EXPECT_EQ(kSoundArchitectureSoundManager, GetSoundArchitecture());
    value = FourChars("none");
    EXPECT_EQ(paramErr, mFramework.setProcess(kSettings, kArchitecture, 4, &value));
    EXPECT_EQ(paramErr, mFramework.setProcess(kSettings, kArchitecture, 4, nullptr));
    for (const ByteCount wrong : {0, 3, 5, 8})
        EXPECT_EQ(-2184, mFramework.setProcess(kSettings, kArchitecture, wrong, &value));
    EXPECT_EQ(kSoundArchitectureSoundManager, Architecture());
}

TEST_F(ProcessProperties, SoundArchitectureFollowsTheKeysAfterARestart) {
    const unsigned char type[] = "\x11SoundArchitecture";
    Handle key = nullptr;
    ASSERT_EQ(noErr, PtrToHand("soundmgr", &key, 8));
    EXPECT_EQ(noErr, QTRegisterAccessKey(type, kAccessKeySystemFlag, key));
    EXPECT_EQ(kSoundArchitectureCoreAudio, Architecture());
    ExitMovies();
    EnterMovies();
    EXPECT_EQ(kSoundArchitectureSoundManager, Architecture());
    EXPECT_EQ(noErr, QTUnregisterAccessKey(type, kAccessKeySystemFlag, key));
    DisposeHandle(key);
    ExitMovies();
    EnterMovies();
    EXPECT_EQ(kSoundArchitectureCoreAudio, Architecture());
}

TEST_F(ProcessProperties, SizesOfValues) {
    unsigned char room[16];
    std::memset(room, 0xEE, sizeof room);
    ByteCount size = 17;
    for (const ByteCount wrong : {0, 1, 3})
        EXPECT_EQ(-2184, mFramework.getProcess(kSettings, kArchitecture, wrong, room, &size));
    EXPECT_EQ(paramErr, mFramework.getProcess(kSettings, kArchitecture, 4, nullptr, &size));
    EXPECT_EQ(17U, size);
    EXPECT_EQ(0xEE, room[0]);
    EXPECT_EQ(noErr, mFramework.getProcess(kSettings, kArchitecture, 8, room, &size));
    EXPECT_EQ(4U, size);
    EXPECT_EQ(0xEE, room[4]) << "a caller's longer value keeps the rest";
}

TEST_F(ProcessProperties, WhatIsNoPropertyOfTheProcess) {
    struct Case {
        OSType propertyClass, id;
    };
    for (const Case& one : {Case{kSettings, FourChars("none")}, Case{FourChars("none"), kArchitecture},
                            Case{0, 0}, Case{kMoviePropertyClassTime, kMoviePropertyTimeScale}}) {
        OSType type = 17;
        ByteCount size = 18;
        UInt32 flags = 19, value = 20;
        EXPECT_EQ(-2195, mFramework.getProcessInfo(one.propertyClass, one.id, &type, &size, &flags));
        EXPECT_EQ(-2195, mFramework.getProcess(one.propertyClass, one.id, 4, &value, &size));
        EXPECT_EQ(-2195, mFramework.setProcess(one.propertyClass, one.id, 4, &value));
        EXPECT_EQ(17U, type);
        EXPECT_EQ(18U, size);
        EXPECT_EQ(19U, flags);
        EXPECT_EQ(20U, value);
    }
}

}  // namespace
