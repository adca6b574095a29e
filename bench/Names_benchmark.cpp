// Names that are not there looked for, and files made, beside the same in plain C. MIRTAL_BENCH_FILES is the
// number of files in the folder, 500 where it is not set; a tenth as many names are looked for, and as many
// files are made. On a machine under other load compare the least of several repetitions.
#include <benchmark/benchmark.h>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <toolbox/CatalogInfo.h>
#include <toolbox/CatalogItems.h>
#include <toolbox/FileSpecs.h>
#include <toolbox/FinderInfo.h>
#include <toolbox/ItemLookup.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <list>
#include <numeric>
#include <string>
#include <vector>

namespace {

int FileCount() {
    const char* const count = std::getenv("MIRTAL_BENCH_FILES");
    return count == nullptr ? 500 : std::atoi(count);
}
int LookCount() {
    return FileCount() / 10;
}

std::string NameOf(const char* inFormat, int inNumber) {
    char name[32];
    std::snprintf(name, sizeof name, inFormat, inNumber);
    return name;
}

bool MakeInC(int inFolder, const std::string& inName) {
    const int file = openat(inFolder, inName.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    return file >= 0 && close(file) == 0;
}

// Gone at the end.
class Folder {
  public:
    explicit Folder(int inFiles = 0) {
        std::string pattern = (std::filesystem::temp_directory_path() / "names-benchmark-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr) std::abort();
        path = pattern;
        descriptor = open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        for (int i = 0; i < inFiles; ++i)
            if (!MakeInC(descriptor, NameOf("file %06d.txt", i))) std::abort();
        if (FSPathMakeRef(reinterpret_cast<const UInt8*>(path.c_str()), &ref, nullptr) != noErr) std::abort();
        FSCatalogInfo info;
        constexpr FSCatalogInfoBitmap kWhere = kFSCatInfoVolume | kFSCatInfoNodeID;
        if (FSGetCatalogInfo(&ref, kWhere, &info, nullptr, nullptr, nullptr) != noErr) std::abort();
        volume = info.volume;
        id = static_cast<SInt32>(info.nodeID);
    }
    ~Folder() {
        close(descriptor);
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    static Folder& Full() {
        static Folder folder(FileCount());
        return folder;
    }

    // What comes and goes is looked for as if it were there still.
    void LetANameComeAndGo() const {
        if (!MakeInC(descriptor, "missing 0") || unlinkat(descriptor, "missing 0", 0) != 0) std::abort();
    }

    std::string path;
    int descriptor = -1;
    FSRef ref = {};
    SInt16 volume = 0;
    SInt32 id = 0;
};

void Scan(benchmark::State& ioState) {
    const Folder& folder = Folder::Full();
    for (auto _ : ioState) {
        DIR* const listing = opendir(folder.path.c_str());
        int count = 0;
        while (const struct dirent* const entry = readdir(listing)) {
            benchmark::DoNotOptimize(entry->d_name[0]);
            ++count;
        }
        closedir(listing);
        if (count != FileCount() + 2) ioState.SkipWithError("not all names came");
    }
}

// The first of them reads the folder.
template <typename LookFor>
void LookForMissing(benchmark::State& ioState, LookFor inLookFor) {
    const Folder& folder = Folder::Full();
    for (auto _ : ioState) {
        ioState.PauseTiming();
        folder.LetANameComeAndGo();
        ioState.ResumeTiming();
        for (int i = 0; i < LookCount(); ++i)
            if (inLookFor(folder, NameOf("missing %d", i)) != fnfErr) ioState.SkipWithError("found");
    }
    ioState.SetItemsProcessed(ioState.iterations() * LookCount());
}

void MissingByReference(benchmark::State& ioState) {
    LookForMissing(ioState, [](const Folder& inFolder, const std::string& inName) {
        UniChar units[32];
        std::copy(inName.begin(), inName.end(), units);
        FSRef ref;
        return FSMakeFSRefUnicode(&inFolder.ref, inName.size(), units, 0, &ref);
    });
}

void MissingBySpecification(benchmark::State& ioState) {
    LookForMissing(ioState, [](const Folder& inFolder, const std::string& inName) {
        Str63 name = {static_cast<unsigned char>(inName.size())};
        std::copy(inName.begin(), inName.end(), name + 1);
        FSSpec spec;
        return FSMakeFSSpec(inFolder.volume, inFolder.id, name, &spec);
    });
}

double MicrosOf(const std::chrono::steady_clock::duration& inTime) {
    return std::chrono::duration<double, std::micro>(inTime).count();
}

double MedianOf(std::vector<double>& ioValues) {
    const auto middle = ioValues.begin() + static_cast<std::ptrdiff_t>(ioValues.size() / 2);
    std::nth_element(ioValues.begin(), middle, ioValues.end());
    return *middle;
}

// File by file, so that both meet the same load: one in plain C, one of ours, each in a folder of its own.
// Nothing is deleted before the end: some file systems are slow to make files where others were just deleted.
template <typename MakeThere, typename Make>
void MakeInTurns(benchmark::State& ioState, MakeThere inMakeInC, Make inMake) {
    static std::list<Folder> folders;
    std::vector<double> micros[2];
    for (auto _ : ioState) {
        const Folder& plain = folders.emplace_back();
        const Folder& ours = folders.emplace_back();
        for (int i = 0; i < LookCount(); ++i) {
            const std::string name = NameOf("file %06d.txt", i);
            const auto start = std::chrono::steady_clock::now();
            if (!inMakeInC(plain.descriptor, name)) ioState.SkipWithError("not made");
            const auto middle = std::chrono::steady_clock::now();
            if (!inMake(ours, name)) ioState.SkipWithError("not made");
            const auto end = std::chrono::steady_clock::now();
            micros[0].push_back(MicrosOf(middle - start));
            micros[1].push_back(MicrosOf(end - middle));
        }
    }
    const double sums[] = {std::accumulate(micros[0].begin(), micros[0].end(), 0.0),
                           std::accumulate(micros[1].begin(), micros[1].end(), 0.0)};
    ioState.counters["ratio"] = sums[1] / sums[0];
    ioState.counters["C_us"] = MedianOf(micros[0]);
    ioState.counters["ours_us"] = MedianOf(micros[1]);
    ioState.counters["ratio_of_medians"] = ioState.counters["ours_us"] / ioState.counters["C_us"];
    ioState.SetItemsProcessed(ioState.iterations() * LookCount());
}

bool Create(const Folder& inFolder, const std::string& inName, FSCatalogInfoBitmap inWhich,
            const FSCatalogInfo* inInfo) {
    UniChar units[32];
    std::copy(inName.begin(), inName.end(), units);
    return FSCreateFileUnicode(&inFolder.ref, inName.size(), units, inWhich, inInfo, nullptr, nullptr) ==
           noErr;
}

void Plain(benchmark::State& ioState) {
    MakeInTurns(ioState, MakeInC, [](const Folder& inFolder, const std::string& inName) {
        return Create(inFolder, inName, kFSCatInfoNone, nullptr);
    });
}

// AppleDouble with Finder information and nothing else.
constexpr unsigned char kCompanion[26 + 12 + 32] = {
    0, 5, 0x16, 7, 0, 2, 0, 0, 0, 0, 0,  0, 0, 0, 0,  0,   0,   0,   0,   0,   0,   0,   0,
    0, 0, 1,    0, 0, 0, 9, 0, 0, 0, 38, 0, 0, 0, 32, 'T', 'E', 'X', 'T', 't', 't', 'x', 't'};

bool MakeWithCompanionInC(int inFolder, const std::string& inName) {
    constexpr const char* kNewName = "._.new";
    if (!MakeInC(inFolder, inName)) return false;
    const int file = openat(inFolder, kNewName, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    const bool isWritten =
        file >= 0 && write(file, kCompanion, sizeof kCompanion) == sizeof kCompanion && fsync(file) == 0;
    return close(file) == 0 && isWritten &&
           renameat(inFolder, kNewName, inFolder, ("._" + inName).c_str()) == 0;
}

void WithType(benchmark::State& ioState) {
    FSCatalogInfo info = {};
    auto* const file = reinterpret_cast<FileInfo*>(info.finderInfo);
    file->fileType = 0x54455854;  // "TEXT"
    file->fileCreator = 0x74747874;
    MakeInTurns(ioState, MakeWithCompanionInC, [&info](const Folder& inFolder, const std::string& inName) {
        return Create(inFolder, inName, kFSCatInfoFinderInfo, &info);
    });
}

BENCHMARK(Scan)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(MissingByReference)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(MissingBySpecification)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(Plain)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(WithType)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
