// The sound tracks of the file that a movie came from, for hosts that let their users choose.
#pragma once

#include <toolbox/Movies.h>

TOOLBOX_EXTERN_C_BEGIN

typedef struct MovieSoundTrackInfo {
    OSType format;        // data format of its first sample description
    char formatName[64];  // for people: "AAC LC"; "" when only the data format is known
    char language[4];     // ISO 639-2: "deu"; "" when the file does not tell
    // Of the decoded sound where it is part of the movie, else as described; 0: not known.
    UInt32 sampleRateHz;
    UInt32 channelCount;
    Boolean isEnabled;
    Boolean isAAC;
    Boolean isTaken;  // it is the movie's first sound track: the one that is exported
} MovieSoundTrackInfo;

// All of them, those too that are no tracks of the movie because they are disabled.
TOOLBOX_EXPORT SInt32 GetMovieSoundTrackCount(Movie inMovie);
// inIndex from 1, in file order: the number that MovieOpenOptions takes. paramErr for a null argument,
// trackNotInMovie for an index out of range; outInfo is then unchanged.
TOOLBOX_MUST_USE OSErr GetMovieIndSoundTrackInfo(Movie inMovie, SInt32 inIndex, MovieSoundTrackInfo* outInfo);

TOOLBOX_EXTERN_C_END
