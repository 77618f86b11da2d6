// INetCfg, its lock and its classes: each call is counted, may be given its
// result by a knob, and is journalled with its arguments and result.
#include <cwchar>

#include "objects_win.h"
#include "sim_registry.h"

namespace netcfgsim {

const GUID kNetServiceClass = {0x4D36E974, 0xE325, 0x11CE, {0xBF, 0xC1, 0x08, 0x00, 0x2B, 0xE1, 0x03, 0x18}};

namespace {

constexpr HRESULT kReboot = 0x0004A020;

std::string OboText(const OBO_TOKEN* obo) {
  if (obo == nullptr) return "null";
  bool bare = obo->pncc == nullptr && obo->pszwManufacturer == nullptr && obo->pszwProduct == nullptr &&
              obo->pszwDisplayName == nullptr && !obo->fRegistered;
  if (obo->Type == OBO_USER && bare) return "OBO_USER";
  return "OBO(" + std::to_string(static_cast<int>(obo->Type)) + (bare ? ")" : ", fields set)");
}

bool ComponentInstalled() { return zentsim::ReadDword(kStandIn, L"Installed", 0) != 0; }

}  // namespace

HRESULT NetCfg::QueryInterface(REFIID iid, void** out) {
  if (out == nullptr) return E_POINTER;
  *out = nullptr;
  HRESULT result = E_NOINTERFACE;
  if (IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, IID_INetCfg)) {
    AddRef();
    *out = static_cast<INetCfg*>(this);
    return S_OK;
  }
  if (IsEqualIID(iid, IID_INetCfgLock)) {
    CrashIfAsked(L"QueryInterface");
    result = Result(L"QueryInterface", S_OK);
    if (SUCCEEDED(result)) *out = static_cast<INetCfgLock*>(new NetCfgLock(this));
  }
  Journal("QueryInterface(" + InterfaceName(iid) + ") = " + Hex(result));
  return result;
}

HRESULT NetCfg::Initialize(PVOID reserved) {
  CrashIfAsked(L"Initialize");
  HRESULT result = Result(L"Initialize", S_OK);
  Journal(std::string("Initialize(") + (reserved == nullptr ? "null" : "set") + ") = " + Hex(result));
  return result;
}

HRESULT NetCfg::Uninitialize() {
  CrashIfAsked(L"Uninitialize");
  HRESULT result = Result(L"Uninitialize", S_OK);
  Journal("Uninitialize() = " + Hex(result));
  return result;
}

HRESULT NetCfg::Apply() {
  CrashIfAsked(L"Apply");
  HRESULT result = Result(L"Apply", pending.reboot ? kReboot : S_OK);
  if (SUCCEEDED(result)) {
    pending.reboot = false;
    if (pending.install) InstallDriverComponent();
    pending.install = false;
  }
  Journal("Apply() = " + Hex(result));
  return result;
}

HRESULT NetCfg::FindComponent(LPCWSTR id, INetCfgComponent** component) {
  CrashIfAsked(L"FindComponent");
  bool present = id != nullptr && std::wcscmp(id, L"mlfilter") == 0 && ComponentInstalled();
  HRESULT result = Result(L"FindComponent", present ? S_OK : S_FALSE);
  // A component is handed out when there is one, or when a knob says S_OK.
  if (component != nullptr) *component = (present || result == S_OK) ? new NetCfgComponent() : nullptr;
  Journal("FindComponent(" + Utf8(id) + ") = " + Hex(result));
  return result;
}

HRESULT NetCfg::QueryNetCfgClass(const GUID* classGuid, REFIID iid, void** out) {
  CrashIfAsked(L"QueryNetCfgClass");
  bool known = classGuid != nullptr && IsEqualGUID(*classGuid, kNetServiceClass);
  bool setup = IsEqualIID(iid, IID_INetCfgClassSetup);
  bool plain = IsEqualIID(iid, IID_INetCfgClass);
  HRESULT result = Result(L"QueryNetCfgClass", !known ? E_INVALIDARG : (setup || plain) ? S_OK : E_NOINTERFACE);
  if (out != nullptr) {
    *out = nullptr;
    if (SUCCEEDED(result) && known && setup) *out = static_cast<INetCfgClassSetup*>(new NetCfgClassSetup(this));
    if (SUCCEEDED(result) && known && plain) *out = static_cast<INetCfgClass*>(new NetCfgClass(this));
  }
  Journal("QueryNetCfgClass(" + (classGuid ? GuidText(*classGuid) : std::string("null")) + ", " +
          InterfaceName(iid) + ") = " + Hex(result));
  return result;
}

NetCfgLock::NetCfgLock(NetCfg* owner) : Object("INetCfgLock"), owner_(owner) { owner_->AddRef(); }
NetCfgLock::~NetCfgLock() { owner_->Release(); }

HRESULT NetCfgLock::QueryInterface(REFIID iid, void** out) { return Self(iid, IID_INetCfgLock, out); }

