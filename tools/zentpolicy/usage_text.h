// zentpolicy --help.
#pragma once

namespace zentpolicy {

extern const char kUsageText[];

}  // namespace zentpolicy
