// GetHmdServices: the "getServices" query family. Every Win32 service, with
// its configuration, as "service" objects (service_objects.h).
#pragma once

#include <windows.h>
#include <tinyxml2.h>

#include <cstddef>
#include <string>

// The service control manager's calls the family makes, and the allocator of
// its two variable blocks (the enumeration and one configuration), in one
// table: the plain handler passes the system's, and tests pass a table that
// fails or changes one of them.
struct ServiceManagerCalls {
  decltype(&OpenSCManagerW) openSCManager;
  decltype(&EnumServicesStatusExW) enumServicesStatusEx;
  decltype(&OpenServiceW) openService;
  decltype(&QueryServiceConfigW) queryServiceConfig;
  decltype(&QueryServiceConfig2W) queryServiceConfig2;
  decltype(&CloseServiceHandle) closeServiceHandle;
  void* (*allocate)(size_t size);
  void (*release)(void* block);
};

// advapi32's calls, malloc and free.
const ServiceManagerCalls& SystemServiceManagerCalls();

// Adds one result with commandVersion "3" and a "service" object per Win32
// service, in the order the system enumerates them; detailed when arg1 or
// arg2 is exactly "detailed". False, with no result, when the manager cannot
// be opened; false, with a result without hash, when the list's memory
// cannot be had. A failed second enumeration leaves a result with hash and
// no objects, and a service that cannot be opened an object with its first
// attributes only; both return true.
bool GetHmdServices(tinyxml2::XMLDocument& document, tinyxml2::XMLElement* results, const std::string& id,
                    const std::string& arg1, const std::string& arg2);
bool GetHmdServices(tinyxml2::XMLDocument& document, tinyxml2::XMLElement* results, const std::string& id,
                    const std::string& arg1, const std::string& arg2, const ServiceManagerCalls& calls);
