// How an item of the catalogue is opened.
#pragma once

#include "os/Descriptor.h"

#include <toolbox/Files.h>

#include <string>

namespace toolbox::files {

struct FoundItem;

// Opens an item that was just found, links not followed. fnfErr when something else has taken its place
// meanwhile; outFile is not open on failure.
//   inFlags  of openat, beside os::kItemItself
[[nodiscard]] OSStatus OpenFound(const FoundItem& inItem, int inFlags, os::Descriptor& outFile);

// Opens an item for reading; outFile is not open on failure, for which the File Manager has a status.
// outPath: the item's path at this moment, for messages; empty when it cannot be found. Only a file is
// opened: notAFileErr for a folder; errFSForkNotFound for a link, pipe, socket or device, which has no data
// fork and is left untouched. May throw std::bad_alloc, with nothing left open.
[[nodiscard]] OSStatus OpenForReading(const FSRef& inItem, os::Descriptor& outFile, std::string& outPath);

// The whole contents of a file. fileBoundsErr when there are more than inMaxByteCount. outContents is
// unspecified on failure. May throw std::bad_alloc, with nothing left open.
[[nodiscard]] OSStatus ReadSmallFile(const FSRef& inItem, std::size_t inMaxByteCount,
                                     std::string& outContents);

}  // namespace toolbox::files
