#include "command/dispatch.h"

#include <gtest/gtest.h>

namespace {

TEST(ProductionCommandSet, NotifySelfProtectionAndStop) {
  EXPECT_EQ(SelectPipeHandler(1, false), PipeHandler::PipeCmdNotify);
  EXPECT_EQ(SelectPipeHandler(2, false), PipeHandler::HandleSelfProtectionStatus);
  EXPECT_EQ(SelectPipeHandler(3, false), PipeHandler::HandleStopService);
}

TEST(ProductionCommandSet, ClearConfigIsKnown) {
  EXPECT_EQ(SelectPipeHandler(105, false), PipeHandler::PipeCmdClrCfg);
}

TEST(ProductionCommandSet, SetConfigCommandsAreUnknown) {
  EXPECT_EQ(SelectPipeHandler(103, false), PipeHandler::PipeCmdUnknown);
  EXPECT_EQ(SelectPipeHandler(104, false), PipeHandler::PipeCmdUnknown);
}

TEST(ProductionCommandSet, PingIsUnknown) { EXPECT_EQ(SelectPipeHandler(101, false), PipeHandler::PipeCmdUnknown); }

TEST(ProductionCommandSet, AnyOtherNumberIsUnknown) {
  for (uint32_t command : {0u, 4u, 100u, 108u, 0xFFFFFFFFu}) {
    EXPECT_EQ(SelectPipeHandler(command, false), PipeHandler::PipeCmdUnknown) << command;
  }
}

TEST(TestCommandSet, NotifyAndPing) {
  EXPECT_EQ(SelectPipeHandler(1, true), PipeHandler::PipeCmdNotify);
  EXPECT_EQ(SelectPipeHandler(101, true), PipeHandler::PipeCmdPing);
}

TEST(TestCommandSet, SetSetRawAndClearConfig) {
  EXPECT_EQ(SelectPipeHandler(103, true), PipeHandler::PipeCmdSetCfg);
  EXPECT_EQ(SelectPipeHandler(104, true), PipeHandler::PipeCmdSetRawCfg);
  EXPECT_EQ(SelectPipeHandler(105, true), PipeHandler::PipeCmdClrCfg);
}

TEST(TestCommandSet, MultiCommandDocument) { EXPECT_EQ(SelectPipeHandler(107, true), PipeHandler::PipeCmdMulti); }

TEST(ProductionCommandSet, MultiCommandDocumentIsUnknown) {
  EXPECT_EQ(SelectPipeHandler(107, false), PipeHandler::PipeCmdUnknown);
}

TEST(TestCommandSet, SelfProtectionAndStopAreUnknown) {
  EXPECT_EQ(SelectPipeHandler(2, true), PipeHandler::PipeCmdUnknown);
  EXPECT_EQ(SelectPipeHandler(3, true), PipeHandler::PipeCmdUnknown);
}

TEST(TestCommandSet, GetMetaDataIs106) {
  EXPECT_EQ(SelectPipeHandler(106, true), PipeHandler::PipeCmdGetMetaData);
  EXPECT_EQ(SelectPipeHandler(106, false), PipeHandler::PipeCmdUnknown);
}

TEST(TestCommandSet, DirectHttpIs102) {
  EXPECT_EQ(SelectPipeHandler(102, true), PipeHandler::PipeCmdHttp);
  EXPECT_EQ(SelectPipeHandler(102, false), PipeHandler::PipeCmdUnknown);
}

}  // namespace
