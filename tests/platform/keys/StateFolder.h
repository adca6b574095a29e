// A user's state folder of the test's own, in a home folder of its own, so that nobody's access keys are read
// or changed.
#pragma once

#include "support/TemporaryFolder.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <optional>
#include <string>

namespace test_movies {

// Sets variables of the environment, and puts them back at its end.
class Environment {
  public:
    ~Environment() {
        for (const auto& [name, value] : mOld)
            Put(name, value);
    }
    // Null takes the variable away.
    void Set(const std::string& inName, const char* inValue) {
        const char* const old = std::getenv(inName.c_str());
        mOld.emplace(inName, old == nullptr ? std::nullopt : std::optional<std::string>(old));
        Put(inName, inValue == nullptr ? std::nullopt : std::optional<std::string>(inValue));
    }

  private:
    static void Put(const std::string& inName, const std::optional<std::string>& inValue) {
        if (inValue)
            setenv(inName.c_str(), inValue->c_str(), 1);
        else
            unsetenv(inName.c_str());
    }

    std::map<std::string, std::optional<std::string>> mOld;
};

class StateFolder {
  public:
    StateFolder() {
        mEnvironment.Set("HOME", mHome.Path().c_str());
        mEnvironment.Set("XDG_STATE_HOME", mPath.c_str());
    }

    const std::string& Path() const { return mPath; }
    std::string KeyFolder() const { return mPath + "/mirtal"; }
    std::string KeyFile() const { return KeyFolder() + "/access-keys"; }
    void PutText(const std::string& inText) const {
        std::filesystem::create_directories(KeyFolder());
        std::ofstream(KeyFile(), std::ios::binary) << inText;
    }
    // "-" when there is no file.
    std::string Text() const {
        std::ifstream file(KeyFile(), std::ios::binary);
        if (!file) return "-";
        return std::string(std::istreambuf_iterator<char>(file), {});
    }
    // What is in the folder of the keys, sorted, with a blank after each.
    std::string Names() const {
        std::map<std::string, int> names;
        std::error_code ignored;
        for (const auto& entry : std::filesystem::directory_iterator(KeyFolder(), ignored))
            names[entry.path().filename()] = 1;
        std::string text;
        for (const auto& one : names)
            text += one.first + ' ';
        return text;
    }

  private:
    test_files::TemporaryFolder mHome;
    const std::string mPath = mHome.MakeFolder(".local/state");
    Environment mEnvironment;
};

}  // namespace test_movies
