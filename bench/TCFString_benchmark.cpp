// Copies and assignments of strings beside the atomic operations that they come down to, and strings of the
// application's resources looked up again. Under other load compare the least times of several repetitions.
#include <benchmark/benchmark.h>
#include <strings/TCFString.h>
#include <toolbox/MacMemory.h>
#include <toolbox/Resources.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace {

TCFString ASCII(const char* inText) {
    return TCFString(inText, kCFStringEncodingASCII);
}

// What a copy and its end cannot do without when counts are atomic.
void TwoAtomicOperations(benchmark::State& ioState) {
    std::atomic<SInt64> count{1};
    for (auto _ : ioState) {
        count.fetch_add(1, std::memory_order_relaxed);
        benchmark::DoNotOptimize(count.fetch_sub(1, std::memory_order_acq_rel));
    }
}

void CopyUnits(benchmark::State& ioState) {
    const std::u16string source = u"a name of some length.txt";
    for (auto _ : ioState) {
        const std::u16string copy(source);
        benchmark::DoNotOptimize(copy.data());
    }
}

void CopyString(benchmark::State& ioState) {
    const TCFString source = ASCII("a name of some length.txt");
    for (auto _ : ioState) {
        const TCFString copy(source);
        benchmark::DoNotOptimize(copy.StringRef());
    }
}

// Each way: the new one is retained, the old one released.
void AssignStrings(benchmark::State& ioState) {
    const TCFString first = ASCII("a name of some length.txt"), second = ASCII("another name.txt");
    TCFString target;
    for (auto _ : ioState) {
        target = first;
        benchmark::DoNotOptimize(target.StringRef());
        target = second;
        benchmark::DoNotOptimize(target.StringRef());
    }
    ioState.SetItemsProcessed(ioState.iterations() * 2);
}

// A resource file in front of all others, with lists "STR#" of 20 strings from id 128 on.
class ListsInFront {
  public:
    explicit ListsInFront(short inCount) {
        std::string folder = (std::filesystem::temp_directory_path() / "strings-benchmark-XXXXXX").string();
        if (mkdtemp(folder.data()) == nullptr) std::abort();
        mFolder = folder;
        const std::string path = (mFolder / "lists.rsrc").string();
        std::ofstream(path).close();
        FSRef file;
        if (FSPathMakeRef(reinterpret_cast<const UInt8*>(path.c_str()), &file, nullptr) != noErr)
            std::abort();
        if (FSCreateResourceFork(&file, 0, nullptr, 0) != noErr) std::abort();
        if (FSOpenResourceFile(&file, 0, nullptr, fsRdWrPerm, &mRefNum) != noErr) std::abort();
        std::string list(2, '\0');
        list[1] = 20;
        for (int i = 0; i < 20; ++i)
            list += "\14hello, world";
        for (short i = 0; i < inCount; ++i) {
            Handle handle = nullptr;
            if (PtrToHand(list.data(), &handle, static_cast<Size>(list.size())) != noErr) std::abort();
            AddResource(handle, FourChars("STR#"), static_cast<SInt16>(128 + i), nullptr);
        }
    }
    ~ListsInFront() {
        CloseResFile(mRefNum);
        std::error_code ignored;
        std::filesystem::remove_all(mFolder, ignored);
    }
    ListsInFront(const ListsInFront&) = delete;
    ListsInFront& operator=(const ListsInFront&) = delete;

  private:
    std::filesystem::path mFolder;
    SInt16 mRefNum = -1;
};

// As many strings as a large application has, read before, in an order that no cache expects.
void LookUpAgain(benchmark::State& ioState) {
    const auto listCount = static_cast<short>(ioState.range(0));
    const ListsInFront lists(listCount);
    unsigned next = 0;
    const auto lookUp = [&next, listCount] {
        next = next * 1664525u + 1013904223u;
        const auto id = static_cast<short>(128 + (next >> 16) % static_cast<unsigned>(listCount));
        return TCFString::Res(id, static_cast<short>(1 + (next >> 8) % 20));
    };
    for (short id = 0; id < listCount; ++id)
        for (short index = 1; index <= 20; ++index)
            if (TCFString::Res(static_cast<short>(128 + id), index).IsEmpty())
                ioState.SkipWithError("no such string");
    for (auto _ : ioState) {
        const TCFString string = lookUp();
        benchmark::DoNotOptimize(string.StringRef());
    }
}

BENCHMARK(TwoAtomicOperations);
BENCHMARK(CopyUnits);
BENCHMARK(CopyString);
BENCHMARK(AssignStrings);
BENCHMARK(LookUpAgain)->Arg(1)->Arg(10)->Arg(100);

}  // namespace

BENCHMARK_MAIN();
