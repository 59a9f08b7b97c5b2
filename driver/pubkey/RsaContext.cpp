// The library's own key accepts its components only in groups and keeps what it derived from a modulus after
// that is replaced. So a fresh library key is built after every change, from copies.
#include "driver/pubkey/RsaContext.h"

#include <openssl/bn.h>
#include <openssl/rand.h>

#include "driver/platform/Pool.h"

namespace {

using BignumHandle = LibraryHandle<BIGNUM, BN_clear_free>;
using BnCtxHandle = LibraryHandle<BN_CTX, BN_CTX_free>;
using RsaHandle = LibraryHandle<RSA, RSA_free>;

BignumHandle Copy(const BIGNUM *Number) {
  return BignumHandle(Number != nullptr ? BN_dup(Number) : nullptr);
}

void DropLibraryKeys(RSA_CONTEXT *Context) {
  RSA_free(Context->PublicKey);
  RSA_free(Context->PrivateKey);
  Context->PublicKey = nullptr;
  Context->PrivateKey = nullptr;
}

bool ModulusUsable(const RSA_CONTEXT *Context) {
  const BIGNUM *N = Context->Components[RsaKeyN];
  return N != nullptr && BN_num_bits(N) <= RSA_MODULUS_BITS_MAX;
}

bool FitsModulus(const RSA_CONTEXT *Context, const BIGNUM *Number) {
  return Number == nullptr || BN_num_bits(Number) <= BN_num_bits(Context->Components[RsaKeyN]);
}

// Stores whether p and q are there and their product is n; otherwise they do not count. FALSE: no memory.
bool CompareFactors(const RSA_CONTEXT *Context, bool *Match) {
  const BIGNUM *P = Context->Components[RsaKeyP];
  const BIGNUM *Q = Context->Components[RsaKeyQ];
  *Match = false;
  if (P == nullptr || Q == nullptr || BN_num_bits(P) < 2 || BN_num_bits(Q) < 2) {
    return true;
  }
  BignumHandle Product(BN_new());
  BnCtxHandle Scratch(BN_CTX_new());
  if (!Product || !Scratch || !BN_mul(Product.Get(), P, Q, Scratch.Get())) {
    return false;
  }
  *Match = BN_cmp(Product.Get(), Context->Components[RsaKeyN]) == 0;
  return true;
}

// The exponent that undoes Exponent: its inverse modulo (p - 1)(q - 1). Empty when Exponent is absent, there
// is no inverse, or memory runs out.
BignumHandle OppositeExponent(const RSA_CONTEXT *Context, const BIGNUM *Exponent) {
  BignumHandle P = Copy(Context->Components[RsaKeyP]);
  BignumHandle Q = Copy(Context->Components[RsaKeyQ]);
  BignumHandle Order(BN_new());
  BnCtxHandle Scratch(BN_CTX_new());
  if (Exponent == nullptr || !P || !Q || !Order || !Scratch || !BN_sub_word(P.Get(), 1) ||
      !BN_sub_word(Q.Get(), 1) || !BN_mul(Order.Get(), P.Get(), Q.Get(), Scratch.Get())) {
    return BignumHandle();
  }
  BN_set_flags(Order.Get(), BN_FLG_CONSTTIME);
  return BignumHandle(BN_mod_inverse(nullptr, Exponent, Order.Get(), Scratch.Get()));
}

// A library key of three owned numbers, D optional. Empty when one that is needed is missing.
RsaHandle MakeLibraryKey(const RSA_CONTEXT *Context, BignumHandle E, BignumHandle D) {
  RsaHandle Key(RSA_new());
  BignumHandle N = Copy(Context->Components[RsaKeyN]);
  if (!Key || !N || !E || !RSA_set0_key(Key.Get(), N.Get(), E.Get(), D.Get())) {
    return RsaHandle();
  }
  (void)N.Release();
  (void)E.Release();
  (void)D.Release();
  return Key;
}

// Whether the five are there, and the inverse no wider than p as the library's fast way needs it: without
// that it would go a long way to a blinding factor and mostly refuse. n, e and d do without them.
bool HasCrtComponents(const RSA_CONTEXT *Context) {
  for (UINTN Tag = RsaKeyP; Tag <= RsaKeyQInv; Tag++) {
    if (Context->Components[Tag] == nullptr) {
      return false;
    }
  }
  return BN_num_bits(Context->Components[RsaKeyQInv]) <= BN_num_bits(Context->Components[RsaKeyP]);
}

// TRUE when the key now has the five CRT components.
bool AddCrtComponents(RSA *Key, const RSA_CONTEXT *Context) {
  BignumHandle P = Copy(Context->Components[RsaKeyP]);
  BignumHandle Q = Copy(Context->Components[RsaKeyQ]);
  BignumHandle Dp = Copy(Context->Components[RsaKeyDp]);
  BignumHandle Dq = Copy(Context->Components[RsaKeyDq]);
  BignumHandle QInv = Copy(Context->Components[RsaKeyQInv]);
  if (!P || !Q || !Dp || !Dq || !QInv) {
    return false;
  }
  // Neither call refuses when all its numbers are given.
  (void)RSA_set0_factors(Key, P.Release(), Q.Release());
  (void)RSA_set0_crt_params(Key, Dp.Release(), Dq.Release(), QInv.Release());
  return true;
}

// An exponent for a key that has none: the library wants one. Only blinding and the check of the CRT result
// would use it, and such a key does neither.
BignumHandle StandInExponent() {
  return BignumHandle(BN_bin2bn(mRsaPublicExponent, sizeof(mRsaPublicExponent), nullptr));
}

RsaHandle BuildPrivateKey(RSA_CONTEXT *Context) {
  BIGNUM *const *Components = Context->Components;
  if (!ModulusUsable(Context)) {
    return RsaHandle();
  }
  for (UINTN Tag = RsaKeyE; Tag <= RsaKeyQInv; Tag++) {
    if (!FitsModulus(Context, Components[Tag])) {
      return RsaHandle();
    }
  }
  bool FactorsMatch;
  if (!CompareFactors(Context, &FactorsMatch)) {
    return RsaHandle();
  }
  BignumHandle D = Copy(Components[RsaKeyD]);
  if (Components[RsaKeyD] == nullptr && FactorsMatch) {
    D = OppositeExponent(Context, Components[RsaKeyE]);
  }
  BignumHandle E = Copy(Components[RsaKeyE]);
  if (Components[RsaKeyE] == nullptr) {
    E = FactorsMatch ? OppositeExponent(Context, Components[RsaKeyD]) : StandInExponent();
  }
  Context->CanBlind = Components[RsaKeyE] != nullptr || FactorsMatch;
  if (!D) {
    return RsaHandle();
  }
  RsaHandle Key = MakeLibraryKey(Context, Move(E), Move(D));
  if (Key && FactorsMatch && HasCrtComponents(Context) && !AddCrtComponents(Key.Get(), Context)) {
    return RsaHandle();
  }
  return Key;
}

} // namespace

