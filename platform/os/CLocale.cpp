#include "os/CLocale.h"

#include "CLocale_test_access.h"
#include "os/SystemCalls.h"

namespace toolbox::os {

std::atomic<locale_t> sCLocale = nullptr;

locale_t GetCLocale() {
    locale_t known = sCLocale.load();
    if (known != nullptr) return known;
    const locale_t made = Calls().newlocale(LC_ALL_MASK, "C", nullptr);
    if (made == nullptr || sCLocale.compare_exchange_strong(known, made)) return made;
    Calls().freelocale(made);
    return known;
}

CLocaleOnThread::CLocaleOnThread() {
    // The system takes null for a question.
    const locale_t locale = GetCLocale();
    mSaved = locale == nullptr ? nullptr : Calls().uselocale(locale);
}

CLocaleOnThread::~CLocaleOnThread() {
    if (mSaved != nullptr) Calls().uselocale(mSaved);
}

}  // namespace toolbox::os
