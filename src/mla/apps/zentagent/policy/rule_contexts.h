// The context elements of the agent configuration document: the rule
// contexts that payload filters name through ruleContextId.
#pragma once

#include <tinyxml2.h>

#include "policy/raw_config.h"

// Appends one context element to fset for each entry of ruleContextMap, in
// key order: the child elements of the decoded ruleCode fragment, then id,
// name, on_locked and byvar.
void InstallRuleContexts(RawConfig& rawConfig, tinyxml2::XMLDocument& document, tinyxml2::XMLElement* fset);

// The byvar text for an onDomainStatus value, or null for none.
const char* DomainStatusVariable(int onDomainStatus);
