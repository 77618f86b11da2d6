// The network configuration, acquired with its write lock for one operation
// and released after it. COM lives on the calling thread for that time.
#pragma once

#include <windows.h>
#include <netcfgx.h>

// S_OK and an initialised INetCfg holding the write lock, with one
// reference; otherwise the failure, and for a lock held elsewhere
// NETCFG_E_NO_WRITE_LOCK with the holder's name in lockedBy (the caller
// frees it with CoTaskMemFree).
HRESULT AcquireNetCfg(INetCfg** netCfg, LPWSTR* lockedBy);
// Uninitialize, the lock released, the reference dropped, COM left.
void ReleaseNetCfg(INetCfg* netCfg);

// Drops a reference if there is one.
template <class T>
void ReleaseRef(T*& object) {
  if (object != nullptr) object->Release();
  object = nullptr;
}
