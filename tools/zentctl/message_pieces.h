// How a message is cut into pipe writes. The agent reads its pipe 4,096 bytes
// at a time and drops a client whose single message is larger, so each write
// (one pipe message) holds at most that much unless a test asks otherwise.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace zentctl {

inline constexpr size_t kPipePieceSize = 4096;

struct PieceSplit {
  std::vector<size_t> sizes;
  std::string error;  // non-empty when the explicit sizes do not fit the message
};

// The explicit sizes first, as they are (larger than 4,096 too), then the rest
// of the message in pieces of 4,096 bytes and a last, shorter one.
PieceSplit SplitIntoPieces(size_t messageSize, const std::vector<size_t>& explicitSizes);

}  // namespace zentctl
