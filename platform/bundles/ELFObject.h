// Shared objects as files.
#pragma once

#include <toolbox/Files.h>

namespace toolbox::corefoundation {

// Whether a file is an ELF object for this kind of machine, and all that it would have mapped is there. The
// loader trusts that and dies of a file that was cut short. May throw std::bad_alloc.
bool IsWholeELFObject(const FSRef& inFile);

}  // namespace toolbox::corefoundation
