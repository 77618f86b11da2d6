#include "service/settings.h"

ZentSettings s_Settings;
