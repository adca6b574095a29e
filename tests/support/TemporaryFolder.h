// A folder of a test's own, gone with everything in it at the end.
#pragma once

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace test_files {

class TemporaryFolder {
  public:
    TemporaryFolder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "mirtal-files-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no temporary folder");
        mPath = std::filesystem::canonical(pattern).string();
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(mPath, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::string& Path() const { return mPath; }
    std::string operator/(std::string_view inName) const { return mPath + '/' + std::string(inName); }
    // Everything in it, hidden or not, sorted.
    std::vector<std::string> Names() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(mPath))
            names.push_back(entry.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }

    // Both return the new item's path.
    std::string MakeFile(std::string_view inName, std::string_view inContents = "contents") const {
        const std::string path = *this / inName;
        std::ofstream file(path, std::ios::binary);
        file << inContents;
        file.close();
        if (!file) throw std::runtime_error("cannot make " + path);
        return path;
    }
    std::string MakeFolder(std::string_view inName) const {
        std::filesystem::create_directories(*this / inName);
        return *this / inName;
    }

  private:
    std::string mPath;
};

inline std::size_t OpenDescriptorCount() {
    std::size_t count = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd"))
        count += !entry.path().empty();
    return count;
}

}  // namespace test_files
