// Strings made from bytes and written to bytes, beside the standard library's and ICU's own ways over the
// same text; and what a copy costs. Compare what one run says of a pair: the machine may be busy.
#include <benchmark/benchmark.h>
#include <toolbox/CFString.h>
#include <unicode/ucnv.h>
#include <unicode/ustring.h>

#include <atomic>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace {

constexpr char kSixteen[] = "0123456789abcdef";
constexpr std::size_t kLongByteCount = 1 << 20;

std::string Repeated(const std::string& inText) {
    std::string text;
    while (text.size() + inText.size() <= kLongByteCount)
        text += inText;
    return text;
}

// ASCII; European text, mostly ASCII; and text of which a part each is Latin, Greek, Cyrillic, Japanese and
// outside the basic plane.
const std::string& LongText(int64_t inKind) {
    static const std::string kTexts[] = {
        Repeated("The quick brown fox jumps over the lazy dog. "),
        Repeated("Fran\xC3\xA7ois d\xC3\xA9j\xC3\xA0 vu: Gr\xC3\xBC\xC3\x9F"
                 "e aus M\xC3\xBCnchen, na\xC3\xAFve caf\xC3\xA9s. "),
        Repeated("Latin text, \xCE\x95\xCE\xBB\xCE\xBB\xCE\xB7\xCE\xBD\xCE\xB9\xCE\xBA\xCE\xAC, "
                 "\xD1\x80\xD1\x83\xD1\x81\xD1\x81\xD0\xBA\xD0\xB8\xD0\xB9, "
                 "\xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E\xE3\x81\x8B\xE3\x81\xAA, \xF0\x9F\x8E\xB5. ")};
    return kTexts[inKind];
}

void MakeStandardStringOf16(benchmark::State& ioState) {
    const char* text = kSixteen;
    for (auto _ : ioState) {
        benchmark::DoNotOptimize(text);
        std::u16string string(text, text + std::strlen(text));
        benchmark::DoNotOptimize(string.data());
    }
}

void MakeCFStringOf16(benchmark::State& ioState, CFStringEncoding inEncoding) {
    const char* text = kSixteen;
    for (auto _ : ioState) {
        benchmark::DoNotOptimize(text);
        CFStringRef string = CFStringCreateWithCString(kCFAllocatorDefault, text, inEncoding);
        benchmark::DoNotOptimize(string);
        CFRelease(string);
    }
}

void CountAtomically(benchmark::State& ioState) {
    std::atomic<SInt64> count{1};
    for (auto _ : ioState) {
        count.fetch_add(1, std::memory_order_relaxed);
        count.fetch_sub(1, std::memory_order_acq_rel);
    }
    benchmark::DoNotOptimize(count);
}

void RetainAndRelease(benchmark::State& ioState) {
    CFStringRef string = CFStringCreateWithCString(kCFAllocatorDefault, kSixteen, kCFStringEncodingASCII);
    for (auto _ : ioState)
        CFRelease(CFRetain(string));
    CFRelease(string);
}

void SetBytes(benchmark::State& ioState, const std::string& inText) {
    ioState.SetBytesProcessed(static_cast<int64_t>(ioState.iterations()) *
                              static_cast<int64_t>(inText.size()));
}

void DecodeWithCFString(benchmark::State& ioState) {
    const std::string& text = LongText(ioState.range(0));
    for (auto _ : ioState) {
        CFStringRef string =
            CFStringCreateWithBytes(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(text.data()),
                                    static_cast<CFIndex>(text.size()), kCFStringEncodingUTF8, false);
        if (string == nullptr) return ioState.SkipWithError("not converted");
        CFRelease(string);
    }
    SetBytes(ioState, text);
}

// With its converter, into memory of the most units that there can be, as its documentation advises.
void DecodeWithICUConverter(benchmark::State& ioState) {
    const std::string& text = LongText(ioState.range(0));
    UErrorCode status = U_ZERO_ERROR;
    UConverter* converter = ucnv_open("UTF-8", &status);
    for (auto _ : ioState) {
        const std::unique_ptr<UChar[]> units(new UChar[text.size() + 1]);
        benchmark::DoNotOptimize(ucnv_toUChars(converter, units.get(), static_cast<int32_t>(text.size() + 1),
                                               text.data(), static_cast<int32_t>(text.size()), &status));
        if (U_FAILURE(status)) return ioState.SkipWithError("not converted");
    }
    ucnv_close(converter);
    SetBytes(ioState, text);
}

