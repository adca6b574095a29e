// What the kit does in the middle of a test is none of what is tested.
#pragma once

namespace support {

// While one lives, allocations of this thread are no steps of a fault: none fails, nor brings one nearer.
// They are allocations all the same, and NewCount has them.
class KitsOwn {
  public:
    KitsOwn() { ++tDepth; }
    ~KitsOwn() { --tDepth; }
    KitsOwn(const KitsOwn&) = delete;
    KitsOwn& operator=(const KitsOwn&) = delete;

    static bool IsHere() { return tDepth > 0; }

  private:
    static inline thread_local constinit int tDepth = 0;
};

}  // namespace support
