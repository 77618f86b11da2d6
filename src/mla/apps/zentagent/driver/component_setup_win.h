// The component mlfilter in the network configuration: installed from one
// INF, and removed.
#pragma once

#include <windows.h>
#include <netcfgx.h>

#include <string>

// Acquires the configuration, installs from the INF, applies, releases.
HRESULT InstallSpecifiedComponent(const std::wstring& infPath);
// Puts the INF in the system's store and installs the component from it.
HRESULT HrInstallComponent(INetCfg* netCfg, const std::wstring& infPath);
// Acquires the configuration, removes the component, applies, releases.
// S_FALSE (1) when there is no such component.
HRESULT UninstallComponent();
