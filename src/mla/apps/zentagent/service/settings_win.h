// Filling and reloading the settings record from zent_agent.ini.
#pragma once

// Once, from InitService, when the working directory is known.
void InitZentSettings();
// Reads section ZENTSETTINGS and the deployed policy into the record.
void LoadZentSettings();
// ReloadConfigSettings, which the configuration watcher calls, is declared
// in upkeep/monitor_config_win.h.
// The platform and the settings, to the debug log.
void DumpDefaultSetting();
