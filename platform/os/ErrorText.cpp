#include "os/ErrorText.h"

#include <locale.h>
#include <string.h>

namespace toolbox::os {

const char* GetErrorText(int inErrno) {
    static const locale_t sEnglish = newlocale(LC_MESSAGES_MASK, "C", nullptr);
    return sEnglish == nullptr ? "" : strerror_l(inErrno, sEnglish);
}

}  // namespace toolbox::os
