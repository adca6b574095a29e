// Going through folders with the information that a listing needs, beside readdir and statx in plain C: one
// folder, and a tree of folders of a hundred files each. MIRTAL_BENCH_FILES is the number of files, 2000
// where it is not set. On a machine under other load compare the least of several repetitions.
#include <benchmark/benchmark.h>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <toolbox/Iterators.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

namespace {

constexpr int kFilesOfFolder = 100;
constexpr FSCatalogInfoBitmap kListed =
    kFSCatInfoNodeFlags | kFSCatInfoVolume | kFSCatInfoParentDirID | kFSCatInfoNodeID;

int FileCount() {
    const char* const count = std::getenv("MIRTAL_BENCH_FILES");
    return count == nullptr ? 2000 : std::atoi(count);
}

enum Form { kFolder, kTree };

// Made once, and gone at the end.
class Files {
  public:
    explicit Files(Form inForm) {
        std::string pattern =
            (std::filesystem::temp_directory_path() / "iteration-benchmark-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr) std::abort();
        path = pattern;
        for (int i = 0; i < FileCount(); ++i) {
            const std::string folder =
                inForm == kTree ? path + "/folder " + std::to_string(i / kFilesOfFolder) : path;
            if (inForm == kTree && i % kFilesOfFolder == 0 && mkdir(folder.c_str(), 0700) != 0) std::abort();
            char name[32];
            std::snprintf(name, sizeof name, "/file %06d.txt", i);
            const int file = open((folder + name).c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
            if (file < 0 || close(file) != 0) std::abort();
        }
        itemCount = FileCount() + (inForm == kTree ? (FileCount() + kFilesOfFolder - 1) / kFilesOfFolder : 0);
        if (FSPathMakeRef(reinterpret_cast<const UInt8*>(path.c_str()), &ref, nullptr) != noErr) std::abort();
        usleep(50'000);  // what was just made is looked at more closely
    }
    ~Files() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
    Files(const Files&) = delete;
    Files& operator=(const Files&) = delete;

    static Files& Of(Form inForm) {
        static Files folder(kFolder);
        static Files tree(kTree);
        return inForm == kFolder ? folder : tree;
    }

    std::string path;
    FSRef ref = {};
    int itemCount = 0;
};

int ListInC(int inFolder) {
    DIR* const folder = fdopendir(inFolder);
    if (folder == nullptr) return 0;
    int count = 0;
    while (const struct dirent* const entry = readdir(folder)) {
        if (std::strcmp(entry->d_name, ".") == 0 || std::strcmp(entry->d_name, "..") == 0) continue;
        struct statx status;
        constexpr unsigned kMask = STATX_BASIC_STATS | STATX_BTIME | STATX_MNT_ID;
        if (statx(inFolder, entry->d_name, AT_SYMLINK_NOFOLLOW, kMask, &status) != 0) continue;
        benchmark::DoNotOptimize(status);
        ++count;
        if (S_ISDIR(status.stx_mode))
            count += ListInC(openat(inFolder, entry->d_name, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    }
    closedir(folder);
    return count;
}

void Finish(benchmark::State& ioState, int inCount, int inExpected) {
    if (inCount != inExpected) ioState.SkipWithError("not all items came");
}

void ReaddirAndStatx(benchmark::State& ioState, Form inForm) {
    const Files& files = Files::Of(inForm);
    for (auto _ : ioState)
        Finish(ioState, ListInC(open(files.path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)),
               files.itemCount);
    ioState.SetItemsProcessed(ioState.iterations() * files.itemCount);
}

int Iterate(const FSRef& inFolder, FSIteratorFlags inFlags, ItemCount inBulk) {
    static std::vector<FSCatalogInfo> infos(1000);
    static std::vector<HFSUniStr255> names(1000);
    static std::vector<FSRef> refs(1000);
    FSIterator iterator = nullptr;
    if (FSOpenIterator(&inFolder, inFlags, &iterator) != noErr) return 0;
    int count = 0;
    for (OSErr error = noErr; error == noErr;) {
        ItemCount actual = 0;
        error = FSGetCatalogInfoBulk(iterator, inBulk, &actual, nullptr, kListed, infos.data(), refs.data(),
                                     nullptr, names.data());
        count += static_cast<int>(actual);
    }
    return FSCloseIterator(iterator) == noErr ? count : 0;
}

void Iterator(benchmark::State& ioState, Form inForm) {
    const Files& files = Files::Of(inForm);
    const auto bulk = static_cast<ItemCount>(ioState.range(0));
    const FSIteratorFlags flags = inForm == kTree ? kFSIterateSubtree : kFSIterateFlat;
    for (auto _ : ioState)
        Finish(ioState, Iterate(files.ref, flags, bulk), files.itemCount);
    ioState.SetItemsProcessed(ioState.iterations() * files.itemCount);
}

BENCHMARK_CAPTURE(ReaddirAndStatx, folder, kFolder)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Iterator, folder, kFolder)->Arg(1)->Arg(50)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(ReaddirAndStatx, tree, kTree)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Iterator, tree, kTree)->Arg(1)->Arg(50)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
