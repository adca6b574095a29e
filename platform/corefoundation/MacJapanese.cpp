// The published mapping of Mac Japanese, as far as it is not that of Shift JIS. Where the code has no
// character of its own in Unicode, one or more that look the same stand for it, and a hint tells them from
// themselves: U+F860 to U+F862 before a group of two to four characters, U+F87A, U+F87E (upright in vertical
// text) or U+F87F behind a variant of one.
#include "MacJapanese.h"

namespace toolbox::corefoundation {

namespace {

constexpr CodeRun kRuns[] = {
    {0x5C, 1, 0x00A5},    {0x80, 1, 0x005C},    {0xA0, 1, 0x00A0},    {0xFD, 1, 0x00A9},
    {0xFE, 1, 0x2122},    {0x815C, 1, 0x2014},  {0x8160, 1, 0x301C},  {0x8161, 1, 0x2016},
    {0x817C, 1, 0x2212},  {0x8191, 2, 0x00A2},  {0x81CA, 1, 0x00AC},  {0x8540, 20, 0x2460},
    {0x855E, 20, 0x2474}, {0x857C, 3, 0x2776},  {0x8580, 6, 0x2779},  {0x8592, 9, 0x2488},
    {0x859F, 12, 0x2160}, {0x85B3, 12, 0x2170}, {0x85DB, 26, 0x249C}, {0x8640, 1, 0x339C},
    {0x8641, 1, 0x339F},  {0x8642, 1, 0x339D},  {0x8643, 1, 0x33A0},  {0x8644, 1, 0x33A4},
    {0x8646, 1, 0x33A1},  {0x8647, 1, 0x33A5},  {0x8648, 1, 0x339E},  {0x8649, 1, 0x33A2},
    {0x864A, 1, 0x338E},  {0x864C, 1, 0x338F},  {0x864D, 1, 0x33C4},  {0x864E, 2, 0x3396},
    {0x8650, 1, 0x2113},  {0x8651, 1, 0x3398},  {0x8652, 1, 0x33B3},  {0x8653, 1, 0x33B2},
    {0x8654, 1, 0x33B1},  {0x8655, 1, 0x33B0},  {0x8656, 1, 0x2109},  {0x8657, 1, 0x33D4},
    {0x8658, 1, 0x33CB},  {0x8659, 1, 0x3390},  {0x865A, 3, 0x3385},  {0x869B, 1, 0x2116},
    {0x869C, 1, 0x33CD},  {0x869D, 1, 0x2121},  {0x869F, 1, 0x2664},  {0x86A0, 1, 0x2667},
    {0x86A1, 2, 0x2661},  {0x86A3, 1, 0x2660},  {0x86A4, 1, 0x2663},  {0x86A5, 2, 0x2665},
    {0x86B3, 1, 0x3020},  {0x86B4, 1, 0x260E},  {0x86B5, 1, 0x3004},  {0x86C7, 1, 0x261E},
    {0x86C8, 2, 0x261C},  {0x86CA, 1, 0x261F},  {0x86CB, 1, 0x21C6},  {0x86CC, 2, 0x21C4},
    {0x86CF, 1, 0x21E8},  {0x86D0, 2, 0x21E6},  {0x86D2, 1, 0x21E9},  {0x8740, 1, 0x3230},
    {0x8741, 6, 0x322A},  {0x8747, 1, 0x3240},  {0x8748, 1, 0x3237},  {0x8749, 2, 0x3242},
    {0x874B, 2, 0x3239},  {0x874D, 1, 0x3231},  {0x874E, 1, 0x323E},  {0x874F, 1, 0x3234},
    {0x8750, 1, 0x3232},  {0x8751, 1, 0x323B},  {0x8752, 1, 0x3236},  {0x8753, 1, 0x3233},
    {0x8754, 1, 0x3235},  {0x8755, 2, 0x323C},  {0x8757, 1, 0x323F},  {0x8758, 1, 0x3238},
    {0x8793, 6, 0x32A4},  {0x8799, 1, 0x3296},  {0x879A, 1, 0x329D},  {0x879B, 1, 0x3298},
    {0x879C, 1, 0x329E},  {0x879E, 1, 0x3299},  {0x879F, 1, 0x3349},  {0x87A0, 1, 0x3322},
    {0x87A1, 1, 0x334D},  {0x87A2, 1, 0x3314},  {0x87A3, 1, 0x3316},  {0x87A4, 1, 0x3305},
    {0x87A5, 1, 0x3333},  {0x87A6, 1, 0x334E},  {0x87A7, 1, 0x3303},  {0x87A8, 1, 0x3336},
    {0x87A9, 1, 0x3318},  {0x87AA, 1, 0x3315},  {0x87AB, 1, 0x3327},  {0x87AC, 1, 0x3351},
    {0x87AD, 1, 0x334A},  {0x87AE, 1, 0x3339},  {0x87AF, 1, 0x3357},  {0x87B0, 1, 0x330D},
    {0x87B1, 1, 0x3342},  {0x87B2, 1, 0x3323},  {0x87B3, 1, 0x3326},  {0x87B4, 1, 0x333B},
    {0x87B5, 1, 0x332B},  {0x87BD, 1, 0x3300},  {0x87BE, 1, 0x331E},  {0x87BF, 1, 0x332A},
    {0x87C0, 1, 0x3331},  {0x87C1, 1, 0x3347},  {0x87E5, 1, 0x337E},  {0x87E6, 1, 0x337D},
    {0x87E7, 1, 0x337C},  {0x87E8, 1, 0x337B},  {0x87FA, 1, 0x337F},  {0x8840, 1, 0x222E},
    {0x8841, 1, 0x221F},  {0x8842, 1, 0x22BF},  {0x8854, 1, 0x301D},  {0x8855, 1, 0x301F},
    {0x8868, 1, 0x3094},  {0x886A, 4, 0x30F7},  {0xEB51, 1, 0xFE33},  {0xEB5C, 1, 0xFE31},
    {0xEB64, 1, 0xFE30},  {0xEB69, 2, 0xFE35},  {0xEB6B, 2, 0xFE39},  {0xEB6F, 2, 0xFE37},
    {0xEB71, 2, 0xFE3F},  {0xEB73, 2, 0xFE3D},  {0xEB75, 4, 0xFE41},  {0xEB79, 2, 0xFE3B}};

constexpr CodeSequence kSequences[] = {{0xFF, u"\u2026\uF87F"},
                                       {0x8591, u"\uF8600."},
                                       {0x85AB, u"\uF862XIII"},
                                       {0x85AC, u"\uF861XIV"},
                                       {0x85AD, u"\uF860XV"},
                                       {0x85BF, u"\uF862xiii"},
                                       {0x85C0, u"\uF861xiv"},
                                       {0x85C1, u"\uF860xv"},
                                       {0x8645, u"\uFF4D\uF87F"},
                                       {0x864B, u"\uFF47\uF87F"},
                                       {0x865D, u"\uF860TB"},
                                       {0x869E, u"\uF861FAX"},
                                       {0x86CE, u"\uF860\u2193\u2191"},
                                       {0x86D3, u"\u21E8\uF87A"},
                                       {0x86D4, u"\u21E6\uF87A"},
                                       {0x86D5, u"\u21E7\uF87A"},
                                       {0x86D6, u"\u21E9\uF87A"},
                                       {0x8791, u"\u5927\u20DD"},
                                       {0x8792, u"\u5C0F\u20DD"},
                                       {0x879D, u"\u63A7\u20DD"},
                                       {0x87FB, u"\uF862\u6709\u9650\u4F1A\u793E"},
                                       {0x87FC, u"\uF862\u8CA1\u56E3\u6CD5\u4EBA"},
                                       {0xEB41, u"\u3001\uF87E"},
                                       {0xEB42, u"\u3002\uF87E"},
                                       {0xEB50, u"\uFFE3\uF87E"},
                                       {0xEB5B, u"\u30FC\uF87E"},
                                       {0xEB5D, u"\u2010\uF87E"},
                                       {0xEB60, u"\u301C\uF87E"},
                                       {0xEB61, u"\u2016\uF87E"},
                                       {0xEB62, u"\uFF5C\uF87E"},
                                       {0xEB63, u"\u2026\uF87E"},
                                       {0xEB6D, u"\uFF3B\uF87E"},
                                       {0xEB6E, u"\uFF3D\uF87E"},
                                       {0xEB81, u"\uFF1D\uF87E"},
                                       {0xEC9F, u"\u3041\uF87E"},
                                       {0xECA1, u"\u3043\uF87E"},
                                       {0xECA3, u"\u3045\uF87E"},
                                       {0xECA5, u"\u3047\uF87E"},
                                       {0xECA7, u"\u3049\uF87E"},
                                       {0xECC1, u"\u3063\uF87E"},
                                       {0xECE1, u"\u3083\uF87E"},
                                       {0xECE3, u"\u3085\uF87E"},
                                       {0xECE5, u"\u3087\uF87E"},
                                       {0xECEC, u"\u308E\uF87E"},
                                       {0xED40, u"\u30A1\uF87E"},
                                       {0xED42, u"\u30A3\uF87E"},
                                       {0xED44, u"\u30A5\uF87E"},
                                       {0xED46, u"\u30A7\uF87E"},
                                       {0xED48, u"\u30A9\uF87E"},
                                       {0xED62, u"\u30C3\uF87E"},
                                       {0xED83, u"\u30E3\uF87E"},
                                       {0xED85, u"\u30E5\uF87E"},
                                       {0xED87, u"\u30E7\uF87E"},
                                       {0xED8E, u"\u30EE\uF87E"},
                                       {0xED95, u"\u30F5\uF87E"},
                                       {0xED96, u"\u30F6\uF87E"}};

constexpr CodeRange kOfShiftJIS[] = {{0xA1, 0xDF}, {0x8140, 0x84FC}, {0x889F, 0xEAFC}};

}  // namespace

const DoubleByteChanges& MacJapaneseChanges() {
    static constexpr DoubleByteChanges kChanges = {kOfShiftJIS, kRuns, kSequences};
    return kChanges;
}

}  // namespace toolbox::corefoundation
