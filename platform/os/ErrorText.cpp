#include "os/ErrorText.h"

#include "os/CLocale.h"
#include "os/SystemCalls.h"

namespace toolbox::os {

const char* GetErrorText(int inErrno) {
    const locale_t english = GetCLocale();
    return english == nullptr ? "" : Calls().strerror_l(inErrno, english);
}

}  // namespace toolbox::os
