// Key layout and checks around the crypto library's triple DES.
#include "driver/cipher/Tdes.h"

#include <openssl/des.h>

#include "driver/platform/Memory.h"

namespace {

constexpr UINTN BlockSize = CRYPTO_SERVICES_TDES_BLOCK_SIZE;
constexpr UINTN LargestSize = 0x7FFFFFFF;

struct TDES_CONTEXT {
  DES_key_schedule Schedules[3]; // K1, K2, K3
};
static_assert(sizeof(TDES_CONTEXT) == CRYPTO_SERVICES_TDES_CONTEXT_SIZE);

BOOLEAN Cbc(VOID *Context, const UINT8 *Input, UINTN InputSize, const UINT8 *Ivec, UINT8 *Output,
            int Direction) {
  if (Context == nullptr || Input == nullptr || InputSize % BlockSize != 0 || Ivec == nullptr ||
      Output == nullptr || InputSize > LargestSize) {
    return FALSE;
  }
  DES_cblock Vector;
  MoveMemory(&Vector, Ivec, sizeof(Vector));
  DES_key_schedule *Schedules = static_cast<TDES_CONTEXT *>(Context)->Schedules;
  DES_ede3_cbc_encrypt(Input, Output, static_cast<long>(InputSize), &Schedules[0], &Schedules[1],
                       &Schedules[2], &Vector, Direction);
  return TRUE;
}

} // namespace

UINTN EFIAPI SvcTdesGetContextSize() {
  return sizeof(TDES_CONTEXT);
}

BOOLEAN EFIAPI SvcTdesInit(VOID *Context, const UINT8 *Key, UINTN KeyLength) {
  if (Context == nullptr || Key == nullptr || (KeyLength != 64 && KeyLength != 128 && KeyLength != 192)) {
    return FALSE;
  }
  DES_key_schedule *Schedules = static_cast<TDES_CONTEXT *>(Context)->Schedules;
  UINTN Parts = KeyLength / 64;
  for (UINTN Part = 0; Part < Parts; Part++) {
    DES_cblock PartKey;
    MoveMemory(&PartKey, Key + Part * BlockSize, sizeof(PartKey));
    bool Weak = DES_is_weak_key(&PartKey) == 1;
    if (!Weak) {
      DES_set_key_unchecked(&PartKey, &Schedules[Part]);
    }
    WipeMemory(&PartKey, sizeof(PartKey));
    if (Weak) {
      return FALSE;
    }
  }
  // One part stands in for the second and the third, two parts repeat the first.
  for (UINTN Part = Parts; Part < 3; Part++) {
    BoundedCopy(&Schedules[Part], sizeof(DES_key_schedule), &Schedules[0], sizeof(DES_key_schedule));
  }
  return TRUE;
}

BOOLEAN EFIAPI SvcTdesCbcEncrypt(VOID *Context, const UINT8 *Input, UINTN InputSize, const UINT8 *Ivec,
                                 UINT8 *Output) {
  return Cbc(Context, Input, InputSize, Ivec, Output, DES_ENCRYPT);
}

BOOLEAN EFIAPI SvcTdesCbcDecrypt(VOID *Context, const UINT8 *Input, UINTN InputSize, const UINT8 *Ivec,
                                 UINT8 *Output) {
  return Cbc(Context, Input, InputSize, Ivec, Output, DES_DECRYPT);
}
