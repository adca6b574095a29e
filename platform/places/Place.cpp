#include "places/Place.h"

#include <algorithm>

namespace toolbox::files {

namespace {

constexpr int kPlaceOnly = O_PATH | O_DIRECTORY;

int OpenAs(int inFlags, int inFolder, const char* inPath, Place& outPlace) {
    const int error = os::OpenFile(inFolder, inPath, inFlags, outPlace.folder);
    return error != 0 ? error : os::GetDescriptorStatus(outPlace.folder.Number(), outPlace.folderStatus);
}

}  // namespace

int OpenFolder(const std::string& inPath, Place& outPlace) {
    return OpenAs(kPlaceOnly, AT_FDCWD, inPath.c_str(), outPlace);
}

int OpenFolderAt(int inFolder, const char* inName, Place& outPlace) {
    return OpenAs(kPlaceOnly | O_NOFOLLOW, inFolder, inName, outPlace);
}

int OpenPlaceOf(const std::string& inItemPath, Place& outPlace) {
    const std::size_t nameStart = inItemPath.rfind('/') + 1;
    outPlace.name = inItemPath.substr(nameStart);
    return OpenFolder(nameStart == 0 ? "." : inItemPath.substr(0, nameStart), outPlace);
}

int GetStatus(const Place& inPlace, os::ItemStatus& outStatus) {
    return os::GetStatusAt(inPlace.folder.Number(), inPlace.name.c_str(), outStatus);
}

int OpenFileAt(const Place& inPlace, int inFlags, os::Descriptor& outFile) {
    return os::OpenFile(inPlace.folder.Number(), inPlace.name.c_str(), inFlags | os::kItemItself, outFile);
}

bool IsVolumeRoot(const Place& inPlace, const os::ItemStatus& inStatus) {
    return inStatus.kind == os::ItemKind::kFolder && inStatus.Volume() != inPlace.folderStatus.Volume();
}

}  // namespace toolbox::files
