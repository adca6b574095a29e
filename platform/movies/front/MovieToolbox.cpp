// Entering and leaving the movie toolbox, its sticky error, and what entering it chooses.

#include "MovieToolbox.h"

#include "keys/AccessKeyFile.h"
#include "keys/ProcessKeys.h"
#include "os/Mutex.h"

#include <toolbox/MacErrors.h>
#include <toolbox/Movies.h>
#include <toolbox/SoundArchitecture.h>

#include <algorithm>
#include <cstdint>
#include <new>
#include <string_view>

namespace {

using toolbox::keys::AccessKeyList;

constexpr std::string_view kArchitectureType = "SoundArchitecture";

struct State {
    toolbox::os::Mutex mutex;
    std::uint64_t enterCount GUARDED_BY(mutex) = 0;
    OSErr stickyError GUARDED_BY(mutex) = noErr;
    OSType soundArchitecture GUARDED_BY(mutex) = kSoundArchitectureCoreAudio;
};
State sState;

// 0 when the keys choose none.
OSType ChosenBy(const AccessKeyList& inKeys) {
    const auto keys = inKeys.KeysOf(kArchitectureType);
    const auto has = [&](std::string_view inKey) {
        return std::any_of(keys.begin(), keys.end(), [&](std::string_view inHeld) {
            return toolbox::keys::IsSameKeyText(inHeld, inKey);
        });
    };
    if (has("coreaudio")) return kSoundArchitectureCoreAudio;
    return has("soundmgr") ? kSoundArchitectureSoundManager : 0;
}

OSStatus ChooseArchitecture(OSType& outArchitecture) {
    outArchitecture = kSoundArchitectureCoreAudio;
    try {
        OSType chosen = ChosenBy(toolbox::keys::CopyProcessKeys());
        if (chosen == 0) {
            AccessKeyList keys;
            const OSStatus status = toolbox::keys::LoadSystemKeys(keys);
            if (status != noErr) return status;
            chosen = ChosenBy(keys);
        }
        if (chosen != 0) outArchitecture = chosen;
        return noErr;
    } catch (const std::bad_alloc&) {
        return memFullErr;
    }
}

}  // namespace

OSErr toolbox::movies::NoteMoviesError(OSErr inError) {
    if (inError == noErr) return noErr;
    const toolbox::os::MutexLock lock(sState.mutex);
    if (sState.stickyError == noErr) sState.stickyError = inError;
    return inError;
}

OSErr EnterMovies() {
    const toolbox::os::MutexLock lock(sState.mutex);
    // A second caller waits until the first has chosen.
    if (sState.enterCount++ == 0)
        sState.stickyError = static_cast<OSErr>(ChooseArchitecture(sState.soundArchitecture));
    return noErr;
}

void ExitMovies() {
    const toolbox::os::MutexLock lock(sState.mutex);
    if (sState.enterCount > 0) --sState.enterCount;
}

OSErr GetMoviesStickyError() {
    const toolbox::os::MutexLock lock(sState.mutex);
    return sState.enterCount == 0 ? static_cast<OSErr>(movieToolboxUninitialized) : sState.stickyError;
}

void ClearMoviesStickyError() {
    const toolbox::os::MutexLock lock(sState.mutex);
    sState.stickyError = noErr;
}

OSType GetSoundArchitecture() {
    const toolbox::os::MutexLock lock(sState.mutex);
    return sState.soundArchitecture;
}

OSErr SetSoundArchitecture(OSType inArchitecture) {
    if (inArchitecture != kSoundArchitectureCoreAudio && inArchitecture != kSoundArchitectureSoundManager)
        return paramErr;
    const toolbox::os::MutexLock lock(sState.mutex);
    sState.soundArchitecture = inArchitecture;
    return noErr;
}
