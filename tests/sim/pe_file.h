// Looks into Windows binaries for the signature and export tests.
#pragma once

#include <set>
#include <string>

namespace zentsim::testing {

// The names a loaded module exports.
std::set<std::string> ExportedNames(void* module);

// A loaded module's export, as the function type the caller expects of it.
void* ExportedAddress(void* module, const char* name);
template <typename Function>
Function Exported(void* module, const char* name) {
  return reinterpret_cast<Function>(ExportedAddress(module, name));
}

// Copies a PE file with one byte of its code changed: what a tampered
// binary looks like. False if the file has no code section to change.
bool CopyWithCodeByteChanged(const std::wstring& from, const std::wstring& to);
// Copies a signed PE file with one byte of its signer's signature changed.
bool CopyWithSignatureByteChanged(const std::wstring& from, const std::wstring& to);
// Copies a file signed with SHA-256 with one byte of the image digest that
// its signature covers changed.
bool CopyWithSignedDigestByteChanged(const std::wstring& from, const std::wstring& to);

// A path for a scratch file of this process, in the temporary directory.
std::wstring ScratchPath(const std::wstring& name);

}  // namespace zentsim::testing
