// Each candidate key is a complete check of its own, hashing included.
#include "driver/trust/DataList.h"

#include "driver/digest/Sha1.h"
#include "driver/digest/Sha256.h"
#include "driver/platform/Memory.h"
#include "driver/platform/Pool.h"
#include "driver/pubkey/Rsa.h"
#include "driver/pubkey/RsaContext.h"

namespace {

struct HASH_SERVICES {
  UINTN(EFIAPI *ContextSize)();
  BOOLEAN(EFIAPI *Init)(VOID *Context);
  BOOLEAN(EFIAPI *Update)(VOID *Context, const VOID *Data, UINTN DataSize);
  BOOLEAN(EFIAPI *Final)(VOID *Context, UINT8 *Digest);
  UINTN DigestSize;
};

constexpr HASH_SERVICES mSha1Services = {SvcSha1GetContextSize, SvcSha1Init, SvcSha1Update, SvcSha1Final,
                                         CRYPTO_SERVICES_SHA1_DIGEST_SIZE};
constexpr HASH_SERVICES mSha256Services = {SvcSha256GetContextSize, SvcSha256Init, SvcSha256Update,
                                           SvcSha256Final, CRYPTO_SERVICES_SHA256_DIGEST_SIZE};

bool IsSupported(HASH_TYPE HashType) {
  return HashType == HASH_TYPE_SHA1 || HashType == HASH_TYPE_SHA256;
}

bool HashDataList(const HASH_SERVICES &Hash, VOID *Context, const VOID **DataList, const UINTN *SizeList,
                  UINTN Count, UINT8 *Digest) {
  if (!Hash.Init(Context)) {
    return false;
  }
  for (UINTN Index = 0; Index < Count; Index++) {
    if (!Hash.Update(Context, DataList[Index], SizeList[Index])) {
      return false;
    }
  }
  return Hash.Final(Context, Digest);
}

// Modulus and Signature are big-endian here.
EFI_STATUS VerifyDigest(const UINT8 *Digest, UINTN DigestSize, const UINT8 *Modulus, UINTN ModulusSize,
                        const UINT8 *Signature, UINTN SignatureSize) {
  RsaContextHandle Key(NewRsaContext());
  if (!Key) {
    return EFI_OUT_OF_RESOURCES;
  }
  if (!SvcRsaSetKey(Key.Get(), RsaKeyN, Modulus, ModulusSize) ||
      !SvcRsaSetKey(Key.Get(), RsaKeyE, mRsaPublicExponent, sizeof(mRsaPublicExponent))) {
    return EFI_NOT_READY;
  }
  return SvcRsaPkcs1Verify(Key.Get(), Digest, DigestSize, Signature, SignatureSize) ? EFI_SUCCESS
                                                                                    : EFI_SECURITY_VIOLATION;
}

} // namespace

