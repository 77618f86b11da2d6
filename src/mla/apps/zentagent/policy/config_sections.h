// The section writers of the agent configuration document, in the order
// CreateConfig runs them.
#pragma once

#include "policy/connection_types.h"
#include "policy/filter_assignments.h"
#include "policy/interface_assignments.h"
#include "policy/packet_filters.h"
#include "policy/payload_filters.h"
#include "policy/rule_contexts.h"
#include "policy/working_interfaces.h"
