// The program in a locale made for it while this lives: with a comma for a point, and points between
// thousands.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

class CommaLocale {
  public:
    CommaLocale() {
        std::filesystem::create_directories(mFolder);
        std::ofstream(mFolder / "source") << "LC_NUMERIC\ndecimal_point \",\"\nthousands_sep \".\"\n"
                                             "grouping 3\nEND LC_NUMERIC\n";
        // It warns of all that the locale lacks, and its status says so.
        const std::string make = "cd " + mFolder.string() + " && localedef -c -i ./source ./comma 2>warnings";
        [[maybe_unused]] const int status = std::system(make.c_str());
        setenv("LOCPATH", mFolder.c_str(), 1);
        EXPECT_NE(nullptr, std::setlocale(LC_NUMERIC, "comma")) << "localedef made none";
    }
    ~CommaLocale() {
        std::setlocale(LC_NUMERIC, "C");
        unsetenv("LOCPATH");
        std::filesystem::remove_all(mFolder);
    }
    CommaLocale(const CommaLocale&) = delete;
    CommaLocale& operator=(const CommaLocale&) = delete;

  private:
    const std::filesystem::path mFolder =
        std::filesystem::path(testing::TempDir()) / ("comma_locale." + std::to_string(getpid()));
};