EFI_STATUS EFIAPI SvcVerifyDataListWithKey(const VOID **DataList, const UINTN *SizeList, UINTN Count,
                                           const UINT8 *Modulus, UINTN ModulusSize, const UINT8 *Signature,
                                           UINTN SignatureSize, HASH_TYPE HashType) {
  if (DataList == nullptr || SizeList == nullptr || Modulus == nullptr || Signature == nullptr ||
      Count == 0 || ModulusSize == 0 || SignatureSize == 0 || !IsSupported(HashType)) {
    return EFI_INVALID_PARAMETER;
  }
  for (UINTN Index = 0; Index < Count; Index++) {
    if (DataList[Index] == nullptr || SizeList[Index] == 0) {
      return EFI_BAD_BUFFER_SIZE;
    }
  }
  const HASH_SERVICES &Hash = HashType == HASH_TYPE_SHA1 ? mSha1Services : mSha256Services;
  UINTN ContextSize = Hash.ContextSize();
  if (ContextSize == 0) {
    return EFI_BAD_BUFFER_SIZE;
  }
  PoolBlock<UINT8> Context = ZeroedBlock(ContextSize);
  PoolBlock<UINT8> SignatureCopy = ZeroedBlock(SignatureSize);
  PoolBlock<UINT8> Digest = ZeroedBlock(Hash.DigestSize);
  PoolBlock<UINT8> ModulusCopy = ZeroedBlock(ModulusSize);
  if (!Context || !SignatureCopy || !Digest || !ModulusCopy) {
    return EFI_OUT_OF_RESOURCES;
  }
  EFI_STATUS Status = CopyByteReversed(SignatureCopy.Get(), SignatureSize, Signature, SignatureSize);
  if (!EFI_ERROR(Status)) {
    Status = CopyByteReversed(ModulusCopy.Get(), ModulusSize, Modulus, ModulusSize);
  }
  if (EFI_ERROR(Status)) {
    return Status;
  }
  if (!HashDataList(Hash, Context.Get(), DataList, SizeList, Count, Digest.Get())) {
    return EFI_NOT_FOUND;
  }
  return VerifyDigest(Digest.Get(), Hash.DigestSize, ModulusCopy.Get(), ModulusSize, SignatureCopy.Get(),
                      SignatureSize);
}

EFI_STATUS VerifyWithKeysOf(KEY_LOOKUP Lookup, BUILTIN_KEY_TYPE KeyType, const SIGNED_DATA &Signed,
                            UINT32 *KeyValid) {
  BUILTIN_KEY_RECORD *Found = nullptr;
  UINTN Count = 0;
  EFI_STATUS Status = Lookup(KeyType, &Found, &Count, Signed.DataList);
  // A refusal may leave a record behind too.
  PoolBlock<BUILTIN_KEY_RECORD> Records(Found);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  Status = EFI_SECURITY_VIOLATION;
  for (UINTN Index = 0; Index < Count && EFI_ERROR(Status); Index++) {
    const BUILTIN_KEY_RECORD &Record = Records.Get()[Index];
    Status = SvcVerifyDataListWithKey(Signed.DataList, Signed.SizeList, Signed.Count, Record.Modulus,
                                      sizeof(Record.Modulus), Signed.Signature, Signed.SignatureSize,
                                      Signed.HashType);
    if (!EFI_ERROR(Status) && KeyValid != nullptr) {
      *KeyValid = Record.Valid;
    }
  }
  return Status;
}

EFI_STATUS EFIAPI SvcVerifyDataListWithBuiltinKeys(const VOID **DataList, const UINTN *SizeList, UINTN Count,
                                                   const UINT8 *Signature, UINTN SignatureSize,
                                                   BUILTIN_KEY_TYPE KeyType, UINT32 *KeyValid,
                                                   HASH_TYPE HashType) {
  if (DataList == nullptr || SizeList == nullptr || Signature == nullptr || Count == 0 ||
      SignatureSize == 0 || !IsSupported(HashType)) {
    return EFI_INVALID_PARAMETER;
  }
  const SIGNED_DATA Signed = {DataList, SizeList, Count, Signature, SignatureSize, HashType};
  return VerifyWithKeysOf(GetBuiltinKeys, KeyType, Signed, KeyValid);
}

EFI_STATUS EFIAPI SvcVerifyBufferWithBuiltinKeys(const VOID *Data, UINTN DataSize, const UINT8 *Signature,
                                                 UINTN SignatureSize, BUILTIN_KEY_TYPE KeyType,
                                                 HASH_TYPE HashType, UINT32 *KeyValid) {
  if (!IsSupported(HashType) || Signature == nullptr || SignatureSize == 0) {
    return EFI_INVALID_PARAMETER;
  }
  const SIGNED_DATA Signed = {&Data, &DataSize, 1, Signature, SignatureSize, HashType};
  return VerifyWithKeysOf(GetBuiltinKeys, KeyType, Signed, KeyValid);
}
