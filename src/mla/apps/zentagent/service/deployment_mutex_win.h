// The machine-wide mutex that keeps "-install" and "-delete" of different
// processes apart.
#pragma once

#include <windows.h>

// 0 once the mutex is owned (its handle in *mutex), -1 when it was not got
// within 300,000 ms, or the Windows error of its creation.
int DeploymentCriticalSection(HANDLE* mutex);
// Releases the mutex; the handle stays open until the process ends.
void EndDeploymentCriticalSection(HANDLE mutex);
