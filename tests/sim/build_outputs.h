// Where the build put the stand-ins and the signature probes: CTest passes
// each file's Windows path in an environment variable named after it.
#pragma once

#include <cstdlib>
#include <string>

namespace zentsim::testing {

inline std::wstring BuildOutput(const wchar_t* variable) {
  const wchar_t* path = _wgetenv(variable);
  return path ? path : L"";
}

}  // namespace zentsim::testing
