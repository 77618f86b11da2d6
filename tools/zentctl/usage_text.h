// zentctl --help.
#pragma once

namespace zentctl {

extern const char kUsageText[];

}  // namespace zentctl
