// One deployment at a time. The server's deployments run on the heartbeat
// thread and the pipe's on the dispatcher; both rewrite zent_agent.encxml,
// config.xml and config.rbf, and the driver's rules must match the files
// that the last deployment left.
#pragma once

#include <mutex>

extern std::mutex g_DeploymentLock;
