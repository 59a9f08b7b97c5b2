// The list grows certificate by certificate, from the last signer to the first.
#include "driver/pubkey/Pkcs7Signers.h"

#include <openssl/x509.h>

#include "driver/platform/Memory.h"
#include "driver/platform/Pool.h"
#include "driver/pubkey/Pkcs7Message.h"

namespace {

// The stack alone: its certificates belong to the message.
void FreeSignerStack(STACK_OF(X509) * Signers) {
  sk_X509_free(Signers);
}
using SignerStackHandle = LibraryHandle<STACK_OF(X509), FreeSignerStack>;

struct SIGNER_LIST {
  UINT8 *Bytes; // NULL before the first certificate
  UINTN Size;
  UINTN LastSize; // of the certificate appended last
};

constexpr UINTN CountSize = 1; // the list starts with the number of certificates
constexpr UINTN LengthFieldSize = sizeof(UINT32);

// A message has 64 KiB; only one that names the same signers over and over gives more than this.
constexpr UINTN ListSizeMax = 0x400000;

// Takes the last certificate off Signers and encodes it into a new block. FALSE, with nothing stored: none is
// left, or memory ran out.
bool TakeLastSignerDer(STACK_OF(X509) * Signers, UINT8 **Der, UINTN *Size) {
  X509 *Signer = sk_X509_pop(Signers);
  int Length = Signer != nullptr ? i2d_X509(Signer, nullptr) : 0;
  if (Length <= 0) {
    return false;
  }
  PoolBlock<UINT8> Block(static_cast<UINT8 *>(AllocateBootPool(static_cast<UINTN>(Length))));
  UINT8 *End = Block.Get();
  if (!Block || i2d_X509(Signer, &End) != Length) {
    return false;
  }
  *Der = Block.Release();
  *Size = static_cast<UINTN>(Length);
  return true;
}

// Replaces the list by one with the certificate behind it. FALSE when it grows too long or without memory,
// with the list as it was.
bool Append(SIGNER_LIST *List, const UINT8 *Der, UINTN Size) {
  if (List->Size + LengthFieldSize + Size > ListSizeMax) {
    return false;
  }
  auto *Grown = static_cast<UINT8 *>(AllocateBootPool(List->Size + LengthFieldSize + Size));
  if (Grown == nullptr) {
    return false;
  }
  BoundedCopy(Grown, List->Size, List->Bytes, List->Size);
  FreeAndClear(List->Bytes);
  UINT32 Length = static_cast<UINT32>(Size);
  MoveMemory(Grown + List->Size, &Length, LengthFieldSize);
  MoveMemory(Grown + List->Size + LengthFieldSize, Der, Size);
  *List = {Grown, List->Size + LengthFieldSize + Size, Size};
  return true;
}

// Fills the list. FALSE when it could not grow, or got no certificate. Stops at a certificate that cannot be
// encoded, with those that it has.
bool CollectSigners(STACK_OF(X509) * Signers, SIGNER_LIST *List) {
  UINT8 Count = 0;
  UINT8 *Der = nullptr;
  UINTN Size = 0;
  while (TakeLastSignerDer(Signers, &Der, &Size)) {
    bool Appended = Append(List, Der, Size);
    FreeAndClear(Der);
    if (!Appended) {
      return false;
    }
    Count++;
  }
  if (List->Bytes != nullptr) {
    List->Bytes[0] = Count;
  }
  return List->Bytes != nullptr;
}

// A copy of the certificate at the list's end, with its size stored first. FALSE without memory.
bool CopyLast(const SIGNER_LIST &List, UINT8 **Copy, UINTN *Size) {
  *Size = List.LastSize;
  *Copy = static_cast<UINT8 *>(AllocateBootPool(List.LastSize));
  if (*Copy != nullptr) {
    MoveMemory(*Copy, List.Bytes + List.Size - List.LastSize, List.LastSize);
  }
  return *Copy != nullptr;
}

} // namespace

BOOLEAN EFIAPI SvcPkcs7GetSigners(const UINT8 *P7Data, UINTN P7Size, SIGNER_CERT_LIST **CertList,
                                  UINTN *CertListSize, UINT8 **FirstSignerCert, UINTN *FirstSignerCertSize) {
  if (P7Data == nullptr || CertList == nullptr || CertListSize == nullptr || FirstSignerCert == nullptr ||
      FirstSignerCertSize == nullptr || P7Size > 0x7FFFFFFF) {
    return FALSE;
  }
  MessageHandle Message = ParseSignedMessage(P7Data, P7Size);
  SignerStackHandle Signers(Message ? PKCS7_get0_signers(Message.Get(), nullptr, 0) : nullptr);
  if (!Signers) {
    return FALSE;
  }
  SIGNER_LIST List = {nullptr, CountSize, 0};
  if (!CollectSigners(Signers.Get(), &List) || !CopyLast(List, FirstSignerCert, FirstSignerCertSize)) {
    if (List.Bytes != nullptr) {
      FreeAndClear(List.Bytes);
      *CertList = nullptr;
    }
    return FALSE;
  }
  *CertList = reinterpret_cast<SIGNER_CERT_LIST *>(List.Bytes);
  *CertListSize = List.Size;
  return TRUE;
}

VOID EFIAPI SvcPkcs7FreeSigners(VOID *Buffer) {
  FreeAndClear(Buffer);
}
