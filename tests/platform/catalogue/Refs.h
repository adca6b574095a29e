// References and paths in a test's short form.
#pragma once

#include <toolbox/Files.h>

#include <string>

namespace test_files {

inline OSStatus MakeRef(const std::string& inPath, FSRef* outRef, Boolean* outIsDirectory = nullptr) {
    return FSPathMakeRef(reinterpret_cast<const UInt8*>(inPath.c_str()), outRef, outIsDirectory);
}

// The path, without following its last name.
inline OSStatus MakeRefOfItself(const std::string& inPath, FSRef* outRef, Boolean* outIsDirectory = nullptr) {
    return FSPathMakeRefWithOptions(reinterpret_cast<const UInt8*>(inPath.c_str()),
                                    kFSPathMakeRefDoNotFollowLeafSymlink, outRef, outIsDirectory);
}

// The path, or "status -43" for instance.
inline std::string PathOf(const FSRef& inRef) {
    UInt8 path[8192];
    const OSStatus status = FSRefMakePath(&inRef, path, sizeof(path));
    return status == noErr ? reinterpret_cast<char*>(path) : "status " + std::to_string(status);
}

}  // namespace test_files
