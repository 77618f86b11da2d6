#include "util/crypt_symm_key_op.h"

#include <openssl/bio.h>
#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/objects.h>
#include <openssl/rand.h>

#include <climits>

#include "log/debug_log.h"
#include "util/config_cipher.h"

namespace {

constexpr int kIoChunkSize = 8192;

// What the steps of one encryption hold, released in one place whatever
// step ended it.
struct EncryptionChain {
  unsigned char* salt = nullptr;
  unsigned char* ioBuffer = nullptr;
  BIO* input = nullptr;
  BIO* output = nullptr;
  BIO* cipherFilter = nullptr;  // once pushed, the head of the chain that ends in output

  ~EncryptionChain() {
    if (cipherFilter != nullptr && BIO_next(cipherFilter) == output) {
      BIO_free_all(cipherFilter);
    } else {
      BIO_free(cipherFilter);
      BIO_free(output);
    }
    BIO_free(input);
    OPENSSL_free(ioBuffer);
    OPENSSL_free(salt);
  }
};

}  // namespace

bool Crypt_SymmKeyOp(const char* input, size_t length, std::string& output) {
  EncryptionChain chain;
  chain.salt = static_cast<unsigned char*>(OPENSSL_malloc(kSaltSize));
  if (chain.salt == nullptr) {
    ZENT_LOG(1, L"Error allocating buffers for encryption operation\n");
    return false;
  }
  const EVP_CIPHER* cipher = EVP_get_cipherbyname(kConfigCipherName);
  if (cipher == nullptr) {
    ZENT_LOG(1, L"Unable to locate a suitable encryption cipher\n");
    return false;
  }
  const EVP_MD* md = EVP_get_digestbyname(kConfigDigestName);
  if (md == nullptr) {
    ZENT_LOG(1, L"Unable to locate a suitable encryption MD: %S\n", kConfigDigestName);
    return false;
  }
  chain.ioBuffer = static_cast<unsigned char*>(OPENSSL_malloc(kIoChunkSize));
  if (chain.ioBuffer == nullptr) {
    ZENT_LOG(1, L"Error allocating buffers for encryption operation\n");
    return false;
  }
  // A memory stream holds at most INT_MAX bytes; failures of the streams,
  // the filter and the generator have no message of their own.
  if (length > INT_MAX) return false;
  chain.input = BIO_new_mem_buf(input, static_cast<int>(length));
  chain.output = BIO_new(BIO_s_mem());
  if (chain.input == nullptr || chain.output == nullptr) return false;
  // Only a negative answer fails: bytes the generator calls not of full
  // strength are taken, as they always were.
  if (RAND_bytes(chain.salt, kSaltSize) < 0) return false;
  if (BIO_write(chain.output, kSaltMagic, kSaltMagicSize) != static_cast<int>(kSaltMagicSize) ||
      BIO_write(chain.output, chain.salt, kSaltSize) != static_cast<int>(kSaltSize)) {
    ZENT_LOG(1, L"Error writing encrypted output to file\n");
    return false;
  }

  chain.cipherFilter = BIO_new(BIO_f_cipher());
  if (chain.cipherFilter == nullptr) return false;
  EVP_CIPHER_CTX* ctx = nullptr;
  if (BIO_get_cipher_ctx(chain.cipherFilter, &ctx) != 1 || ctx == nullptr) return false;
  if (!InitConfigCipher(ctx, cipher, md, chain.salt, 1)) {
    ZENT_LOG(1, L"Error setting cipher %S\n", OBJ_nid2ln(EVP_CIPHER_nid(cipher)));
    return false;
  }
  BIO_push(chain.cipherFilter, chain.output);
  int count;
  while ((count = BIO_read(chain.input, chain.ioBuffer, kIoChunkSize)) > 0) {
    if (BIO_write(chain.cipherFilter, chain.ioBuffer, count) != count) {
      ZENT_LOG(1, L"Error writing output file\n");
      return false;
    }
  }
  // The padding and the last block go out only with the flush.
  if (BIO_flush(chain.cipherFilter) != 1) {
    ZENT_LOG(1, L"En(de)crypt I/O error\n");
    return false;
  }

  char* content = nullptr;
  long size = BIO_get_mem_data(chain.output, &content);
  if (size <= 0 || content == nullptr) return false;
  output.assign(content, static_cast<size_t>(size));
  return true;
}
