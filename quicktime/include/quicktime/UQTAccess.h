// The movie toolbox's settings that outlive a movie: its access keys, whether it was entered, and the
// architecture that sound is played by.
//
// An access key is a text registered under a type, for this process or for the whole system. Types are cut at
// 255 bytes; keys are the bytes before their NUL. Neither may be null. For one thread at a time; nothing here
// throws.
#pragma once

#include <foundation/MirtalExport.h>
#include <toolbox/MacTypes.h>

class MIRTAL_EXPORT UQTAccess {
  public:
    // The toolbox's own status.
    [[nodiscard]] static OSErr Register(const char* inKeyType, const char* inKey, bool inSystemWide);
    [[nodiscard]] static OSErr Unregister(const char* inKeyType, const char* inKey, bool inSystemWide);
    // Case does not count, in the way of strncasecmp. False also when the toolbox cannot tell.
    static bool IsRegistered(const char* inKeyType, const char* inKey, bool inSystemWide);

    // False only if the toolbox's sticky error says that it was not entered.
    static bool IsMovieToolboxInitialized();

    // The process property 'qges', 'snda', a 32-bit value; 0 on failure. The status of
    // UQTProperties::GetProcessProperty.
    [[nodiscard]] static OSStatus GetSoundManagerArchitecture(unsigned long& outArchitecture);
    // From Core Audio to the Sound Manager, system-wide: the access keys of the type "SoundArchitecture" are
    // changed where they need to be, and the toolbox is then left and entered again, so that it takes notice.
    // Sets the environment variable QuickTimeSafety to OFF, and enters the toolbox if that was not done; it
    // stays entered. The first status that is a failure ends it, with what was done until then left as it is.
    // Entering is counted, and leaving once is no restart for a toolbox that was entered more than once: the
    // keys are changed and the answer is noErr, but every owner plays by the old architecture until all of
    // them have left and one enters anew. Calling again does not help, as no key is left to change.
    [[nodiscard]] static OSStatus SetSoundManagerArchitecture();
};
