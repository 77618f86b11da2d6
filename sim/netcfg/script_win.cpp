#include "script_win.h"

#include <netcfgx.h>

#include <cstdio>
#include <cwchar>
#include <optional>
#include <vector>

#include "sim_registry.h"

namespace netcfgsim {

namespace {

// The knob's codes: a REG_SZ list ("0x8004A024, 0") or one REG_DWORD.
std::vector<HRESULT> Codes(const wchar_t* method) {
  std::vector<HRESULT> codes;
  if (std::optional<std::string> text = zentsim::ReadString(kStandIn, method)) {
    const char* p = text->c_str();
    while (*p != '\0') {
      char* end = nullptr;
      unsigned long value = std::strtoul(p, &end, 0);
      if (end == p) {
        ++p;
        continue;
      }
      codes.push_back(static_cast<HRESULT>(value));
      p = end;
    }
    return codes;
  }
  constexpr uint32_t kAbsent = 0xFFFFFFFFu;
  uint32_t single = zentsim::ReadDword(kStandIn, method, kAbsent);
  if (single != kAbsent) codes.push_back(static_cast<HRESULT>(single));
  return codes;
}

// Records of several processes are read, changed and written under one
// mutex, the one the other stand-ins count under.
class RecordsLock {
 public:
  RecordsLock() : mutex_(CreateMutexW(nullptr, FALSE, L"ZentSim.Records")) {
    if (mutex_) WaitForSingleObject(mutex_, INFINITE);
  }
  ~RecordsLock() {
    if (mutex_) {
      ReleaseMutex(mutex_);
      CloseHandle(mutex_);
    }
  }

 private:
  HANDLE mutex_;
};

}  // namespace

HRESULT Result(const wchar_t* method, HRESULT natural) {
  std::wstring counter = std::wstring(method) + L"Calls";
  uint32_t call = 0;
  {
    RecordsLock lock;
    call = zentsim::ReadDword(kStandIn, counter.c_str(), 0);
    zentsim::WriteDword(kStandIn, counter.c_str(), call + 1);
  }
  std::vector<HRESULT> codes = Codes(method);
  if (codes.empty()) return natural;
  return codes[call < codes.size() ? call : codes.size() - 1];
}

void CrashIfAsked(const wchar_t* method) {
  std::optional<std::string> target = zentsim::ReadString(kStandIn, L"CrashIn");
  if (target && *target == Utf8(method)) {
    volatile int* nowhere = nullptr;
    *nowhere = 1;
  }
}

bool Knob(const wchar_t* name) { return zentsim::ReadDword(kStandIn, name, 0) != 0; }

void Journal(const std::string& line) {
  RecordsLock lock;
  std::string journal = zentsim::ReadString(kStandIn, L"Journal").value_or("");
  zentsim::WriteString(kStandIn, L"Journal", journal + line + "\n");
}

std::string Utf8(const wchar_t* text) {
  if (text == nullptr) return "null";
  int size = WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
  std::string out(static_cast<size_t>(size > 0 ? size - 1 : 0), '\0');
  if (size > 1) WideCharToMultiByte(CP_UTF8, 0, text, -1, out.data(), size, nullptr, nullptr);
  return out;
}

std::string Hex(HRESULT result) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%08lX", static_cast<unsigned long>(result));
  return text;
}

std::string GuidText(const GUID& guid) {
  wchar_t text[40] = {};
  StringFromGUID2(guid, text, 40);
  return Utf8(text);
}

std::string InterfaceName(REFIID iid) {
  if (IsEqualIID(iid, IID_IUnknown)) return "IUnknown";
  if (IsEqualIID(iid, IID_INetCfg)) return "INetCfg";
  if (IsEqualIID(iid, IID_INetCfgLock)) return "INetCfgLock";
  if (IsEqualIID(iid, IID_INetCfgClass)) return "INetCfgClass";
  if (IsEqualIID(iid, IID_INetCfgClassSetup)) return "INetCfgClassSetup";
  if (IsEqualIID(iid, IID_INetCfgComponent)) return "INetCfgComponent";
  return GuidText(iid);
}

void ObjectMade() { zentsim::Add(kStandIn, L"LiveObjects", 1); }

void ObjectFreed(const char* name) {
  zentsim::Add(kStandIn, L"LiveObjects", 0xFFFFFFFFu);
  Journal(std::string("Freed ") + name);
}

}  // namespace netcfgsim
