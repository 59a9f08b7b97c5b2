// Memory primitives on the processor's string instructions, with plain loads
// and stores for the short blocks in which those are slow.
#include "driver/platform/Memory.h"

namespace {

// The address sanitizer does not see through assembler, so its build takes the
// byte loops below.
#if defined(__has_feature)
#if __has_feature(address_sanitizer)
constexpr bool UseStringInstructions = false;
#else
constexpr bool UseStringInstructions = true;
#endif
#else
constexpr bool UseStringInstructions = true;
#endif

struct __attribute__((packed, may_alias)) UNALIGNED64 {
  UINT64 Value;
};

UINT64 Load64(const UINT8 *Place) {
  return reinterpret_cast<const UNALIGNED64 *>(Place)->Value;
}

void Store64(UINT8 *Place, UINT64 Value) {
  reinterpret_cast<UNALIGNED64 *>(Place)->Value = Value;
}

void MoveForward(UINT8 *Destination, const UINT8 *Source, UINTN Size) {
  if (UseStringInstructions && Size > 32) {
    __asm__ volatile("rep movsb" : "+D"(Destination), "+S"(Source), "+c"(Size) : : "memory");
    return;
  }
  for (; Size >= 8; Size -= 8, Destination += 8, Source += 8) {
    Store64(Destination, Load64(Source));
  }
  for (; Size != 0; Size--) {
    *Destination++ = *Source++;
  }
}

void MoveBackward(UINT8 *Destination, const UINT8 *Source, UINTN Size) {
  for (; Size >= 8; Size -= 8) {
    Store64(Destination + Size - 8, Load64(Source + Size - 8));
  }
  for (; Size != 0; Size--) {
    Destination[Size - 1] = Source[Size - 1];
  }
}

} // namespace

void FillMemory(VOID *Block, UINTN Size, UINT8 Value) {
  auto *Place = static_cast<UINT8 *>(Block);
  if (UseStringInstructions && Size > 32) {
    __asm__ volatile("rep stosb" : "+D"(Place), "+c"(Size) : "a"(Value) : "memory");
    return;
  }
  for (; Size >= 8; Size -= 8, Place += 8) {
    Store64(Place, UINT64{0x0101010101010101} * Value);
  }
  for (; Size != 0; Size--) {
    *Place++ = Value;
  }
}

void ZeroMemory(VOID *Block, UINTN Size) {
  FillMemory(Block, Size, 0);
}

void WipeMemory(VOID *Block, UINTN Size) {
  FillMemory(Block, Size, 0);
  __asm__ volatile("" : : "r"(Block) : "memory");
}

void MoveMemory(VOID *Destination, const VOID *Source, UINTN Size) {
  auto *To = static_cast<UINT8 *>(Destination);
  const auto *From = static_cast<const UINT8 *>(Source);
  if (reinterpret_cast<UINTN>(To) - reinterpret_cast<UINTN>(From) < Size) {
    MoveBackward(To, From, Size);
  } else {
    MoveForward(To, From, Size);
  }
}

INTN CompareMemory(const VOID *First, const VOID *Second, UINTN Size) {
  const auto *Left = static_cast<const UINT8 *>(First);
  const auto *Right = static_cast<const UINT8 *>(Second);
  for (; Size >= 8 && Load64(Left) == Load64(Right); Size -= 8) {
    Left += 8;
    Right += 8;
  }
  for (; Size != 0; Size--, Left++, Right++) {
    if (*Left != *Right) {
      return static_cast<INTN>(*Left) - static_cast<INTN>(*Right);
    }
  }
  return 0;
}

bool SameGuid(const EFI_GUID &First, const EFI_GUID &Second) {
  return CompareMemory(&First, &Second, sizeof(EFI_GUID)) == 0;
}

void BoundedCopy(VOID *Destination, UINTN DestinationSize, const VOID *Source, UINTN SourceSize) {
  if (DestinationSize == 0 || Source == nullptr || SourceSize == 0 || Destination == Source) {
    return;
  }
  MoveMemory(Destination, Source, SourceSize < DestinationSize ? SourceSize : DestinationSize);
}

EFI_STATUS CopyByteReversed(VOID *Destination, UINTN DestinationSize, const VOID *Source, UINTN SourceSize) {
  if (Destination == nullptr || DestinationSize == 0 || Source == nullptr || SourceSize == 0) {
    return EFI_INVALID_PARAMETER;
  }
  if (DestinationSize != SourceSize) {
    return EFI_BAD_BUFFER_SIZE;
  }
  // The copy comes first and the reversal works in place, so overlapping areas are fine.
  MoveMemory(Destination, Source, SourceSize);
  auto *Low = static_cast<UINT8 *>(Destination);
  auto *High = Low + SourceSize - 1;
  for (; Low < High; Low++, High--) {
    UINT8 Byte = *Low;
    *Low = *High;
    *High = Byte;
  }
  return EFI_SUCCESS;
}
