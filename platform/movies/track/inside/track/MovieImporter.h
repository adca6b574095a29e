// The interface of movie importers. They are components of type "eat "; two are built in, the general one is
// a loadable component that is opened only when both decline.
#pragma once

#include "track/ImportOptions.h"
#include "track/MediaFile.h"
#include "track/SoundTrack.h"

#include <memory>
#include <string>

namespace toolbox::movies {

// Reads the movie that a file holds.
//   outMovie    complete on success, unspecified on failure
//   outProblem  for people, why not; untouched when declining
// cantFindHandler declines: the file is not of this importer's kind. invalidMovie: it is, but damaged beyond
// reading. trackNotInMovie: the file has fewer sound tracks than the one that is wanted. Content never
// throws; std::bad_alloc may pass and is turned into memFullErr by the caller.
using ImportFunction = OSStatus (*)(const std::shared_ptr<const MediaFile>& inFile, ImportedMovie& outMovie,
                                    std::string& outProblem, const ImportOptions& inOptions);

[[nodiscard]] OSStatus ImportMPEG4(const std::shared_ptr<const MediaFile>& inFile, ImportedMovie& outMovie,
                                   std::string& outProblem, const ImportOptions& inOptions = {});
[[nodiscard]] OSStatus ImportADTS(const std::shared_ptr<const MediaFile>& inFile, ImportedMovie& outMovie,
                                  std::string& outProblem, const ImportOptions& inOptions = {});
// Loads the general importer's component on first use; cantFindHandler when it is not installed.
[[nodiscard]] OSStatus ImportGeneral(const std::shared_ptr<const MediaFile>& inFile, ImportedMovie& outMovie,
                                     std::string& outProblem, const ImportOptions& inOptions = {});

}  // namespace toolbox::movies
