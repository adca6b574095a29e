// A test with a folder of its own in the real file system alone.
#pragma once

#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

namespace test_files {

class FolderTest : public testing::Test {
  protected:
    static std::size_t OpenDescriptorCount() { return test_files::OpenDescriptorCount(); }

    TemporaryFolder mFolder;
};

}  // namespace test_files
