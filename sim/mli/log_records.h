// The log calls' records. A benchmark reads thousands of records a second,
// and a registry write per call would cost more than the agent's own work,
// so the counts are kept in the process and written every 100 ms by a
// writer thread, at a script's end, and at mli_close.
#pragma once

#include <cstdint>

namespace zentsim::mli {

// Adds to a DWORD record, written with the next batch.
void AddToRecord(const wchar_t* value, uint32_t amount = 1);
// Sets a REG_QWORD record, or removes it, with the next batch.
void SetQwordRecord(const wchar_t* value, uint64_t data);
void RemoveRecord(const wchar_t* value);
// Writes what is pending now.
void WriteRecords();
// Starts the process's writer thread once.
void StartRecordWriter();

}  // namespace zentsim::mli
