// Rows of slots that belong together, in slot order; the names are the interface's own.
#include "tools/session/SlotTable.h"

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
