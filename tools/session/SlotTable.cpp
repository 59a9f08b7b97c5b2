// Rows of slots that belong together, in slot order; the names are the interface's own.
#include "tools/session/SlotTable.h"

#include <cstring>

#include "simulator/CheckedServices.h"

namespace {

struct SLOT_ROW {
  UINTN First;
  ResultKind Kind;
  const char *Family;
};

// Each row reaches up to the next one.
constexpr SLOT_ROW mRows[] = {
    {0, ResultKind::Status, "signed data"},
    {2, ResultKind::Status, "digests"},
    {3, ResultKind::Status, "signed data"},
    {4, ResultKind::Status, "firmware image"},
    {5, ResultKind::Status, "module policy"},
    {6, ResultKind::Size, "digests"},
    {7, ResultKind::Boolean, "digests"},
    {10, ResultKind::Size, "digests"},
    {11, ResultKind::Boolean, "digests"},
    {14, ResultKind::Size, "HMAC"},
    {15, ResultKind::Boolean, "HMAC"},
    {18, ResultKind::Size, "triple DES"},
    {19, ResultKind::Boolean, "triple DES"},
    {22, ResultKind::Context, "RSA"},
    {23, ResultKind::Boolean, "RSA"},
    {27, ResultKind::Boolean, "PEM keys"},
    {28, ResultKind::Boolean, "certificates"},
    {31, ResultKind::Nothing, "RSA"},
    {32, ResultKind::Boolean, "PKCS#7"},
    {34, ResultKind::Nothing, "PKCS#7"},
    {35, ResultKind::Size, "AES"},
    {36, ResultKind::Boolean, "AES"},
    {41, ResultKind::Context, "Diffie-Hellman"},
    {42, ResultKind::Boolean, "Diffie-Hellman"},
    {45, ResultKind::Nothing, "Diffie-Hellman"},
    {46, ResultKind::Boolean, "random bytes"},
    {48, ResultKind::Boolean, "Authenticode"},
    {49, ResultKind::Status, "PBKDF2"},
    {50, ResultKind::Status, "random bytes"},
    {51, ResultKind::Status, "layered AES"},
    {52, ResultKind::Status, "HMAC"},
    {54, ResultKind::Status, "Base64"},
    {60, ResultKind::Status, "RSA with raw keys"},
};

} // namespace

SlotInfo DescribeSlot(UINTN Slot) {
  const SLOT_ROW *Found = mRows;
  for (const SLOT_ROW &Row : mRows) {
    if (Row.First <= Slot) {
      Found = &Row;
    }
  }
  return {CheckedServices::SlotName(Slot), Found->Family, Found->Kind};
}

const char *KindName(ResultKind Kind) {
  switch (Kind) {
  case ResultKind::Status:
    return "EFI_STATUS";
  case ResultKind::Boolean:
    return "BOOLEAN";
  case ResultKind::Size:
    return "UINTN";
  case ResultKind::Context:
    return "VOID *";
  case ResultKind::Nothing:
    break;
  }
  return "VOID";
}

const UINT8 *SlotCode(const CRYPTO_SERVICES_PROTOCOL *Table, UINTN Slot) {
  const UINT8 *Code;
  std::memcpy(&Code, reinterpret_cast<const UINT8 *>(Table) + Slot * sizeof(Code), sizeof(Code));
  return Code;
}

bool IsRefused(const CRYPTO_SERVICES_PROTOCOL *Table, UINTN Slot) {
  const UINT8 *Code = SlotCode(Table, Slot);
  switch (DescribeSlot(Slot).Kind) {
  case ResultKind::Nothing:
    return Code[0] == 0xC3;
  case ResultKind::Status: {
    const UINT64 Answer = EFI_UNSUPPORTED;
    return Code[0] == 0x48 && Code[1] == 0xB8 && std::memcmp(Code + 2, &Answer, sizeof(Answer)) == 0 &&
           Code[10] == 0xC3;
  }
  default:
    return Code[0] == 0x31 && Code[1] == 0xC0 && Code[2] == 0xC3;
  }
}

std::vector<UINTN> RefusedSlots(const CRYPTO_SERVICES_PROTOCOL *Table) {
  std::vector<UINTN> Refused;
  for (UINTN Slot = 0; Slot < CRYPTO_SERVICES_SLOT_COUNT; ++Slot) {
    if (IsRefused(Table, Slot)) {
      Refused.push_back(Slot);
    }
  }
  return Refused;
}

std::string SlotRanges(const std::vector<UINTN> &Slots) {
  std::string Text;
  for (size_t Index = 0; Index < Slots.size();) {
    size_t Last = Index;
    while (Last + 1 < Slots.size() && Slots[Last + 1] == Slots[Last] + 1) {
      ++Last;
    }
    Text += (Text.empty() ? "" : ", ") + std::to_string(Slots[Index]);
    if (Last != Index) {
      Text += "-" + std::to_string(Slots[Last]);
    }
    Index = Last + 1;
  }
  return Text;
}
