#include "driver/net_cfg_win.h"

#include "driver/network_results.h"

namespace {

// How long another client's lock is waited for, and who we say we are.
constexpr DWORD kLockTimeoutMs = 5000;
constexpr wchar_t kLockClient[] = L"ZentAgent";

}  // namespace

HRESULT AcquireNetCfg(INetCfg** netCfg, LPWSTR* lockedBy) {
  *netCfg = nullptr;
  *lockedBy = nullptr;
  HRESULT result = CoInitialize(nullptr);
  if (result != S_OK) {
    // S_FALSE still counts a use of COM on this thread, which must be given back.
    if (SUCCEEDED(result)) CoUninitialize();
    return result;
  }
  INetCfg* configuration = nullptr;
  INetCfgLock* lock = nullptr;
  result = CoCreateInstance(CLSID_CNetCfg, nullptr, CLSCTX_INPROC_SERVER, IID_INetCfg,
                            reinterpret_cast<void**>(&configuration));
  if (result == S_OK) result = configuration->QueryInterface(IID_INetCfgLock, reinterpret_cast<void**>(&lock));
  if (result == S_OK) {
    result = lock->AcquireWriteLock(kLockTimeoutMs, kLockClient, lockedBy);
    if (result == S_FALSE) result = kNetcfgENoWriteLock;
  }
  if (result == S_OK) {
    result = configuration->Initialize(nullptr);
    if (result != S_OK) lock->ReleaseWriteLock();
  }
  ReleaseRef(lock);
  if (result == S_OK) {
    *netCfg = configuration;
    return S_OK;
  }
  ReleaseRef(configuration);
  CoUninitialize();
  return result;
}

void ReleaseNetCfg(INetCfg* netCfg) {
  netCfg->Uninitialize();
  INetCfgLock* lock = nullptr;
  if (netCfg->QueryInterface(IID_INetCfgLock, reinterpret_cast<void**>(&lock)) == S_OK) lock->ReleaseWriteLock();
  ReleaseRef(lock);
  ReleaseRef(netCfg);
  CoUninitialize();
}
