// The names of forks.
#pragma once

#include <toolbox/Forks.h>

#include <string_view>

namespace toolbox::files {

constexpr std::u16string_view kResourceForkName = u"RESOURCE_FORK";

// errFSNameTooLong, errFSBadForkName.
[[nodiscard]] OSStatus IsResourceForkName(UniCharCount inLength, const UniChar* inName, bool& outIsResource);

// Of the data fork, or the resource fork.
void SetForkName(bool inIsResource, HFSUniStr255& outName);

}  // namespace toolbox::files
