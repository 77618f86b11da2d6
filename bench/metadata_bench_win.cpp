// Host queries answered in process (ParseQueryMetaXml on a request file, as
// the agent does for the server and for command 106) against the same
// Win32 calls in a bare loop. Five interleaved rounds, medians, ratios; Wine
// varies by about half between runs, so only the ratios within one run
// mean anything.
#include <winsock2.h>

#include <cstdio>

#include "bench/metadata_bench.h"
#include "records/settings.h"

int wmain() {
  // No debug log: the figures are the queries'.
  s_Settings.DebugLevel = 0;
  // The agent has Winsock started before any query runs.
  WSADATA wsa;
  WSAStartup(MAKEWORD(2, 2), &wsa);
  std::printf("== getRegistryKey\n");
  RegistryQueryBench();
  std::printf("== getServices\n");
  ServiceQueryBench();
  std::printf("== getListenPorts\n");
  ListenPortQueryBench();
  WSACleanup();
  return 0;
}
