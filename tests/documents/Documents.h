// What the blocks of C++ in the documents find where they run: a folder with a file song.m4a of one second,
// and what they take for granted.
#pragma once

#include "support/TemporaryFolder.h"

#include <converter/AACToWAV.h>
#include <gtest/gtest.h>
#include <toolbox/Movies.h>

#include <filesystem>

class Documents : public testing::Test {
  protected:
    void SetUp() override {
        mFormerFolder = std::filesystem::current_path();
        std::filesystem::current_path(mFolder.Path());
        std::filesystem::copy_file(MIRTAL_FIXTURES "/tone-44100-stereo.m4a", "song.m4a");
        movie = MovieFromPath("song.m4a");
        ASSERT_NE(nullptr, movie);
    }
    void TearDown() override {
        DisposeMovie(movie);
        std::filesystem::current_path(mFormerFolder);
    }

    // Called with the file, and without, which it must not take for one.
    void RunsProgram(int (*inMain)(int, char**)) const {
        char name[] = "program";
        char song[] = "song.m4a";
        char missing[] = "missing.m4a";
        char* words[] = {name, song, nullptr};
        EXPECT_EQ(0, inMain(2, words));
        words[1] = missing;
        EXPECT_NE(0, inMain(2, words));
    }

    Movie movie = nullptr;
    void* context = nullptr;

  private:
    test_files::TemporaryFolder mFolder;
    std::filesystem::path mFormerFolder;
};
