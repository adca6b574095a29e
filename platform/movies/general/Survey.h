// Reads a file once from beginning to end and tells what movie it is.
#pragma once

#include "general/Component.h"

#include <memory>
#include <string>

namespace toolbox::movies::general {

// Only packets are looked at where they tell how many frames they hold; where they do not, everything is
// decoded once, so that the length announced is the length decoded. What the codec or the container says is
// delay and padding is trimmed. The file ends, too, where 64 MB give no packet: what is behind is skipped,
// and told. Time stamps are not otherwise looked at: sound begins with the first packet and goes on without
// gaps. Results as ImportFunction; may throw std::bad_alloc.
[[nodiscard]] OSStatus SurveyMovie(const std::shared_ptr<const ByteSource>& inSource, ImportedMovie& outMovie,
                                   std::string& outProblem, const ImportOptions& inOptions);

}  // namespace toolbox::movies::general
