// Process entry of ZentAgent.exe. The commands it takes come with the
// service host; until then the executable starts and ends with 0.
#include <windows.h>

int WINAPI wWinMain(HINSTANCE, HINSTANCE, PWSTR, int) { return 0; }
