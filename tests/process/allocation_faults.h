// Memory that runs out when a test says so.
#pragma once

#include <cstddef>

// From here on the given allocation, counted from 1, fails, and all others succeed; 0 lets all succeed.
// What counts are the library's objects in this program, and where nothing else watches over memory every
// other part of the process, too, but for the zip library.
// AllFromThere is a system whose memory has run out for good.
enum class AllocationFault { OneAlone, AllFromThere };
void failAllocation(std::size_t number, AllocationFault fault = AllocationFault::OneAlone);

// How many were made since then.
std::size_t allocationsSince();
