// The "service" objects of a getServices result: plain service records, as
// the service control manager describes a service, turned into HostMetaData
// elements. Gathering the records is the Windows half's work
// (get_hmd_services_win.cpp); everything here is plain data.
#pragma once

#include <tinyxml2.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// One SC_ACTION.
struct ServiceFailureAction {
  uint32_t type;   // SC_ACTION_TYPE: 0 none, 1 restart, 2 reboot, 3 run command, or any other number
  uint32_t delay;  // milliseconds
};

// SERVICE_FAILURE_ACTIONS. The two texts stay UTF-16, as the system gives
// them: they reach the document by the narrow copy (ServiceNarrowCopy).
struct ServiceFailureActions {
  uint32_t resetPeriod = 0;
  std::optional<std::u16string> rebootMessage;  // absent: a null lpRebootMsg
  std::optional<std::u16string> command;        // absent: a null lpCommand
  std::vector<ServiceFailureAction> actions;
};

// QUERY_SERVICE_CONFIGW. Texts in UTF-8; a null one is read as empty.
struct ServiceConfig {
  std::string binaryPathName;
  uint32_t startType = 0;
  uint32_t serviceType = 0;
  std::string serviceStartName;
  std::string loadOrderGroup;
  // lpDependencies as the system lays it out: entries ended by a zero each,
  // the list by an empty entry. Read no further than its end, whatever ends
  // first.
  std::string dependencies;
};

// One entry of the enumeration, and what was read of the service after it.
struct ServiceRecord {
  std::string keyName;                     // UTF-8
  std::optional<std::string> displayName;  // UTF-8; absent: a null lpDisplayName, read as empty
  uint32_t currentState = 0;
  uint32_t processId = 0;
  std::optional<ServiceConfig> config;  // absent: not read
  // SERVICE_DESCRIPTIONW.lpDescription; absent: not read, or null.
  std::optional<std::u16string> description;
  std::optional<ServiceFailureActions> failureActions;  // absent: not read
};

// The flag that makes a services query detailed: either argument exactly
// "detailed", in that case.
bool IsDetailedServiceQuery(const std::string& arg1, const std::string& arg2);

// The result's "service" object for one record: a HostMetaData with the
// key name as identifier and its attributes in the order the server reads.
void AddServiceObject(tinyxml2::XMLDocument& document, tinyxml2::XMLElement* hostMetaDatas,
                      const ServiceRecord& record, bool detailed);

// The bytes a wide text leaves when it is stored as if it were narrow: its
// UTF-16LE bytes up to the first zero byte. "Zent" leaves "Z".
std::string ServiceNarrowCopy(const std::u16string& text);

// stateFriendly for states 0 to 7, null for any other.
const char* ServiceStateFriendly(uint32_t state);
// startTypeFriendly for start types 0 to 4, null for any other.
const char* ServiceStartTypeFriendly(uint32_t startType);
// "<delay>,<action>" of one failure action.
std::string ServiceFailureActionText(const ServiceFailureAction& action);
// The dependency list's entries joined with commas.
std::string ServiceDependsOn(const std::string& dependencies);
