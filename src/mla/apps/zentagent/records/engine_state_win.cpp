#include "records/engine_state_win.h"

ZentEngineState g_Engine;
