#include "driver/network_component_win.h"

// The network component's installer comes with the driver package; until
// then there is no component to remove.
HRESULT ndis_install_driver(const std::wstring&, bool) { return E_FAIL; }
HRESULT ndis_uninstall_driver() { return S_FALSE; }
