// The server conversation on the heartbeat thread: one heartbeat cycle, the
// transport, the reply's client request and the client responses.
#pragma once

#include <windows.h>

#include <cstdint>
#include <string>

#include "platform/hv_sock.h"

// The transport library's entry point, resolved on first use and kept.
extern hvSendHttpToBRVNServer2_t g_pfnHvSendHttpToBRVNServer2;

// Posts request through HvSock_64x.dll; response receives the body of the
// answer. description is the label the library sees behind "Zent+".
bool talkToZentServer(const std::string& request, std::string& response, std::string description);

// One heartbeat cycle; *rapid receives the reply's non-zero rapidHeartbeat.
// 1 when the exchange and the reply's processing both succeeded.
int ProcessNotify(uint32_t* rapid);
// The product version of ZentAgent.exe in the working directory.
bool getClientVersion(uint32_t version[4]);

// The heartbeat's reply: its command document goes to path; *rapid (set to
// 0 first) receives its rapidHeartbeat.
bool getClientRequestXml(const std::string& text, const std::wstring& path, uint32_t* rapid);
bool processClientRequest(const std::string& response, uint32_t* rapid);
// Posts a result document as a ClientResponse of the given type; true when
// the last acknowledgement accepted it.
bool sendClientResponse(const std::string& content, int responseType);
