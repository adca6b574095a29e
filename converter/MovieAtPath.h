// From a path to a movie, with the reason when there is none.
#pragma once

#include <toolbox/MovieOpening.h>

//   inOptions  null: opened by the historic call
//   outMovie   null on failure; else the caller disposes of it
// A status of FSPathMakeRef, of FSNewAliasMinimal or of the call that opens.
[[nodiscard]] OSStatus OpenMovieAtPath(const char* inPath, const MovieOpenOptions* inOptions,
                                       Movie* outMovie);
