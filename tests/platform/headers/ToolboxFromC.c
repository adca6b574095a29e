// The toolbox as a program in C uses it.
#include "ToolboxFromC.h"

#include <string.h>
#include <toolbox/CFString.h>
#include <toolbox/FixMath.h>
#include <toolbox/MacMemory.h>
#include <toolbox/TextEncoding.h>
#include <toolbox/Timer.h>

int CopyThroughHandleFromC(const char* inText, char* outText, int inSize) {
    Handle handle = NULL;
    if (PtrToHand(inText, &handle, (Size)strlen(inText) + 1) != noErr) return 0;
    const Size byteCount = GetHandleSize(handle);
    if (byteCount <= inSize) BlockMoveData(*handle, outText, byteCount);
    DisposeHandle(handle);
    return byteCount <= inSize;
}

int RecodeFromC(const char* inUTF8, char* outMacRoman, int inSize) {
    CFStringRef string = CFStringCreateWithCString(kCFAllocatorDefault, inUTF8, kCFStringEncodingUTF8);
    if (string == NULL) return 0;
    const Boolean isDone = CFStringGetCString(string, outMacRoman, inSize, kCFStringEncodingMacRoman);
    CFRelease(string);
    return isDone;
}

int CompareRangesFromC(const char* inText, long inLocation, long inLength) {
    CFStringRef whole = CFStringCreateWithCString(kCFAllocatorDefault, inText, kCFStringEncodingUTF8);
    CFStringRef part =
        CFStringCreateWithSubstring(kCFAllocatorDefault, whole, CFRangeMake(inLocation, inLength));
    const CFComparisonResult result = CFStringCompare(whole, part, kCFCompareCaseInsensitive);
    CFRelease(part);
    CFRelease(whole);
    return result;
}

int FormatFromC(const char* inText, int inNumber, char* outText, int inSize) {
    CFStringRef format = CFStringCreateWithCString(kCFAllocatorDefault, "%s: %d", kCFStringEncodingASCII);
    CFMutableStringRef string = CFStringCreateMutable(kCFAllocatorDefault, 0);
    CFStringAppendFormat(string, NULL, format, inText, inNumber);
    CFStringUppercase(string, NULL);
    const Boolean isDone = CFStringGetCString(string, outText, inSize, kCFStringEncodingUTF8);
    CFRelease(string);
    CFRelease(format);
    return isDone;
}

unsigned RateFromC(int inRateHz) {
    return (unsigned)FixRatio((SInt16)inRateHz, 1);
}
