// For tests alone.
#pragma once

namespace toolbox::movies {

// A component that was opened before is looked up anew. While no other thread imports.
void ForgetGeneralImporter();

}  // namespace toolbox::movies
