// An input opened for conversion, with every failure in words.
#pragma once

#include "Failure.h"
#include "Input.h"
#include "Options.h"

#include <converter/SegmentExporter.h>
#include <converter/WAVReader.h>
#include <foundation/LException.h>
#include <toolbox/SoundReport.h>
#include <toolbox/SoundTracks.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace tool {

// The sound track of the options' choice. Both this and Stream throw Interrupted, or Failure about the input:
// EX_NOINPUT when there is nothing to read, EX_DATAERR when it is no sound, has no such track or cannot be
// decoded, EX_OSERR when memory is short.
[[nodiscard]] std::unique_ptr<SegmentExporter> OpenExporter(const Input& inInput, const Options& inOptions);

// All the sound tracks of the file, in its order.
std::vector<MovieSoundTrackInfo> TracksOf(const SegmentExporter& inExporter);

// The bytes that the options ask for, of known length: all but windows of bytes, which the engine's own
// conversions have.
class Stream {
  public:
    // Also EX_USAGE for a part of the stream in which there is nothing.
    Stream(const Input& inInput, const Options& inOptions);

    SegmentExporter& Exporter() const { return mReader->Exporter(); }
    SInt64 FrameCount() const { return mReader->FrameCount(); }
    // Of the movie's frames.
    FrameRange Range() const { return mRange; }
    SInt64 ByteCount() const;
    SInt64 SecondBytes() const { return mReader->Exporter().SegmentFrames() * SInt64{4}; }

    // Hands out all of it in order, about a second of sound at a time. Throws LException when sound cannot be
    // rendered, and what inReceive throws.
    using Receive = std::function<void(const void* inBytes, std::size_t inByteCount)>;
    void Deliver(const Receive& inReceive) const;

  private:
    std::unique_ptr<WAVReader> mReader;
    FrameRange mRange;
    SInt64 mFirstByte = 0;  // of the reader's stream: behind the header where none is wanted
    bool mIsRF64 = false;
    std::string mTagChunk;  // behind the sound; often empty
};

// Throws Failure about inPath (EX_DATAERR) for sound that no decoder reads.
void RequireDecodable(const MovieSoundReport& inReport, const std::string& inPath);

// What is known now; damage is what has been met so far.
MovieSoundReport ReportOf(const SegmentExporter& inExporter);

// Frames of the whole stream.
SInt64 FrameCountOf(const SegmentExporter& inExporter);

// What an exception of the engine means for the input that was being rendered.
Failure FailureOf(const LException& inException, const std::string& inPath);

// Says which sound track was taken where that is a question: there are several, and the first is no AAC.
void TellTakenTrack(const SegmentExporter& inExporter, const std::string& inPath);

// Warns of damage; quietly only of that which is a failure by the options. True when sound was lost.
bool TellDamage(const MovieSoundReport& inReport, const std::string& inPath, const Options& inOptions);

}  // namespace tool
