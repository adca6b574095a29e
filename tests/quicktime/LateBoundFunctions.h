// A framework with the nine late-bound functions, as the test scripts it, and the room's table of them put
// back to what it is when a program starts.
#pragma once

#include "LateBoundNames.h"
#include "fakes/AccessKeys.h"
#include "fakes/Calls.h"
#include "fakes/Frameworks.h"
#include "fakes/Memory.h"

#include <gtest/gtest.h>
#include <quicktime/WeakQTSymbols.h>
#include <toolbox/MacTypes.h>
#include <toolbox/Movies.h>

#include <initializer_list>
#include <string>
#include <vector>

using Calls = std::vector<std::string>;

// What the functions were given and what they answer. Their calls are logged as the toolbox's are.
struct LateBoundScript {
    long token = 4711;
    Boolean isInteractionAllowed = false;
    OSStatus status = 0;
    UInt32 value = 0;  // of a property that is got
    OSType type = 0;   // and its information
    ByteCount size = 0;
    UInt32 flags = 0;
    // Arguments of the last call.
    Movie movie = nullptr;
    OSType propertyClass = 0;
    OSType propertyID = 0;
    ByteCount inSize = 0;
    const void* in = nullptr;
    const void* out[3] = {};
};
inline LateBoundScript sScript;

class LateBoundTest : public ::testing::Test {
  protected:
    LateBoundTest();
    ~LateBoundTest() override;

    // Puts the framework in place, with all functions but those.
    static void PutQuickTime(std::initializer_list<std::string> inMissing = {});
    static void PutQuickTimeThatDoesNotLoad();
    static void PutEmptyQuickTime();  // that has none of them
    // Calls of a name.
    static std::size_t Count(const std::string& inName) { return fakes::CallsOf({inName}).size(); }
    static std::vector<bool> Found();  // which entries are filled, in the order of the names
    static void ForgetTable();
};
