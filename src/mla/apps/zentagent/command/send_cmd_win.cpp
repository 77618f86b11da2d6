#include "command/send_cmd_win.h"

#include "command/pipe_server_win.h"
#include "log/debug_log.h"

int SendCmdToClient(int pipeIndex, CommandHeader* header, DWORD cmdLength) {
  SYSTEMTIME now;
  GetSystemTime(&now);
  static_assert(sizeof(now) == sizeof(header->Time), "Time is a SYSTEMTIME");
  std::memcpy(header->Time, &now, sizeof(now));
  uint64_t size = kCommandHeaderSize + static_cast<uint64_t>(header->DataLength);
  if (size > cmdLength) {
    ZENT_LOG(1, L"SendCmdToClient: dwBufferSize(%d) > CmdLength(%d)!\n", static_cast<uint32_t>(size), cmdLength);
    return -1;
  }
  if (!SendData(pipeIndex, header, static_cast<DWORD>(size))) {
    DWORD error = GetLastError();
    ZENT_LOG(1, L"SendCmdToClient: failed, error=%d\n", error);
    return static_cast<int>(error);
  }
  return 0;
}

int SendSimpleReply(int pipeIndex, const CommandHeader& request, uint32_t result) {
  CommandHeader reply = SimpleReply(request, result);
  return SendCmdToClient(pipeIndex, &reply, kCommandHeaderSize);
}
