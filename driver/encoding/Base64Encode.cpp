// Encoding: the filter writes into a memory object, whose text is copied out.
#include "driver/encoding/Base64.h"
#include "driver/encoding/Base64Text.h"

#include "driver/platform/Memory.h"
#include "driver/platform/Pool.h"

namespace {

constexpr UINTN LineLength = 64;

UINTN EncodedLength(UINTN DataSize, BOOLEAN NoNewline) {
  UINTN Characters = (DataSize + 2) / 3 * 4;
  return NoNewline ? Characters : Characters + (Characters + LineLength - 1) / LineLength;
}

} // namespace

EFI_STATUS EFIAPI SvcBase64EncodeToAscii(BOOLEAN UrlSafe, BOOLEAN NoNewline, const UINT8 *Data,
                                         UINTN DataSize, CHAR8 **Output, UINTN *OutputLength) {
  EFI_STATUS Status = CheckBase64Arguments(Data, DataSize, Output, OutputLength);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  BioHandle Memory(BIO_new(BIO_s_mem()));
  BioHandle Filter;
  Status = ChainBase64Filter(Memory, NoNewline, &Filter);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  BIO_write(Filter.Get(), Data, static_cast<int>(DataSize));
  (void)BIO_flush(Filter.Get());
  CHAR8 *Text = nullptr;
  INT64 Length = BIO_get_mem_data(Memory.Get(), &Text);
  if (Length <= 0) {
    return EFI_LOAD_ERROR;
  }
  // The filter says nothing when the memory object cannot grow: its text is just short.
  UINTN Characters = static_cast<UINTN>(Length);
  if (Characters != EncodedLength(DataSize, NoNewline)) {
    return EFI_OUT_OF_RESOURCES;
  }
  auto *Result = static_cast<CHAR8 *>(AllocateZeroedPool(Characters + 1));
  if (Result == nullptr) {
    return EFI_OUT_OF_RESOURCES;
  }
  BoundedCopy(Result, Characters, Text, Characters);
  if (UrlSafe) {
    TranslateAlphabet(Result, Characters, mStandardAlphabet, mUrlSafeAlphabet);
  }
  *Output = Result;
  *OutputLength = Characters;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI SvcBase64EncodeToUnicode(BOOLEAN UrlSafe, BOOLEAN NoNewline, const UINT8 *Data,
                                           UINTN DataSize, CHAR16 **Output, UINTN *OutputLength) {
  EFI_STATUS Status = CheckBase64Arguments(Data, DataSize, Output, OutputLength);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  CHAR8 *Encoded = nullptr;
  UINTN Length = 0;
  Status = SvcBase64EncodeToAscii(UrlSafe, NoNewline, Data, DataSize, &Encoded, &Length);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  PoolBlock<CHAR8> Narrow(Encoded);
  auto *Result = static_cast<CHAR16 *>(AllocateZeroedPool((Length + 1) * sizeof(CHAR16)));
  if (Result == nullptr) {
    return EFI_OUT_OF_RESOURCES;
  }
  for (UINTN Index = 0; Index < Length; Index++) {
    Result[Index] = static_cast<UINT8>(Narrow.Get()[Index]);
  }
  *Output = Result;
  *OutputLength = Length;
  return EFI_SUCCESS;
}
