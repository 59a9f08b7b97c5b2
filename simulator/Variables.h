// The variable store behind GetVariable (UEFI 2.10, section 8.2). The driver only reads; a test sets.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "simulator/ScriptedStatus.h"
#include "uefi/Uefi.h"

class Variables {
public:
  // GetVariable. EFI_NOT_FOUND for an unknown name; EFI_BUFFER_TOO_SMALL with the size stored, also for a
  // size of 0 without a buffer; EFI_INVALID_PARAMETER for a NULL name, namespace or size, and for a size that
  // would do without a buffer. Attributes, where asked for, come with success and with EFI_BUFFER_TOO_SMALL.
  EFI_STATUS Get(const CHAR16 *Name, const EFI_GUID *Vendor, UINT32 *Attributes, UINTN *DataSize, VOID *Data);

  // Stores Data as the variable's bytes, as they are: a text without its NUL is a text without its NUL.
  void Set(const std::u16string &Name, const EFI_GUID &Vendor, const std::string &Data,
           UINT32 Attributes = EFI_VARIABLE_BOOTSERVICE_ACCESS | EFI_VARIABLE_RUNTIME_ACCESS);

  ScriptedStatus GetVariableCalls;

private:
  struct Entry {
    UINT32 Attributes;
    std::string Data;
  };
  using Key = std::pair<std::string, std::u16string>;

  std::map<Key, Entry> Entries_;
};
