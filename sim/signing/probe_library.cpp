// A small library whose only use is to carry, or lack, a signature; a
// loader's caller can tell it was really loaded by asking its answer.
extern "C" __declspec(dllexport) int probe_answer() { return 42; }
