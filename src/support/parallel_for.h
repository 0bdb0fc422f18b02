// A loop over an index range on all processors.
#pragma once

#include <cstddef>
#include <functional>

// Calls body(first, last) for pieces that together make up [0, count), each index once, and returns
// when all are done. The caller's thread works too; the other threads live for this call only,
// since a pool's threads would outlive it and crash a host that unloads the library.
//
// smallestPiece: no piece but the last is smaller; a range of one such piece runs on the caller's
//                thread. At least 1.
// An exception of the body ends the loop early, and the first one passes on to the caller.
void ParallelFor(std::size_t count, std::size_t smallestPiece,
                 const std::function<void(std::size_t first, std::size_t last)>& body);
