// The passes that pour the manager's policy document into RawConfig, in the
// order LoadRawConfigXmlFile runs them. Each starts again from the document.
// Those that read numbers give -1 for a bad one, and the load stops there.
#pragma once

#include <tinyxml2.h>

#include "policy/raw_config.h"

// LogConfiguration and PacketFilterLog, then SetCacheParameters.
int ReadLogConfiguration(const tinyxml2::XMLDocument& doc);
int ReadPacketFilterLog(const tinyxml2::XMLDocument& doc);

// Feature flags and systemSettings.
void ReadFeatures(const tinyxml2::XMLDocument& doc, RawConfig& rawConfig);
void ReadSystemSettings(const tinyxml2::XMLDocument& doc, RawConfig& rawConfig);

// Filters, connection types and their assignments.
void ReadPacketFilters(const tinyxml2::XMLDocument& doc, RawConfig& rawConfig);
void ReadStatefulFilters(const tinyxml2::XMLDocument& doc, RawConfig& rawConfig);
void ReadConnectionTypes(const tinyxml2::XMLDocument& doc, RawConfig& rawConfig);
void ReadPayloadFilters(const tinyxml2::XMLDocument& doc, RawConfig& rawConfig);

// Interfaces, and the IPs of the first one.
void ReadInterfaces(const tinyxml2::XMLDocument& doc, RawConfig& rawConfig);
void ReadFirstInterfaceIps(const tinyxml2::XMLDocument& doc, RawConfig& rawConfig);

// Elements stored attribute for attribute by their id: rule contexts, lists,
// schedules and logging policies.
void ReadRuleContexts(const tinyxml2::XMLDocument& doc, RawConfig& rawConfig);
void ReadIdLists(const tinyxml2::XMLDocument& doc, RawConfig& rawConfig);
