// Handles beside malloc, and one named resource among many. Under other load compare the least times of
// several repetitions.
#include <benchmark/benchmark.h>
#include <toolbox/Files.h>
#include <toolbox/MacMemory.h>
#include <toolbox/Resources.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace {

void AllocateWithMalloc(benchmark::State& ioState) {
    const auto size = static_cast<std::size_t>(ioState.range(0));
    for (auto _ : ioState) {
        void* block = std::malloc(size);
        benchmark::DoNotOptimize(block);
        std::free(block);
    }
}

void AllocateAHandle(benchmark::State& ioState) {
    const auto size = static_cast<Size>(ioState.range(0));
    for (auto _ : ioState) {
        Handle handle = NewHandle(size);
        benchmark::DoNotOptimize(handle);
        DisposeHandle(handle);
    }
}

// A resource file in a folder of its own, with as many resources of 1000 bytes, each with a name of its own.
class ManyResources {
  public:
    explicit ManyResources(SInt32 inCount) {
        std::string folder = (std::filesystem::temp_directory_path() / "resources-benchmark-XXXXXX").string();
        if (mkdtemp(folder.data()) == nullptr) std::abort();
        mFolder = folder;
        const std::string path = (mFolder / "many.rsrc").string();
        std::ofstream(path).close();
        if (FSPathMakeRef(reinterpret_cast<const UInt8*>(path.c_str()), &file, nullptr) != noErr)
            std::abort();
        if (FSCreateResourceFork(&file, 0, nullptr, 0) != noErr) std::abort();
        const SInt16 refNum = Open();
        for (SInt32 i = 0; i < inCount; ++i)
            AddResource(NewHandleClear(1000), FourChars("TEXT"), static_cast<SInt16>(i), NameOf(i).bytes);
        CloseResFile(refNum);
        if (ResError() != noErr) std::abort();
    }
    ~ManyResources() {
        std::error_code ignored;
        std::filesystem::remove_all(mFolder, ignored);
    }
    ManyResources(const ManyResources&) = delete;
    ManyResources& operator=(const ManyResources&) = delete;

    struct Name {
        Str255 bytes;
    };
    static Name NameOf(SInt32 inNumber) {
        Name name;
        char* const text = reinterpret_cast<char*>(name.bytes) + 1;
        name.bytes[0] =
            static_cast<unsigned char>(std::snprintf(text, 16, "%05d", static_cast<int>(inNumber)));
        return name;
    }
    SInt16 Open() const {
        SInt16 refNum = -1;
        if (FSOpenResourceFile(&file, 0, nullptr, fsRdWrPerm, &refNum) != noErr) std::abort();
        return refNum;
    }

    FSRef file = {};

  private:
    std::filesystem::path mFolder;
};

void FindANamedResource(benchmark::State& ioState) {
    const auto count = static_cast<SInt32>(ioState.range(0));
    const ManyResources resources(count);
    const SInt16 refNum = resources.Open();
    SInt32 next = 0;
    for (auto _ : ioState) {
        next = (next + 7919) % count;
        const Handle found = GetNamedResource(FourChars("TEXT"), ManyResources::NameOf(next).bytes);
        if (found == nullptr) ioState.SkipWithError("not found");
        ReleaseResource(found);
    }
    CloseResFile(refNum);
}

void OpenAndFindOne(benchmark::State& ioState) {
    const auto count = static_cast<SInt32>(ioState.range(0));
    const ManyResources resources(count);
    for (auto _ : ioState) {
        const SInt16 refNum = resources.Open();
        if (GetNamedResource(FourChars("TEXT"), ManyResources::NameOf(count - 1).bytes) == nullptr)
            ioState.SkipWithError("not found");
        CloseResFile(refNum);
    }
}

BENCHMARK(AllocateWithMalloc)->Arg(16)->Arg(1000)->Arg(176484);
BENCHMARK(AllocateAHandle)->Arg(16)->Arg(1000)->Arg(176484);
BENCHMARK(FindANamedResource)->Arg(10)->Arg(10'000);
BENCHMARK(OpenAndFindOne)->Arg(10)->Arg(10'000);

}  // namespace

BENCHMARK_MAIN();
