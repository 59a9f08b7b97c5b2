// HMAC-SHA1 over the crypto library's HMAC object.
#include "driver/digest/HmacSha1.h"

#include <openssl/evp.h>
#include <openssl/hmac.h>

#include "driver/platform/Memory.h"

namespace {

struct HMAC_SHA1_CONTEXT {
  UINT64 Mark;
  HMAC_CTX *Library;
  UINT8 Unused[272];
};
static_assert(sizeof(HMAC_SHA1_CONTEXT) == CRYPTO_SERVICES_HMAC_SHA1_CONTEXT_SIZE);

// Mixed with the context's address, so that a copy is not taken for an active context and freed twice.
constexpr UINT64 ActiveMark = 0xB1A55EEDC0DE5A1D;
constexpr UINTN LargestKey = 0x7FFFFFFF;

UINT64 MarkOf(const HMAC_SHA1_CONTEXT *Context) {
  return ActiveMark ^ reinterpret_cast<UINT64>(Context);
}

bool IsActive(const HMAC_SHA1_CONTEXT *Context) {
  return Context->Mark == MarkOf(Context);
}

} // namespace

UINTN EFIAPI SvcHmacSha1GetContextSize() {
  return sizeof(HMAC_SHA1_CONTEXT);
}

BOOLEAN EFIAPI SvcHmacSha1Init(VOID *Context, const UINT8 *Key, UINTN KeySize) {
  if (Context == nullptr || KeySize > LargestKey) {
    return FALSE;
  }
  auto *Hmac = static_cast<HMAC_SHA1_CONTEXT *>(Context);
  ZeroMemory(Hmac, sizeof(HMAC_SHA1_CONTEXT));
  HMAC_CTX *Library = HMAC_CTX_new();
  if (Library == nullptr) {
    return TRUE;
  }
  if (HMAC_Init_ex(Library, Key, static_cast<int>(KeySize), EVP_sha1(), nullptr) != 1) {
    HMAC_CTX_free(Library);
    return TRUE;
  }
  Hmac->Library = Library;
  Hmac->Mark = MarkOf(Hmac);
  return TRUE;
}

BOOLEAN EFIAPI SvcHmacSha1Update(VOID *Context, const VOID *Data, UINTN DataSize) {
  if (Context == nullptr || (Data == nullptr && DataSize != 0)) {
    return FALSE;
  }
  auto *Hmac = static_cast<HMAC_SHA1_CONTEXT *>(Context);
  if (IsActive(Hmac)) {
    HMAC_Update(Hmac->Library, static_cast<const UINT8 *>(Data), DataSize);
  }
  return TRUE;
}

BOOLEAN EFIAPI SvcHmacSha1Final(VOID *Context, UINT8 *Mac) {
  if (Context == nullptr || Mac == nullptr) {
    return FALSE;
  }
  auto *Hmac = static_cast<HMAC_SHA1_CONTEXT *>(Context);
  if (IsActive(Hmac)) {
    unsigned int MacSize = 0;
    HMAC_Final(Hmac->Library, Mac, &MacSize);
    HMAC_CTX_free(Hmac->Library);
  }
  ZeroMemory(Hmac, sizeof(HMAC_SHA1_CONTEXT));
  return TRUE;
}
