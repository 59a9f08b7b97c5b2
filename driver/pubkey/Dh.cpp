// Four numbers over the library's arithmetic. Its own key object would refuse primes below 512 bits, accept
// peer values above the prime, and write a secret before its length is known.
#include "driver/pubkey/Dh.h"

#include <openssl/bn.h>
#include <openssl/dh.h>

#include "driver/platform/LibraryHandle.h"
#include "driver/platform/Pool.h"

namespace {

using BignumHandle = LibraryHandle<BIGNUM, BN_clear_free>;
using BnCtxHandle = LibraryHandle<BN_CTX, BN_CTX_free>;
using MontgomeryHandle = LibraryHandle<BN_MONT_CTX, BN_MONT_CTX_free>;

struct DH_CONTEXT {
  BIGNUM *Prime;
  BIGNUM *Generator;
  BIGNUM *PrivateValue;
  BIGNUM *PublicValue; // there when PrivateValue is
};

constexpr UINTN LengthMax = 0x7FFFFFFF; // the library counts in signed 32 bits

void DropNumbers(DH_CONTEXT *Context) {
  BN_free(Context->Prime);
  BN_free(Context->Generator);
  BN_clear_free(Context->PrivateValue);
  BN_free(Context->PublicValue);
  *Context = {};
}

// Base to the power of Exponent modulo the context's prime, in a time that does not depend on the exponent's
// bits. Empty for a prime that is even or zero, and without memory.
BignumHandle Power(const DH_CONTEXT *Context, const BIGNUM *Base, BIGNUM *Exponent) {
  BnCtxHandle Scratch(BN_CTX_new());
  MontgomeryHandle Montgomery(BN_MONT_CTX_new());
  BignumHandle Result(BN_new());
  if (!Scratch || !Montgomery || !Result) {
    return BignumHandle();
  }
  BN_set_flags(Exponent, BN_FLG_CONSTTIME);
  if (!BN_MONT_CTX_set(Montgomery.Get(), Context->Prime, Scratch.Get()) ||
      !BN_mod_exp_mont(Result.Get(), Base, Exponent, Context->Prime, Scratch.Get(), Montgomery.Get())) {
    return BignumHandle();
  }
  return Result;
}

bool MakeKeyPair(DH_CONTEXT *Context) {
  int Bits = BN_num_bits(Context->Prime);
  BignumHandle PrivateValue(BN_new());
  if (Bits > OPENSSL_DH_MAX_MODULUS_BITS || !PrivateValue ||
      !BN_priv_rand(PrivateValue.Get(), Bits - 1, BN_RAND_TOP_ONE, BN_RAND_BOTTOM_ANY)) {
    return false;
  }
  BignumHandle PublicValue = Power(Context, Context->Generator, PrivateValue.Get());
  if (!PublicValue) {
    return false;
  }
  Context->PrivateValue = PrivateValue.Release();
  Context->PublicValue = PublicValue.Release();
  return true;
}

// Whether Value is from 2 to p - 2: 0, 1 and p - 1 would give the secret away, and so would what equals them
// modulo p.
bool AcceptablePeer(const DH_CONTEXT *Context, const BIGNUM *Value) {
  BignumHandle Highest(BN_dup(Context->Prime));
  return Highest && BN_sub_word(Highest.Get(), 2) && BN_cmp(Value, BN_value_one()) > 0 &&
         BN_cmp(Value, Highest.Get()) <= 0;
}

} // namespace

VOID *EFIAPI SvcDhNew() {
  return AllocateZeroedPool(sizeof(DH_CONTEXT));
}

VOID EFIAPI SvcDhFree(VOID *Context) {
  if (Context != nullptr) {
    DropNumbers(static_cast<DH_CONTEXT *>(Context));
    FreeBootPool(Context);
  }
}

BOOLEAN EFIAPI SvcDhGenerateParameter(VOID *Context, UINTN Generator, UINTN PrimeLength, const UINT8 *Prime) {
  if (Context == nullptr || Prime == nullptr || PrimeLength > LengthMax ||
      (Generator != 2 && Generator != 5)) {
    return FALSE;
  }
  auto *Dh = static_cast<DH_CONTEXT *>(Context);
  DropNumbers(Dh);
  BignumHandle P(BN_bin2bn(Prime, static_cast<int>(PrimeLength / 8), nullptr));
  BignumHandle G(BN_new());
  if (!P || !G || !BN_set_word(G.Get(), Generator)) {
    return FALSE;
  }
  Dh->Prime = P.Release();
  Dh->Generator = G.Release();
  return TRUE;
}

BOOLEAN EFIAPI SvcDhGenerateKey(VOID *Context, UINT8 *PublicKey, UINTN *PublicKeySize) {
  if (Context == nullptr || PublicKeySize == nullptr || (PublicKey == nullptr && *PublicKeySize != 0)) {
    return FALSE;
  }
  auto *Dh = static_cast<DH_CONTEXT *>(Context);
  if (Dh->Prime == nullptr || (Dh->PrivateValue == nullptr && !MakeKeyPair(Dh))) {
    return FALSE;
  }
  UINTN Needed = static_cast<UINTN>(BN_num_bytes(Dh->PublicValue));
  bool Fits = *PublicKeySize >= Needed;
  *PublicKeySize = Needed;
  if (Fits) {
    BN_bn2bin(Dh->PublicValue, PublicKey);
  }
  return Fits;
}

BOOLEAN EFIAPI SvcDhComputeKey(VOID *Context, const UINT8 *PeerPublicKey, UINTN PeerPublicKeySize, UINT8 *Key,
                               UINTN *KeySize) {
  if (Context == nullptr || PeerPublicKey == nullptr || Key == nullptr || KeySize == nullptr ||
      PeerPublicKeySize > LengthMax) {
    return FALSE;
  }
  const auto *Dh = static_cast<const DH_CONTEXT *>(Context);
  if (Dh->PrivateValue == nullptr) {
    return FALSE;
  }
  BignumHandle Peer(BN_bin2bn(PeerPublicKey, static_cast<int>(PeerPublicKeySize), nullptr));
  if (!Peer || !AcceptablePeer(Dh, Peer.Get())) {
    return FALSE;
  }
  BignumHandle Secret = Power(Dh, Peer.Get(), Dh->PrivateValue);
  if (!Secret) {
    return FALSE;
  }
  UINTN Needed = static_cast<UINTN>(BN_num_bytes(Secret.Get()));
  bool Fits = *KeySize >= Needed;
  *KeySize = Needed;
  if (Fits) {
    BN_bn2bin(Secret.Get(), Key);
  }
  return Fits;
}
