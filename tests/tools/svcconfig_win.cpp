// svcconfig.exe: services for the host query tests.
//
//   svcconfig create      reads one service as JSON on stdin and registers it
//   svcconfig list        prints EnumServicesStatusExW's key names (Win32
//                         services, every state) as a JSON array, in the
//                         system's order
//   svcconfig delete NAME...
//
// The JSON: {"name", "displayName", "binaryPath", "startType" (3),
// "serviceType" (16), "loadOrderGroup", "dependencies": [names], "startName",
// "description", "failureActions": {"resetPeriod", "rebootMessage",
// "command", "actions": [[type, delay], ...]}}; all but "name" and
// "binaryPath" may be left out, and a left-out text is passed as null.
// Prints {"created": name} or {"error": N, "step": ...} and exits 0 or 1.
// Wine's sc sets no load order group, dependencies or failure actions.
#include <windows.h>

#include <rapidjson/document.h>

#include <cstdio>
#include <iostream>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

namespace {

std::wstring Wide(const std::string& text) {
  int units = MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), nullptr, 0);
  std::wstring out(units, L'\0');
  MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), out.data(), units);
  return out;
}

std::string Utf8(const wchar_t* text) {
  int size = WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
  std::string out(size > 0 ? size - 1 : 0, '\0');
  if (size > 1) WideCharToMultiByte(CP_UTF8, 0, text, -1, out.data(), size, nullptr, nullptr);
  return out;
}

std::string JsonString(const std::string& text) {
  std::string out = "\"";
  for (char c : text) {
    if (c == '"' || c == '\\') out += '\\';
    out += c;
  }
  return out + "\"";
}

int Fail(const char* step, DWORD error) {
  std::printf("{\"error\": %lu, \"step\": \"%s\"}\n", static_cast<unsigned long>(error), step);
  return 1;
}

std::optional<std::wstring> Text(const rapidjson::Value& object, const char* name) {
  if (!object.IsObject() || !object.HasMember(name) || !object[name].IsString()) return std::nullopt;
  return Wide(std::string(object[name].GetString(), object[name].GetStringLength()));
}

DWORD Number(const rapidjson::Value& object, const char* name, DWORD fallback) {
  return object.HasMember(name) && object[name].IsUint() ? object[name].GetUint() : fallback;
}

wchar_t* Pointer(std::optional<std::wstring>& text) { return text ? text->data() : nullptr; }

int Create() {
  std::string input((std::istreambuf_iterator<char>(std::cin)), std::istreambuf_iterator<char>());
  rapidjson::Document json;
  json.Parse(input.c_str());
  if (json.HasParseError() || !json.IsObject()) return Fail("json", 0);
  std::optional<std::wstring> name = Text(json, "name"), display = Text(json, "displayName"),
                              path = Text(json, "binaryPath"), group = Text(json, "loadOrderGroup"),
                              startName = Text(json, "startName");
  std::optional<std::wstring> dependencies;
  if (json.HasMember("dependencies")) {
    dependencies.emplace();
    for (const auto& entry : json["dependencies"].GetArray()) {
      *dependencies += Wide(entry.GetString());
      *dependencies += L'\0';
    }
    *dependencies += L'\0';
  }
  SC_HANDLE manager = OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS);
  if (!manager) return Fail("OpenSCManagerW", GetLastError());
  SC_HANDLE service = CreateServiceW(manager, Pointer(name), Pointer(display), SERVICE_ALL_ACCESS,
                                     Number(json, "serviceType", SERVICE_WIN32_OWN_PROCESS),
                                     Number(json, "startType", SERVICE_DEMAND_START), SERVICE_ERROR_NORMAL,
                                     Pointer(path), Pointer(group), nullptr, Pointer(dependencies),
                                     Pointer(startName), nullptr);
  if (!service) return Fail("CreateServiceW", GetLastError());
  if (std::optional<std::wstring> description = Text(json, "description")) {
    SERVICE_DESCRIPTIONW info = {description->data()};
    if (!ChangeServiceConfig2W(service, SERVICE_CONFIG_DESCRIPTION, &info)) {
      return Fail("ChangeServiceConfig2W description", GetLastError());
    }
  }
  if (json.HasMember("failureActions")) {
    const rapidjson::Value& failure = json["failureActions"];
    std::optional<std::wstring> reboot = Text(failure, "rebootMessage"), command = Text(failure, "command");
    std::vector<SC_ACTION> actions;
    if (failure.HasMember("actions")) {
      for (const auto& action : failure["actions"].GetArray()) {
        actions.push_back({static_cast<SC_ACTION_TYPE>(action[0].GetUint()), action[1].GetUint()});
      }
    }
    SERVICE_FAILURE_ACTIONSW info = {Number(failure, "resetPeriod", 0), Pointer(reboot), Pointer(command),
                                     static_cast<DWORD>(actions.size()), actions.empty() ? nullptr : actions.data()};
    if (!ChangeServiceConfig2W(service, SERVICE_CONFIG_FAILURE_ACTIONS, &info)) {
      return Fail("ChangeServiceConfig2W failure actions", GetLastError());
    }
  }
  CloseServiceHandle(service);
  CloseServiceHandle(manager);
  std::printf("{\"created\": %s}\n", JsonString(Utf8(name ? name->c_str() : L"")).c_str());
  return 0;
}

int List() {
  SC_HANDLE manager = OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ENUMERATE_SERVICE);
  if (!manager) return Fail("OpenSCManagerW", GetLastError());
  DWORD needed = 0, count = 0, resume = 0;
  EnumServicesStatusExW(manager, SC_ENUM_PROCESS_INFO, SERVICE_WIN32, SERVICE_STATE_ALL, nullptr, 0, &needed,
                        &count, &resume, nullptr);
  std::vector<BYTE> block(needed);
  resume = 0;
  if (!EnumServicesStatusExW(manager, SC_ENUM_PROCESS_INFO, SERVICE_WIN32, SERVICE_STATE_ALL, block.data(), needed,
                             &needed, &count, &resume, nullptr)) {
    return Fail("EnumServicesStatusExW", GetLastError());
  }
  auto* entries = reinterpret_cast<ENUM_SERVICE_STATUS_PROCESSW*>(block.data());
  std::string out = "[";
  for (DWORD i = 0; i < count; ++i) out += (i ? ", " : "") + JsonString(Utf8(entries[i].lpServiceName));
  std::printf("%s]\n", out.c_str());
  CloseServiceHandle(manager);
  return 0;
}

int Delete(int count, wchar_t** names) {
  SC_HANDLE manager = OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS);
  if (!manager) return Fail("OpenSCManagerW", GetLastError());
  int result = 0;
  for (int i = 0; i < count; ++i) {
    SC_HANDLE service = OpenServiceW(manager, names[i], DELETE);
    if (!service || !DeleteService(service)) result = Fail("DeleteService", GetLastError());
    if (service) CloseServiceHandle(service);
  }
  CloseServiceHandle(manager);
  return result;
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  std::wstring command = argc > 1 ? argv[1] : L"";
  if (command == L"create" && argc == 2) return Create();
  if (command == L"list" && argc == 2) return List();
  if (command == L"delete") return Delete(argc - 2, argv + 2);
  std::fputs("usage: svcconfig create < service.json | list | delete NAME...\n", stderr);
  return 2;
}
