// A media file whose bytes are in memory.
#pragma once

#include <track/MediaFile.h>

#include <memory>
#include <string>

namespace mirtal::fakes {

// Throws std::runtime_error when the system has no memory file to give.
std::shared_ptr<const toolbox::movies::MediaFile> NewMemoryFile(const std::string& inBytes);

}  // namespace mirtal::fakes
