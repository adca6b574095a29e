// Properties of movies and of the process, and user interaction: nine functions of QuickTime.framework.
//
// They are not in the toolbox library. The framework is a bundle in the frameworks folder
// (toolbox/Folders.h); its functions are looked up there by name, so that a program also runs where it is
// missing.
//
// A property has a class and an id, a value of a fixed size in host byte order, and flags:
//
//   movie     class id      value                                                                    set
//             "time" "dura" SInt64  presented length of the longest track, in the movie's time scale   no
//             "time" "scal" SInt32  time scale, units per second, > 0                                  yes
//             "audi" "rate" UInt32  frames per second of the decoded sound                             no
//             "audi" "chan" UInt32  channels of the decoded sound; 0: not known yet                    no
//             "audi" "frmt" OSType  data format of the sound's sample description                      no
//             "audi" "dmgd" UInt64  packets missing or damaged, met so far                             no
//   process   "qges" "snda" OSType  sound architecture (toolbox/SoundArchitecture.h)                   yes
//
// Those of class "audi" are of the first sound track, and not available where there is none. A movie's
// properties belong to the movie's thread; any thread may use those of the process.
#pragma once

#include <toolbox/MacErrors.h>
#include <toolbox/MacTypes.h>
#include <toolbox/Movies.h>
#include <toolbox/ToolboxExport.h>

// In the framework, not in the toolbox library.
#define TOOLBOX_FRAMEWORK_EXPORT TOOLBOX_EXPORT
#define TOOLBOX_FRAMEWORK_MUST_USE TOOLBOX_MUST_USE

TOOLBOX_EXTERN_C_BEGIN

typedef OSType QTPropertyClass;
typedef OSType QTPropertyID;
typedef OSType QTPropertyValueType;

enum { kComponentPropertyFlagCanSetNow = 1 << 1, kComponentPropertyFlagCanGetNow = 1 << 3 };

#ifdef __cplusplus
constexpr QTPropertyClass kMoviePropertyClassTime = FourChars("time");
constexpr QTPropertyID kMoviePropertyDuration = FourChars("dura");
constexpr QTPropertyID kMoviePropertyTimeScale = FourChars("scal");
constexpr QTPropertyClass kMoviePropertyClassAudio = FourChars("audi");
constexpr QTPropertyID kMoviePropertySampleRate = FourChars("rate");
constexpr QTPropertyID kMoviePropertyChannelCount = FourChars("chan");
constexpr QTPropertyID kMoviePropertySoundFormat = FourChars("frmt");
constexpr QTPropertyID kMoviePropertyDamagedPacketCount = FourChars("dmgd");

constexpr QTPropertyClass kProcessPropertyClassSettings = FourChars("qges");
constexpr QTPropertyID kProcessPropertySoundArchitecture = FourChars("snda");

// Types of values.
constexpr QTPropertyValueType kPropertyTypeSInt32 = FourChars("long");
constexpr QTPropertyValueType kPropertyTypeUInt32 = FourChars("magn");
constexpr QTPropertyValueType kPropertyTypeSInt64 = FourChars("comp");
constexpr QTPropertyValueType kPropertyTypeUInt64 = FourChars("ucom");
constexpr QTPropertyValueType kPropertyTypeOSType = FourChars("type");
#endif

// As their namesakes without QT in toolbox/Interaction.h.
TOOLBOX_FRAMEWORK_MUST_USE long QTBeginUserInteractionSuppression(void);
TOOLBOX_FRAMEWORK_EXPORT void QTEndUserInteractionSuppression(long inToken);
TOOLBOX_FRAMEWORK_EXPORT Boolean QTIsUserInteractionAllowed(void);

// A property's type, size in bytes and flags, each of which may be null; unchanged on failure.
// Getting: inSize is the room at outValue, at least the value's size; outSizeUsed, which may be null, is set
// to that. Setting: inSize is the value's size.
//
// Results, in the order in which they are looked for: invalidMovie for a null movie;
// kQTPropertyNotSupportedErr for a class and id that are not in the table; kQTPropertyNotAvailableErr for
// those of sound where there is none; kQTPropertyReadOnlyErr when a property that cannot be set is;
// kQTPropertyBadValueSizeErr; paramErr for a null value, or one that the property cannot have. Nothing is
// changed on failure.
TOOLBOX_FRAMEWORK_MUST_USE OSStatus QTGetMoviePropertyInfo(Movie inMovie, QTPropertyClass inClass,
                                                           QTPropertyID inID, QTPropertyValueType* outType,
                                                           ByteCount* outSize, UInt32* outFlags);
TOOLBOX_FRAMEWORK_MUST_USE OSStatus QTGetMovieProperty(Movie inMovie, QTPropertyClass inClass,
                                                       QTPropertyID inID, ByteCount inSize, void* outValue,
                                                       ByteCount* outSizeUsed);
TOOLBOX_FRAMEWORK_MUST_USE OSStatus QTSetMovieProperty(Movie inMovie, QTPropertyClass inClass,
                                                       QTPropertyID inID, ByteCount inSize,
                                                       const void* inValue);
TOOLBOX_FRAMEWORK_MUST_USE OSStatus QTGetProcessPropertyInfo(QTPropertyClass inClass, QTPropertyID inID,
                                                             QTPropertyValueType* outType, ByteCount* outSize,
                                                             UInt32* outFlags);
TOOLBOX_FRAMEWORK_MUST_USE OSStatus QTGetProcessProperty(QTPropertyClass inClass, QTPropertyID inID,
                                                         ByteCount inSize, void* outValue,
                                                         ByteCount* outSizeUsed);
TOOLBOX_FRAMEWORK_MUST_USE OSStatus QTSetProcessProperty(QTPropertyClass inClass, QTPropertyID inID,
                                                         ByteCount inSize, const void* inValue);

TOOLBOX_EXTERN_C_END
