// One pass of a dispatch-table row over one buffer, in a pool context that
// lives only within the call.
#include "driver/digest/HashAll.h"

#include "driver/digest/HashDispatch.h"
#include "driver/platform/Pool.h"

EFI_STATUS EFIAPI SvcHashAll(HASH_TYPE HashType, const VOID *Data, UINTN DataSize, UINT8 *Digest,
                             UINTN *DigestSize) {
  if (Data == nullptr || DigestSize == nullptr || DataSize == 0) {
    return EFI_INVALID_PARAMETER;
  }
  // An unknown type has size 0, so it is a size query first and unsupported only with a buffer.
  UINTN Needed = DigestSizeOf(HashType);
  bool TooSmall = Digest == nullptr || *DigestSize < Needed;
  *DigestSize = Needed;
  if (TooSmall) {
    return EFI_BUFFER_TOO_SMALL;
  }
  const HASH_DISPATCH_ENTRY *Row = FindHashRow(HashType);
  if (Row == nullptr) {
    return EFI_UNSUPPORTED;
  }
  UINTN ContextSize = Row->ContextSize();
  if (ContextSize == 0) {
    return EFI_BAD_BUFFER_SIZE;
  }
  PoolBlock<UINT8> Context = ZeroedBlock(ContextSize);
  if (!Context) {
    return EFI_OUT_OF_RESOURCES;
  }
  if (!Row->Init(Context.Get()) || !Row->Update(Context.Get(), Data, DataSize) ||
      !Row->Final(Context.Get(), Digest)) {
    return EFI_SECURITY_VIOLATION;
  }
  return EFI_SUCCESS;
}
