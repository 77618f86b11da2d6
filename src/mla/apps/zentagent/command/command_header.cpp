#include "command/command_header.h"

CommandHeader SimpleReply(const CommandHeader& request, uint32_t result) {
  CommandHeader reply = {};
  std::memcpy(reply.Magic, kCommandMagic, 4);
  reply.Command = 0;
  reply.RequestId = request.RequestId;
  reply.Result = result;
  reply.DataLength = 0;
  return reply;
}
