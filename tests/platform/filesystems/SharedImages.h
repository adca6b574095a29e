// The images of a program's tests: mounted once each, until all tests have ended.
#pragma once

#include "support/MountedImage.h"

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>
#include <utility>

namespace test_files {

class SharedImages : public testing::Environment {
  public:
    static const support::MountedImage& Get(const std::string& inType, bool inIsReadOnly = false) {
        auto& image = sImages[{inType, inIsReadOnly}];
        if (image == nullptr) image = std::make_unique<support::MountedImage>(inType, inIsReadOnly);
        return *image;
    }
    void TearDown() override { sImages.clear(); }

  private:
    static inline std::map<std::pair<std::string, bool>, std::unique_ptr<support::MountedImage>> sImages;
};
inline testing::Environment* const sSharedImages = testing::AddGlobalTestEnvironment(new SharedImages);

}  // namespace test_files
