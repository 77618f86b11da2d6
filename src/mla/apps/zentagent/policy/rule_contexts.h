// The context elements of the agent configuration document: the rule
// contexts that payload filters name through ruleContextId.
#pragma once

#include <tinyxml2.h>

#include "policy/raw_config.h"

// Prints one context element into the open fset for each entry of
// ruleContextMap, in key order: id, name, on_locked and byvar, and the child
// elements of the decoded ruleCode fragment.
void InstallRuleContexts(RawConfig& rawConfig, tinyxml2::XMLPrinter& out);

// The byvar text for an onDomainStatus value, or null for none.
const char* DomainStatusVariable(int onDomainStatus);
