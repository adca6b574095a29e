// Sorting names as a list of files shows them: by the toolbox, and with a collator made anew for each
// comparison, as a program would that keeps none. Compare within one run.
#include <benchmark/benchmark.h>
#include <toolbox/MacErrors.h>
#include <toolbox/UnicodeUtilities.h>
#include <unicode/ucol.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

namespace {

using Name = std::u16string;

constexpr UCCollateOptions kFinder = 0x3800E;

// Names as folders have them: words, numbers, accents, few alike.
std::vector<Name> MakeNames(std::size_t inCount) {
    constexpr const char16_t* kWords[] = {u"Document", u"track",    u"IMG_",         u"r\u00E9sum\u00E9",
                                          u"Photo ",   u"copy of ", u"\u97F3\u697D", u"Report-",
                                          u"notes",    u"Untitled "};
    constexpr const char16_t* kSuffixes[] = {u".txt", u".m4a", u".jpg", u" final.pdf", u""};
    std::mt19937 engine(20261120);
    std::vector<Name> names(inCount);
    for (Name& name : names) {
        name = kWords[engine() % 10];
        for (char digit : std::to_string(engine() % (10 * inCount)))
            name += static_cast<char16_t>(digit);
        name += kSuffixes[engine() % 5];
    }
    return names;
}

bool ComesBefore(const Name& inLeft, const Name& inRight) {
    SInt32 order = 0;
    const OSStatus status = UCCompareTextDefault(
        kFinder, reinterpret_cast<const UniChar*>(inLeft.data()), inLeft.size(),
        reinterpret_cast<const UniChar*>(inRight.data()), inRight.size(), nullptr, &order);
    return status == noErr && order < 0;
}

bool ComesBeforeByFreshCollator(const Name& inLeft, const Name& inRight) {
    UErrorCode status = U_ZERO_ERROR;
    UCollator* const collator = ucol_open("", &status);
    ucol_setAttribute(collator, UCOL_NORMALIZATION_MODE, UCOL_ON, &status);
    ucol_setAttribute(collator, UCOL_NUMERIC_COLLATION, UCOL_ON, &status);
    const UCollationResult order = ucol_strcoll(collator, inLeft.data(), static_cast<int32_t>(inLeft.size()),
                                                inRight.data(), static_cast<int32_t>(inRight.size()));
    ucol_close(collator);
    return U_SUCCESS(status) && order == UCOL_LESS;
}

template <typename Order>
void Sort(benchmark::State& ioState, Order inOrder) {
    const std::vector<Name> names = MakeNames(static_cast<std::size_t>(ioState.range(0)));
    for (auto _ : ioState) {
        ioState.PauseTiming();
        std::vector<Name> sorted = names;
        ioState.ResumeTiming();
        std::sort(sorted.begin(), sorted.end(), inOrder);
        benchmark::DoNotOptimize(sorted.data());
    }
    ioState.SetItemsProcessed(ioState.iterations() * ioState.range(0));
}

void SortByToolbox(benchmark::State& ioState) {
    Sort(ioState, ComesBefore);
}
void SortByFreshCollators(benchmark::State& ioState) {
    Sort(ioState, ComesBeforeByFreshCollator);
}

double Least(const std::vector<double>& inTimes) {
    return *std::min_element(inTimes.begin(), inTimes.end());
}

BENCHMARK(SortByToolbox)->ComputeStatistics("min", Least)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(SortByFreshCollators)->ComputeStatistics("min", Least)->Arg(100000)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
