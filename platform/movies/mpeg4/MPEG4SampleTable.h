// The sample tables of a track: sizes, places and durations of its packets.
#pragma once

#include "MPEG4Boxes.h"
#include "MPEG4Media.h"

#include <cstdint>
#include <string>

namespace toolbox::movies {

// Reads the tables of a sample table box ("stbl") into a media without packets. Packets that the tables claim
// but do not place are left out; packets that are placed beyond the file's end are kept. invalidMovie, with a
// text for people, when a table that is needed is missing or claims what the file cannot hold; ioErr.
[[nodiscard]] OSStatus ReadSampleTable(BoxFile& ioFile, const Box& inSampleTable, MPEG4Media& ioMedia,
                                       std::string& outProblem);

// The sum of all durations of a sample table, in media time; pinned at kMaxMediaLength.
std::int64_t SumOfDurations(BoxFile& ioFile, const Box& inSampleTable);

// How many packets a sample table claims.
std::uint32_t ClaimedPacketCount(BoxFile& ioFile, const Box& inSampleTable);

}  // namespace toolbox::movies
