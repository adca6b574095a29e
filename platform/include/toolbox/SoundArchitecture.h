// Which of two architectures the movie toolbox plays sound with: a setting of the process that its programs
// read and write. Nothing here plays sound, so it changes no byte of what is exported.
//
// It follows the access keys of type "SoundArchitecture" when the toolbox is entered: "coreaudio" chooses
// Core Audio; otherwise "soundmgr" chooses the Sound Manager. Where the keys of this process choose none, the
// system-wide ones do; with none there either, or with keys that cannot be read (which leaves a sticky
// error), it is Core Audio. Registering a key therefore shows after the next restart, ExitMovies and
// EnterMovies. Before the toolbox was entered it is Core Audio. Any thread may call these.
#pragma once

#include <toolbox/MacErrors.h>
#include <toolbox/MacTypes.h>
#include <toolbox/ToolboxExport.h>

TOOLBOX_EXTERN_C_BEGIN

#ifdef __cplusplus
constexpr OSType kSoundArchitectureCoreAudio = FourChars("caud");
constexpr OSType kSoundArchitectureSoundManager = FourChars("smgr");
#endif

TOOLBOX_EXPORT OSType GetSoundArchitecture(void);
// Until the toolbox is next restarted. paramErr for anything but the two.
TOOLBOX_MUST_USE OSErr SetSoundArchitecture(OSType inArchitecture);

TOOLBOX_EXTERN_C_END
