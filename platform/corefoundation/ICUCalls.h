// How calls of ICU begin, so that a test can make them fail.
#pragma once

namespace toolbox::corefoundation {

struct ICUCalls {
    int (*startStatus)();  // the status that a call of ICU starts from: success, lest the call does nothing
};
extern ICUCalls sICUCalls;

}  // namespace toolbox::corefoundation
