// Folders: what is in them, and making them. Functions answer 0 or an errno.
#pragma once

#include <dirent.h>
#include <fcntl.h>
#include <sys/types.h>

#include <string>

namespace toolbox::os {

// The entries of a folder, but for itself and the one above it. One thread at a time.
class FolderReader {
  public:
    FolderReader() = default;
    ~FolderReader();
    FolderReader(const FolderReader&) = delete;
    FolderReader& operator=(const FolderReader&) = delete;

    // Once. What inPath names from an open folder.
    [[nodiscard]] int Open(int inFolder, const char* inPath);
    [[nodiscard]] int Open(const char* inPath) { return Open(AT_FDCWD, inPath); }
    // outEntry is null at the end, and after a failure; else good until the next call.
    [[nodiscard]] int Next(const struct dirent*& outEntry);

  private:
    DIR* mFolder = nullptr;
};

// Makes a folder, with those above it that are missing; one that is there already is as good. May throw
// std::bad_alloc.
[[nodiscard]] int MakeFolders(const std::string& inPath, mode_t inMode);

}  // namespace toolbox::os
