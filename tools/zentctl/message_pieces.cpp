#include "message_pieces.h"

#include <algorithm>

namespace zentctl {

PieceSplit SplitIntoPieces(size_t messageSize, const std::vector<size_t>& explicitSizes) {
  PieceSplit split;
  size_t covered = 0;
  for (size_t size : explicitSizes) {
    if (size > messageSize - covered) {
      split.error = "the --pieces sizes add up to more than the message's " + std::to_string(messageSize) + " bytes";
      split.sizes.clear();
      return split;
    }
    split.sizes.push_back(size);
    covered += size;
  }
  while (covered < messageSize) {
    size_t size = std::min(kPipePieceSize, messageSize - covered);
    split.sizes.push_back(size);
    covered += size;
  }
  return split;
}

}  // namespace zentctl