RSA_CONTEXT *NewRsaContext() {
  return static_cast<RSA_CONTEXT *>(AllocateZeroedPool(sizeof(RSA_CONTEXT)));
}

RSA_CONTEXT *NewRsaContextFrom(const RSA *Key) {
  RsaContextHandle Context(NewRsaContext());
  if (!Context) {
    return nullptr;
  }
  const BIGNUM *Source[RSA_COMPONENT_COUNT] = {};
  RSA_get0_key(Key, &Source[RsaKeyN], &Source[RsaKeyE], &Source[RsaKeyD]);
  RSA_get0_factors(Key, &Source[RsaKeyP], &Source[RsaKeyQ]);
  RSA_get0_crt_params(Key, &Source[RsaKeyDp], &Source[RsaKeyDq], &Source[RsaKeyQInv]);
  for (UINTN Tag = 0; Tag < RSA_COMPONENT_COUNT; Tag++) {
    Context.Get()->Components[Tag] = Copy(Source[Tag]).Release();
    if (Source[Tag] != nullptr && Context.Get()->Components[Tag] == nullptr) {
      return nullptr;
    }
  }
  return Context.Release();
}

void FreeRsaContext(RSA_CONTEXT *Context) {
  if (Context == nullptr) {
    return;
  }
  DropLibraryKeys(Context);
  for (BIGNUM *Component : Context->Components) {
    BN_clear_free(Component);
  }
  FreeBootPool(Context);
}

void ReplaceRsaComponent(RSA_CONTEXT *Context, RSA_KEY_TAG Tag, BIGNUM *Value) {
  DropLibraryKeys(Context);
  BN_clear_free(Context->Components[Tag]);
  Context->Components[Tag] = Value;
}

UINTN RsaModulusSize(const RSA_CONTEXT *Context) {
  const BIGNUM *N = Context->Components[RsaKeyN];
  return N != nullptr ? static_cast<UINTN>(BN_num_bytes(N)) : 0;
}

RSA *RsaPublicKeyOf(RSA_CONTEXT *Context) {
  const BIGNUM *E = Context->Components[RsaKeyE];
  if (Context->PublicKey == nullptr && ModulusUsable(Context) && FitsModulus(Context, E)) {
    Context->PublicKey = MakeLibraryKey(Context, Copy(E), BignumHandle()).Release();
  }
  return Context->PublicKey;
}

RSA *RsaPrivateKeyOf(RSA_CONTEXT *Context) {
  if (Context->PrivateKey == nullptr) {
    Context->PrivateKey = BuildPrivateKey(Context).Release();
  }
  RSA *Key = Context->PrivateKey;
  if (Key != nullptr) {
    // Blinding draws random numbers, and would fail where the operation itself need not.
    if (Context->CanBlind && RAND_status() == 1) {
      RSA_clear_flags(Key, RSA_FLAG_NO_BLINDING);
    } else {
      RSA_set_flags(Key, RSA_FLAG_NO_BLINDING);
    }
  }
  return Key;
}
