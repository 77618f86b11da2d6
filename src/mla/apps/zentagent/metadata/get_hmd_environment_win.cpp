#include <stdlib.h>

#include "metadata/environment_variables.h"
#include "metadata/get_hmd_environment.h"

bool GetHmdEnvironment(tinyxml2::XMLDocument& document, tinyxml2::XMLElement* results, const std::string& id) {
  // The runtime builds its narrow array on first need; asking for one
  // variable makes sure it stands. The value itself is not used.
  char path[1024];
  size_t length = 0;
  getenv_s(&length, path, sizeof path, "PATH");
  return ReportEnvironment(document, results, id, _environ);
}
