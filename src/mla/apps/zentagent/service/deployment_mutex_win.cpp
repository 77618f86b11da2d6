#include "service/deployment_mutex_win.h"

#include "log/debug_log.h"

namespace {

constexpr wchar_t kMutexName[] = L"ZentAgentDeploymentMutex";
constexpr DWORD kMutexWaitMs = 300000;

}  // namespace

int DeploymentCriticalSection(HANDLE* mutex) {
  *mutex = CreateMutexW(nullptr, FALSE, kMutexName);
  if (*mutex == nullptr) {
    DWORD error = GetLastError();
    ZENT_LOG(1, L"Unable to create mutex. Error: %d\n", error);
    return static_cast<int>(error);
  }
  DWORD wait = WaitForSingleObject(*mutex, kMutexWaitMs);
  // A deployment that died holding the mutex leaves it abandoned, and this
  // process owns it now; the second wait takes it once more at once, so that
  // a dead deployment never blocks the next one.
  if (wait != WAIT_OBJECT_0 && wait != WAIT_TIMEOUT) wait = WaitForSingleObject(*mutex, kMutexWaitMs);
  if (wait == WAIT_OBJECT_0) return 0;
  if (wait == WAIT_TIMEOUT) {
    ZENT_LOG(1, L"Unable to acquire mutex before timeout.\n");
    return -1;
  }
  DWORD error = GetLastError();
  ZENT_LOG(1, L"Unable to create mutex. Error: %d\n", error);
  return static_cast<int>(error);
}

void EndDeploymentCriticalSection(HANDLE mutex) {
  if (!ReleaseMutex(mutex)) ZENT_LOG(1, L"Unable to create mutex. Error: %d\n", GetLastError());
}
