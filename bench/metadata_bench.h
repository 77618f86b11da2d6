// The host query benchmark: each family's part runs ParseQueryMetaXml in
// process against a bare loop of the same Win32 calls and prints its ratios.
#pragma once

void RegistryQueryBench();
void ServiceQueryBench();
void ListenPortQueryBench();
