#include "metadata/compute_hash.h"

#include <openssl/evp.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

#include "log/debug_log.h"

namespace {

void DigestPair(EVP_MD_CTX* ctx, const tinyxml2::XMLElement* element, const char* first, const char* second) {
  const char* a = element->Attribute(first);
  const char* b = element->Attribute(second);
  if (a == nullptr || b == nullptr) return;
  EVP_DigestUpdate(ctx, a, std::strlen(a));
  EVP_DigestUpdate(ctx, b, std::strlen(b));
}

// Depth first, in document order, elements only.
void DigestDescendants(EVP_MD_CTX* ctx, const tinyxml2::XMLElement* parent) {
  for (const tinyxml2::XMLElement* e = parent->FirstChildElement(); e != nullptr; e = e->NextSiblingElement()) {
    if (std::strcmp(e->Name(), "HostMetaData") == 0) {
      DigestPair(ctx, e, "type", "identifier");
    } else if (std::strcmp(e->Name(), "Attribute") == 0) {
      DigestPair(ctx, e, "name", "value");
    }
    DigestDescendants(ctx, e);
  }
}

}  // namespace

void ComputeHash(tinyxml2::XMLElement* resultElement) {
  std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> ctx(EVP_MD_CTX_new(), EVP_MD_CTX_free);
  if (ctx == nullptr || EVP_DigestInit_ex(ctx.get(), EVP_get_digestbyname("sha1"), nullptr) != 1) {
    ZENT_LOG(1, L"EVP_DigestInit_ex failed\n");
    return;
  }
  DigestDescendants(ctx.get(), resultElement);
  unsigned char digest[EVP_MAX_MD_SIZE];
  unsigned int length = 0;
  if (EVP_DigestFinal_ex(ctx.get(), digest, &length) != 1) {
    ZENT_LOG(1, L"EVP_DigestFinal_ex failed\n");
    return;
  }
  std::string hash;
  for (unsigned int i = 0; i < length; ++i) {
    char pair[4];
    std::snprintf(pair, sizeof pair, "%02X:", digest[i]);
    hash += pair;
  }
  if (!hash.empty()) hash.pop_back();
  resultElement->SetAttribute("hash", hash.c_str());
}
