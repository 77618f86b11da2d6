// The COM server of CLSID_CNetCfg: its class factory and its registration
// in place of Wine's own class, whose registration it keeps to give back.
#include <olectl.h>

#include <optional>

#include "objects_win.h"
#include "sim_registry.h"

namespace {

HINSTANCE g_module = nullptr;

const wchar_t kServerKey[] = L"Software\\Classes\\CLSID\\{5B035261-40F9-11D1-AAEC-00805FC1270E}\\InprocServer32";
// Outside any test's scope: regsvr32 runs in none.
const wchar_t kSavedKey[] = L"SOFTWARE\\ZentSim\\netcfg-registration";
const wchar_t kWineServer[] = L"C:\\windows\\system32\\netcfgx.dll";

class Factory final : public IClassFactory {
 public:
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
    if (out == nullptr) return E_POINTER;
    if (IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, IID_IClassFactory)) {
      *out = this;
      return S_OK;
    }
    *out = nullptr;
    return E_NOINTERFACE;
  }
  // One factory for the process's life.
  ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
  ULONG STDMETHODCALLTYPE Release() override { return 1; }
  HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID iid, void** out) override {
    using namespace netcfgsim;
    if (out == nullptr) return E_POINTER;
    *out = nullptr;
    CrashIfAsked(L"CreateInstance");
    HRESULT result = Result(L"CreateInstance", outer != nullptr ? CLASS_E_NOAGGREGATION : S_OK);
    if (SUCCEEDED(result)) {
      NetCfg* netCfg = new NetCfg();
      HRESULT asked = netCfg->QueryInterface(iid, out);
      netCfg->Release();
      if (FAILED(asked)) result = asked;
    }
    Journal("CreateInstance(" + InterfaceName(iid) + ") = " + Hex(result));
    return result;
  }
  HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return S_OK; }
};

Factory g_factory;

std::optional<std::wstring> ReadDefault(HKEY root, const wchar_t* path, const wchar_t* name) {
  wchar_t text[MAX_PATH * 2] = {};
  DWORD size = sizeof text - sizeof(wchar_t);
  if (RegGetValueW(root, path, name, RRF_RT_REG_SZ | RRF_RT_REG_EXPAND_SZ | RRF_NOEXPAND, nullptr, text, &size) !=
      ERROR_SUCCESS) {
    return std::nullopt;
  }
  return std::wstring(text);
}

LONG WriteText(const wchar_t* path, const wchar_t* name, const std::wstring& text) {
  return RegSetKeyValueW(HKEY_LOCAL_MACHINE, path, name, REG_SZ, text.c_str(),
                         static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
}

std::wstring OwnPath() {
  wchar_t path[MAX_PATH] = {};
  GetModuleFileNameW(g_module, path, MAX_PATH);
  return path;
}

}  // namespace

extern "C" {

BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID) {
  if (reason == DLL_PROCESS_ATTACH) g_module = module;
  return TRUE;
}

HRESULT WINAPI DllGetClassObject(REFCLSID clsid, REFIID iid, void** out) {
  if (!IsEqualCLSID(clsid, CLSID_CNetCfg)) return CLASS_E_CLASSNOTAVAILABLE;
  return g_factory.QueryInterface(iid, out);
}

// Objects live in the registry's records, not in the module: it stays.
HRESULT WINAPI DllCanUnloadNow() { return S_FALSE; }

HRESULT WINAPI DllRegisterServer() {
  std::wstring own = OwnPath();
  std::optional<std::wstring> current = ReadDefault(HKEY_LOCAL_MACHINE, kServerKey, nullptr);
  if (current && *current != own) WriteText(kSavedKey, L"InprocServer32", *current);
  if (WriteText(kServerKey, nullptr, own) != ERROR_SUCCESS) return SELFREG_E_CLASS;
  WriteText(kServerKey, L"ThreadingModel", L"Both");
  return S_OK;
}

HRESULT WINAPI DllUnregisterServer() {
  std::wstring saved = ReadDefault(HKEY_LOCAL_MACHINE, kSavedKey, L"InprocServer32").value_or(kWineServer);
  if (WriteText(kServerKey, nullptr, saved) != ERROR_SUCCESS) return SELFREG_E_CLASS;
  WriteText(kServerKey, L"ThreadingModel", L"Both");
  return S_OK;
}

}  // extern "C"
