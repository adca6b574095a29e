// What the toolbox knows of a movie's sound beyond the historic interface, for hosts that tell their users.
#pragma once

#include <toolbox/Movies.h>

TOOLBOX_EXTERN_C_BEGIN

enum {  // what told where the sound starts and ends
    kSoundTrimNone = 0,
    kSoundTrimEditList = 1,
    kSoundTrimGaplessTag = 2,  // an iTunSMPB tag
    kSoundTrimCodecHeader = 3  // the codec's or container's own delay and padding
};

typedef struct MovieSoundReport {
    OSType format;                // data format of the sample description; 0 when the movie has no sound
    char formatName[64];          // for people: "AAC LC"
    char containerName[32];       // for people: "MPEG-4"
    UInt32 sampleRateHz;          // of the decoded sound, before the halving that a description needs
    UInt32 channelCount;          // of the decoded sound
    OSStatus decodable;           // noErr, or what MovieExportToHandle will answer
    SInt64 frameCount;            // presented, at sampleRateHz
    UInt32 trimSource;            // kSoundTrim...
    SInt64 framesTrimmedAtStart;  // decoded but not presented
    SInt64 framesTrimmedAtEnd;
    UInt64 packetCount;
    UInt64 damagedPacketCount;  // packets missing or undecodable, met so far: at opening and in every export
    SInt64 silencedFrameCount;  // frames that those would have given
    UInt64 skippedByteCount;    // bytes between packets that were no packets
    Boolean isCutOff;  // the file ends before the sound that it promised, behind the last packet, and an
                       // export has come so far; what is missing counts as one damaged packet
} MovieSoundReport;

// paramErr for a null argument. A movie without sound gives format 0 and zeros.
TOOLBOX_MUST_USE OSErr GetMovieSoundReport(Movie inMovie, MovieSoundReport* outReport);

// Decodes a stretch of a movie's sound without rendering it, so that GetMovieSoundReport then tells of its
// damage. Silence takes no time, however long.
//   inRateHz         > 0, whose frames the stretch and inProc are told in
//   inFirst, inEnd   frames; inFirst >= 0, and an end behind the sound's means that
//   inProc           may be null; called every second of sound or so with how many frames were passed since
//   the last
//                    call. When it answers 0, that is the end.
// noErr, also for a movie without sound and when inProc ended it; paramErr; else what MovieExportToHandle
// answers.
typedef Boolean (*MovieSoundCheckProc)(void* inContext, SInt64 inFrames);
TOOLBOX_MUST_USE OSErr CheckMovieSound(Movie inMovie, UInt32 inRateHz, SInt64 inFirst, SInt64 inEnd,
                                       MovieSoundCheckProc inProc, void* inContext);

// The presented length of the longest track in frames of inRateHz, not limited to 32 bits.
TOOLBOX_EXPORT SInt64 GetMovieDuration64(Movie inMovie, UInt32 inRateHz);

// As MovieExportToHandle, with 64-bit times.
TOOLBOX_MUST_USE ComponentResult MovieExportToHandle64(MovieExportComponent inExporter, Handle ioHandle,
                                                       Movie inMovie, Track inTrack, SInt64 inStart,
                                                       SInt64 inDuration);

// Why the last NewMovieFromDataRef on this thread failed, for people, one line without the file's name; ""
// when it did not. Good until this thread opens another movie.
TOOLBOX_EXPORT const char* GetMovieOpenErrorText(void);

TOOLBOX_EXTERN_C_END
