// How bundles load code.
#pragma once

namespace toolbox::corefoundation {

// Loads an object with all its symbols bound; null when it cannot be loaded.
void* LoadObject(const char* inPath);
void UnloadObject(void* inObject);

// What the object itself defines, and none of the libraries beneath it; or null.
void* FindSymbol(void* inObject, const char* inName);

}  // namespace toolbox::corefoundation
