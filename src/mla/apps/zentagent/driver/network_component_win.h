// The filter driver mlfilter as a network service component: installed and
// removed through the network configuration interfaces.
#pragma once

#include <windows.h>

#include <string>

// Installs the component from the first INF of the driver directory that
// works; with copyToWindows the driver file sits in the Windows folder for
// the time of the install.
HRESULT ndis_install_driver(const std::wstring& driverDirectory, bool copyToWindows);
// Non-negative when the component is gone or was not there (1).
HRESULT ndis_uninstall_driver();
