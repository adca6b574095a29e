// An alert as lines of text.
#pragma once

#include "AlertResources.h"

#include <toolbox/MacTypes.h>

#include <array>
#include <string>
#include <string_view>
#include <vector>

namespace toolbox::interface {

using ParamTexts = std::array<std::string, 4>;  // bytes

// inText with ^0 to ^3 replaced. What they are replaced by is not looked at again.
std::string Substituted(std::string_view inText, const ParamTexts& inTexts);

// Bytes in the application's encoding, or else Mac Roman, as UTF-8 for a terminal. Line ends are line feeds,
// and a control character, which might command the terminal, is a question mark.
std::string TerminalText(std::string_view inBytes);

// The static texts of an alert from top to bottom and left to right, then a line with its enabled buttons and
// their numbers; the default item's is marked.
std::string AlertLines(const std::vector<AlertItem>& inItems, const ParamTexts& inTexts,
                       SInt16 inDefaultItem);

// What is shown when there is no template: each text that is not empty.
std::string PlainLines(const ParamTexts& inTexts);

}  // namespace toolbox::interface
