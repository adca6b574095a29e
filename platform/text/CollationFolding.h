// Text without the differences that a comparison ignores.
#pragma once

#include <toolbox/UnicodeUtilities.h>

#include <string>
#include <string_view>

namespace toolbox::text {

// inText with composition, width and case made one, as far as inOptions ask for it. noErr, or why not; memory
// that is short is reported so too.
[[nodiscard]] OSStatus Fold(std::u16string_view inText, UCCollateOptions inOptions,
                            std::u16string& outFolded);

}  // namespace toolbox::text
