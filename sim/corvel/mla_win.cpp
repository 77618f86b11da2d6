// mla.exe: the image of Corvel's service ml_agent. The removal never needs it
// running; it is here so that the service and the uninstaller have a file.
int wmain() { return 0; }
