// Piece sizes of a message written to the agent's pipe: at most 4,096 bytes
// a write, unless explicit sizes say otherwise.
#include "zentctl/message_pieces.h"

#include <gtest/gtest.h>

namespace {

using zentctl::SplitIntoPieces;
using Sizes = std::vector<size_t>;

TEST(MessagePieces, TenThousandBytesGoAsTwoFullPiecesAndTheRest) {
  EXPECT_EQ(SplitIntoPieces(10000, {}).sizes, (Sizes{4096, 4096, 1808}));
}

TEST(MessagePieces, AHeaderAloneIsOnePiece) { EXPECT_EQ(SplitIntoPieces(36, {}).sizes, (Sizes{36})); }

TEST(MessagePieces, ExactlyTwoFullPiecesLeaveNoEmptyOne) {
  EXPECT_EQ(SplitIntoPieces(8192, {}).sizes, (Sizes{4096, 4096}));
}

TEST(MessagePieces, AnEmptyMessageHasNoPiece) { EXPECT_EQ(SplitIntoPieces(0, {}).sizes, Sizes{}); }

TEST(MessagePieces, ExplicitSizesComeFirstAndTheRestFollowsInFullPieces) {
  EXPECT_EQ(SplitIntoPieces(10000, {10, 26}).sizes, (Sizes{10, 26, 4096, 4096, 1772}));
}

TEST(MessagePieces, ExplicitSizesMayCoverTheWholeMessage) {
  EXPECT_EQ(SplitIntoPieces(36, {10, 26}).sizes, (Sizes{10, 26}));
}

TEST(MessagePieces, AnExplicitSizeMayExceedAPipeBuffer) {
  EXPECT_EQ(SplitIntoPieces(10000, {5000}).sizes, (Sizes{5000, 4096, 904}));
}

TEST(MessagePieces, ExplicitSizesBeyondTheMessageAreAnError) {
  auto split = SplitIntoPieces(36, {30, 7});
  EXPECT_EQ(split.error, "the --pieces sizes add up to more than the message's 36 bytes");
  EXPECT_TRUE(split.sizes.empty());
}

}  // namespace
