#include "LateBoundFunctions.h"

#include <quicktime/UQTAccess.h>
#include <toolbox/MacErrors.h>
#include <toolbox/Movies.h>

#include <cstdlib>

namespace {

constexpr const char* kType = "SoundArchitecture";

using UQTAccessTest = LateBoundTest;

TEST_F(UQTAccessTest, RegistersForTheProcess) {
    EXPECT_EQ(noErr, UQTAccess::Register("Type", "key", false));
    EXPECT_EQ(Calls{"key"}, fakes::KeysOf("Type", false));
    EXPECT_EQ(Calls(), fakes::KeysOf("Type", true));
    EXPECT_EQ((Calls{"c2pstrcpy()", "NewHandle(3)", "QTRegisterAccessKey(Type, 0, key)", "DisposeHandle(3)"}),
              fakes::CallLog());
}

TEST_F(UQTAccessTest, RegistersForTheSystem) {
    EXPECT_EQ(noErr, UQTAccess::Register("Type", "key", true));
    EXPECT_EQ(1U, Count("QTRegisterAccessKey"));
    EXPECT_EQ(Calls{"key"}, fakes::KeysOf("Type", true));
    EXPECT_EQ(Calls(), fakes::KeysOf("Type", false));
}

TEST_F(UQTAccessTest, UnregistersAtItsScope) {
    fakes::PutKey("Type", "key", true);
    fakes::PutKey("Type", "key", false);
    fakes::PutKey("Type", "other", true);
    EXPECT_EQ(noErr, UQTAccess::Unregister("Type", "key", true));
    EXPECT_EQ(Calls{"other"}, fakes::KeysOf("Type", true));
    EXPECT_EQ(Calls{"key"}, fakes::KeysOf("Type", false));
    EXPECT_EQ(
        (Calls{"c2pstrcpy()", "NewHandle(3)", "QTUnregisterAccessKey(Type, 1, key)", "DisposeHandle(3)"}),
        fakes::CallLog());
    EXPECT_EQ(noErr, UQTAccess::Unregister("Type", "key", false));
    EXPECT_EQ(Calls(), fakes::KeysOf("Type", false));
}

TEST_F(UQTAccessTest, EmptyKeyAndType) {
    EXPECT_EQ(noErr, UQTAccess::Register("", "", false));
    EXPECT_EQ("QTRegisterAccessKey(, 0, )", fakes::CallLog()[2]);
    EXPECT_TRUE(UQTAccess::IsRegistered("", "", false));
    EXPECT_FALSE(UQTAccess::IsRegistered("", "a", false));
}

TEST_F(UQTAccessTest, TypeIsCutAt255Bytes) {
    const std::string type(300, 't');
    const std::string key(300, 'k');
    EXPECT_EQ(noErr, UQTAccess::Register(type.c_str(), key.c_str(), false));
    EXPECT_EQ(Calls{key}, fakes::KeysOf(type.substr(0, 255), false));
    EXPECT_TRUE(UQTAccess::IsRegistered(type.substr(0, 255).c_str(), key.c_str(), false));
    EXPECT_TRUE(UQTAccess::IsRegistered(type.c_str(), key.c_str(), false));
    EXPECT_EQ(noErr, UQTAccess::Unregister(type.c_str(), key.c_str(), false));
    EXPECT_EQ(Calls(), fakes::KeysOf(type.substr(0, 255), false));
}

TEST_F(UQTAccessTest, StatusOfTheToolboxIsPassedOn) {
    fakes::FailCall(2);
    EXPECT_EQ(fakes::kErrorOfRegister, UQTAccess::Register("Type", "key", false));
    fakes::FailCall(2);
    EXPECT_EQ(fakes::kErrorOfUnregister, UQTAccess::Unregister("Type", "key", false));
    EXPECT_EQ(2U, Count("DisposeHandle"));
}

TEST_F(UQTAccessTest, KeyWithoutMemoryIsForTheToolboxToRefuse) {
    fakes::FailCall(1);
    EXPECT_EQ(fakes::kErrorOfNoKey, UQTAccess::Register("Type", "key", false));
    fakes::FailCall(1);
    EXPECT_EQ(fakes::kErrorOfNoKey, UQTAccess::Unregister("Type", "key", false));
}

TEST_F(UQTAccessTest, IsRegisteredAtItsScope) {
    fakes::PutKey("Type", "key", true);
    EXPECT_TRUE(UQTAccess::IsRegistered("Type", "key", true));
    EXPECT_EQ((Calls{"c2pstrcpy()", "QTGetAccessKeys(Type, 1)", "QTCountChildrenOfType()",
                     "QTFindChildByIndex(1)", "QTGetAtomDataPtr()", "QTDisposeAtomContainer()"}),
              fakes::CallLog());
    EXPECT_FALSE(UQTAccess::IsRegistered("Type", "key", false));
    EXPECT_FALSE(UQTAccess::IsRegistered("Other", "key", true));
}

TEST_F(UQTAccessTest, IsRegisteredWithoutRegardToCase) {
    fakes::PutKey("Type", "CoreAudio", false);
    for (const char* key : {"CoreAudio", "coreaudio", "COREAUDIO", "cOREaUDIO"})
        EXPECT_TRUE(UQTAccess::IsRegistered("Type", key, false)) << key;
}

TEST_F(UQTAccessTest, PrefixIsNotRegistered) {
    fakes::PutKey("Type", "coreaudio", false);
    for (const char* key : {"", "c", "coreaudi", "coreaudio2", "xoreaudio", "coreaudix"})
        EXPECT_FALSE(UQTAccess::IsRegistered("Type", key, false)) << key;
}

TEST_F(UQTAccessTest, KeyWithNULIsNotTheTextBeforeIt) {
    fakes::ScriptContainer({{kAccessKeyAtomType, std::string("key\0more", 8)}});
    EXPECT_FALSE(UQTAccess::IsRegistered("Type", "key", false));
}

TEST_F(UQTAccessTest, LooksAtAllKeysInOrder) {
    for (const char* key : {"one", "two", "three"})
        fakes::PutKey("Type", key, false);
    EXPECT_TRUE(UQTAccess::IsRegistered("Type", "three", false));
    EXPECT_EQ("QTFindChildByIndex(3)", fakes::CallLog()[7]);
    EXPECT_FALSE(UQTAccess::IsRegistered("Type", "four", false));
}

TEST_F(UQTAccessTest, StopsAtTheFirst) {
    fakes::ScriptContainer({{kAccessKeyAtomType, "one"}, {kAccessKeyAtomType, "ONE"}});
    EXPECT_TRUE(UQTAccess::IsRegistered("Type", "one", false));
    EXPECT_EQ(1U, Count("QTFindChildByIndex"));
}

TEST_F(UQTAccessTest, NoKeys) {
    EXPECT_FALSE(UQTAccess::IsRegistered("Type", "", false));
    EXPECT_EQ(1U, Count("QTDisposeAtomContainer"));
}

TEST_F(UQTAccessTest, AtomsOfOtherTypesDoNotCount) {
    fakes::ScriptContainer({{FourChars("abcd"), "key"}});
    EXPECT_FALSE(UQTAccess::IsRegistered("Type", "key", false));
    fakes::ScriptContainer(
        {{FourChars("abcd"), "no"}, {kAccessKeyAtomType, "key"}, {FourChars("abcd"), "no"}});
    EXPECT_TRUE(UQTAccess::IsRegistered("Type", "key", false));
}

TEST_F(UQTAccessTest, PassesByAtomsThatAreNot) {
    fakes::ScriptedAtom gap{kAccessKeyAtomType, "key"};
    gap.isFound = false;
    fakes::ScriptedAtom failing{kAccessKeyAtomType, "key"};
    failing.dataStatus = notLeafAtomErr;
    fakes::ScriptedAtom pointerless{kAccessKeyAtomType, "key"};
    pointerless.hasPointer = false;

    fakes::ScriptContainer({gap, failing, pointerless});
    EXPECT_FALSE(UQTAccess::IsRegistered("Type", "key", false));
    EXPECT_EQ(2U, Count("QTGetAtomDataPtr"));
    fakes::ScriptContainer({gap, failing, pointerless, {kAccessKeyAtomType, "key"}});
    EXPECT_TRUE(UQTAccess::IsRegistered("Type", "key", false));
}

TEST_F(UQTAccessTest, KeysCannotBeHad) {
    fakes::PutKey("Type", "key", false);
    fakes::FailCall(1);
    EXPECT_FALSE(UQTAccess::IsRegistered("Type", "key", false));
    EXPECT_EQ("QTGetAccessKeys(Type, 0)", fakes::CallLog().back());
}

TEST_F(UQTAccessTest, ContainerOfAFailureIsDisposedOf) {
    fakes::PutKey("Type", "key", false);
    fakes::FailWithContainer();
    EXPECT_FALSE(UQTAccess::IsRegistered("Type", "key", false));
    EXPECT_EQ(0U, Count("QTCountChildrenOfType"));
    EXPECT_EQ(1U, Count("QTDisposeAtomContainer"));
}

TEST_F(UQTAccessTest, ToolboxIsInitializedUnlessItSaysOtherwise) {
    EXPECT_FALSE(UQTAccess::IsMovieToolboxInitialized());
    EnterMovies();
    EXPECT_TRUE(UQTAccess::IsMovieToolboxInitialized());
    for (const OSErr sticky : {OSErr{0}, OSErr{-2010}, OSErr{2020}, OSErr{-2021}, OSErr{-1}}) {
        fakes::SetStickyError(sticky);
        EXPECT_TRUE(UQTAccess::IsMovieToolboxInitialized()) << sticky;
    }
    fakes::SetStickyError(-2020);
    EXPECT_FALSE(UQTAccess::IsMovieToolboxInitialized());
}

TEST_F(UQTAccessTest, GetsTheArchitecture) {
    PutQuickTime();
    sScript.value = 0x89ABCDEF;
    unsigned long architecture = ~0UL;
    EXPECT_EQ(noErr, UQTAccess::GetSoundManagerArchitecture(architecture));
    EXPECT_EQ(0x89ABCDEFUL, architecture);
    EXPECT_EQ("GetProcess()", fakes::CallLog().back());
    EXPECT_EQ(FourChars("qges"), sScript.propertyClass);
    EXPECT_EQ(FourChars("snda"), sScript.propertyID);
    EXPECT_EQ(4U, sScript.inSize);
    EXPECT_EQ(nullptr, sScript.out[1]);
}

TEST_F(UQTAccessTest, ArchitectureIsZeroOnFailure) {
    PutQuickTime();
    sScript.value = 5;
    sScript.status = kQTPropertyNotSupportedErr;
    unsigned long architecture = 7;
    EXPECT_EQ(kQTPropertyNotSupportedErr, UQTAccess::GetSoundManagerArchitecture(architecture));
    EXPECT_EQ(0UL, architecture);
}

TEST_F(UQTAccessTest, ArchitectureWithoutPropertyFunctions) {
    unsigned long architecture = 7;
    EXPECT_EQ(-4, UQTAccess::GetSoundManagerArchitecture(architecture));  // without the framework
    EXPECT_EQ(0UL, architecture);
    PutQuickTime({"QTGetProcessProperty"});
    architecture = 7;
    EXPECT_EQ(-4, UQTAccess::GetSoundManagerArchitecture(architecture));
    EXPECT_EQ(0UL, architecture);
}

class SoundArchitectureTest : public LateBoundTest {
  protected:
    SoundArchitectureTest() {
        PutQuickTime();
        unsetenv("QuickTimeSafety");
    }

