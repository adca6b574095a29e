// Functions in C that use the toolbox, for a test in C++ to call.
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

// Copies a C string by way of a handle. 0 when it does not fit.
int CopyThroughHandleFromC(const char* inText, char* outText, int inSize);
// UTF-8 to Mac Roman. 0 when it cannot be.
int RecodeFromC(const char* inUTF8, char* outMacRoman, int inSize);
// A text compared with a part of itself.
int CompareRangesFromC(const char* inText, long inLocation, long inLength);
// "TEXT: NUMBER", the text in Mac Roman, as UTF-8 in capitals. 0 when it does not fit.
int FormatFromC(const char* inText, int inNumber, char* outText, int inSize);
// A rate as 16.16.
unsigned RateFromC(int inRateHz);

#ifdef __cplusplus
}
#endif
