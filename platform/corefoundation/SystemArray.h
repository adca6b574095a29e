// A growing array of plain values in memory of the manager's table of calls.
#pragma once

#include "corefoundation/Object.h"
#include "os/SystemCalls.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <type_traits>

namespace toolbox::corefoundation {

// The first kInlineCount values lie in the array itself.
template <typename T, CFIndex kInlineCount>
class SystemArray {
    static_assert(std::is_trivially_copyable_v<T>);

  public:
    SystemArray() = default;
    ~SystemArray() {
        if (mValues != mInline) os::Calls().free(mValues);
    }
    SystemArray(const SystemArray&) = delete;
    SystemArray& operator=(const SystemArray&) = delete;

    // Room for inCount values altogether. False when memory is short; the values are as before.
    [[nodiscard]] bool Reserve(CFIndex inCount) {
        if (inCount <= mCapacity) return true;
        if (inCount > kMaxCount) return false;
        const CFIndex capacity = std::max(inCount, mCapacity + std::min(mCapacity, kMaxCount - mCapacity));
        auto* values = static_cast<T*>(os::Calls().malloc(static_cast<std::size_t>(capacity) * sizeof(T)));
        if (values == nullptr) return false;
        std::copy_n(mValues, mCount, values);
        if (mValues != mInline) os::Calls().free(mValues);
        mValues = values;
        mCapacity = capacity;
        return true;
    }

    // False when memory is short; nothing is appended then. The values may not be this array's own.
    [[nodiscard]] bool Append(const T* inValues, CFIndex inCount) {
        if (inCount > kMaxCount - mCount || !Reserve(mCount + inCount)) return false;
        std::copy_n(inValues, inCount, mValues + mCount);
        mCount += inCount;
        return true;
    }
    [[nodiscard]] bool Append(T inValue) { return Append(&inValue, 1); }
    [[nodiscard]] bool AppendCopies(T inValue, CFIndex inCount) {
        if (inCount > kMaxCount - mCount || !Reserve(mCount + inCount)) return false;
        std::fill_n(mValues + mCount, inCount, inValue);
        mCount += inCount;
        return true;
    }

    // Values between the old count and a greater one are those that were written to Data().
    void SetCount(CFIndex inCount) { mCount = inCount; }
    CFIndex Count() const { return mCount; }
    CFIndex Capacity() const { return mCapacity; }
    T* Data() { return mValues; }
    const T* Data() const { return mValues; }
    T& operator[](CFIndex inIndex) { return mValues[inIndex]; }
    const T& operator[](CFIndex inIndex) const { return mValues[inIndex]; }

  private:
    static constexpr CFIndex kMaxCount = std::numeric_limits<CFIndex>::max() / CFIndex{sizeof(T)};

    T mInline[kInlineCount];
    T* mValues = mInline;
    CFIndex mCount = 0;
    CFIndex mCapacity = kInlineCount;
};

using UnitArray = SystemArray<UniChar, 128>;

}  // namespace toolbox::corefoundation