    static std::string Safety() {
        const char* const value = std::getenv("QuickTimeSafety");
        return value != nullptr ? value : "(not set)";
    }
    // Calls that change or ask something of the toolbox.
    static Calls Steps() {
        Calls steps;
        for (const std::string& call : fakes::CallLog())
            if (call.rfind("QTRegister", 0) == 0 || call.rfind("QTUnregister", 0) == 0 ||
                call.rfind("QTGetAccess", 0) == 0 || call.find("Movies()") != std::string::npos ||
                call == "GetMoviesStickyError()" || call == "GetProcess()")
                steps.push_back(call);
        return steps;
    }
};

constexpr const char* kAsksKeys = "QTGetAccessKeys(SoundArchitecture, 1)";

TEST_F(SoundArchitectureTest, FromCoreAudio) {
    fakes::PutKey(kType, "coreaudio", true);
    EXPECT_EQ(noErr, UQTAccess::SetSoundManagerArchitecture());
    EXPECT_EQ((Calls{"GetMoviesStickyError()", "EnterMovies()", kAsksKeys,
                     "QTUnregisterAccessKey(SoundArchitecture, 1, coreaudio)", kAsksKeys,
                     "QTRegisterAccessKey(SoundArchitecture, 1, soundmgr)", "ExitMovies()", "EnterMovies()",
                     "GetProcess()"}),
              Steps());
    EXPECT_EQ(Calls{"soundmgr"}, fakes::KeysOf(kType, true));
    EXPECT_EQ(Calls(), fakes::KeysOf(kType, false));
    EXPECT_EQ(1, fakes::EnteredCount());
    EXPECT_EQ("OFF", Safety());
}

TEST_F(SoundArchitectureTest, WithoutKeys) {
    EnterMovies();
    EXPECT_EQ(noErr, UQTAccess::SetSoundManagerArchitecture());
    EXPECT_EQ((Calls{"EnterMovies()", "GetMoviesStickyError()", kAsksKeys, kAsksKeys,
                     "QTRegisterAccessKey(SoundArchitecture, 1, soundmgr)", "ExitMovies()", "EnterMovies()",
                     "GetProcess()"}),
              Steps());
    EXPECT_EQ(1, fakes::EnteredCount());
}

TEST_F(SoundArchitectureTest, OnlyCoreAudioIsToGo) {
    fakes::PutKey(kType, "soundmgr", true);
    fakes::PutKey(kType, "coreaudio", true);
    EXPECT_EQ(noErr, UQTAccess::SetSoundManagerArchitecture());
    EXPECT_EQ(0U, Count("QTRegisterAccessKey"));
    EXPECT_EQ(1U, Count("ExitMovies"));
    EXPECT_EQ(Calls{"soundmgr"}, fakes::KeysOf(kType, true));
}

TEST_F(SoundArchitectureTest, SecondCallChangesNothing) {
    fakes::PutKey(kType, "coreaudio", true);
    EXPECT_EQ(noErr, UQTAccess::SetSoundManagerArchitecture());
    const std::size_t steps = Steps().size();
    EXPECT_EQ(noErr, UQTAccess::SetSoundManagerArchitecture());
    const Calls all = Steps();
    EXPECT_EQ((Calls{"GetMoviesStickyError()", kAsksKeys, kAsksKeys, "GetProcess()"}),
              Calls(all.begin() + static_cast<long>(steps), all.end()));
    EXPECT_EQ(Calls{"soundmgr"}, fakes::KeysOf(kType, true));
}

TEST_F(SoundArchitectureTest, EntersWithoutRestartWhenNothingChanges) {
    fakes::PutKey(kType, "SoundMgr", true);
    EXPECT_EQ(noErr, UQTAccess::SetSoundManagerArchitecture());
    EXPECT_EQ(1U, Count("EnterMovies"));
    EXPECT_EQ(0U, Count("ExitMovies"));
    EXPECT_EQ(1, fakes::EnteredCount());
}

TEST_F(SoundArchitectureTest, KeysOfTheProcessDoNotCount) {
    fakes::PutKey(kType, "soundmgr", false);
    fakes::PutKey(kType, "coreaudio", false);
    EXPECT_EQ(noErr, UQTAccess::SetSoundManagerArchitecture());
    EXPECT_EQ((Calls{"soundmgr", "coreaudio"}), fakes::KeysOf(kType, false));
    EXPECT_EQ(Calls{"soundmgr"}, fakes::KeysOf(kType, true));
}

TEST_F(SoundArchitectureTest, EnvironmentIsOverwritten) {
    setenv("QuickTimeSafety", "ON", 1);
    EXPECT_EQ(noErr, UQTAccess::SetSoundManagerArchitecture());
    EXPECT_EQ("OFF", Safety());
}

TEST_F(SoundArchitectureTest, EnvironmentIsSetBeforeAnythingFails) {
    fakes::FailCall(1);
    EXPECT_EQ(fakes::kErrorOfEnter, UQTAccess::SetSoundManagerArchitecture());
    EXPECT_EQ("OFF", Safety());
    EXPECT_EQ((Calls{"GetMoviesStickyError()", "EnterMovies()"}), Steps());
}

TEST_F(SoundArchitectureTest, StatusOfTheLastStepIsReturned) {
    sScript.status = -9;
    EXPECT_EQ(-9, UQTAccess::SetSoundManagerArchitecture());
    EXPECT_EQ(Calls{"soundmgr"}, fakes::KeysOf(kType, true));
    EXPECT_EQ(1, fakes::EnteredCount());
}

TEST_F(SoundArchitectureTest, WithoutPropertyFunctions) {
    PutEmptyQuickTime();
    EXPECT_EQ(-4, UQTAccess::SetSoundManagerArchitecture());
    EXPECT_EQ(Calls{"soundmgr"}, fakes::KeysOf(kType, true));
}

// What each failing call, in the order of calls, leads to: the status, the keys that are left, and how often
// the toolbox is entered beyond left. Nothing is rolled back.
struct Outcome {
    OSStatus status;
    Calls keys;
    int enteredCount;
};

TEST_F(SoundArchitectureTest, EveryFailingCallInTurn) {
    const Outcome outcomes[] = {
        {fakes::kErrorOfEnter, {"coreaudio"}, 0},       // entering
        {noErr, {"coreaudio", "soundmgr"}, 1},          // the keys, which then hold no "coreaudio"
        {fakes::kErrorOfNoKey, {"coreaudio"}, 1},       // memory for the key to unregister
        {fakes::kErrorOfUnregister, {"coreaudio"}, 1},  // unregistering
        {noErr, {"soundmgr"}, 1},                       // the keys, which then hold no "soundmgr"
        {fakes::kErrorOfNoKey, {}, 1},                  // memory for the key to register
        {fakes::kErrorOfRegister, {}, 1},               // registering
        {fakes::kErrorOfEnter, {"soundmgr"}, 0},        // entering again
        {-4, {"soundmgr"}, 1},                          // the folder of frameworks
        {-4, {"soundmgr"}, 1},                          // its URL
        {-4, {"soundmgr"}, 1},                          // the framework's URL
        {-4, {"soundmgr"}, 1},                          // its bundle
        {-4, {"soundmgr"}, 1},                          // its executable
        {noErr, {"soundmgr"}, 1}                        // none
    };
    int failing = 0;
    for (const Outcome& outcome : outcomes) {
        fakes::StartScenario();
        ForgetTable();
        PutQuickTime();
        fakes::PutKey(kType, "coreaudio", true);
        fakes::FailCall(++failing);
        EXPECT_EQ(outcome.status, UQTAccess::SetSoundManagerArchitecture()) << failing;
        EXPECT_EQ(failing != 14, fakes::FailureDelivered()) << failing;
        EXPECT_EQ(outcome.keys, fakes::KeysOf(kType, true)) << failing;
        EXPECT_EQ(outcome.enteredCount, fakes::EnteredCount()) << failing;
        EXPECT_EQ(0, fakes::LiveHandles()) << failing;
        EXPECT_EQ(0, fakes::LiveURLs()) << failing;
        if (failing != 14) fakes::ForgetLiveBundles();
    }
}

}  // namespace
