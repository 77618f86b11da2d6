// zentpolicy.exe as the engineers run it on a host: a policy file encrypted
// by the agent's code, decrypted to standard output.
#include <windows.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <string>

#include "child_process_win.h"
#include "support/temp_folder_win.h"
#include "util/cred_machine_encrypt.h"

namespace {

std::wstring ZentpolicyExe() {
  const wchar_t* exe = _wgetenv(L"ZENTPOLICY_EXE");
  return exe ? exe : L"zentpolicy.exe";
}

std::wstring WritePolicyFile(const std::wstring& name, const std::string& bytes) {
  std::wstring path = MakeTempFolder(L"zentpolicy_win_test") + L"\\" + name;
  std::ofstream(path.c_str(), std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  return path;
}

TEST(ZentpolicyExe, DecryptsAFileTheAgentEncrypted) {
  const std::string text = "<AgentConfig>\n  <rule id=\"1\"/>\n</AgentConfig>\n";
  std::wstring path = WritePolicyFile(L"config.xml", Cred_MachineEncrypt(text.c_str()));
  ChildRun run = RunChild(ZentpolicyExe(), L"decrypt \"" + path + L"\"");
  EXPECT_EQ(run.exitCode, 0u) << run.err;
  EXPECT_EQ(run.out, text);
  EXPECT_EQ(run.err, "");
}

TEST(ZentpolicyExe, ClearFileExitsWithFour) {
  std::wstring path = WritePolicyFile(L"clear.xml", "<AgentConfig/>\n");
  ChildRun run = RunChild(ZentpolicyExe(), L"decrypt \"" + path + L"\"");
  EXPECT_EQ(run.exitCode, 4u);
  EXPECT_EQ(run.out, "");
  EXPECT_NE(run.err.find("is not an encrypted policy file: it does not begin with \"Salted__\""), std::string::npos)
      << run.err;
}

TEST(ZentpolicyExe, MissingFileExitsWithThree) {
  ChildRun run = RunChild(ZentpolicyExe(), L"decrypt Z:\\no\\such\\folder\\config.xml");
  EXPECT_EQ(run.exitCode, 3u);
  EXPECT_EQ(run.err.rfind("zentpolicy: cannot read Z:\\no\\such\\folder\\config.xml: ", 0), 0u) << run.err;
}

}  // namespace
