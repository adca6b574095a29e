// A fuzzer without libFuzzer: plays each file of the folders and files named, and so many mutations of each,
// or more in a long run. Usage: X_replay MUTATIONS FILE|FOLDER... Every compiler builds it, so that inputs
// once found, and their like, are tried wherever the tests run.
#include "../tests/support/Rounds.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* inBytes, std::size_t inByteCount);

namespace {

using Input = std::vector<std::uint8_t>;

constexpr std::size_t kMaxBytes = 65536;  // larger files find nothing more, slower

Input Load(const std::string& inPath) {
    std::ifstream file(inPath, std::ios::binary);
    return Input(std::istreambuf_iterator<char>(file), {});
}

// The same for the same numbers on every machine.
Input Mutated(Input inInput, std::mt19937& ioRandom) {
    const int changeCount = 1 + static_cast<int>(ioRandom() % 4);
    for (int i = 0; i < changeCount && !inInput.empty(); ++i) {
        const std::size_t at = ioRandom() % inInput.size();
        constexpr std::uint8_t kEdges[] = {0, 1, 0x7F, 0x80, 0xFF};
        switch (ioRandom() % 4) {
            case 0:
                inInput[at] = static_cast<std::uint8_t>(ioRandom());
                break;
            case 1:
                inInput[at] = kEdges[ioRandom() % 5];
                break;
            case 2:
                inInput.erase(inInput.begin() + static_cast<std::ptrdiff_t>(at));
                break;
            default:
                inInput.resize(at);
                break;
        }
    }
    return inInput;
}

std::vector<std::string> ListInputs(int inCount, char** inNames) {
    std::vector<std::string> paths;
    for (int i = 0; i < inCount; ++i) {
        if (!std::filesystem::is_directory(inNames[i])) {
            paths.push_back(inNames[i]);
            continue;
        }
        for (const auto& entry : std::filesystem::directory_iterator(inNames[i]))
            if (entry.is_regular_file() && entry.file_size() <= kMaxBytes)
                paths.push_back(entry.path().string());
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}

}  // namespace

int main(int inCount, char** inArguments) {
    if (inCount < 3) {
        std::fprintf(stderr, "usage: %s MUTATIONS FILE|FOLDER...\n", inArguments[0]);
        return 2;
    }
    const int mutationCount = support::Rounds(static_cast<int>(std::strtol(inArguments[1], nullptr, 10)));
    const std::vector<std::string> paths = ListInputs(inCount - 2, inArguments + 2);
    std::mt19937 random(1);
    long played = 0;
    for (const std::string& path : paths) {
        const Input input = Load(path);
        LLVMFuzzerTestOneInput(input.data(), input.size());
        ++played;
        for (int i = 0; i < mutationCount; ++i, ++played) {
            const Input mutated = Mutated(input, random);
            LLVMFuzzerTestOneInput(mutated.data(), mutated.size());
        }
    }
    std::printf("%ld inputs from %zu files\n", played, paths.size());
    return paths.empty() ? 1 : 0;
}
