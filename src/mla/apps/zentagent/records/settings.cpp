#include "records/settings.h"

ZentSettings s_Settings;

const wchar_t* OsFolderName(uint32_t major, uint32_t minor) {
  uint32_t v = 100 * major + minor;
  if (v >= 1000) return L"Win10Release";
  if (v >= 602) return L"Win8Release";
  if (v == 601) return L"Win7Release";
  if (v == 600) return L"VistaRelease";
  if (v < 501) return L"???";
  return L"WinxpRelease";
}