void DecodeWithICUFunction(benchmark::State& ioState) {
    const std::string& text = LongText(ioState.range(0));
    for (auto _ : ioState) {
        const std::unique_ptr<UChar[]> units(new UChar[text.size() + 1]);
        UErrorCode status = U_ZERO_ERROR;
        int32_t length = 0;
        u_strFromUTF8(units.get(), static_cast<int32_t>(text.size() + 1), &length, text.data(),
                      static_cast<int32_t>(text.size()), &status);
        if (U_FAILURE(status)) return ioState.SkipWithError("not converted");
        benchmark::DoNotOptimize(length);
    }
    SetBytes(ioState, text);
}

CFStringRef NewLongString(int64_t inKind) {
    const std::string& text = LongText(inKind);
    return CFStringCreateWithBytes(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(text.data()),
                                   static_cast<CFIndex>(text.size()), kCFStringEncodingUTF8, false);
}

void EncodeWithCFString(benchmark::State& ioState) {
    const std::string& text = LongText(ioState.range(0));
    CFStringRef string = NewLongString(ioState.range(0));
    std::vector<char> bytes(text.size() + 1);
    for (auto _ : ioState) {
        if (!CFStringGetCString(string, bytes.data(), static_cast<CFIndex>(bytes.size()),
                                kCFStringEncodingUTF8))
            return ioState.SkipWithError("not converted");
        benchmark::ClobberMemory();
    }
    CFRelease(string);
    SetBytes(ioState, text);
}

template <typename Encode>
void EncodeUnits(benchmark::State& ioState, Encode inEncode) {
    const std::string& text = LongText(ioState.range(0));
    CFStringRef string = NewLongString(ioState.range(0));
    std::vector<UChar> units(static_cast<std::size_t>(CFStringGetLength(string)));
    CFStringGetCharacters(string, CFRangeMake(0, CFStringGetLength(string)),
                          reinterpret_cast<UniChar*>(units.data()));
    CFRelease(string);
    std::vector<char> bytes(text.size() + 1);
    for (auto _ : ioState) {
        if (!inEncode(units, bytes)) return ioState.SkipWithError("not converted");
        benchmark::ClobberMemory();
    }
    SetBytes(ioState, text);
}

void EncodeWithICUConverter(benchmark::State& ioState) {
    UErrorCode status = U_ZERO_ERROR;
    UConverter* converter = ucnv_open("UTF-8", &status);
    EncodeUnits(ioState, [&](const std::vector<UChar>& inUnits, std::vector<char>& outBytes) {
        ucnv_fromUChars(converter, outBytes.data(), static_cast<int32_t>(outBytes.size()), inUnits.data(),
                        static_cast<int32_t>(inUnits.size()), &status);
        return U_SUCCESS(status);
    });
    ucnv_close(converter);
}

void EncodeWithICUFunction(benchmark::State& ioState) {
    EncodeUnits(ioState, [](const std::vector<UChar>& inUnits, std::vector<char>& outBytes) {
        UErrorCode status = U_ZERO_ERROR;
        u_strToUTF8(outBytes.data(), static_cast<int32_t>(outBytes.size()), nullptr, inUnits.data(),
                    static_cast<int32_t>(inUnits.size()), &status);
        return U_SUCCESS(status);
    });
}

}  // namespace

BENCHMARK(MakeStandardStringOf16);
BENCHMARK_CAPTURE(MakeCFStringOf16, ASCII, kCFStringEncodingASCII);
BENCHMARK_CAPTURE(MakeCFStringOf16, UTF8, kCFStringEncodingUTF8);
BENCHMARK_CAPTURE(MakeCFStringOf16, MacRoman, kCFStringEncodingMacRoman);
BENCHMARK(CountAtomically);
BENCHMARK(RetainAndRelease);
// 0 ASCII, 1 European, 2 of many scripts.
BENCHMARK(DecodeWithCFString)->DenseRange(0, 2);
BENCHMARK(DecodeWithICUConverter)->DenseRange(0, 2);
BENCHMARK(DecodeWithICUFunction)->DenseRange(0, 2);
BENCHMARK(EncodeWithCFString)->DenseRange(0, 2);
BENCHMARK(EncodeWithICUConverter)->DenseRange(0, 2);
BENCHMARK(EncodeWithICUFunction)->DenseRange(0, 2);

BENCHMARK_MAIN();
