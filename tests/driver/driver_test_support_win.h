// The filter driver's installer under test: a working directory with a
// driver package, the network configuration's stand-in registered in the
// prefix, pnputil in system32, and the system's driver state cleared before
// each test.
#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <string>
#include <vector>

#include "stand_in_key.h"
#include "support/run_to_end_win.h"
#include "util/captured_log.h"

namespace drivertest {

std::wstring WindowsFolder();       // C:\windows
std::wstring SystemFolder();        // C:\windows\system32
std::wstring InfStore();            // C:\windows\INF as the agent names it
std::wstring InstalledDriverFile(); // system32\drivers\mlfilter.sys
// A file of the test package: variant "current", "older", "newer",
// "v32768" or "noversion".
std::wstring PackageDriver(const wchar_t* variant);
std::wstring PackageInf(const wchar_t* name);

// regsvr32 [/u] /s on the stand-in; its exit code.
DWORD RegisterNetCfg(bool unregister = false);

bool FileExists(const std::wstring& path);
bool WriteBytes(const std::wstring& path, const std::string& bytes);
std::string ReadBytes(const std::wstring& path);
bool ServiceRegistered(const wchar_t* name);
void RemoveService(const wchar_t* name);
// The four parts of a file's version resource, "a.b.c.d", or "none".
std::string FileVersionText(const std::wstring& path);

// The expected system text of an error: FormatMessageW's, at most 400
// characters, its last one dropped; "Unknow" without one.
std::string SystemText(HRESULT error);
// "0x%08lx" as the log shows a code.
std::string Code(HRESULT error);
// 8-bit copy of a path as the log shows it.
std::string Narrow(const std::wstring& text);

// "Function: message" for each line of the debug log, the message as written
// (a "\r" before the line end kept). The process launch's own detail line
// (handle numbers) is left out.
std::vector<std::string> LogLines(const std::string& text);
// The stand-in's journal, one entry per line.
std::vector<std::string> JournalLines(const zentsim::testing::StandInKey& key);

// The acquire and release of the configuration, as the journal shows them.
std::vector<std::string> AcquireJournal();
std::vector<std::string> ReleaseJournal();
std::vector<std::string> Joined(std::initializer_list<std::vector<std::string>> parts);

class DriverTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  // Puts the variant's driver file and the named INFs in the driver directory.
  void MakePackage(const wchar_t* variant, std::initializer_list<const wchar_t*> infs);
  std::wstring DriverDirectoryFile(const wchar_t* name) const { return driverDirectory + L"\\" + name; }
  std::string Dir() const { return Narrow(driverDirectory); }
  std::vector<std::string> Lines() const { return LogLines(log.Text().substr(logStart)); }
  // Installs the current package's component, then starts the log and the
  // stand-in's records afresh, the component's state kept.
  void InstallComponentFirst();
  std::vector<std::string> Journal() const { return JournalLines(netcfg); }

  zentsim::testing::SimScope scope;
  zentsim::testing::StandInKey netcfg = scope.Key(L"netcfg");
  zentsim::testing::StandInKey mli = scope.Key(L"mli");
  zentsim::testing::StandInKey pnputil = scope.Key(L"pnputil");
  CapturedLog log{5};
  std::wstring workingDirectory;
  std::wstring driverDirectory;
  size_t logStart = 0;
};

}  // namespace drivertest
