// Each link of an Authenticode signature is checked with Windows' own
// cryptography calls: the signer's signature over its attributes, the
// message digest in those attributes over the signed content, and the image
// digest in that content over the file. Wine's WinVerifyTrust does not
// insist on a trusted root, and Windows' does, so neither is asked.
#include "authenticode_layout.h"
#include "embedded_signature.h"

#include <windows.h>
#include <wincrypt.h>
#include <wintrust.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <vector>

namespace zentsim::klf {

namespace {

constexpr DWORD kEncoding = X509_ASN_ENCODING | PKCS_7_ASN_ENCODING;

using Bytes = std::vector<uint8_t>;

struct SignedMessage {
  HCERTSTORE store = nullptr;
  HCRYPTMSG message = nullptr;
  PCCERT_CONTEXT signer = nullptr;
  SignedMessage() = default;
  SignedMessage(const SignedMessage&) = delete;
  SignedMessage& operator=(const SignedMessage&) = delete;
  ~SignedMessage() {
    if (signer) CertFreeCertificateContext(signer);
    if (message) CryptMsgClose(message);
    if (store) CertCloseStore(store, 0);
  }
};

std::optional<Bytes> ReadWholeFile(const std::wstring& path) {
  std::ifstream file(std::filesystem::path(path), std::ios::binary);
  if (!file) return std::nullopt;
  return Bytes(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

Bytes Param(HCRYPTMSG message, DWORD type) {
  DWORD size = 0;
  if (!CryptMsgGetParam(message, type, 0, nullptr, &size)) return {};
  Bytes data(size);
  if (!CryptMsgGetParam(message, type, 0, data.data(), &size)) return {};
  data.resize(size);
  return data;
}

// Decodes an encoded structure; the result is freed with LocalFree.
template <typename T>
T* Decode(LPCSTR structType, const BYTE* data, DWORD size) {
  T* decoded = nullptr;
  DWORD decodedSize = 0;
  if (!CryptDecodeObjectEx(X509_ASN_ENCODING, structType, data, size, CRYPT_DECODE_ALLOC_FLAG,
                           nullptr, &decoded, &decodedSize)) {
    return nullptr;
  }
  return decoded;
}

std::optional<Bytes> Digest(const char* algorithmOid, std::span<const uint8_t> data,
                            const std::vector<ByteRange>& ranges) {
  ALG_ID algorithm = CertOIDToAlgId(algorithmOid);
  HCRYPTPROV provider = 0;
  if (!algorithm ||
      !CryptAcquireContextW(&provider, nullptr, nullptr, PROV_RSA_AES, CRYPT_VERIFYCONTEXT)) {
    return std::nullopt;
  }
  std::optional<Bytes> digest;
  HCRYPTHASH hash = 0;
  if (CryptCreateHash(provider, algorithm, 0, 0, &hash)) {
    bool hashed = true;
    for (const ByteRange& range : ranges) {
      hashed = hashed && CryptHashData(hash, data.data() + range.offset,
                                       static_cast<DWORD>(range.length), 0);
    }
    Bytes value(64);
    DWORD size = static_cast<DWORD>(value.size());
    if (hashed && CryptGetHashParam(hash, HP_HASHVAL, value.data(), &size, 0)) {
      value.resize(size);
      digest = value;
    }
    CryptDestroyHash(hash);
  }
  CryptReleaseContext(provider, 0);
  return digest;
}

bool Equal(std::span<const uint8_t> a, const Bytes& b) { return std::ranges::equal(a, b); }

std::wstring SignerName(PCCERT_CONTEXT certificate) {
  wchar_t name[256] = {};
  CertGetNameStringW(certificate, CERT_NAME_SIMPLE_DISPLAY_TYPE, 0, nullptr, name, 256);
  return name;
}

std::string ToUtf8(const std::wstring& text) {
  std::string out(text.size() * 3, '\0');
  int size = WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()),
                                 out.data(), static_cast<int>(out.size()), nullptr, nullptr);
  out.resize(static_cast<size_t>(std::max(size, 0)));
  return out;
}

// The message digest among the signer's authenticated attributes.
std::optional<Bytes> SignedMessageDigest(const CMSG_SIGNER_INFO& info) {
  for (DWORD i = 0; i < info.AuthAttrs.cAttr; ++i) {
    const CRYPT_ATTRIBUTE& attribute = info.AuthAttrs.rgAttr[i];
    if (std::string_view(attribute.pszObjId) != szOID_PKCS_9_MESSAGE_DIGEST ||
        attribute.cValue != 1) {
      continue;
    }
    auto* octets = Decode<CRYPT_DATA_BLOB>(X509_OCTET_STRING, attribute.rgValue[0].pbData,
                                           attribute.rgValue[0].cbData);
    if (!octets) return std::nullopt;
    Bytes digest(octets->pbData, octets->pbData + octets->cbData);
    LocalFree(octets);
    return digest;
  }
  return std::nullopt;
}

// Why the signed content does not match the signer's message digest, or
// empty when it does.
std::string CheckContentDigest(HCRYPTMSG message) {
  Bytes type = Param(message, CMSG_INNER_CONTENT_TYPE_PARAM);
  if (type.empty() || std::string_view(reinterpret_cast<const char*>(type.data())) !=
                          SPC_INDIRECT_DATA_OBJID) {
    return "signed content is not an image digest";
  }
  Bytes signerInfo = Param(message, CMSG_SIGNER_INFO_PARAM);
  Bytes content = Param(message, CMSG_CONTENT_PARAM);
  if (signerInfo.empty() || content.empty()) return "signature has no signer or no content";
  const auto& info = *reinterpret_cast<const CMSG_SIGNER_INFO*>(signerInfo.data());
  std::optional<Bytes> expected = SignedMessageDigest(info);
  // Authenticode digests the content's octets without their tag and length.
  auto octets = DerContentOctets(content);
  if (!expected || !octets) return "signature has no message digest";
  std::optional<Bytes> actual =
      Digest(info.HashAlgorithm.pszObjId, *octets, {{0, octets->size()}});
  if (!actual || *actual != *expected) return "message digest differs";
  return {};
}

// Why the file does not match the image digest of the signed content, or
// empty when it does.
std::string CheckImageDigest(HCRYPTMSG message, const Bytes& image) {
  Bytes content = Param(message, CMSG_CONTENT_PARAM);
  auto* indirect = Decode<SPC_INDIRECT_DATA_CONTENT>(
      SPC_INDIRECT_DATA_CONTENT_STRUCT, content.data(), static_cast<DWORD>(content.size()));
  if (!indirect) return "signed content is not an image digest";
  std::string problem;
  auto ranges = ImageDigestRanges(image);
  std::optional<Bytes> actual;
  if (ranges) actual = Digest(indirect->DigestAlgorithm.pszObjId, image, *ranges);
  if (!ranges) {
    problem = "not an image";
  } else if (!actual ||
             !Equal(std::span(indirect->Digest.pbData, indirect->Digest.cbData), *actual)) {
    problem = "image digest differs";
  }
  LocalFree(indirect);
  return problem;
}

}  // namespace

std::string CheckEmbeddedSignature(const std::wstring& path, const std::wstring& signer) {
  std::optional<Bytes> image = ReadWholeFile(path);
  if (!image) return "file cannot be read";

  SignedMessage signature;
  DWORD encoding = 0, contentType = 0, formatType = 0;
  if (!CryptQueryObject(CERT_QUERY_OBJECT_FILE, path.c_str(),
                        CERT_QUERY_CONTENT_FLAG_PKCS7_SIGNED_EMBED, CERT_QUERY_FORMAT_FLAG_BINARY,
                        0, &encoding, &contentType, &formatType, &signature.store,
                        &signature.message, nullptr)) {
    return "no embedded signature";
  }
  Bytes signerId = Param(signature.message, CMSG_SIGNER_CERT_INFO_PARAM);
  if (!signerId.empty()) {
    signature.signer = CertFindCertificateInStore(signature.store, kEncoding, 0,
                                                  CERT_FIND_SUBJECT_CERT, signerId.data(), nullptr);
  }
  if (!signature.signer) return "signer's certificate is missing";
  if (!CryptMsgControl(signature.message, 0, CMSG_CTRL_VERIFY_SIGNATURE,
                       signature.signer->pCertInfo)) {
    return "signature does not verify";
  }
  std::wstring name = SignerName(signature.signer);
  if (name != signer) return "signed by " + ToUtf8(name);
  if (std::string problem = CheckContentDigest(signature.message); !problem.empty()) {
    return problem;
  }
  return CheckImageDigest(signature.message, *image);
}

}  // namespace zentsim::klf
