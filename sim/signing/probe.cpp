// A small program whose only use is to carry, or lack, a signature.
int main() { return 0; }
