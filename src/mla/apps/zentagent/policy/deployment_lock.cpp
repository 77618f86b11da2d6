#include "policy/deployment_lock.h"

std::mutex g_DeploymentLock;
