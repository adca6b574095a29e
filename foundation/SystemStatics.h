// The answers and switches that the system utilities keep for the life of the process.
#pragma once

#include <atomic>

// Whether the application is Japanese: 1 or 0, and -1 until it was asked.
extern std::atomic<short> sAppIsJapanese;

// Whether SmartCreateGuid asks for a true UUID. Nothing in the library sets it.
extern bool sTrueGuid;
