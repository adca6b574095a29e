// The texts that a file carries about its sound, for hosts that show or keep them.
#pragma once

#include <toolbox/Movies.h>

TOOLBOX_EXTERN_C_BEGIN

enum {
    kMovieTagTitle = 1,
    kMovieTagArtist,
    kMovieTagAlbum,
    kMovieTagDate,
    kMovieTagGenre,
    kMovieTagTrackNumber,  // "3" or "3/12"
    kMovieTagComment,
    kMovieTagCopyright,
    kMovieTagComposer,
    kMovieTagEncoder
};

// One of them, as the file has it: UTF-8 where the file keeps to its own rules. Null when there is none, and
// for a null movie. Borrowed: good as long as the movie.
TOOLBOX_EXPORT const char* GetMovieTag(Movie inMovie, UInt32 inTag);

TOOLBOX_EXTERN_C_END
