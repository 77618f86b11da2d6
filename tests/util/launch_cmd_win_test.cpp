// LaunchCmd runs a tool to its end and hands back its exit code and all it
// printed on both streams, as the rule compiler's output reaches the log.
#include <gtest/gtest.h>
#include <windows.h>

#include <tlhelp32.h>

#include <atomic>
#include <cstdlib>
#include <string>
#include <thread>

#include "captured_log.h"
#include "support/temp_folder_win.h"
#include "util/process_win.h"

namespace {

std::wstring Child() {
  const wchar_t* path = _wgetenv(L"ZENT_LAUNCHED_CHILD_EXE");
  return path ? path : L"";
}

// What the child writes for "out N" or "err N": lines of 16 bytes, tagged
// and counted, cut to N bytes.
std::string Many(const char* tag, size_t count) {
  std::string bytes;
  for (unsigned long line = 0; bytes.size() < count; ++line) {
    std::string text = tag + std::to_string(line);
    bytes += text + std::string(15 - text.size(), '.') + "\n";
  }
  bytes.resize(count);
  return bytes;
}

// Ends every process this test process started, as an operator would end a
// tool that hangs.
void EndChildren(UINT exitCode) {
  HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
  PROCESSENTRY32W entry = {};
  entry.dwSize = sizeof entry;
  for (BOOL more = Process32FirstW(snapshot, &entry); more; more = Process32NextW(snapshot, &entry)) {
    if (entry.th32ParentProcessID != GetCurrentProcessId()) continue;
    HANDLE process = OpenProcess(PROCESS_TERMINATE, FALSE, entry.th32ProcessID);
    if (process != nullptr) {
      TerminateProcess(process, exitCode);
      CloseHandle(process);
    }
  }
  CloseHandle(snapshot);
}

class LaunchCmd : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_FALSE(Child().empty()); }
  CapturedLog log{4};
  DWORD exitCode = 12345;
  std::string output;
};

TEST_F(LaunchCmd, BothStreamsArriveInOneString) {
  ASSERT_TRUE(utilProcess::LaunchCmd(Child().c_str(), L"out 20 err 20 text done", &exitCode, output));
  EXPECT_EQ(exitCode, 0u);
  EXPECT_EQ(output, Many("o", 20) + Many("e", 20) + "done\n");
}

TEST_F(LaunchCmd, ExitCodeOfAFailedChildWithTrue) {
  EXPECT_TRUE(utilProcess::LaunchCmd(Child().c_str(), L"text failing exit 5", &exitCode, output));
  EXPECT_EQ(exitCode, 5u);
  EXPECT_EQ(output, "failing\n");
}

TEST_F(LaunchCmd, MissingProgramGivesFalseAndTheWindowsError) {
  output = "earlier";
  std::wstring missing = MakeTempFolder(L"launch_missing") + L"\\no_such_tool.exe";
  EXPECT_FALSE(utilProcess::LaunchCmd(missing.c_str(), L"-c x", &exitCode, output));
  EXPECT_EQ(exitCode, static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
  EXPECT_EQ(output, "earlier");
  EXPECT_NE(log.Text().find("] CreateProcessW failed, err=2\n"), std::string::npos) << log.Text();
}

TEST_F(LaunchCmd, NullArgumentsGiveTheQuotedProgramAlone) {
  ASSERT_TRUE(utilProcess::LaunchCmd(Child().c_str(), nullptr, &exitCode, output));
  std::wstring child = Child();
  EXPECT_EQ(output, "\"" + std::string(child.begin(), child.end()) + "\"");
}

TEST_F(LaunchCmd, CommandLineIsTheQuotedProgramABlankAndTheArguments) {
  std::wstring child = Child();
  ASSERT_TRUE(utilProcess::LaunchCmd(child.c_str(), L"text x", &exitCode, output));
  EXPECT_NE(log.Text().find("] PrepAndLaunchRedirectedChild: \"" + std::string(child.begin(), child.end()) +
                            "\" text x, stdout("),
            std::string::npos)
      << log.Text();
}

TEST_F(LaunchCmd, OutputIsAppendedToWhatTheStringHeld) {
  output = "earlier:";
  ASSERT_TRUE(utilProcess::LaunchCmd(Child().c_str(), L"text later", &exitCode, output));
  EXPECT_EQ(output, "earlier:later\n");
}

TEST_F(LaunchCmd, NoExitCodePointerIsAllowed) {
  EXPECT_TRUE(utilProcess::LaunchCmd(Child().c_str(), L"text fine exit 3", nullptr, output));
  EXPECT_EQ(output, "fine\n");
}

TEST_F(LaunchCmd, BackgroundProcessHoldingThePipeDelaysTheReturn) {
  std::wstring marker = MakeTempFolder(L"launch_holder") + L"\\held.txt";
  DeleteFileW(marker.c_str());
  ASSERT_TRUE(utilProcess::LaunchCmd(Child().c_str(), (L"text started spawn 1500 \"" + marker + L"\"").c_str(),
                                     &exitCode, output));
  // The holder creates the file just before it ends and lets go of the pipe.
  EXPECT_NE(GetFileAttributesW(marker.c_str()), INVALID_FILE_ATTRIBUTES);
  EXPECT_EQ(output, "started\n");
  DeleteFileW(marker.c_str());
}

TEST_F(LaunchCmd, MuchOutputOnBothStreamsWithinThePipeBuffer) {
  // 900 KiB in all, below the 1 MiB the pipe is made with: the child ends
  // before the agent reads anything.
  ASSERT_TRUE(utilProcess::LaunchCmd(Child().c_str(), L"out 460800 err 460800 exit 7", &exitCode, output));
  EXPECT_EQ(exitCode, 7u);
  EXPECT_EQ(output, Many("o", 460800) + Many("e", 460800));
}

TEST_F(LaunchCmd, OutputOfExactlyThePipeBufferFits) {
  ASSERT_TRUE(utilProcess::LaunchCmd(Child().c_str(), L"out 524288 err 524288", &exitCode, output));
  EXPECT_EQ(output, Many("o", 524288) + Many("e", 524288));
}

TEST_F(LaunchCmd, OutputBeyondThePipeBufferHoldsTheLaunchUntilTheChildIsEnded) {
  // The agent reads only once the child has ended; one byte more than the
  // pipe holds blocks the child's write, and so the agent's wait, for as
  // long as the child lives.
  std::atomic<bool> returned{false};
  bool result = false;
  std::thread launch([&] {
    result = utilProcess::LaunchCmd(Child().c_str(), L"out 524288 err 524289", &exitCode, output);
    returned = true;
  });
  Sleep(3000);
  EXPECT_FALSE(returned);
  EndChildren(77);
  launch.join();
  EXPECT_TRUE(result);
  EXPECT_EQ(exitCode, 77u);
  // The blocked write never reached the pipe.
  EXPECT_EQ(output, Many("o", 524288));
}

TEST_F(LaunchCmd, TheReadAfterTheChildEndsIsLogged) {
  ASSERT_TRUE(utilProcess::LaunchCmd(Child().c_str(), L"text x", &exitCode, output));
  EXPECT_NE(log.Text().find("] ReadAndHandleOutput First \n"), std::string::npos) << log.Text();
  EXPECT_NE(log.Text().find("] WaitForSingleObject result=0x0\n"), std::string::npos) << log.Text();
}

}  // namespace
