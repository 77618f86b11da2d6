// zentctl.exe: the command-line client of the agent's pipe, for the suite's
// engineers and for the tests.
#include <windows.h>

#include <fcntl.h>
#include <io.h>

#include <cstdio>
#include <string>
#include <vector>

#include "command_header.h"
#include "exit_status.h"
#include "message_pieces.h"
#include "pipe_client_win.h"
#include "reply_text.h"
#include "round_trip_summary.h"
#include "usage_text.h"
#include "zentctl_arguments.h"

namespace {

using namespace zentctl;

std::string ToUtf8(const wchar_t* text) {
  int size = WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
  std::string out(size > 0 ? size - 1 : 0, '\0');
  if (size > 1) WideCharToMultiByte(CP_UTF8, 0, text, -1, out.data(), size, nullptr, nullptr);
  return out;
}

std::wstring ToWide(const std::string& text) {
  int size = MultiByteToWideChar(CP_UTF8, 0, text.c_str(), -1, nullptr, 0);
  std::wstring out(size > 0 ? size - 1 : 0, L'\0');
  if (size > 1) MultiByteToWideChar(CP_UTF8, 0, text.c_str(), -1, out.data(), size);
  return out;
}

int Fail(int status, const std::string& message) {
  std::fprintf(stderr, "zentctl: %s\n", message.c_str());
  return status;
}

bool ReadAll(FILE* file, std::string& data) {
  char buffer[65536];
  size_t count;
  while ((count = std::fread(buffer, 1, sizeof buffer, file)) > 0) data.append(buffer, count);
  return !std::ferror(file);
}

// The message's data: the file's bytes, standard input's, or what the
// command's name implies.
bool ReadData(const ZentctlOptions& o, std::string& data) {
  if (!o.dataFile) {
    data = o.builtinData.value_or("");
    return true;
  }
  if (*o.dataFile == "-") {
    _setmode(_fileno(stdin), _O_BINARY);
    return ReadAll(stdin, data);
  }
  FILE* file = _wfopen(ToWide(*o.dataFile).c_str(), L"rb");
  if (!file) return false;
  bool read = ReadAll(file, data);
  std::fclose(file);
  return read;
}

SystemTime NowUtc() {
  SYSTEMTIME now;
  GetSystemTime(&now);
  return {now.wYear, now.wMonth, now.wDayOfWeek, now.wDay, now.wHour, now.wMinute, now.wSecond, now.wMilliseconds};
}

int RunConnectCycles(const ZentctlOptions& o) {
  for (uint32_t i = 0; i < o.connectCycles; ++i) {
    PipeConnection connection;
    if (!ConnectToPipe(ToWide(o.pipePath), o.timeoutMs, connection))
      return Fail(kExitCannotConnect,
                  "connection " + std::to_string(i + 1) + " to " + o.pipePath + ": " + connection.error);
    ClosePipe(connection);
  }
  std::printf("Connected and disconnected %u times.\n", o.connectCycles);
  return kExitSuccess;
}

// Prints the reply and tells whether it was one 36-byte header.
int PrintReply(const ZentctlOptions& o, const std::string& reply) {
  std::optional<CommandHeader> header = DecodeCommandHeader(reply);
  if (!header) {
    std::printf("Reply of %zu bytes is not a 36-byte header:\n%s\n", reply.size(), FormatHex(reply).c_str());
    return kExitMalformedReply;
  }
  std::fputs(FormatReply(*header).c_str(), stdout);
  if (o.hex) std::printf("Hex:        %s\n", FormatHex(reply).c_str());
  return kExitSuccess;
}

double Microseconds(LARGE_INTEGER from, LARGE_INTEGER to) {
  static LARGE_INTEGER frequency = [] {
    LARGE_INTEGER f;
    QueryPerformanceFrequency(&f);
    return f;
  }();
  return static_cast<double>(to.QuadPart - from.QuadPart) * 1e6 / static_cast<double>(frequency.QuadPart);
}

// Writes the message count times, reading each reply unless told not to.
int Exchange(const ZentctlOptions& o, PipeConnection& connection, const std::string& message,
             const std::vector<size_t>& pieces, ULONGLONG& lastWrite) {
  std::string reply;
  std::vector<double> roundTrips;
  for (uint32_t i = 0; i < o.count; ++i) {
    LARGE_INTEGER start, end;
    QueryPerformanceCounter(&start);
    if (!WritePieces(connection, message, pieces, o.gapMs, o.timeoutMs))
      return Fail(kExitConnectionBroken, connection.error);
    lastWrite = GetTickCount64();
    if (o.noReply) return kExitSuccess;
    ReadOutcome outcome = ReadReply(connection, o.timeoutMs, reply);
    QueryPerformanceCounter(&end);
    if (outcome == ReadOutcome::TimedOut) return Fail(kExitNoReply, connection.error);
    if (outcome == ReadOutcome::Broken) return Fail(kExitConnectionBroken, connection.error);
    roundTrips.push_back(Microseconds(start, end));
  }
  int status = PrintReply(o, reply);
  if (o.count > 1) std::fputs(FormatRoundTrips(roundTrips.size(), SummarizeRoundTrips(roundTrips)).c_str(), stdout);
  return status;
}

int RunSend(const ZentctlOptions& o) {
  std::string data;
  if (!ReadData(o, data)) return Fail(kExitUsage, "cannot read the data from " + *o.dataFile);
  std::string message = o.raw ? data : BuildRequest(o.command, o.requestId, data, NowUtc());
  if (message.empty()) return Fail(kExitUsage, "the message is empty: nothing to send");
  PieceSplit split = SplitIntoPieces(message.size(), o.pieces);
  if (!split.error.empty()) return Fail(kExitUsage, split.error);

  PipeConnection connection;
  if (!ConnectToPipe(ToWide(o.pipePath), o.timeoutMs, connection))
    return Fail(kExitCannotConnect, "cannot connect to " + o.pipePath + ": " + connection.error);
  if (o.delayMs > 0) Sleep(o.delayMs);
  ULONGLONG lastWrite = GetTickCount64();
  int status = Exchange(o, connection, message, split.sizes, lastWrite);
  std::fflush(stdout);
  ULONGLONG held = GetTickCount64() - lastWrite;
  if (held < o.holdMs) Sleep(static_cast<DWORD>(o.holdMs - held));
  ClosePipe(connection);
  return status;
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  std::vector<std::string> args;
  for (int i = 1; i < argc; ++i) args.push_back(ToUtf8(argv[i]));
  ParsedArguments parsed = ParseZentctlArguments(args);
  if (!parsed.error.empty()) return Fail(kExitUsage, parsed.error + "\nRun zentctl --help for the usage.");
  switch (parsed.options.action) {
    case Action::ShowUsage:
      std::fputs(kUsageText, stdout);
      return kExitUsage;
    case Action::Help:
      std::fputs(kUsageText, stdout);
      return kExitSuccess;
    case Action::ConnectCycles:
      return RunConnectCycles(parsed.options);
    case Action::Send:
      return RunSend(parsed.options);
  }
  return kExitUsage;
}
