// Memory of C++ objects, failing at an allocation of the test's choice. Link FailingNew.cpp, which replaces
// the operators new and delete of the executable.
#pragma once

namespace test_files {

// While it lives, the n-th allocation of this thread and all after it throw std::bad_alloc.
class FailingNew {
  public:
    explicit FailingNew(int inFailingAllocation);
    ~FailingNew();
    FailingNew(const FailingNew&) = delete;
    FailingNew& operator=(const FailingNew&) = delete;

    bool Delivered() const;
};

}  // namespace test_files
