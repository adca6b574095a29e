#include <foundation/LException.h>
#include <foundation/UDebugging.h>
#include <toolbox/Debugger.h>
#include <toolbox/Dialogs.h>
#include <toolbox/Processes.h>
#include <toolbox/TextUtils.h>

#include <cstring>

namespace {

constexpr SInt16 kThrowAlert = 251;
constexpr SInt16 kSignalAlert = 252;

enum Setting : SInt32 { kReportsNothing = 0, kAlerts = 1, kTellsDebugger = 2 };
enum Item : SInt16 { kQuitItem = 4, kDebuggerItem = 5, kSilenceItem = 6 };

// A number in decimal, or a C string, as the toolbox takes text.
struct PascalText {
    explicit PascalText(long inNumber) { NumToString(static_cast<SInt32>(inNumber), bytes); }
    explicit PascalText(const char* inText) { UDebugging::LoadPStrFromCStr(bytes, inText); }

    Str255 bytes;
};

void Alert(SInt16 inAlertID, SInt32& ioSetting, const unsigned char* inText, const char* inFile,
           const unsigned char* inExtra, long inLine) {
    ParamText(inText, PascalText(inFile).bytes, inExtra, PascalText(inLine).bytes);
    switch (StopAlert(inAlertID, nullptr)) {
        case kQuitItem:
            ExitToShell();
        case kDebuggerItem:
            Debugger();
            break;
        case kSilenceItem:
            ioSetting = kReportsNothing;
            break;
        default:
            break;
    }
}

}  // namespace

SInt32 UDebugging::gDebugThrow = kReportsNothing;
SInt32 UDebugging::gDebugSignal = kReportsNothing;

StringPtr UDebugging::LoadPStrFromCStr(unsigned char* outPStr, const char* inCStr) {
    constexpr unsigned char kMaxLength = 255;
    unsigned char length = 0;
    for (; length < kMaxLength && inCStr[length] != '\0'; ++length)
        outPStr[length + 1] = static_cast<unsigned char>(inCStr[length]);
    outPStr[0] = length;
    return outPStr;
}

void UDebugging::AlertThrowAt(const unsigned char* inText, const char* inFile, const unsigned char* inExtra,
                              long inLine) {
    Alert(kThrowAlert, gDebugThrow, inText, inFile, inExtra, inLine);
}

void UDebugging::AlertThrowAt(const unsigned char* inText, const char* inFile, const char* inExtra,
                              long inLine) {
    AlertThrowAt(inText, inFile, PascalText(inExtra).bytes, inLine);
}

void UDebugging::AlertSignalAt(const unsigned char* inText, const char* inFile, const unsigned char* inExtra,
                               long inLine) {
    Alert(kSignalAlert, gDebugSignal, inText, inFile, inExtra, inLine);
}

void UDebugging::AlertSignalAt(const char* inText, const char* inFile, const unsigned char* inExtra,
                               long inLine) {
    AlertSignalAt(PascalText(inText).bytes, inFile, inExtra, inLine);
}

void UDebugging::AlertSignalAt(const unsigned char* inText, const char* inFile, const char* inExtra,
                               long inLine) {
    AlertSignalAt(inText, inFile, PascalText(inExtra).bytes, inLine);
}

void UDebugging::AlertSignalAt(const char* inText, const char* inFile, const char* inExtra, long inLine) {
    AlertSignalAt(PascalText(inText).bytes, inFile, PascalText(inExtra).bytes, inLine);
}

void UDebugging::AlertSignalOSStatusAt(long inStatus, const char* inFile, const unsigned char* inExtra,
                                       long inLine) {
    unsigned char text[64] = "\016Status Code = ";
    const PascalText number(inStatus);
    std::memcpy(text + 1 + text[0], number.bytes + 1, number.bytes[0]);
    text[0] = static_cast<unsigned char>(text[0] + number.bytes[0]);
    AlertSignalAt(text, inFile, inExtra, inLine);
}

void UDebugging::AlertSignalOSStatusAt(long inStatus, const char* inFile, const char* inExtra, long inLine) {
    AlertSignalOSStatusAt(inStatus, inFile, PascalText(inExtra).bytes, inLine);
}

void UDebugging::DebugThrow(long inError, const char* inFile, const unsigned char* inExtra, long inLine) {
    const PascalText number(inError);
    if (gDebugThrow == kAlerts)
        AlertThrowAt(number.bytes, inFile, inExtra, inLine);
    else if (gDebugThrow == kTellsDebugger)
        DebugStr(number.bytes);
    LException::Throw(inError);
}

void UDebugging::DebugThrow(long inError, const char* inFile, const char* inExtra, long inLine) {
    DebugThrow(inError, inFile, PascalText(inExtra).bytes, inLine);
}

void UDebugging::DebugNumber(long inNumber) {
    DebugStr(PascalText(inNumber).bytes);
}
