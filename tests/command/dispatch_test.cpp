#include "command/dispatch.h"

#include <gtest/gtest.h>

namespace {

TEST(ProductionCommandSet, NotifySelfProtectionAndStop) {
  EXPECT_EQ(SelectPipeHandler(1, false), PipeHandler::PipeCmdNotify);
  EXPECT_EQ(SelectPipeHandler(2, false), PipeHandler::HandleSelfProtectionStatus);
  EXPECT_EQ(SelectPipeHandler(3, false), PipeHandler::HandleStopService);
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

TEST(TestCommandSet, SelfProtectionAndStopAreUnknown) {
  EXPECT_EQ(SelectPipeHandler(2, true), PipeHandler::PipeCmdUnknown);
  EXPECT_EQ(SelectPipeHandler(3, true), PipeHandler::PipeCmdUnknown);
}

TEST(TestCommandSet, GetMetaDataIs106) {
  EXPECT_EQ(SelectPipeHandler(106, true), PipeHandler::PipeCmdGetMetaData);
  EXPECT_EQ(SelectPipeHandler(106, false), PipeHandler::PipeCmdUnknown);
}

}  // namespace
