// An input opened for conversion, with every failure in words.
#pragma once

#include <converter/SegmentExporter.h>
#include <converter/WAVReader.h>
#include <foundation/LException.h>
#include <toolbox/SoundReport.h>

#include "Failure.h"

#include <memory>
#include <string>

namespace tool {

// All throw Failure about inPath: EX_NOINPUT when there is no regular file to read, EX_DATAERR when it is no
// sound or cannot be decoded, EX_OSERR when memory is short.
[[nodiscard]] std::unique_ptr<SegmentExporter> OpenExporter(const std::string& inPath);
[[nodiscard]] std::unique_ptr<WAVReader> OpenReader(const std::string& inPath, WAVReader::Header inHeader);
void RequireDecodable(const MovieSoundReport& inReport, const std::string& inPath);

// What is known now; damage is what has been met so far.
MovieSoundReport ReportOf(const SegmentExporter& inExporter);

// Frames of the whole stream.
SInt64 FrameCountOf(const SegmentExporter& inExporter);

// What an exception of the engine means for the input that was being rendered.
Failure FailureOf(const LException& inException, const std::string& inPath);

// Warns of damage, unless quiet. True when sound was lost.
bool TellDamage(const MovieSoundReport& inReport, const std::string& inPath, bool inQuiet);

}  // namespace tool
