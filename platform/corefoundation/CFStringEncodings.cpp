#include "corefoundation/Encodings.h"

#include <toolbox/CFStringEncodings.h>

#include <limits>

using namespace toolbox::corefoundation;

Boolean CFStringIsEncodingAvailable(CFStringEncoding inEncoding) {
    return FindCoder(inEncoding) != nullptr;
}

const CFStringEncoding* CFStringGetListOfAvailableEncodings() {
    static constexpr CFStringEncoding kAvailable[] = {kCFStringEncodingMacRoman,
                                                      kCFStringEncodingMacJapanese,
                                                      kCFStringEncodingISOLatin1,
                                                      kCFStringEncodingWindowsLatin1,
                                                      kCFStringEncodingASCII,
                                                      kCFStringEncodingNextStepLatin,
                                                      kCFStringEncodingUnicode,
                                                      kCFStringEncodingUTF8,
                                                      kCFStringEncodingUTF16BE,
                                                      kCFStringEncodingUTF16LE,
                                                      kCFStringEncodingUTF32,
                                                      kCFStringEncodingUTF32BE,
                                                      kCFStringEncodingUTF32LE,
                                                      kCFStringEncodingMacGreek,
                                                      kCFStringEncodingMacCyrillic,
                                                      kCFStringEncodingMacCentralEurRoman,
                                                      kCFStringEncodingMacTurkish,
                                                      kCFStringEncodingMacCroatian,
                                                      kCFStringEncodingMacIcelandic,
                                                      kCFStringEncodingMacRomanian,
                                                      kCFStringEncodingMacUkrainian,
                                                      kCFStringEncodingISOLatin2,
                                                      kCFStringEncodingISOLatin3,
                                                      kCFStringEncodingISOLatin4,
                                                      kCFStringEncodingISOLatinCyrillic,
                                                      kCFStringEncodingISOLatinArabic,
                                                      kCFStringEncodingISOLatinGreek,
                                                      kCFStringEncodingISOLatinHebrew,
                                                      kCFStringEncodingISOLatin5,
                                                      kCFStringEncodingISOLatin6,
                                                      kCFStringEncodingISOLatinThai,
                                                      kCFStringEncodingISOLatin7,
                                                      kCFStringEncodingISOLatin8,
                                                      kCFStringEncodingISOLatin9,
                                                      kCFStringEncodingDOSThai,
                                                      kCFStringEncodingDOSJapanese,
                                                      kCFStringEncodingDOSChineseSimplif,
                                                      kCFStringEncodingDOSKorean,
                                                      kCFStringEncodingDOSChineseTrad,
                                                      kCFStringEncodingWindowsLatin2,
                                                      kCFStringEncodingWindowsCyrillic,
                                                      kCFStringEncodingWindowsGreek,
                                                      kCFStringEncodingWindowsLatin5,
                                                      kCFStringEncodingWindowsHebrew,
                                                      kCFStringEncodingWindowsArabic,
                                                      kCFStringEncodingWindowsBalticRim,
                                                      kCFStringEncodingWindowsVietnamese,
                                                      kCFStringEncodingInvalidId};
    return kAvailable;
}

CFIndex CFStringGetMaximumSizeForEncoding(CFIndex inLength, CFStringEncoding inEncoding) {
    const Coder* const coder = FindCoder(inEncoding);
    if (coder == nullptr || inLength < 0) return kCFNotFound;
    const CFIndex most = std::numeric_limits<CFIndex>::max() / coder->MaxBytesPerUnit();
    return inLength > most ? CFIndex{kCFNotFound} : inLength * coder->MaxBytesPerUnit();
}