HRESULT NetCfgLock::AcquireWriteLock(DWORD timeoutMs, LPCWSTR client, LPWSTR* lockedBy) {
  CrashIfAsked(L"AcquireWriteLock");
  std::optional<std::string> holder = zentsim::ReadString(kStandIn, L"LockHeldBy");
  HRESULT natural = S_OK;
  if (holder) {
    // Another client keeps the lock for longer than the caller waits.
    Sleep(timeoutMs);
    natural = S_FALSE;
  }
  HRESULT result = Result(L"AcquireWriteLock", natural);
  if (lockedBy != nullptr) {
    *lockedBy = nullptr;
    if (result == S_FALSE && holder) {
      std::wstring name(holder->begin(), holder->end());
      *lockedBy = static_cast<LPWSTR>(CoTaskMemAlloc((name.size() + 1) * sizeof(wchar_t)));
      if (*lockedBy != nullptr) std::wmemcpy(*lockedBy, name.c_str(), name.size() + 1);
    }
  }
  if (result == S_OK) zentsim::WriteString(kStandIn, L"LockHolder", Utf8(client));
  Journal("AcquireWriteLock(" + std::to_string(timeoutMs) + ", " + Utf8(client) + ", " +
          (lockedBy == nullptr ? "null" : "out") + ") = " + Hex(result));
  return result;
}

HRESULT NetCfgLock::ReleaseWriteLock() {
  CrashIfAsked(L"ReleaseWriteLock");
  HRESULT result = Result(L"ReleaseWriteLock", S_OK);
  if (SUCCEEDED(result)) zentsim::DeleteValue(kStandIn, L"LockHolder");
  Journal("ReleaseWriteLock() = " + Hex(result));
  return result;
}

NetCfgClass::NetCfgClass(NetCfg* owner) : Object("INetCfgClass"), owner_(owner) { owner_->AddRef(); }
NetCfgClass::~NetCfgClass() { owner_->Release(); }

HRESULT NetCfgClass::QueryInterface(REFIID iid, void** out) {
  if (out == nullptr) return E_POINTER;
  if (IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, IID_INetCfgClass)) return Self(iid, IID_INetCfgClass, out);
  *out = nullptr;
  HRESULT result = E_NOINTERFACE;
  if (IsEqualIID(iid, IID_INetCfgClassSetup)) {
    CrashIfAsked(L"QueryInterface");
    result = Result(L"QueryInterface", S_OK);
    if (SUCCEEDED(result)) *out = static_cast<INetCfgClassSetup*>(new NetCfgClassSetup(owner_));
  }
  Journal("QueryInterface(" + InterfaceName(iid) + ") = " + Hex(result));
  return result;
}

NetCfgClassSetup::NetCfgClassSetup(NetCfg* owner) : Object("INetCfgClassSetup"), owner_(owner) { owner_->AddRef(); }
NetCfgClassSetup::~NetCfgClassSetup() { owner_->Release(); }

HRESULT NetCfgClassSetup::Install(LPCWSTR id, OBO_TOKEN* obo, DWORD setupFlags, DWORD upgradeFromBuild,
                                  LPCWSTR answerFile, LPCWSTR answerSections, INetCfgComponent** component) {
  CrashIfAsked(L"Install");
  HRESULT natural = S_OK;
  if (Knob(L"NeedReboot")) {
    natural = static_cast<HRESULT>(0x8004A025);
  } else if (Knob(L"FilterLimit")) {
    natural = static_cast<HRESULT>(0x8004A029);
  } else if (Knob(L"RebootRequired")) {
    natural = kReboot;
  }
  HRESULT result = Result(L"Install", natural);
  if (component != nullptr) *component = SUCCEEDED(result) ? new NetCfgComponent() : nullptr;
  if (SUCCEEDED(result)) {
    owner_->pending.install = true;
    if (Knob(L"RebootRequired")) owner_->pending.reboot = true;
  }
  Journal("Install(" + Utf8(id) + ", " + OboText(obo) + ", " + std::to_string(setupFlags) + ", " +
          std::to_string(upgradeFromBuild) + ", " + Utf8(answerFile) + ", " + Utf8(answerSections) + ") = " +
          Hex(result));
  return result;
}

HRESULT NetCfgClassSetup::DeInstall(INetCfgComponent* component, OBO_TOKEN* obo, LPWSTR* refs) {
  CrashIfAsked(L"DeInstall");
  HRESULT result = Result(L"DeInstall", Knob(L"RebootRequired") ? kReboot : S_OK);
  if (SUCCEEDED(result)) {
    RemoveDriverComponent();
    if (Knob(L"RebootRequired")) owner_->pending.reboot = true;
  }
  if (refs != nullptr) *refs = nullptr;
  Journal(std::string("DeInstall(") + (component == nullptr ? "null" : "component") + ", " + OboText(obo) + ", " +
          (refs == nullptr ? "null" : "out") + ") = " + Hex(result));
  return result;
}

HRESULT NetCfgComponent::GetClassGuid(GUID* classGuid) {
  CrashIfAsked(L"GetClassGuid");
  HRESULT result = Result(L"GetClassGuid", S_OK);
  if (SUCCEEDED(result) && classGuid != nullptr) *classGuid = kNetServiceClass;
  Journal("GetClassGuid() = " + Hex(result));
  return result;
}

}  // namespace netcfgsim
