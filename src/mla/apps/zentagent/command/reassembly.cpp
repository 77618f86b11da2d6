#include "command/reassembly.h"

ReassemblyStep AppendPiece(PipeReassembly& r, int pipe, std::string_view bytes) {
  std::string& accum = r.accum[pipe];
  accum.append(bytes);
  if (r.headerSeen[pipe] == 0) {
    if (accum.size() < kCommandHeaderSize) return ReassemblyStep::NeedMore;
    r.header = HeaderFromBytes(accum);
    r.headerSeen[pipe] = 1;
  }
  if (!HasCommandMagic(r.header)) return ReassemblyStep::BadMagic;
  if (accum.size() < kCommandHeaderSize + static_cast<uint64_t>(r.header.DataLength)) {
    return ReassemblyStep::NeedMore;
  }
  return ReassemblyStep::Complete;
}

void ResetPipe(PipeReassembly& r, int pipe) {
  r.headerSeen[pipe] = 0;
  r.accum[pipe].clear();
}

void DropPipeBytes(PipeReassembly& r, int pipe) { r.accum[pipe].clear(); }
