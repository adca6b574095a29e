// References that give their count back.
#pragma once

#include <toolbox/CFBase.h>

#include <utility>

namespace toolbox::corefoundation {

// Owns one count of an object, or holds null.
template <class Ref>
class Owned {
  public:
    Owned() = default;
    explicit Owned(Ref inRef) : mRef(inRef) {}
    Owned(Owned&& ioOther) noexcept : mRef(ioOther.Release()) {}
    Owned& operator=(Owned&& ioOther) noexcept {
        std::swap(mRef, ioOther.mRef);
        return *this;
    }
    ~Owned() {
        if (mRef != nullptr) CFRelease(mRef);
    }

    Ref Get() const { return mRef; }
    // The caller has the count from here on.
    Ref Release() { return std::exchange(mRef, nullptr); }
    explicit operator bool() const { return mRef != nullptr; }

  private:
    Ref mRef = nullptr;
};

}  // namespace toolbox::corefoundation
