// Text without what case and composition make different.
#pragma once

#include <string>
#include <string_view>

namespace toolbox::corefoundation {

// By the rules by which CFStringCompare ignores case and composition. May throw std::bad_alloc.
std::u16string CaselessText(std::u16string_view inText);

}  // namespace toolbox::corefoundation
