// No text is counted past 4096 characters.
#include "driver/runtime/BoundedStrings.h"

#include "driver/platform/Memory.h"

namespace {

constexpr UINTN BufferSize = 4096;
constexpr UINTN MaximumCount = 1000000;

UINTN BoundedLength(const CHAR8 *Text) {
  UINTN Length = 0;
  while (Length < BufferSize && Text[Length] != '\0') {
    Length++;
  }
  return Length;
}

// Length is the number of source characters that count, its NUL not included.
bool Overlaps(const CHAR8 *Destination, const CHAR8 *Source, UINTN Length) {
  auto To = reinterpret_cast<UINTN>(Destination);
  auto From = reinterpret_cast<UINTN>(Source);
  return From <= To ? To - From <= Length : From - To < BufferSize;
}

} // namespace

extern "C" EFI_STATUS strncpy(CHAR8 *Destination, const CHAR8 *Source, UINTN Count) {
  if (Destination == nullptr || Source == nullptr || Count > MaximumCount) {
    return EFI_INVALID_PARAMETER;
  }
  UINTN Length = BoundedLength(Source);
  if (Count >= BufferSize && Length >= BufferSize) {
    return EFI_BUFFER_TOO_SMALL;
  }
  if (Length > Count) {
    Length = Count;
  }
  if (Overlaps(Destination, Source, Length)) {
    return EFI_ACCESS_DENIED;
  }
  MoveMemory(Destination, Source, Length);
  Destination[Length] = '\0';
  return EFI_SUCCESS;
}

extern "C" EFI_STATUS strcat(CHAR8 *Destination, const CHAR8 *Source) {
  if (Destination == nullptr || Source == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  UINTN Used = BoundedLength(Destination);
  UINTN Room = BufferSize - Used;
  if (Room == 0) {
    return EFI_BAD_BUFFER_SIZE;
  }
  UINTN Length = BoundedLength(Source);
  if (Length >= Room) {
    return EFI_BUFFER_TOO_SMALL;
  }
  if (Overlaps(Destination, Source, Length)) {
    return EFI_ACCESS_DENIED;
  }
  MoveMemory(Destination + Used, Source, Length + 1);
  return EFI_SUCCESS;
}
