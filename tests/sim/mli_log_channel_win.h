// A channel to mli.dll's stand-in in a scope of its own, with what the log
// tests do on it: write a log script and name it in the knob, read records,
// wait for a record to reach the registry.
#pragma once

#include "log_script_bytes.h"
#include "platform/mli.h"
#include "stand_in_key.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <cstring>
#include <string>
#include <vector>

namespace zentsim::testing {

// What one mli_get_log handed back.
struct LogRead {
  int result = 0;
  std::string record;  // the 192 bytes
  void* extra = nullptr;
  uint32_t extraLength = 0;
  DWORD elapsedMs = 0;

  // The pointer in bytes 184-191.
  const char* DataPointer() const {
    const char* pointer = nullptr;
    std::memcpy(&pointer, record.data() + 184, sizeof pointer);
    return pointer;
  }
  int32_t LogId() const {
    int32_t id = 0;
    std::memcpy(&id, record.data() + 24, sizeof id);
    return id;
  }
};

class MliLogChannel : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_NE(handle, nullptr); }
  void TearDown() override {
    if (handle) mli_close(handle);
    for (const std::wstring& path : scripts) DeleteFileW(path.c_str());
  }

  // Writes a script file and returns its Windows path.
  std::wstring WriteScriptFile(const std::string& bytes) {
    wchar_t folder[MAX_PATH];
    GetTempPathW(MAX_PATH, folder);
    std::wstring path = std::wstring(folder) + L"zent-log-script-" + std::to_wstring(GetCurrentProcessId()) +
                        L"-" + std::to_wstring(scripts.size()) + L".bin";
    RewriteScriptFile(path, bytes);
    scripts.push_back(path);
    return path;
  }

  // Replaces a script file's bytes under the same name.
  static void RewriteScriptFile(const std::wstring& path, const std::string& bytes) {
    HANDLE file = CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    ASSERT_NE(file, INVALID_HANDLE_VALUE);
    DWORD written = 0;
    EXPECT_TRUE(WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr));
    CloseHandle(file);
  }

  // Writes the script and names it in the knob "LogScript".
  std::wstring PlayScript(const std::vector<LogScriptEntry>& entries) {
    std::wstring path = WriteScriptFile(LogScriptBytes(entries));
    mli.Set(L"LogScript", path);
    return path;
  }

  LogRead ReadOne() {
    LogRead read;
    read.record.assign(MLI_LOG_RECORD_SIZE, '\xEE');
    read.extra = &read;
    read.extraLength = 0xEEEEEEEE;
    DWORD start = GetTickCount();
    read.result = mli_get_log(handle, read.record.data(), &read.extra, &read.extraLength);
    read.elapsedMs = GetTickCount() - start;
    return read;
  }

  std::string Error() {
    char text[128] = "unchanged";
    EXPECT_EQ(mli_get_error(handle, text, sizeof text), 0);
    return text;
  }

  // The engine's stop event, registered as the engine does.
  HANDLE RegisterStopEvent(bool signalled) {
    HANDLE stop = CreateEventW(nullptr, TRUE, signalled, nullptr);
    EXPECT_EQ(mli_register_event(handle, 0, stop), 0);
    events.push_back(stop);
    return stop;
  }

  // A DWORD record as soon as it reaches `expected`, or what it holds after
  // a generous 10 s: the stand-in writes its records in batches.
  std::optional<uint32_t> AwaitDword(const wchar_t* value, uint32_t expected) {
    DWORD start = GetTickCount();
    std::optional<uint32_t> data = mli.Dword(value);
    while (data != expected && GetTickCount() - start < 10000) {
      Sleep(20);
      data = mli.Dword(value);
    }
    return data;
  }

  // Closes the channel now; the records are all written when it returns.
  void Close() {
    EXPECT_EQ(mli_close(handle), 0);
    handle = nullptr;
  }

  SimScope scope;
  StandInKey mli = scope.Key(L"mli");
  MLI_HANDLE handle = mli_open();
  std::vector<std::wstring> scripts;
  std::vector<HANDLE> events;

  ~MliLogChannel() override {
    for (HANDLE event : events) CloseHandle(event);
  }
};

}  // namespace zentsim::testing
