// The C locale, in which texts and numbers are what they are whatever locale the program set.
#pragma once

#include <locale.h>

namespace toolbox::os {

// Null when the system does not give it, which it may do at a later call. Any thread may call this; nobody
// frees it.
[[nodiscard]] locale_t GetCLocale();

// While it lives, the C locale is that of the thread, if it could be set.
class CLocaleOnThread {
  public:
    CLocaleOnThread();
    ~CLocaleOnThread();
    CLocaleOnThread(const CLocaleOnThread&) = delete;
    CLocaleOnThread& operator=(const CLocaleOnThread&) = delete;

    bool IsSet() const { return mSaved != nullptr; }

  private:
    locale_t mSaved;  // null when the C locale could not be set
};

}  // namespace toolbox::os
