// Strings good enough for the string room: ASCII, a part of Mac Roman, and UTF-8, with counts of what is
// live; and text conversions that fail where the test says.
#pragma once

#include <toolbox/CFString.h>
#include <toolbox/MacTypes.h>

#include <string>

namespace fakes {

// Strings alive that were created, not those that the compiler made.
int LiveStrings();

// What GetApplicationTextEncoding answers: UTF-8, from the load of the program on. The system encoding is Mac
// Roman.
int ApplicationEncodingAskedCount();
void SetApplicationEncoding(TextEncoding inEncoding);

enum class BestFit {
    kMacRoman,  // what fits and Mac Roman holds
    kFails,
    kEmpty  // succeeds and reports no bytes
};
void SetBestFit(BestFit inBestFit);

// Conversions of strings to C (or Pascal) strings in inEncoding fail whatever the text is.
void RefuseCStringsIn(CFStringEncoding inEncoding);
void RefusePascalStringsIn(CFStringEncoding inEncoding);

void ForgetTextScript();

// For other doubles, not logged: the text as UTF-8, or "?" where it has none.
std::string TextOf(CFStringRef inString);

}  // namespace fakes
