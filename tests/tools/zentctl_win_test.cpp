// zentctl.exe against a pipe server of the test's own, made with the agent's
// pipe settings: the bytes and piece boundaries that arrive, the reply it
// prints, and its exit statuses. Expected bytes are written from the protocol.
#include <windows.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "agent_like_pipe_win.h"
#include "child_process_win.h"

namespace {

const DWORD kWait = 20000;

std::wstring ZentctlExe() {
  const wchar_t* exe = _wgetenv(L"ZENTCTL_EXE");
  return exe ? exe : L"zentctl.exe";
}

ChildRun Zentctl(const std::wstring& pipe, const std::wstring& arguments, const std::string& input = "") {
  return RunChild(ZentctlExe(), arguments + L" --pipe " + pipe, input);
}

std::string Bytes(std::initializer_list<int> values) {
  std::string out;
  for (int v : values) out += static_cast<char>(v);
  return out;
}

// 2024-02-29, a Thursday, 13:05:09.042 UTC, as a SYSTEMTIME's 16 bytes.
const std::string kLeapDayTime("\xE8\x07\x02\x00\x04\x00\x1D\x00\x0D\x00\x05\x00\x09\x00\x2A\x00", 16);

std::string Reply(uint32_t requestIdByte, std::string result) {
  return "QTNZ" + Bytes({0, 0, 0, 0}) + Bytes({static_cast<int>(requestIdByte), 0, 0, 0}) + result +
         Bytes({0, 0, 0, 0}) + kLeapDayTime;
}

// A reply with Result 0.
std::string Success(uint32_t requestIdByte = 1) { return Reply(requestIdByte, Bytes({0, 0, 0, 0})); }

// What the test's server does with its clients.
struct Script {
  size_t bytesPerRound = 0;          // read messages until this many bytes came
  int rounds = 1;                    // times to read and answer
  std::optional<std::string> reply;  // written as one message after each round
  bool dropAfterReading = false;     // disconnect instead of answering
  int clients = 1;                   // clients to accept one after the other
  DWORD stallMs = 0;                 // wait this long after accepting before reading
};

struct Served {
  std::vector<std::string> messages;  // each pipe message as it arrived
  std::vector<ULONGLONG> arrivedAt;   // GetTickCount64 when each was read
  int clientsAccepted = 0;
  bool clientLeft = false;  // the last client closed its end
  ULONGLONG leftAt = 0;     // when that was seen
};

// Reads bytes and never answers.
Script Silent(size_t bytes) {
  Script script;
  script.bytesPerRound = bytes;
  return script;
}

// Reads bytesPerRound bytes and answers with reply, rounds times.
Script Answering(size_t bytesPerRound, std::string reply, int rounds = 1) {
  Script script = Silent(bytesPerRound);
  script.reply = std::move(reply);
  script.rounds = rounds;
  return script;
}

// Reads bytes, then disconnects the client.
Script Dropping(size_t bytes) {
  Script script = Silent(bytes);
  script.dropAfterReading = true;
  return script;
}

// Accepts clients that send nothing.
Script Accepting(int clients) {
  Script script;
  script.clients = clients;
  return script;
}

void Serve(HANDLE pipe, const Script& script, Served& served) {
  for (int client = 0; client < script.clients; ++client) {
    if (!AcceptClient(pipe, kWait)) return;
    ++served.clientsAccepted;
    Sleep(script.stallMs);
    for (int round = 0; round < script.rounds; ++round) {
      size_t got = 0;
      while (got < script.bytesPerRound) {
        PipeRead read = ReadMessage(pipe, kWait);
        if (!read.message) return;
        got += read.message->size();
        served.messages.push_back(*read.message);
        served.arrivedAt.push_back(GetTickCount64());
      }
      if (script.dropAfterReading) {
        DisconnectNamedPipe(pipe);
        return;
      }
      if (script.reply) WriteMessage(pipe, *script.reply);
    }
    PipeRead last = ReadMessage(pipe, kWait);
    served.clientLeft = last.clientLeft;
    served.leftAt = GetTickCount64();
    DisconnectNamedPipe(pipe);
  }
}

// Runs zentctl against a fresh server that follows the script.
struct Exchange {
  ChildRun run;
  Served served;
};

Exchange RunAgainstServer(const wchar_t* test, const Script& script, const std::wstring& arguments,
                          const std::string& input = "") {
  Exchange exchange;
  std::wstring path = UniquePipePath(test);
  HANDLE pipe = CreateAgentLikePipe(path);
  EXPECT_NE(pipe, INVALID_HANDLE_VALUE) << GetLastError();
  std::thread server([&] { Serve(pipe, script, exchange.served); });
  exchange.run = Zentctl(path, arguments, input);
  server.join();
  CloseHandle(pipe);
  return exchange;
}

std::string WriteTempFile(const std::string& bytes) {
  wchar_t folder[MAX_PATH], file[MAX_PATH];
  GetTempPathW(MAX_PATH, folder);
  GetTempFileNameW(folder, L"zct", 0, file);
  std::ofstream(file, std::ios::binary) << bytes;
  char narrow[MAX_PATH * 3];
  WideCharToMultiByte(CP_UTF8, 0, file, -1, narrow, sizeof narrow, nullptr, nullptr);
  return narrow;
}

std::wstring Wide(const std::string& text) { return std::wstring(text.begin(), text.end()); }

ULONGLONG Ticks(const SYSTEMTIME& time) {
  FILETIME file;
  SystemTimeToFileTime(&time, &file);
  return (static_cast<ULONGLONG>(file.dwHighDateTime) << 32) | file.dwLowDateTime;
}

TEST(ZentctlOnThePipe, NotifyArrivesAsOneHeaderMessage) {
  SYSTEMTIME before;
  GetSystemTime(&before);
  Exchange x = RunAgainstServer(L"notify", Answering(36, Success(7)), L"send notify --request-id 7");
  ASSERT_EQ(x.served.messages.size(), 1u);
  const std::string& message = x.served.messages[0];
  ASSERT_EQ(message.size(), 36u);
  EXPECT_EQ(message.substr(0, 20), "QTNZ" + Bytes({1, 0, 0, 0, 7, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
  // Time is the sender's UTC clock at the time of sending.
  SYSTEMTIME sent;
  memcpy(&sent, message.data() + 20, 16);
  EXPECT_LE(Ticks(before) / 10000000, Ticks(sent) / 10000000);
  EXPECT_LE(Ticks(sent) - Ticks(before), 600000000ull);
  EXPECT_EQ(x.run.exitCode, 0u) << x.run.err;
  EXPECT_TRUE(x.served.clientLeft);
}

TEST(ZentctlOnThePipe, PrintsTheReplysFieldsOneALine) {
  Exchange x = RunAgainstServer(L"print", Answering(36, Success(42)), L"send ping --request-id 42");
  EXPECT_EQ(x.run.exitCode, 0u) << x.run.err;
  EXPECT_EQ(x.run.out,
            "Magic:      QTNZ\n"
            "Command:    0\n"
            "RequestId:  42\n"
            "Result:     0\n"
            "DataLength: 0\n"
            "Time:       2024-02-29 13:05:09.042 UTC (Thursday)\n");
}

TEST(ZentctlOnThePipe, AFailedResultIsPrintedAndStillExitsZero) {
  // 201512006 is 0x0C02D446.
  Exchange x =
      RunAgainstServer(L"result", Answering(36, Reply(1, Bytes({0x46, 0xD4, 0x02, 0x0C}))), L"send clear-config --hex");
  EXPECT_EQ(x.run.exitCode, 0u) << x.run.err;
  EXPECT_NE(x.run.out.find("Result:     201512006\n"), std::string::npos) << x.run.out;
  EXPECT_NE(x.run.out.find("Hex:        51 54 4e 5a 00 00 00 00 01 00 00 00 46 d4 02 0c 00 00 00 00 "
                           "e8 07 02 00 04 00 1d 00 0d 00 05 00 09 00 2a 00\n"),
            std::string::npos)
      << x.run.out;
}

TEST(ZentctlOnThePipe, TenThousandByteMessageArrivesInPiecesOfAtMost4096) {
  std::string data(9964, '\0');
  for (size_t i = 0; i < data.size(); ++i) data[i] = static_cast<char>('a' + i % 26);
  Exchange x = RunAgainstServer(L"long", Answering(10000, Success()),
                                L"send set-raw-config --data " + Wide(WriteTempFile(data)));
  ASSERT_EQ(x.served.messages.size(), 3u);
  EXPECT_EQ(x.served.messages[0].size(), 4096u);
  EXPECT_EQ(x.served.messages[1].size(), 4096u);
  EXPECT_EQ(x.served.messages[2].size(), 1808u);
  std::string whole = x.served.messages[0] + x.served.messages[1] + x.served.messages[2];
  EXPECT_EQ(whole.substr(4, 4), Bytes({104, 0, 0, 0}));
  EXPECT_EQ(whole.substr(16, 4), Bytes({0xEC, 0x26, 0, 0}));  // 9964
  EXPECT_EQ(whole.substr(36), data);
  EXPECT_EQ(x.run.exitCode, 0u) << x.run.err;
}

TEST(ZentctlOnThePipe, ExplicitPiecesArriveAsTheirOwnMessages) {
  Exchange x = RunAgainstServer(L"pieces", Answering(36, Success()), L"send notify --pieces 10,26 --gap 20");
  ASSERT_EQ(x.served.messages.size(), 2u);
  EXPECT_EQ(x.served.messages[0], "QTNZ" + Bytes({1, 0, 0, 0, 1, 0}));
  EXPECT_EQ(x.served.messages[1].size(), 26u);
  EXPECT_EQ(x.run.exitCode, 0u) << x.run.err;
}

TEST(ZentctlOnThePipe, AnExplicitPieceLargerThanTheBufferStaysOneMessage) {
  Exchange x = RunAgainstServer(L"bigpiece", Answering(6000, Success()),
                                L"send multi --pieces 5000 --data " + Wide(WriteTempFile(std::string(5964, 'x'))));
  ASSERT_EQ(x.served.messages.size(), 2u);
  EXPECT_EQ(x.served.messages[0].size(), 5000u);
  EXPECT_EQ(x.served.messages[1].size(), 1000u);
}

TEST(ZentctlOnThePipe, SelfProtectionOnCarriesItsJson) {
  Exchange x = RunAgainstServer(L"selfprot", Answering(49, Success()), L"send self-protection on");
  ASSERT_EQ(x.served.messages.size(), 1u);
  const std::string& message = x.served.messages[0];
  EXPECT_EQ(message.substr(4, 4), Bytes({2, 0, 0, 0}));
  EXPECT_EQ(message.substr(16, 4), Bytes({13, 0, 0, 0}));
  EXPECT_EQ(message.substr(36), R"({"service":1})");
}

TEST(ZentctlOnThePipe, RawDataIsTheWholeMessage) {
  Exchange x = RunAgainstServer(L"raw", Answering(5, Success()), L"send --raw --data " + Wide(WriteTempFile("QTNZ!")));
  ASSERT_EQ(x.served.messages.size(), 1u);
  EXPECT_EQ(x.served.messages[0], "QTNZ!");
  EXPECT_EQ(x.run.exitCode, 0u) << x.run.err;
}

TEST(ZentctlOnThePipe, DataComesFromStandardInputForADash) {
  Exchange x =
      RunAgainstServer(L"stdin", Answering(36 + 5, Success()), L"send http --data -", std::string("GET\r\n", 5));
  ASSERT_EQ(x.served.messages.size(), 1u);
  EXPECT_EQ(x.served.messages[0].substr(36), std::string("GET\r\n", 5));
}

TEST(ZentctlOnThePipe, CountSendsOnOneConnectionAndPrintsRoundTrips) {
  Exchange x = RunAgainstServer(L"count", Answering(36, Success(), 5), L"send ping --count 5");
  EXPECT_EQ(x.run.exitCode, 0u) << x.run.err;
  EXPECT_EQ(x.served.clientsAccepted, 1);
  EXPECT_EQ(x.served.messages.size(), 5u);
  EXPECT_NE(x.run.out.find("Round trips:     5\nMedian:          "), std::string::npos) << x.run.out;
  EXPECT_NE(x.run.out.find(" us\n95th percentile: "), std::string::npos) << x.run.out;
}

TEST(ZentctlOnThePipe, NoReplyWithinTheTimeOutExitsWithFour) {
  Exchange x = RunAgainstServer(L"silent", Silent(36), L"send self-protection off --timeout 300");
  EXPECT_EQ(x.run.exitCode, 4u);
  EXPECT_EQ(x.run.out, "");
  EXPECT_EQ(x.run.err, "zentctl: no reply within 300 ms\n");
}

TEST(ZentctlOnThePipe, NoReplyOptionSendsAndClosesWithZero) {
  Exchange x = RunAgainstServer(L"noreply", Silent(36), L"send stop --no-reply");
  EXPECT_EQ(x.run.exitCode, 0u) << x.run.err;
  EXPECT_EQ(x.served.messages.size(), 1u);
  EXPECT_TRUE(x.served.clientLeft);
}

TEST(ZentctlOnThePipe, GapPausesBetweenPieces) {
  Exchange x = RunAgainstServer(L"gap", Answering(36, Success()), L"send notify --pieces 10 --gap 300");
  ASSERT_EQ(x.served.arrivedAt.size(), 2u);
  EXPECT_GE(x.served.arrivedAt[1] - x.served.arrivedAt[0], 250u);
}

TEST(ZentctlOnThePipe, HoldKeepsTheConnectionOpenAfterWriting) {
  Exchange x = RunAgainstServer(L"hold", Silent(36), L"send notify --no-reply --hold 600");
  EXPECT_EQ(x.run.exitCode, 0u) << x.run.err;
  ASSERT_EQ(x.served.arrivedAt.size(), 1u);
  EXPECT_TRUE(x.served.clientLeft);
  EXPECT_GE(x.served.leftAt - x.served.arrivedAt[0], 500u);
}

TEST(ZentctlOnThePipe, AWriteThatNobodyReadsTimesOutWithFive) {
  Script stalled = Silent(20036);
  stalled.stallMs = 1500;
  Exchange x = RunAgainstServer(L"stalled", stalled,
                                L"send multi --timeout 500 --data " + Wide(WriteTempFile(std::string(20000, 'x'))));
  EXPECT_EQ(x.run.exitCode, 5u);
  EXPECT_EQ(x.run.err.rfind("zentctl: writing piece ", 0), 0u) << x.run.err;
}

TEST(ZentctlOnThePipe, ServerClosingBeforeAReplyExitsWithFive) {
  Exchange x = RunAgainstServer(L"dropped", Dropping(36), L"send ping");
  EXPECT_EQ(x.run.exitCode, 5u);
}

TEST(ZentctlOnThePipe, AReplyThatIsNoHeaderExitsWithSix) {
  Exchange x = RunAgainstServer(L"short", Answering(36, std::string("QTNZ\0\0\0\0", 8)), L"send ping --timeout 2000");
  EXPECT_EQ(x.run.exitCode, 6u);
  EXPECT_EQ(x.run.out, "Reply of 8 bytes is not a 36-byte header:\n51 54 4e 5a 00 00 00 00\n");
}

TEST(ZentctlOnThePipe, NoSuchPipeExitsWithThree) {
  ChildRun run = Zentctl(UniquePipePath(L"absent"), L"send ping");
  EXPECT_EQ(run.exitCode, 3u);
}

TEST(ZentctlOnThePipe, ConnectCyclesConnectsAndLeavesEachTime) {
  std::wstring path = UniquePipePath(L"cycles");
  HANDLE pipe = CreateAgentLikePipe(path);
  Served served;
  std::thread server([&] { Serve(pipe, Accepting(3), served); });
  ChildRun run = RunChild(ZentctlExe(), L"--connect-cycles 3 --pipe " + path);
  server.join();
  CloseHandle(pipe);
  EXPECT_EQ(run.exitCode, 0u) << run.err;
  EXPECT_EQ(served.clientsAccepted, 3);
  EXPECT_TRUE(served.messages.empty());
  EXPECT_EQ(run.out, "Connected and disconnected 3 times.\n");
}

TEST(ZentctlCommandLine, UsageErrorsExitWithTwoAndHelpWithZero) {
  EXPECT_EQ(RunChild(ZentctlExe(), L"send pong").exitCode, 2u);
  EXPECT_EQ(RunChild(ZentctlExe(), L"").exitCode, 2u);
  ChildRun help = RunChild(ZentctlExe(), L"--help");
  EXPECT_EQ(help.exitCode, 0u);
  EXPECT_EQ(help.out.rfind("zentctl - send one command to the Zent agent", 0), 0u);
}

TEST(ZentctlCommandLine, UnreadableDataFileExitsWithTwo) {
  ChildRun run = RunChild(ZentctlExe(), L"send multi --data Z:\\no\\such\\file.xml --pipe zent_test_nowhere");
  EXPECT_EQ(run.exitCode, 2u);
  EXPECT_EQ(run.err, "zentctl: cannot read the data from Z:\\no\\such\\file.xml\n");
}

}  // namespace
