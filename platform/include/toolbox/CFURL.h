// Core Foundation URLs: immutable, absolute, held as ASCII text with percent escapes that stand for UTF-8.
//
// Where a file system path is meant the scheme is file and the host empty or localhost. A path that ends with
// a slash is a folder's. Paths are bytes to the file system: those that are not UTF-8 are escaped like others
// and reach it unchanged, but have no string.
//
// URLs are equal when their text is. They may be used on any thread. A null URL is the caller's mistake, and
// not caught.
#pragma once

#include <toolbox/CFString.h>
#include <toolbox/Files.h>

TOOLBOX_EXTERN_C_BEGIN

typedef const struct OpaqueCFURL* CFURLRef;

typedef CFIndex CFURLPathStyle;
enum {
    kCFURLPOSIXPathStyle = 0,  // "/folder/name"
    // "System Disk:folder:name". Every path begins with the disk that the system started from, and leads to
    // the others through the folders that they are mounted on. A colon in front makes it relative to the
    // current folder, and each further colon goes one folder up. ':' and '/' trade places within names.
    kCFURLHFSPathStyle = 1,
    kCFURLWindowsPathStyle = 2  // "\folder\name", without a drive; names with a backslash have no such path
};

TOOLBOX_EXPORT CFTypeID CFURLGetTypeID(void);

// Makers. All answer null when memory is short; what else they refuse is told with each. The caller releases
// what they return.

// The URL that a text is. A relative one is resolved against inBaseURL at once; without a base it is null.
//   CFURLCreateWithBytes   text in inEncoding; bytes that are no such text, or none, are null. Characters
//                          that cannot stand in a URL, and percent signs that begin no escape, are escaped.
//   CFURLCreateWithString  null also for a text that needs escapes; see
//                          CFURLCreateStringByAddingPercentEscapes
TOOLBOX_MUST_USE CFURLRef CFURLCreateWithBytes(CFAllocatorRef inAllocator, const UInt8* inBytes,
                                               CFIndex inByteCount, CFStringEncoding inEncoding,
                                               CFURLRef inBaseURL);
TOOLBOX_MUST_USE CFURLRef CFURLCreateWithString(CFAllocatorRef inAllocator, CFStringRef inText,
                                                CFURLRef inBaseURL);

// The file URL of a path; a relative one starts at the current folder as it is now. Null for an empty path,
// an unknown style, and when there is no current folder. Whether anything is there is not looked up:
// inIsDirectory tells if it is a folder's, as does a slash at the end.
//   CFURLCreateFromFileSystemRepresentation  a POSIX path of inByteCount bytes, or up to a NUL before
TOOLBOX_MUST_USE CFURLRef CFURLCreateWithFileSystemPath(CFAllocatorRef inAllocator, CFStringRef inPath,
                                                        CFURLPathStyle inStyle, Boolean inIsDirectory);
TOOLBOX_MUST_USE CFURLRef CFURLCreateFromFileSystemRepresentation(CFAllocatorRef inAllocator,
                                                                  const UInt8* inPath, CFIndex inByteCount,
                                                                  Boolean inIsDirectory);

// The item's URL where it is now. That of a link means the link: CFURLGetFSRef does not follow it, as it does
// with a URL of the same text that was made otherwise, from this one too. Null when it is gone or inRef is no
// reference.
TOOLBOX_MUST_USE CFURLRef CFURLCreateFromFSRef(CFAllocatorRef inAllocator, const FSRef* inRef);
// What lies there now; links are followed, but for what CFURLCreateFromFSRef tells. False, outRef untouched,
// when nothing is there or the URL is no file's.
TOOLBOX_EXPORT Boolean CFURLGetFSRef(CFURLRef inURL, FSRef* outRef);

// The URL with a component more, or without its last. The component is a name, or several with slashes
// between, without escapes; slashes around it do not count. Query and fragment are dropped. Deleting from the
// root changes nothing; from a path that ends in "." or "..", adds "..".
TOOLBOX_MUST_USE CFURLRef CFURLCreateCopyAppendingPathComponent(CFAllocatorRef inAllocator, CFURLRef inURL,
                                                                CFStringRef inComponent,
                                                                Boolean inIsDirectory);
TOOLBOX_MUST_USE CFURLRef CFURLCreateCopyDeletingLastPathComponent(CFAllocatorRef inAllocator,
                                                                   CFURLRef inURL);

// Parts, without escapes; the caller releases them. Null when they are no text.
//   CFURLCopyLastPathComponent  "/" of the root; empty when the URL has no path
//   CFURLCopyFileSystemPath     of any scheme; without a slash at the end, but for the root. Null when the
//                               URL has no path, the style is unknown or cannot express it, a name holds NUL.
TOOLBOX_MUST_USE CFStringRef CFURLCopyLastPathComponent(CFURLRef inURL);
TOOLBOX_MUST_USE CFStringRef CFURLCopyFileSystemPath(CFURLRef inURL, CFURLPathStyle inStyle);

// The POSIX path as bytes with a terminating NUL. False, leaving the buffer as it was, when they do not fit
// into inMaxByteCount, the URL is no file's or a name holds NUL. URLs are absolute: there is nothing to
// resolve against a base.
TOOLBOX_EXPORT Boolean CFURLGetFileSystemRepresentation(CFURLRef inURL, Boolean inResolveAgainstBase,
                                                        UInt8* outPath, CFIndex inMaxByteCount);

// The URL's text, borrowed.
TOOLBOX_EXPORT CFStringRef CFURLGetString(CFURLRef inURL);
// Whether the path ends with a slash, or is "." or ".." at the end.
TOOLBOX_EXPORT Boolean CFURLHasDirectoryPath(CFURLRef inURL);

// Percent escapes in any text; the caller releases what is returned.
// Adding: characters that cannot stand in a URL, and those of inLegalCharactersToBeEscaped, become the
// escaped bytes of inEncoding; those of inCharactersToLeaveUnescaped stay. A percent sign is such a
// character. Null for text that the encoding cannot hold. Both lists are of ASCII characters and may be null.
TOOLBOX_MUST_USE CFStringRef CFURLCreateStringByAddingPercentEscapes(CFAllocatorRef inAllocator,
                                                                     CFStringRef inText,
                                                                     CFStringRef inCharactersToLeaveUnescaped,
                                                                     CFStringRef inLegalCharactersToBeEscaped,
                                                                     CFStringEncoding inEncoding);
// Replacing: escapes become the characters whose UTF-8 they are, but for those of inCharactersToLeaveEscaped
// (ASCII); a null list leaves all, an empty one none. Null when an escape is cut short or they are not UTF-8.
TOOLBOX_MUST_USE CFStringRef CFURLCreateStringByReplacingPercentEscapes(
    CFAllocatorRef inAllocator, CFStringRef inText, CFStringRef inCharactersToLeaveEscaped);

TOOLBOX_EXTERN_C_END
