// The calls that the manager makes of the system, and what their results mean.
#pragma once

#include <toolbox/MacTypes.h>

namespace toolbox::text {

struct TextCalls {
    int (*startStatus)();  // the status that a call of ICU starts from: success, lest the call does nothing
};
extern TextCalls sTextCalls;

// The status of ICU's calls for the text, as the toolbox tells it.
[[nodiscard]] OSStatus StatusOf(int inICUStatus);

}  // namespace toolbox::text
