#include "command/reassembly.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::string Header(uint32_t command, uint32_t dataLength, const char* magic = "QTNZ") {
  CommandHeader h = {};
  std::memcpy(h.Magic, magic, 4);
  h.Command = command;
  h.DataLength = dataLength;
  return std::string(reinterpret_cast<const char*>(&h), sizeof h);
}

TEST(Reassembly, MessageInOnePieceIsComplete) {
  PipeReassembly r;
  EXPECT_EQ(AppendPiece(r, 1, Header(101, 0)), ReassemblyStep::Complete);
  EXPECT_EQ(r.header.Command, 101u);
}

TEST(Reassembly, HeaderSplitAcrossPiecesWaitsForAll36Bytes) {
  PipeReassembly r;
  std::string message = Header(1, 0);
  EXPECT_EQ(AppendPiece(r, 0, message.substr(0, 10)), ReassemblyStep::NeedMore);
  EXPECT_EQ(r.headerSeen[0], 0u);
  EXPECT_EQ(AppendPiece(r, 0, message.substr(10, 25)), ReassemblyStep::NeedMore);
  EXPECT_EQ(AppendPiece(r, 0, message.substr(35)), ReassemblyStep::Complete);
}

TEST(Reassembly, BodyArrivesInPieces) {
  PipeReassembly r;
  std::string body(9000, 'x');
  EXPECT_EQ(AppendPiece(r, 2, Header(103, 9000) + body.substr(0, 4060)), ReassemblyStep::NeedMore);
  EXPECT_EQ(AppendPiece(r, 2, body.substr(4060, 4096)), ReassemblyStep::NeedMore);
  EXPECT_EQ(AppendPiece(r, 2, body.substr(8156)), ReassemblyStep::Complete);
  EXPECT_EQ(r.accum[2].size(), 9036u);
}

TEST(Reassembly, BytesBeyondTheDeclaredLengthStillComplete) {
  PipeReassembly r;
  EXPECT_EQ(AppendPiece(r, 0, Header(1, 2) + "abEXTRA"), ReassemblyStep::Complete);
}

TEST(Reassembly, BadMagicIsReported) {
  PipeReassembly r;
  EXPECT_EQ(AppendPiece(r, 0, Header(1, 0, "ZNTQ")), ReassemblyStep::BadMagic);
}

TEST(Reassembly, ResetWaitsForANewHeader) {
  PipeReassembly r;
  AppendPiece(r, 0, Header(1, 0));
  ResetPipe(r, 0);
  EXPECT_EQ(r.headerSeen[0], 0u);
  EXPECT_TRUE(r.accum[0].empty());
  EXPECT_EQ(AppendPiece(r, 0, Header(101, 0)), ReassemblyStep::Complete);
  EXPECT_EQ(r.header.Command, 101u);
}

TEST(Reassembly, DroppedBytesKeepTheHeaderSoNewBytesContinueTheOldMessage) {
  PipeReassembly r;
  EXPECT_EQ(AppendPiece(r, 1, Header(2, 100) + "partial"), ReassemblyStep::NeedMore);
  DropPipeBytes(r, 1);
  EXPECT_EQ(r.headerSeen[1], 1u);
  // A fresh ping is taken as more body of the old header: 36 + 100 bytes are
  // still wanted.
  EXPECT_EQ(AppendPiece(r, 1, Header(101, 0)), ReassemblyStep::NeedMore);
  EXPECT_EQ(r.header.Command, 2u);
  EXPECT_EQ(AppendPiece(r, 1, std::string(100, 'y')), ReassemblyStep::Complete);
}

TEST(Reassembly, DataLengthNearFourGigabytesNeverCompletes) {
  PipeReassembly r;
  EXPECT_EQ(AppendPiece(r, 0, Header(1, 0xFFFFFFF0u) + std::string(4096, 'z')), ReassemblyStep::NeedMore);
}

TEST(Reassembly, LaterHeaderAppliesToBothPipesSinceTheCopyIsShared) {
  PipeReassembly r;
  EXPECT_EQ(AppendPiece(r, 0, Header(103, 50)), ReassemblyStep::NeedMore);
  EXPECT_EQ(AppendPiece(r, 1, Header(104, 10)), ReassemblyStep::NeedMore);
  // Pipe 0 now measures against pipe 1's header: 36 + 10 bytes suffice.
  EXPECT_EQ(AppendPiece(r, 0, std::string(10, 'a')), ReassemblyStep::Complete);
  EXPECT_EQ(r.header.Command, 104u);
}

TEST(Reassembly, PipesCollectSeparately) {
  PipeReassembly r;
  std::string a = Header(1, 0);
  EXPECT_EQ(AppendPiece(r, 0, a.substr(0, 20)), ReassemblyStep::NeedMore);
  EXPECT_EQ(AppendPiece(r, 2, a.substr(0, 30)), ReassemblyStep::NeedMore);
  EXPECT_EQ(AppendPiece(r, 0, a.substr(20)), ReassemblyStep::Complete);
  EXPECT_EQ(r.accum[2].size(), 30u);
}

}  // namespace
