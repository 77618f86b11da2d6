// The bridge protocol's bindings through the network configuration object,
// gathered into plain records.
#include <windows.h>
#include <mprapi.h>
#include <netcfgx.h>

#include <cwchar>

#include "policy/bridge_interfaces.h"
#include "util/text_win.h"

namespace {

constexpr GUID kClsidNetCfg = {0x5B035261, 0x40F9, 0x11D1, {0xAA, 0xEC, 0x00, 0x80, 0x5F, 0xC1, 0x27, 0x0E}};
constexpr GUID kIidNetCfg = {0xC0E8AE93, 0x306E, 0x11D1, {0xAA, 0xCF, 0x00, 0x80, 0x5F, 0xC1, 0x27, 0x0E}};
constexpr GUID kIidNetCfgComponentBindings = {
    0xC0E8AE9E, 0x306E, 0x11D1, {0xAA, 0xCF, 0x00, 0x80, 0x5F, 0xC1, 0x27, 0x0E}};
constexpr GUID kNetTransClass = {0x4D36E975, 0xE325, 0x11CE, {0xBF, 0xC1, 0x08, 0x00, 0x2B, 0xE1, 0x03, 0x18}};
constexpr DWORD kBindingPathsBelow = 2;  // EBP_BELOW
constexpr DWORD kNcfVirtual = 0x1;
constexpr DWORD kIoctlNdisQueryGlobalStats = 0x170002;
constexpr DWORD kOid8023CurrentAddress = 0x01010102;

template <class T>
void Release(T*& object) {
  if (object != nullptr) object->Release();
  object = nullptr;
}

// The 8-bit text of a string the component allocated, which is freed.
std::optional<std::string> TakeText(HRESULT hr, wchar_t* text) {
  if (FAILED(hr) || text == nullptr) return std::nullopt;
  std::string ansi = wideToAnsi(text);
  CoTaskMemFree(text);
  return ansi;
}

// The current MAC address of the device bound as `bindName`; absent when
// the device answers nothing, false when it cannot be opened.
bool ReadCurrentAddress(const wchar_t* bindName, std::optional<std::string>& address) {
  std::wstring path = std::wstring(L"\\\\.\\") + bindName;
  HANDLE device = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
  if (device == INVALID_HANDLE_VALUE) return false;
  DWORD oid = kOid8023CurrentAddress;
  unsigned char mac[8] = {};
  DWORD length = 0;
  if (DeviceIoControl(device, kIoctlNdisQueryGlobalStats, &oid, sizeof oid, mac, sizeof mac, &length, nullptr))
    address = std::string(reinterpret_cast<const char*>(mac), length);
  CloseHandle(device);
  return true;
}

// One lower component of a binding path; false when it is to be passed by.
bool ReadBinding(INetCfgComponent* component, INetCfgBindingPath* path, HANDLE mprConfig, BridgeBinding& binding) {
  DWORD characteristics = 0;
  if (FAILED(component->GetCharacteristics(&characteristics))) return false;
  wchar_t* text = nullptr;
  binding.name = TakeText(component->GetDisplayName(&text), text);
  wchar_t* bindName = nullptr;
  if (FAILED(component->GetBindName(&bindName)) || bindName == nullptr) return false;
  wchar_t friendly[512];
  // The display name, when there is one, stands before the friendly name.
  if (mprConfig != nullptr && !binding.name &&
      MprConfigGetFriendlyName(mprConfig, bindName, friendly, sizeof friendly) == NO_ERROR)
    binding.name = wideToAnsi(friendly);
  bool opened = ReadCurrentAddress(bindName, binding.address);
  CoTaskMemFree(bindName);
  if (!opened) return false;
  binding.isVirtual = (characteristics & kNcfVirtual) != 0;
  text = nullptr;
  binding.componentId = TakeText(component->GetId(&text), text).value_or("");
  // Any success of IsEnabled counts as enabled, as the walk has always read it.
  binding.pathEnabled = SUCCEEDED(path->IsEnabled());
  return true;
}

void ReadBindingPaths(INetCfgComponent* bridge, HANDLE mprConfig, std::vector<BridgeBinding>& bindings) {
  INetCfgComponentBindings* componentBindings = nullptr;
  IEnumNetCfgBindingPath* paths = nullptr;
  INetCfgBindingPath* path = nullptr;
  if (SUCCEEDED(bridge->QueryInterface(kIidNetCfgComponentBindings, reinterpret_cast<void**>(&componentBindings))) &&
      SUCCEEDED(componentBindings->EnumBindingPaths(kBindingPathsBelow, &paths))) {
    while (paths->Next(1, &path, nullptr) == S_OK) {
      IEnumNetCfgBindingInterface* interfaces = nullptr;
      INetCfgBindingInterface* bindingInterface = nullptr;
      if (SUCCEEDED(path->EnumBindingInterfaces(&interfaces))) {
        while (interfaces->Next(1, &bindingInterface, nullptr) == S_OK) {
          INetCfgComponent* lower = nullptr;
          BridgeBinding binding;
          if (SUCCEEDED(bindingInterface->GetLowerComponent(&lower)) && ReadBinding(lower, path, mprConfig, binding))
            bindings.push_back(std::move(binding));
          Release(lower);
          Release(bindingInterface);
        }
      }
      Release(interfaces);
      Release(path);
    }
  }
  Release(paths);
  Release(componentBindings);
}

// The walk of the bridge protocol's bindings; nothing when any step fails.
std::vector<BridgeBinding> ListBridgeBindings(HANDLE mprConfig) {
  std::vector<BridgeBinding> bindings;
  INetCfg* netCfg = nullptr;
  IEnumNetCfgComponent* components = nullptr;
  INetCfgComponent* component = nullptr;
  bool initialized = false;
  if (SUCCEEDED(CoCreateInstance(kClsidNetCfg, nullptr, CLSCTX_INPROC_SERVER, kIidNetCfg,
                                 reinterpret_cast<void**>(&netCfg))) &&
      (initialized = SUCCEEDED(netCfg->Initialize(nullptr))) &&
      SUCCEEDED(netCfg->EnumComponents(&kNetTransClass, &components))) {
    while (components->Next(1, &component, nullptr) == S_OK) {
      wchar_t* id = nullptr;
      bool isBridge = SUCCEEDED(component->GetId(&id)) && id != nullptr && std::wcscmp(id, L"ms_bridge") == 0;
      if (id != nullptr) CoTaskMemFree(id);
      if (isBridge) {
        ReadBindingPaths(component, mprConfig, bindings);
        Release(component);
        break;
      }
      Release(component);
    }
  }
  Release(components);
  if (initialized) netCfg->Uninitialize();
  Release(netCfg);
  return bindings;
}

}  // namespace

void GetBridgeInterfaces(AttrMapIndex& map) {
  OSVERSIONINFOW os = {};
  os.dwOSVersionInfoSize = sizeof os;
  GetVersionExW(&os);
  HANDLE mprConfig = nullptr;
  if (os.dwMajorVersion >= 5 && MprConfigServerConnect(nullptr, &mprConfig) != NO_ERROR) mprConfig = nullptr;
  std::vector<BridgeBinding> bindings = ListBridgeBindings(mprConfig);
  if (mprConfig != nullptr) MprConfigServerDisconnect(mprConfig);
  GetBridgeInterfaces(map, bindings);
}
