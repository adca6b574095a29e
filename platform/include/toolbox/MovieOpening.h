// Opening a movie with more said than the historic call takes: which sound is wanted, and who may stop it.
#pragma once

#include <toolbox/Movies.h>

TOOLBOX_EXTERN_C_BEGIN

// Whether opening is to stop; anything but 0 stops it, and is not asked again. Called on the thread that
// opens, before each read of the file and between packets, so it should be quick. It must not throw, nor open
// a movie itself.
typedef Boolean (*MovieStopProc)(void* inContext);

// Fields are only ever added, and 0 always means what a caller gets who does not know the field.
typedef struct MovieOpenOptions {
    UInt32 byteCount;          // sizeof (MovieOpenOptions), as the caller knows it
    SInt32 soundTrack;         // among the file's sound tracks, from 1; 0: the first that is enabled
    MovieStopProc shouldStop;  // may be null
    void* stopContext;         // passed through
} MovieOpenOptions;

// As NewMovieFromDataRef. The wanted sound track stands before the movie's others, enabled or not, so that it
// is what is described, reported and exported; the movie is otherwise that of the file.
//   inOptions  may be null
// Also trackNotInMovie when the file has fewer sound tracks, userCanceledErr (which leaves no sticky error)
// when shouldStop said so, paramErr for a byteCount that this toolbox does not know or a soundTrack below 0.
TOOLBOX_MUST_USE OSErr NewMovieFromDataRefWithOptions(Movie* outMovie, Handle inDataRef, OSType inDataRefType,
                                                      const MovieOpenOptions* inOptions);

TOOLBOX_EXTERN_C_END
