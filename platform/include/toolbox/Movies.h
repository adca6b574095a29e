// The movie toolbox: movies of tracks of media, opened from files, and their sound exported.
//
// Any file that a movie importer can read opens as a movie: MPEG-4 and QuickTime files, raw AAC, and what the
// general importer reads. A movie is used by one thread at a time; movies on different threads are
// independent. Times are in the movie's own time scale, units per second.
#pragma once

#include <toolbox/Components.h>
#include <toolbox/MacMemory.h>
#include <toolbox/MacTypes.h>
#include <toolbox/ToolboxExport.h>

TOOLBOX_EXTERN_C_BEGIN

typedef struct OpaqueMovie* Movie;
typedef struct OpaqueTrack* Track;  // borrowed from its movie
typedef struct OpaqueMedia* Media;  // borrowed from its track
typedef struct OpaqueMediaHandler* MediaHandler;
typedef SInt32 TimeValue;  // units of a time scale
typedef SInt32 TimeScale;  // units per second
typedef ComponentInstance MovieExportComponent;

#ifdef __cplusplus
constexpr OSType SoundMediaType = FourChars("soun");
constexpr OSType VideoMediaType = FourChars("vide");
constexpr OSType rAliasType = FourChars("alis");
#endif

enum { newMovieActive = 1, newMovieDontResolveDataRefs = 2, newMovieDontAskUnresolvedDataRefs = 4 };

// Counted: each EnterMovies is balanced by one ExitMovies; one too many is ignored. Opening a movie works
// without. The first EnterMovies, and the first after the last ExitMovies, begins without a sticky error and
// chooses the sound architecture (toolbox/SoundArchitecture.h). Always noErr. Any thread may call these.
TOOLBOX_EXPORT OSErr EnterMovies(void);
TOOLBOX_EXPORT void ExitMovies(void);

// The first failure, on any thread, of opening a movie, of an access key, or of reading the access keys in
// EnterMovies, since it was last cleared; noErr when there was none. While the toolbox is not entered:
// movieToolboxUninitialized, which clearing does not change.
TOOLBOX_MUST_USE OSErr GetMoviesStickyError(void);
TOOLBOX_EXPORT void ClearMoviesStickyError(void);

// Opens what the data reference names. The only data reference type known is "alis", an alias record; another
// gives invalidDataRef. The alias is only read, and the flags change nothing: nobody is ever asked.
//   outMovie   null on failure; else the caller disposes of it
//   ioResID    set to 0; may be null
// cantFindHandler when no importer reads the file, couldNotResolveDataRef when the alias names nothing,
// invalidMovie when the file is of a known kind but damaged beyond reading, memFullErr, paramErr for a null
// argument, or a file status.
TOOLBOX_MUST_USE OSErr NewMovieFromDataRef(Movie* outMovie, SInt16 inFlags, SInt16* ioResID, Handle inDataRef,
                                           OSType inDataRefType);
TOOLBOX_EXPORT void DisposeMovie(Movie inMovie);

// The presented length of the longest track, in the movie's time scale, rounded to nearest. Pinned at the
// largest TimeValue.
TOOLBOX_EXPORT TimeValue GetMovieDuration(Movie inMovie);
TOOLBOX_EXPORT TimeScale GetMovieTimeScale(Movie inMovie);
// Ignored unless inTimeScale > 0.
TOOLBOX_EXPORT void SetMovieTimeScale(Movie inMovie, TimeScale inTimeScale);

// Tracks of sound and picture in file order, index from 1. Chapters, cover pictures and time codes are none.
TOOLBOX_EXPORT SInt32 GetMovieTrackCount(Movie inMovie);
TOOLBOX_EXPORT Track GetMovieIndTrack(Movie inMovie, SInt32 inIndex);
TOOLBOX_EXPORT Media GetTrackMedia(Track inTrack);
TOOLBOX_EXPORT MediaHandler GetMediaHandler(Media inMedia);
// outMediaType, outCreatorName and outCreatorManufacturer may be null.
TOOLBOX_EXPORT void GetMediaHandlerDescription(Media inMedia, OSType* outMediaType, StringPtr outCreatorName,
                                               OSType* outCreatorManufacturer);

// Sample descriptions, index from 1; pictures have none here. The handle is resized; an index out of range
// leaves it empty. Those of sound are 36 bytes, big-endian (SoundDescription). The rate is that of the
// decoded sound, halved until it fits 16 bits.
TOOLBOX_EXPORT SInt32 GetMediaSampleDescriptionCount(Media inMedia);
TOOLBOX_EXPORT void GetMediaSampleDescription(Media inMedia, SInt32 inIndex, Handle ioDescription);

// The sound exporter ("spit", "snd "): 16-bit signed big-endian stereo ("twos") at the description's rate.
// An exporter that was told no format exports at the rate that the sound is described with. paramErr for a
// media type other than "soun", a null description or one of fewer than 36 bytes; badFormat for another
// output format, or a rate with a fraction; badComponentInstance for null, badComponentSelector for another
// kind of component. After a failure the format before stays.
TOOLBOX_MUST_USE ComponentResult MovieExportSetSampleDescription(MovieExportComponent inExporter,
                                                                 Handle inDescription, OSType inMediaType);
// Renders inDuration units from inStart, in the movie's time scale, into ioHandle as a sound resource of
// format 1 with one buffer command: 84 bytes of header, then the frames. Fewer frames at the end of the
// sound, none where there is no sound. A packet that cannot be read or decoded becomes silence of its own
// length.
//   ioHandle  resized; must not be locked (memLockedErr). Contents unspecified on failure
//   inTrack   null: the movie's first sound track
//   inStart, inDuration  >= 0. Both ends are rounded to frames alike: stretches that touch give frames that
//   touch.
//
// The same frames have the same bytes however they are asked for. Going on where the last export ended is
// fastest; an export elsewhere decodes up to 64 seconds first, or, for sound with a long memory (HE-AAC, most
// other codecs) and sound that is resampled, everything before it. The exporter keeps the sound it rendered
// last open until it renders other sound or is closed, even when the movie is disposed of.
//
// noCodecErr when the sound's decoder is missing, badFormat when the sound is encrypted, memFullErr,
// paramErr.
TOOLBOX_MUST_USE ComponentResult MovieExportToHandle(MovieExportComponent inExporter, Handle ioHandle,
                                                     Movie inMovie, Track inTrack, TimeValue inStart,
                                                     TimeValue inDuration);

TOOLBOX_EXTERN_C_END
