// The requests of the direct HTTP path: plain HTTP over a clear TCP
// connection to a test server, every one under the same header.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

// The one heartbeat this path sends: a fixed text with no other member.
inline constexpr char kDirectHeartBeatBody[] = R"({"name": "HeartBeat"})";

// The header with the machine id in the agent's identity and the body's
// length, then the body. Host is a fixed text, whatever the target is.
std::string BuildHttpRequest(uint8_t machineId, std::string_view body);
