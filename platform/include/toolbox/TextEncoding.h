// The encodings of byte strings, and the best fit of a Unicode string to one.
#pragma once

#include <toolbox/CFString.h>
#include <toolbox/MacTypes.h>
#include <toolbox/ToolboxExport.h>

TOOLBOX_EXTERN_C_BEGIN

enum {
    kTECUnmappableElementErr = -8754,   // text that the encoding cannot hold
    kTECOutputBufferFullStatus = -8785  // more text than there is room for
};

// The encoding in which the running application keeps byte strings: by the region of its `vers` resource with
// id 1 (Roman, Japanese, ...), looked up at the first call; UTF-8 when it has none, or the region's encoding
// is none that strings can be converted to.
TOOLBOX_EXPORT TextEncoding GetApplicationTextEncoding(void);

// Puts the text of inString, in the encoding that fits it best, into outText (no terminator): the
// application's encoding first, then the Mac encodings, Roman first among them.
//   inTextMaxLength  bytes that outText holds
//   outTextLength    bytes written
//   outEncoding      the encoding chosen; may be null
// An encoding is chosen when it holds the whole text in the room there is. When none does, length and
// encoding are left alone and outText is unspecified: kTECOutputBufferFullStatus when one would hold it in
// more room, kTECUnmappableElementErr otherwise. paramErr for another null argument.
TOOLBOX_MUST_USE OSStatus GetTextAndEncodingFromCFString(CFStringRef inString, UInt8* outText,
                                                         ByteCount inTextMaxLength, ByteCount* outTextLength,
                                                         TextEncoding* outEncoding);

// C string to Pascal string, cut at 255 bytes; the two may overlap. Null text is empty.
TOOLBOX_EXPORT void c2pstrcpy(StringPtr outPascal, const char* inText);

TOOLBOX_EXTERN_C_END
