// Memory of C++ objects, failing at an allocation of the test's choice. Replaces the operators new and delete
// of the executable.
#pragma once

namespace test_rez_pack {

// While it lives, the n-th allocation of this thread throws std::bad_alloc, and with inAreOthers all after
// it.
class FailingAllocation {
  public:
    FailingAllocation(int inNumber, bool inAreOthers);
    ~FailingAllocation();
    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;

    bool Delivered() const;
};

}  // namespace test_rez_pack
