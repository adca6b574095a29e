// One movie opened for conversion: its sound rendered a segment at a time into little-endian 16-bit stereo.
// This is the engine's common ground: the push conversions, the pull reader and the command line stand on it.
// Belongs to one thread at a time; two exporters are independent.
#pragma once

#include <foundation/MirtalExport.h>
#include <toolbox/MovieOpening.h>

class MIRTAL_EXPORT SegmentExporter {
  public:
    // Samples in the export handle or the silence buffer: good until the next Export.
    struct Segment {
        void* data;
        SInt32 byteCount;
        SInt32 frameCount;  // how far the export has come: may be 0, or more or less than asked for
        bool isSilence;     // nothing was rendered; the silence buffer stands in
    };

    // Throws LException: "nilP" when the movie, the exporter or a buffer cannot be had; for sound that cannot
    // be decoded what exporting it would answer, -206 when it is encrypted and -8961 when there is no
    // decoder; else the failing call's status.
    explicit SegmentExporter(const char* inPath);
    // Opens with options: a sound track of the caller's choice, or a way to stop it. Throws LException: what
    // opening answered when there is no movie, trackNotInMovie and userCanceledErr among it; else as above.
    SegmentExporter(const char* inPath, const MovieOpenOptions& inOptions);
    ~SegmentExporter();
    SegmentExporter(const SegmentExporter&) = delete;
    SegmentExporter& operator=(const SegmentExporter&) = delete;

    Movie GetMovie() const { return mMovie; }                // borrowed; its time scale is SampleRate()
    SInt32 SampleRate() const { return mRate; }              // frames per second
    SInt32 SegmentFrames() const { return mSegmentFrames; }  // one second
    void* Silence() const { return mSilence; }               // SilenceByteCount() zero bytes
    SInt32 SilenceByteCount() const { return mRate * 4; }

    // Makes the handle that Export renders into, before the first Export; a second call does nothing. It is
    // no part of the constructor because the conversions ask for the movie's length first. That it could not
    // be had shows in Export.
    void MakeExportHandle();

    // Renders inFrameCount frames from inFirstFrame on. A stretch that renders empty is silence of the length
    // asked for, at most a second. Throws LException with the exporter's status, or -50 when the block is no
    // sound resource of the expected form or claims more samples than it holds.
    Segment Export(SInt64 inFirstFrame, SInt32 inFrameCount);

  private:
    void Prepare(const char* inPath, const MovieOpenOptions* inOptions);
    void MakeParts();
    void SetOutputFormat();
    void Render(SInt64 inFirstFrame, SInt32 inFrameCount);
    void Release();

    Movie mMovie = nullptr;
    Ptr mSilence = nullptr;
    MovieExportComponent mExporter = nullptr;
    Handle mDescription = nullptr;
    Handle mExportHandle = nullptr;
    SInt32 mRate = 0;
    SInt32 mSegmentFrames = 0;
};
