// The framework's signature check: a file's embedded Authenticode signature,
// verified end to end, and its signer's name.
#pragma once

#include <string>

namespace zentsim::klf {

// Empty when the file at path carries a valid embedded signature by signer;
// otherwise why not. The certificate's chain is not checked: the suite's
// test publisher is self-signed.
std::string CheckEmbeddedSignature(const std::wstring& path, const std::wstring& signer);

}  // namespace zentsim::klf
