// Decoding: read through the filter in chunks into a memory object, then copy
// out what came.
#include "driver/encoding/Base64.h"
#include "driver/encoding/Base64Text.h"

#include "driver/platform/Memory.h"
#include "driver/platform/Pool.h"

namespace {

constexpr int ChunkSize = 2048;

// Moves everything that Chain gives into Result and counts it.
EFI_STATUS DrainChain(BIO *Chain, BIO *Result, UINTN *Total) {
  UINT8 Chunk[ChunkSize];
  for (;;) {
    int Count = BIO_read(Chain, Chunk, ChunkSize);
    if (Count == 0 || (Count == -1 && BIO_should_retry(Chain))) {
      return EFI_SUCCESS;
    }
    if (Count < 0) {
      return Count == -1 ? EFI_DEVICE_ERROR : Count == -2 ? EFI_UNSUPPORTED : EFI_NOT_FOUND;
    }
    if (BIO_write(Result, Chunk, Count) != Count) {
      return EFI_OUT_OF_RESOURCES;
    }
    *Total += static_cast<UINTN>(Count);
  }
}

struct BASE64_SWITCHES {
  BOOLEAN UrlSafe;
  BOOLEAN NoNewline;
};

// A zero character does not end the scan.
template <typename CHARACTER> BASE64_SWITCHES FindSwitches(const CHARACTER *Text, UINTN Length) {
  BASE64_SWITCHES Switches = {FALSE, TRUE};
  for (UINTN Index = 0; Index < Length; Index++) {
    CHARACTER Character = Text[Index];
    if (Character == '-' || Character == '_') {
      Switches.UrlSafe = TRUE;
    } else if (Character == '\n' || Character == '\r') {
      Switches.NoNewline = FALSE;
    }
  }
  return Switches;
}

} // namespace

EFI_STATUS EFIAPI SvcBase64DecodeAscii(BOOLEAN UrlSafe, BOOLEAN NoNewline, CHAR8 *Input, UINTN InputLength,
                                       UINT8 **Output, UINTN *OutputLength) {
  EFI_STATUS Status = CheckBase64Arguments(Input, InputLength, Output, OutputLength);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  if (UrlSafe) {
    TranslateAlphabet(Input, InputLength, mUrlSafeAlphabet, mStandardAlphabet);
  }
  BioHandle Result(BIO_new(BIO_s_mem()));
  BioHandle Text(BIO_new_mem_buf(Input, static_cast<int>(InputLength)));
  if (!Result) {
    return EFI_OUT_OF_RESOURCES;
  }
  BioHandle Filter;
  Status = ChainBase64Filter(Text, NoNewline, &Filter);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  UINTN Total = 0;
  Status = DrainChain(Filter.Get(), Result.Get(), &Total);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  PoolBlock<UINT8> Decoded = ZeroedBlock(Total + 1);
  if (!Decoded) {
    return EFI_OUT_OF_RESOURCES;
  }
  int Count = BIO_read(Result.Get(), Decoded.Get(), static_cast<int>(Total + 1));
  if (Count <= 0) {
    return EFI_LOAD_ERROR;
  }
  UINTN Size = static_cast<UINTN>(Count);
  auto *Block = static_cast<UINT8 *>(AllocateZeroedPool(Size + 1));
  if (Block == nullptr) {
    return EFI_OUT_OF_RESOURCES;
  }
  BoundedCopy(Block, Size, Decoded.Get(), Size);
  *Output = Block;
  *OutputLength = Size;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI SvcBase64DecodeUnicode(BOOLEAN UrlSafe, BOOLEAN NoNewline, const CHAR16 *Input,
                                         UINTN InputLength, UINT8 **Output, UINTN *OutputLength) {
  EFI_STATUS Status = CheckBase64Arguments(Input, InputLength, Output, OutputLength);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  PoolBlock<CHAR8> Narrow(static_cast<CHAR8 *>(AllocateZeroedPool(InputLength + 1)));
  if (!Narrow) {
    return EFI_OUT_OF_RESOURCES;
  }
  for (UINTN Index = 0; Index < InputLength; Index++) {
    Narrow.Get()[Index] = static_cast<CHAR8>(Input[Index] & 0xFF);
  }
  return SvcBase64DecodeAscii(UrlSafe, NoNewline, Narrow.Get(), InputLength, Output, OutputLength);
}

EFI_STATUS EFIAPI SvcBase64DecodeAsciiAuto(CHAR8 *Input, UINTN InputLength, UINT8 **Output,
                                           UINTN *OutputLength) {
  EFI_STATUS Status = CheckBase64Arguments(Input, InputLength, Output, OutputLength);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  BASE64_SWITCHES Switches = FindSwitches(Input, InputLength);
  return SvcBase64DecodeAscii(Switches.UrlSafe, Switches.NoNewline, Input, InputLength, Output, OutputLength);
}

EFI_STATUS EFIAPI SvcBase64DecodeUnicodeAuto(const CHAR16 *Input, UINTN InputLength, UINT8 **Output,
                                             UINTN *OutputLength) {
  EFI_STATUS Status = CheckBase64Arguments(Input, InputLength, Output, OutputLength);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  BASE64_SWITCHES Switches = FindSwitches(Input, InputLength);
  return SvcBase64DecodeUnicode(Switches.UrlSafe, Switches.NoNewline, Input, InputLength, Output,
                                OutputLength);
}
