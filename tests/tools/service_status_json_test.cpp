// svcstatus.exe's JSON, written by hand from SERVICE_STATUS_PROCESS.
#include "service_status_json.h"

#include <gtest/gtest.h>

namespace {

TEST(ServiceStatusJson, PrintsEveryFieldAndTheStatesName) {
  ServiceStatusRecord status;
  status.serviceType = 0x10;
  status.currentState = 4;
  status.controlsAccepted = 5;  // stop and shutdown
  status.win32ExitCode = 0;
  status.serviceSpecificExitCode = 201512003;
  status.checkPoint = 2;
  status.waitHint = 30000;
  status.processId = 1234;
  EXPECT_EQ(ServiceStatusJson("ZentAgent", status),
            R"({"name":"ZentAgent","state":"RUNNING","serviceType":16,"currentState":4,"controlsAccepted":5,)"
            R"("win32ExitCode":0,"serviceSpecificExitCode":201512003,"checkPoint":2,"waitHint":30000,)"
            R"("processId":1234,"serviceFlags":0})");
}

TEST(ServiceStatusJson, EveryStateHasItsName) {
  const char* names[] = {"STOPPED",          "START_PENDING", "STOP_PENDING", "RUNNING",
                         "CONTINUE_PENDING", "PAUSE_PENDING", "PAUSED"};
  for (uint32_t state = 1; state <= 7; ++state) {
    ServiceStatusRecord status;
    status.currentState = state;
    std::string json = ServiceStatusJson("s", status);
    EXPECT_NE(json.find("\"state\":\"" + std::string(names[state - 1]) + "\""), std::string::npos) << json;
  }
}

TEST(ServiceStatusJson, AnExitCodeOfMinusOneIsPrintedUnsigned) {
  ServiceStatusRecord status;
  status.currentState = 1;
  status.win32ExitCode = 0xFFFFFFFF;
  EXPECT_NE(ServiceStatusJson("s", status).find("\"win32ExitCode\":4294967295,"), std::string::npos);
}

TEST(ServiceStatusJson, NamesAreEscaped) {
  EXPECT_EQ(ServiceErrorJson("a\"b\\c\n", 1060), R"({"name":"a\"b\\c\u000a","error":1060})");
}

}  // namespace
