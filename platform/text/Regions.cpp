#include "Regions.h"

#include <toolbox/CFStringEncodings.h>

namespace toolbox::text {

namespace {

struct Regions {
    SInt16 first;
    SInt16 last;
    CFStringEncoding encoding;
};

constexpr Regions kRegions[] = {
    {0, 12, kCFStringEncodingMacRoman},             // the United States and western Europe
    {14, 14, kCFStringEncodingMacJapanese},         // Japan
    {15, 15, kCFStringEncodingMacRoman},            // Australia
    {17, 19, kCFStringEncodingMacRoman},            // Finland, Switzerland in French and German
    {20, 20, kCFStringEncodingMacGreek},            // Greece
    {21, 21, kCFStringEncodingMacIcelandic},        // Iceland
    {22, 22, kCFStringEncodingMacRoman},            // Malta
    {23, 23, kCFStringEncodingMacGreek},            // Cyprus
    {24, 24, kCFStringEncodingMacTurkish},          // Turkey
    {25, 25, kCFStringEncodingMacCroatian},         // Croatia, in former times
    {26, 32, kCFStringEncodingMacRoman},            // variants of western European ones and of Canada
    {35, 35, kCFStringEncodingMacTurkish},          // Turkey, a variant
    {36, 37, kCFStringEncodingMacRoman},            // Switzerland in Italian, international English
    {39, 39, kCFStringEncodingMacRomanian},         // Romania
    {40, 40, kCFStringEncodingMacGreek},            // Greece, polytonic
    {41, 45, kCFStringEncodingMacCentralEurRoman},  // Lithuania, Poland, Hungary, Estonia, Latvia
    {47, 47, kCFStringEncodingMacIcelandic},        // the Faroe Islands
    {49, 49, kCFStringEncodingMacCyrillic},         // Russia
    {56, 57, kCFStringEncodingMacCentralEurRoman},  // Czechia, Slovakia
    {59, 59, kCFStringEncodingMacCentralEurRoman},  // Hungary, again
    {61, 61, kCFStringEncodingMacCyrillic},         // Belarus
    {62, 62, kCFStringEncodingMacUkrainian},        // Ukraine
    {64, 64, kCFStringEncodingMacGreek},            // Greece, a variant
    {65, 65, kCFStringEncodingMacCyrillic},         // Serbia
    {66, 66, kCFStringEncodingMacCroatian},         // Slovenia
    {67, 67, kCFStringEncodingMacCyrillic},         // Macedonia
    {68, 68, kCFStringEncodingMacCroatian},         // Croatia
    {70, 71, kCFStringEncodingMacRoman},            // Germany, reformed; Brazil
    {72, 72, kCFStringEncodingMacCyrillic},         // Bulgaria
    {73, 74, kCFStringEncodingMacRoman},            // Catalonia, multilingual
    {82, 82, kCFStringEncodingMacRoman},            // Canada in English
    {86, 86, kCFStringEncodingMacRoman},            // Latin America
    {91, 92, kCFStringEncodingMacRoman},            // French of no country, Austria
    {98, 98, kCFStringEncodingMacRoman},            // Belgium in French
    {99, 99, kCFStringEncodingMacCyrillic},         // Uzbekistan
    {100, 102, kCFStringEncodingMacRoman},          // Singapore, Nynorsk, Afrikaans
    {107, 108, kCFStringEncodingMacRoman},          // Greenland, Ireland in English
};

}  // namespace

CFStringEncoding EncodingOfRegion(SInt16 inRegion) {
    for (const Regions& regions : kRegions) {
        if (inRegion >= regions.first && inRegion <= regions.last) return regions.encoding;
    }
    return kCFStringEncodingUTF8;
}

}  // namespace toolbox::text
