// The reporting end of an application's debug checks.
//
// A report is a stop alert of the application, 251 for a throw and 252 for a signal, with four texts: what
// failed, the source file, a further text, the line. Its items: 4 quits the application, 5 breaks into the
// debugger, 6 silences further reports of the kind, any other goes on. Or it is a message to the debugger.
//
// Threads may report at the same time: each alert has its own texts. No lock is held while it is shown, so
// that what answers it may report too, or wait for a thread that does.
//
// inFile and the NUL-terminated texts are cut at 255 bytes; no text may be null. Numbers are 32-bit values.
#pragma once

#include <foundation/MirtalExport.h>
#include <toolbox/MacTypes.h>

class MIRTAL_EXPORT UDebugging {
  public:
    // How a throw check, or a signal check, reports: 0 not at all, 1 with the alert, 2 to the debugger.
    // Applications set them at any time; the alerts' item 6 sets them to 0. The signals' is for the
    // application's own checks to ask: nothing here reads it.
    static SInt32 gDebugThrow;
    static SInt32 gDebugSignal;

    // The C string as a Pascal string; returns outPStr, which holds up to 256 bytes.
    static StringPtr LoadPStrFromCStr(unsigned char* outPStr, const char* inCStr);

    // The alerts, whatever the settings are.
    static void AlertThrowAt(const unsigned char* inText, const char* inFile, const unsigned char* inExtra,
                             long inLine);
    static void AlertThrowAt(const unsigned char* inText, const char* inFile, const char* inExtra,
                             long inLine);
    static void AlertSignalAt(const unsigned char* inText, const char* inFile, const unsigned char* inExtra,
                              long inLine);
    static void AlertSignalAt(const char* inText, const char* inFile, const unsigned char* inExtra,
                              long inLine);
    static void AlertSignalAt(const unsigned char* inText, const char* inFile, const char* inExtra,
                              long inLine);
    static void AlertSignalAt(const char* inText, const char* inFile, const char* inExtra, long inLine);
    // With the text "Status Code = " and the status.
    static void AlertSignalOSStatusAt(long inStatus, const char* inFile, const unsigned char* inExtra,
                                      long inLine);
    static void AlertSignalOSStatusAt(long inStatus, const char* inFile, const char* inExtra, long inLine);

    // Reports as gDebugThrow says, and throws an LException with the code.
    [[noreturn]] static void DebugThrow(long inError, const char* inFile, const unsigned char* inExtra,
                                        long inLine);
    [[noreturn]] static void DebugThrow(long inError, const char* inFile, const char* inExtra, long inLine);

    // Sends the number to the debugger, in decimal.
    static void DebugNumber(long inNumber);
};
