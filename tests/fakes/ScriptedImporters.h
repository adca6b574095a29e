// Doubles of the three movie importers: linked instead of the real ones, they do what the test says.
#pragma once

#include <track/MovieImporter.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace mirtal::fakes {

using Import = std::function<OSStatus(toolbox::movies::ImportedMovie& outMovie, std::string& outProblem)>;

// What each importer does with the next files; an empty function declines.
struct ImporterScript {
    Import mpeg4;
    Import adts;
    Import general;
    std::vector<std::string> asked;  // in order: "mpeg4", "adts", "general"
    // What the last was given.
    toolbox::movies::ImportOptions options;
    std::shared_ptr<const toolbox::movies::MediaFile> file;
};
ImporterScript& Importers();

}  // namespace mirtal::fakes
