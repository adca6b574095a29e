// The state of the movie toolbox as a whole.
#pragma once

#include <toolbox/MacTypes.h>

namespace toolbox::movies {

// Keeps a failure as the sticky error, if it is the first since that was cleared, and returns inError. Any
// thread may call it.
OSErr NoteMoviesError(OSErr inError);

}  // namespace toolbox::movies
