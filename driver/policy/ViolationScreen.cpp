// Collects the lines of the screen and hands them to the platform's dialog. A
// text that cannot be had is left out or passed as NULL: it never keeps the
// boot from stopping.
#include "driver/policy/ViolationScreen.h"

#include "driver/platform/Events.h"
#include "driver/platform/Memory.h"
#include "driver/platform/Protocols.h"
#include "driver/policy/HaltForever.h"
#include "driver/policy/MessageStrings.h"
#include "uefi/DisplayReadyProtocol.h"
#include "uefi/MessageDialogProtocol.h"
#include "uefi/PolicyViolationRecord.h"

namespace {

constexpr UINTN LineCount = 4;

MESSAGE_STRING_ID ReasonMessage(const POLICY_VIOLATION_RECORD &Record) {
  if (Record.Kind == POLICY_VIOLATION_KIND_EXCLUDED_MODULE) {
    return MessageModuleExcluded;
  }
  if (Record.Reason < 0 || Record.Reason > 7) {
    return MessageUnknownViolation;
  }
  return Record.Reason <= 3 ? MessageTestCode : MessagePolicyNotMet;
}

// The name as a text of its own, each byte widened as a signed value; empty
// when the pool refuses. A name without NUL ends with its field.
PoolBlock<CHAR16> WidenName(const CHAR8 (&Name)[POLICY_VIOLATION_NAME_SIZE]) {
  UINTN Length = 0;
  while (Length < POLICY_VIOLATION_NAME_SIZE && Name[Length] != 0) {
    Length++;
  }
  PoolBlock<CHAR16> Text(static_cast<CHAR16 *>(AllocateZeroedPool((Length + 1) * sizeof(CHAR16))));
  for (UINTN Index = 0; Text && Index < Length; Index++) {
    Text.Get()[Index] = static_cast<CHAR16>(static_cast<INT8>(Name[Index]));
  }
  return Text;
}

// The dialog's two tables while they are filled.
class DialogLines {
public:
  DialogLines(DIALOG_LINE *Table, DIALOG_LINE **List) : Table_(Table), List_(List) {}

  void Add(const PoolBlock<CHAR16> &Text) {
    Table_[Count_].Text = Text.Get();
    List_[Count_] = &Table_[Count_];
    Count_++;
  }

private:
  DIALOG_LINE *Table_;
  DIALOG_LINE **List_; // zeroed and one entry longer, so that it ends with NULL
  UINTN Count_ = 0;
};

// Everything that the screen allocates lives within this call.
void DrawScreen(const POLICY_VIOLATION_RECORD *Record) {
  MESSAGE_DIALOG_PROTOCOL *Dialog;
  if (EFI_ERROR(LocateInterface(mMessageDialogProtocolGuid, &Dialog)) || Dialog == nullptr) {
    return;
  }
  PoolBlock<DIALOG_LINE *> List(
      static_cast<DIALOG_LINE **>(AllocateZeroedPool((LineCount + 1) * sizeof(DIALOG_LINE *))));
  PoolBlock<DIALOG_LINE> Table(
      static_cast<DIALOG_LINE *>(AllocateZeroedPool(LineCount * sizeof(DIALOG_LINE))));
  if (!List || !Table) {
    return;
  }
  DialogLines Lines(Table.Get(), List.Get());
  PoolBlock<CHAR16> Title = LookupMessageString(MessageTitle);
  PoolBlock<CHAR16> First = LookupMessageString(MessageFirstLine);
  PoolBlock<CHAR16> Second = LookupMessageString(MessageSecondLine);
  Lines.Add(First);
  Lines.Add(Second);
  PoolBlock<CHAR16> Reason =
      Record != nullptr ? LookupMessageString(ReasonMessage(*Record)) : PoolBlock<CHAR16>();
  PoolBlock<CHAR16> Module = Record != nullptr ? WidenName(Record->ModuleName) : PoolBlock<CHAR16>();
  if (Reason) {
    Lines.Add(Reason);
  }
  if (Record != nullptr) {
    Lines.Add(Module);
  }
  // Also in a notification, and for good: the dialog needs the input that the higher levels hold off.
  DriverContext.BootServices->RestoreTPL(TPL_APPLICATION);
  (void)Dialog->ShowMessage(Title.Get(), 0, List.Get(), 0);
}

} // namespace

VOID EFIAPI ShowViolationScreen(EFI_EVENT, VOID *Record) {
  VOID *Display;
  if (EFI_ERROR(LocateInterface(mDisplayReadyProtocolGuid, &Display))) {
    (void)WatchForProtocol(mDisplayReadyProtocolGuid, TPL_CALLBACK, ShowViolationScreen, nullptr, nullptr);
    return;
  }
  if (Record == nullptr) {
    DrawScreen(nullptr);
  } else {
    POLICY_VIOLATION_RECORD Copy;
    MoveMemory(&Copy, Record, sizeof(Copy));
    DrawScreen(&Copy);
  }
  HaltForever();
}
