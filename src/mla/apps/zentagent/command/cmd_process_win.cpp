// CmdProcessFn: reads the three pipe instances in turn, authenticates the
// peer, reassembles each message and runs its handler on this thread.
#include "command/cmd_process_win.h"

#include <windows.h>

#include <string>

#include "command/check_sig_win.h"
#include "command/dispatch.h"
#include "command/pipe_handlers_win.h"
#include "command/pipe_server_win.h"
#include "command/reassembly.h"
#include "log/debug_log.h"
#include "records/engine_state_win.h"
#include "records/settings.h"

namespace {

void Dispatch(int pipeIndex, CommandHeader* header, std::string_view message) {
  switch (SelectPipeHandler(header->Command, s_Settings.s_bTestMode)) {
    case PipeHandler::PipeCmdNotify: PipeCmdNotify(pipeIndex, header, message); break;
    case PipeHandler::HandleSelfProtectionStatus: HandleSelfProtectionStatus(pipeIndex, header, message); break;
    case PipeHandler::HandleStopService: HandleStopService(pipeIndex, header, message); break;
    case PipeHandler::PipeCmdPing: PipeCmdPing(pipeIndex, header, message); break;
    case PipeHandler::PipeCmdHttp: PipeCmdHttp(pipeIndex, header, message); break;
    case PipeHandler::PipeCmdSetCfg: PipeCmdSetCfg(pipeIndex, header, message); break;
    case PipeHandler::PipeCmdSetRawCfg: PipeCmdSetRawCfg(pipeIndex, header, message); break;
    case PipeHandler::PipeCmdClrCfg: PipeCmdClrCfg(pipeIndex, header); break;
    case PipeHandler::PipeCmdMulti: PipeCmdMulti(pipeIndex, header, message); break;
    case PipeHandler::PipeCmdGetMetaData: PipeCmdGetMetaData(pipeIndex, header, message); break;
    case PipeHandler::PipeCmdUnknown: PipeCmdUnknown(pipeIndex, header, message); break;
  }
}

}  // namespace

DWORD WINAPI CmdProcessFn(LPVOID) {
  ZENT_LOG(2, L"CmdProcessFn: enters\n");
  PipeReassembly reassembly;
  std::string tmp;
  int index = 0;
  for (;;) {
    if (WaitForSingleObject(g_Engine.hStopEvent, 0) == WAIT_OBJECT_0) {
      ZENT_LOG(2, L"CmdProcessFn: Stop Event Signaled!\n");
      ZENT_LOG(2, L"CmdProcessFn: exits\n");
      return 0;
    }
    index = (index + 1) % kPipeCount;
    ULONG clientPid = 0;
    tmp.clear();
    if (!FetchData(g_Engine.pipes[index], tmp, &clientPid)) {
      // An idle pipe comes this way on every turn.
      DWORD error = GetLastError();
      if (error == ERROR_INVALID_HANDLE) {
        ZENT_LOG(6, L"FetchData failed: error=ERROR_INVALID_HANDLE\n");
      } else if (error == ERROR_SUCCESS || error == ERROR_IO_PENDING) {
        ZENT_LOG(6, L"FetchData failed: error=%d (0: ERROR_SUCCESS, 997: ERROR_IO_PENDING)\n", error);
      } else {
        ZENT_LOG(6, L"FetchData failed: error=%d\n", error);
      }
      DropPipeBytes(reassembly, index);
      continue;
    }
    // Bytes from a peer whose id is unknown are dropped without a word.
    if (clientPid == 0) continue;
    if (!CheckSigWithPid(clientPid)) {
      ZENT_LOG(2, L"The pipe client is invalid. Drop it.\n");
      continue;
    }
    ReassemblyStep step = AppendPiece(reassembly, index, tmp);
    if (step == ReassemblyStep::NeedMore) continue;
    if (step == ReassemblyStep::BadMagic) {
      ZENT_LOG(1, L"Command Magic check failed, reset!\n");
    } else {
      ZENT_LOG(2, L"Process Command(%d)\n", reassembly.header.Command);
      // Bytes beyond the declared length are not the handler's; they go
      // with the message.
      std::string_view message(reassembly.accum[index]);
      message = message.substr(0, kCommandHeaderSize + reassembly.header.DataLength);
      Dispatch(index, &reassembly.header, message);
    }
    ResetPipe(reassembly, index);
  }
}
