#include <windows.h>

#include <wincrypt.h>

#include <vector>

#include "log/debug_log.h"
#include "util/signer_name_win.h"


std::wstring getSignerName(const std::wstring& path) {
  HCERTSTORE store = nullptr;
  HCRYPTMSG message = nullptr;
  DWORD encoding = 0, contentType = 0, formatType = 0;
  if (!CryptQueryObject(CERT_QUERY_OBJECT_FILE, path.c_str(), CERT_QUERY_CONTENT_FLAG_PKCS7_SIGNED_EMBED,
                        CERT_QUERY_FORMAT_FLAG_BINARY, 0, &encoding, &contentType, &formatType, &store, &message,
                        nullptr)) {
    ZENT_LOG(1, L"GetIssuer - Error is %x (%s).\n", GetLastError(), path);
    return {};
  }
  std::wstring name;
  DWORD size = 0;
  PCCERT_CONTEXT signer = nullptr;
  if (CryptMsgGetParam(message, CMSG_SIGNER_INFO_PARAM, 0, nullptr, &size)) {
    std::vector<BYTE> buffer(size);
    if (CryptMsgGetParam(message, CMSG_SIGNER_INFO_PARAM, 0, buffer.data(), &size)) {
      auto* info = reinterpret_cast<CMSG_SIGNER_INFO*>(buffer.data());
      CERT_INFO wanted = {};
      wanted.Issuer = info->Issuer;
      wanted.SerialNumber = info->SerialNumber;
      signer = CertFindCertificateInStore(store, X509_ASN_ENCODING | PKCS_7_ASN_ENCODING, 0, CERT_FIND_SUBJECT_CERT,
                                          &wanted, nullptr);
    }
  }
  // The signer's signature over the signed content must hold, so that a
  // substituted certificate table is not taken for the publisher's.
  if (signer != nullptr &&
      CryptMsgControl(message, 0, CMSG_CTRL_VERIFY_SIGNATURE, signer->pCertInfo)) {
    wchar_t text[256] = {};
    if (CertGetNameStringW(signer, CERT_NAME_SIMPLE_DISPLAY_TYPE, 0, nullptr, text, 256) > 1) name = text;
  }
  if (signer != nullptr) CertFreeCertificateContext(signer);
  CryptMsgClose(message);
  CertCloseStore(store, 0);
  if (name.empty()) ZENT_LOG(1, L"GetIssuer - Error is %x (%s).\n", GetLastError(), path);
  return name;
}
