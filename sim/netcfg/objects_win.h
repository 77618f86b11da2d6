// The network configuration's objects as the stand-in hands them out, with
// the vtables of <netcfgx.h>. Every method but those the agent uses gives
// E_NOTIMPL.
#pragma once

#include <windows.h>
#include <netcfgx.h>

#include "script_win.h"

namespace netcfgsim {

// Reference counting, and the record of objects alive and freed.
template <class Interface>
class Object : public Interface {
 public:
  explicit Object(const char* name) : name_(name) { ObjectMade(); }
  virtual ~Object() = default;
  ULONG STDMETHODCALLTYPE AddRef() override { return static_cast<ULONG>(InterlockedIncrement(&refs_)); }
  ULONG STDMETHODCALLTYPE Release() override {
    LONG left = InterlockedDecrement(&refs_);
    if (left == 0) {
      ObjectFreed(name_);
      delete this;
    }
    return static_cast<ULONG>(left);
  }

 protected:
  // QueryInterface for an object that is only itself.
  HRESULT Self(REFIID iid, REFIID own, void** out) {
    if (out == nullptr) return E_POINTER;
    if (IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, own)) {
      AddRef();
      *out = this;
      return S_OK;
    }
    *out = nullptr;
    return E_NOINTERFACE;
  }

 private:
  LONG refs_ = 1;
  const char* name_;
};

// What one configuration remembers between its calls: an Install waits for
// the next Apply, and so does a reboot asked for by Install or DeInstall.
struct Pending {
  bool install = false;
  bool reboot = false;
};

class NetCfg final : public Object<INetCfg> {
 public:
  NetCfg() : Object("INetCfg") {}
  Pending pending;

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override;
  HRESULT STDMETHODCALLTYPE Initialize(PVOID reserved) override;
  HRESULT STDMETHODCALLTYPE Uninitialize() override;
  HRESULT STDMETHODCALLTYPE Apply() override;
  HRESULT STDMETHODCALLTYPE Cancel() override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE EnumComponents(const GUID*, IEnumNetCfgComponent**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE FindComponent(LPCWSTR id, INetCfgComponent** component) override;
  HRESULT STDMETHODCALLTYPE QueryNetCfgClass(const GUID* classGuid, REFIID iid, void** out) override;
};

class NetCfgLock final : public Object<INetCfgLock> {
 public:
  explicit NetCfgLock(NetCfg* owner);
  ~NetCfgLock() override;
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override;
  HRESULT STDMETHODCALLTYPE AcquireWriteLock(DWORD timeoutMs, LPCWSTR client, LPWSTR* lockedBy) override;
  HRESULT STDMETHODCALLTYPE ReleaseWriteLock() override;
  HRESULT STDMETHODCALLTYPE IsWriteLocked(LPWSTR*) override { return E_NOTIMPL; }

 private:
  NetCfg* owner_;
};

class NetCfgClass final : public Object<INetCfgClass> {
 public:
  explicit NetCfgClass(NetCfg* owner);
  ~NetCfgClass() override;
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override;
  HRESULT STDMETHODCALLTYPE FindComponent(LPCWSTR, INetCfgComponent**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE EnumComponents(IEnumNetCfgComponent**) override { return E_NOTIMPL; }

 private:
  NetCfg* owner_;
};

class NetCfgClassSetup final : public Object<INetCfgClassSetup> {
 public:
  explicit NetCfgClassSetup(NetCfg* owner);
  ~NetCfgClassSetup() override;
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override { return Self(iid, IID_INetCfgClassSetup, out); }
  HRESULT STDMETHODCALLTYPE SelectAndInstall(HWND, OBO_TOKEN*, INetCfgComponent**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Install(LPCWSTR id, OBO_TOKEN* obo, DWORD setupFlags, DWORD upgradeFromBuild,
                                    LPCWSTR answerFile, LPCWSTR answerSections, INetCfgComponent** component) override;
  HRESULT STDMETHODCALLTYPE DeInstall(INetCfgComponent* component, OBO_TOKEN* obo, LPWSTR* refs) override;

 private:
  NetCfg* owner_;
};

class NetCfgComponent final : public Object<INetCfgComponent> {
 public:
  NetCfgComponent() : Object("INetCfgComponent") {}
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override { return Self(iid, IID_INetCfgComponent, out); }
  HRESULT STDMETHODCALLTYPE GetDisplayName(LPWSTR*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE SetDisplayName(LPCWSTR) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetHelpText(LPWSTR*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetId(LPWSTR*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetCharacteristics(LPDWORD) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetInstanceGuid(GUID*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetPnpDevNodeId(LPWSTR*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetClassGuid(GUID* classGuid) override;
  HRESULT STDMETHODCALLTYPE GetBindName(LPWSTR*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetDeviceStatus(ULONG*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE OpenParamKey(HKEY*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE RaisePropertyUi(HWND, DWORD, IUnknown*) override { return E_NOTIMPL; }
};

// The network service class, the only one the stand-in knows.
extern const GUID kNetServiceClass;

// The component's effects on the system: installed at the Apply after an
// Install, removed by DeInstall.
void InstallDriverComponent();
void RemoveDriverComponent();

}  // namespace netcfgsim
