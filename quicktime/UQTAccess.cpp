#include <quicktime/UQTAccess.h>
#include <quicktime/UQTProperties.h>
#include <strings.h>
#include <toolbox/AccessKeys.h>
#include <toolbox/AtomContainers.h>
#include <toolbox/MacErrors.h>
#include <toolbox/MacMemory.h>
#include <toolbox/Movies.h>
#include <toolbox/TextEncoding.h>

#include <cstdlib>
#include <cstring>
#include <limits>

namespace {

constexpr const char* kArchitectureKeyType = "SoundArchitecture";
constexpr const char* kCoreAudioKey = "coreaudio";
constexpr const char* kSoundManagerKey = "soundmgr";
constexpr OSType kSettingsClass = FourChars("qges");
constexpr OSType kSoundArchitectureID = FourChars("snda");

SInt32 Flags(bool inSystemWide) {
    return inSystemWide ? kAccessKeySystemFlag : 0;
}

// The bytes of a text without its NUL; null when they cannot be had. The caller disposes of it.
Handle NewTextHandle(const char* inText) {
    constexpr std::size_t kMax = std::numeric_limits<Size>::max();
    const std::size_t byteCount = std::strlen(inText);
    const Handle handle = NewHandle(byteCount <= kMax ? static_cast<Size>(byteCount) : Size{-1});
    if (handle != nullptr) std::memcpy(*handle, inText, byteCount);
    return handle;
}

using KeyFunction = OSErr (*)(ConstStr255Param inType, SInt32 inFlags, Handle inKey);

// A key without memory goes to the toolbox as null: to say what is wrong is the toolbox's part.
OSErr ChangeKey(KeyFunction inChange, const char* inKeyType, const char* inKey, bool inSystemWide) {
    Str255 keyType;
    c2pstrcpy(keyType, inKeyType);
    const Handle key = NewTextHandle(inKey);
    const OSErr error = inChange(keyType, Flags(inSystemWide), key);
    DisposeHandle(key);
    return error;
}

bool IsKeyAtom(QTAtomContainer inContainer, QTAtom inAtom, const char* inKey) {
    SInt32 byteCount = 0;
    Ptr data = nullptr;
    if (QTGetAtomDataPtr(inContainer, inAtom, &byteCount, &data) != noErr || data == nullptr) return false;
    if (byteCount < 0 || static_cast<std::size_t>(byteCount) != std::strlen(inKey)) return false;
    return strncasecmp(inKey, data, static_cast<std::size_t>(byteCount)) == 0;
}

bool HasKey(QTAtomContainer inContainer, const char* inKey) {
    const int count = QTCountChildrenOfType(inContainer, kParentAtomIsContainer, kAccessKeyAtomType);
    for (int index = 1; index <= count; ++index) {
        QTAtomID id = 0;
        const QTAtom atom = QTFindChildByIndex(inContainer, kParentAtomIsContainer, kAccessKeyAtomType,
                                               static_cast<SInt16>(index), &id);
        if (atom != 0 && IsKeyAtom(inContainer, atom, inKey)) return true;
    }
    return false;
}

// Makes the keys those of the Sound Manager.
OSErr ChooseSoundManagerKeys(bool& outChanged) {
    outChanged = false;
    if (UQTAccess::IsRegistered(kArchitectureKeyType, kCoreAudioKey, true)) {
        const OSErr error = UQTAccess::Unregister(kArchitectureKeyType, kCoreAudioKey, true);
        if (error != noErr) return error;
        outChanged = true;
    }
    if (!UQTAccess::IsRegistered(kArchitectureKeyType, kSoundManagerKey, true)) {
        const OSErr error = UQTAccess::Register(kArchitectureKeyType, kSoundManagerKey, true);
        if (error != noErr) return error;
        outChanged = true;
    }
    return noErr;
}

}  // namespace

OSErr UQTAccess::Register(const char* inKeyType, const char* inKey, bool inSystemWide) {
    return ChangeKey(QTRegisterAccessKey, inKeyType, inKey, inSystemWide);
}

OSErr UQTAccess::Unregister(const char* inKeyType, const char* inKey, bool inSystemWide) {
    return ChangeKey(QTUnregisterAccessKey, inKeyType, inKey, inSystemWide);
}

bool UQTAccess::IsRegistered(const char* inKeyType, const char* inKey, bool inSystemWide) {
    Str255 keyType;
    c2pstrcpy(keyType, inKeyType);
    QTAtomContainer container = nullptr;
    const bool isFound =
        QTGetAccessKeys(keyType, Flags(inSystemWide), &container) == noErr && HasKey(container, inKey);
    if (container != nullptr) QTDisposeAtomContainer(container);
    return isFound;
}

bool UQTAccess::IsMovieToolboxInitialized() {
    return static_cast<SInt16>(GetMoviesStickyError()) != movieToolboxUninitialized;
}

OSStatus UQTAccess::GetSoundManagerArchitecture(unsigned long& outArchitecture) {
    // The value has 32 bits, and an unsigned long may have more.
    UInt32 architecture = 0;
    const OSStatus status = UQTProperties::GetProcessProperty(kSettingsClass, kSoundArchitectureID,
                                                              sizeof architecture, &architecture, nullptr);
    outArchitecture = status == noErr ? architecture : 0;
    return status;
}

OSStatus UQTAccess::SetSoundManagerArchitecture() {
    setenv("QuickTimeSafety", "OFF", 1);
    if (!IsMovieToolboxInitialized()) {
        const OSErr error = EnterMovies();
        if (error != noErr) return error;
    }
    bool isChanged;
    OSErr error = ChooseSoundManagerKeys(isChanged);
    if (error != noErr) return error;
    if (isChanged) {
        ExitMovies();
        error = EnterMovies();
        if (error != noErr) return error;
    }
    unsigned long architecture;
    return GetSoundManagerArchitecture(architecture);
}
