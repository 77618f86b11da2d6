#include "policy_test_support.h"

#include <cstdio>
#include <regex>

#include "eventlog/cache_parameters.h"
#include "log/debug_log.h"
#include "support/scratch_file.h"

std::string PolicyDocument(const std::string& body) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Message><Request><SecurityConfiguration>\n" + body +
         "\n</SecurityConfiguration></Request></Message>\n";
}

int LoadPolicyText(RawConfig& rawConfig, const std::string& xml) {
  FILE* file = OpenScratchFile();
  EXPECT_NE(file, nullptr);
  if (file == nullptr) return -2;
  std::fwrite(xml.data(), 1, xml.size(), file);
  std::rewind(file);
  int result = LoadRawConfigXmlFile(rawConfig, file);
  std::fclose(file);
  return result;
}

int LoadPolicyTextQuietly(RawConfig& rawConfig, const std::string& xml) {
  int32_t debugLevel = s_Settings.DebugLevel;
  s_Settings.DebugLevel = 0;
  int result = LoadPolicyText(rawConfig, xml);
  s_Settings.DebugLevel = debugLevel;
  return result;
}

std::string ReadFileBytes(const std::string& path) {
  std::string bytes;
  if (FILE* file = std::fopen(path.c_str(), "rb")) {
    char buffer[4096];
    size_t count;
    while ((count = std::fread(buffer, 1, sizeof buffer, file)) > 0) bytes.append(buffer, count);
    std::fclose(file);
  }
  return bytes;
}

PlatformAdapter EthernetAdapter(const std::string& address, const std::string& name) {
  PlatformAdapter adapter;
  adapter.ifType = 6;
  adapter.address = address;
  adapter.name = name;
  adapter.friendlyName = std::u16string(name.begin(), name.end());
  adapter.mtu = 1500;
  adapter.up = true;
  return adapter;
}

int LoadPolicyFile(RawConfig& rawConfig, const char* name) {
  std::string path = std::string(ZENT_POLICY_DATA) + name;
  FILE* file = std::fopen(path.c_str(), "rb");
  EXPECT_NE(file, nullptr) << path;
  if (file == nullptr) return -2;
  int result = LoadRawConfigXmlFile(rawConfig, file);
  std::fclose(file);
  return result;
}

std::vector<std::string> Keys(const AttrMapIndex& map) {
  std::vector<std::string> keys;
  for (const auto& entry : map) keys.push_back(entry.first);
  return keys;
}

void PolicyTest::SetUp() {
  s_Settings = ZentSettings{};
  s_LogFileSizeKB = 1024;
  s_NumberOfOldCopies = 7;
  s_LogRecordMapMaxSize = 128;
  s_LogFlushLogInterval = 60000;
  FILE* file = OpenScratchFile();
  ASSERT_NE(file, nullptr);
  s_DebugLog.stream = file;
  s_DebugLog.logSize = 0;
}

void PolicyTest::TearDown() {
  if (s_DebugLog.stream != nullptr) std::fclose(s_DebugLog.stream);
  s_DebugLog.stream = nullptr;
  s_Settings = ZentSettings{};
}

std::vector<std::pair<std::string, std::string>> PolicyTest::LogLines() {
  FILE* file = s_DebugLog.stream;
  std::fflush(file);
  std::rewind(file);
  std::string text;
  char buf[4096];
  size_t n;
  while ((n = std::fread(buf, 1, sizeof buf, file)) > 0) text.append(buf, n);
  std::fseek(file, 0, SEEK_END);

  std::vector<std::pair<std::string, std::string>> lines;
  std::regex line("[0-9:-]+ \\[[ 0-9A-F]{4,8}\\]\\[ZTENG\\]\\[([A-Za-z_0-9]+):[0-9]+\\] ([^\n]*)\r?\n");
  for (std::sregex_iterator it(text.begin(), text.end(), line), end; it != end; ++it)
    lines.emplace_back((*it)[1], (*it)[2]);
  return lines;
}

std::vector<std::string> PolicyTest::LogMessages() {
  std::vector<std::string> messages;
  for (auto& [function, message] : LogLines()) messages.push_back(message);
  return messages;
}

std::vector<std::string> PolicyTest::LogFunctions() {
  std::vector<std::string> functions;
  for (auto& [function, message] : LogLines()) functions.push_back(function);
  return functions;
}
