// The program in a locale made for it while this lives, by localedef.
#pragma once

#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <string>

namespace support {

class MadeLocale {
  public:
    static constexpr char kName[] = "made";

    // Of one category, as localedef's source has it.
    MadeLocale(int inCategory, const std::string& inSource) : mCategory(inCategory) {
        mFolder.MakeFile("source", inSource);
        // It warns of all that the locale lacks, and its status says so.
        const std::string make =
            "cd " + mFolder.Path() + " && localedef -c -i ./source ./" + kName + " 2>warnings";
        [[maybe_unused]] const int status = std::system(make.c_str());
        setenv("LOCPATH", mFolder.Path().c_str(), 1);
        EXPECT_NE(nullptr, std::setlocale(mCategory, kName)) << "localedef made none";
    }
    ~MadeLocale() {
        std::setlocale(mCategory, "C");
        unsetenv("LOCPATH");
    }
    MadeLocale(const MadeLocale&) = delete;
    MadeLocale& operator=(const MadeLocale&) = delete;

    // The locale is the folder of its name in this one.
    const test_files::TemporaryFolder& Folder() const { return mFolder; }

  private:
    test_files::TemporaryFolder mFolder;
    int mCategory;
};

}  // namespace support
