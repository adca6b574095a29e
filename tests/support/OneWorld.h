// Tests of one of the two worlds alone.
#pragma once

#include "support/FileWorld.h"

#include <gtest/gtest.h>

#include <string>

namespace support {

template <FileWorld::Kind kKind>
class OneWorldTest : public testing::Test {
  protected:
    void EmptyFolder() const {
        for (const std::string& name : FileWorld::NamesIn(mFolder.Path()))
            FileWorld::RemoveAll(mFolder / name);
    }

    FileWorld mFolder{kKind};
};
using RealFolderTest = OneWorldTest<FileWorld::kReal>;
using MemoryFolderTest = OneWorldTest<FileWorld::kMemory>;

}  // namespace support
