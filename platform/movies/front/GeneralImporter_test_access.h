// For tests alone: the calls through which the general importer's component is found and opened.
#pragma once

namespace toolbox::movies {

struct GeneralImporterCalls {
    // The path of the object that holds the toolbox's code, in room for inSize characters; false when
    // unknown.
    bool (*ownPath)(char* outPath, unsigned long inSize);
    void* (*open)(const char* inPath);
    void* (*symbol)(void* inObject, const char* inName);
};

// While no other thread imports. Also forgets a component that was opened before.
void ReplaceGeneralImporterCalls(const GeneralImporterCalls& inCalls);
GeneralImporterCalls RealGeneralImporterCalls();

}  // namespace toolbox::movies
