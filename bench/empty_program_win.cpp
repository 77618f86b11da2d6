// empty_program.exe: a Windows program that does nothing, the floor of a
// process run under Wine.
int main() { return 0; }
