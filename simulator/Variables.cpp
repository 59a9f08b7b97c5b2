// The variable store.
#include "simulator/Variables.h"

#include <cstring>

#include "simulator/Guids.h"

EFI_STATUS Variables::Get(const CHAR16 *Name, const EFI_GUID *Vendor, UINT32 *Attributes, UINTN *DataSize,
                          VOID *Data) {
  const EFI_STATUS Scripted = GetVariableCalls.NextCall();
  if (Name == nullptr || Vendor == nullptr || DataSize == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  if (Scripted != EFI_SUCCESS) {
    return Scripted;
  }
  const auto Found = Entries_.find({GuidText(*Vendor), Name});
  if (Found == Entries_.end()) {
    return EFI_NOT_FOUND;
  }
  const std::string &Bytes = Found->second.Data;
  const bool Fits = *DataSize >= Bytes.size();
  if (Fits && Data == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  *DataSize = Bytes.size();
  if (Attributes != nullptr) {
    *Attributes = Found->second.Attributes;
  }
  if (!Fits) {
    return EFI_BUFFER_TOO_SMALL;
  }
  std::memcpy(Data, Bytes.data(), Bytes.size());
  return EFI_SUCCESS;
}

void Variables::Set(const std::u16string &Name, const EFI_GUID &Vendor, const std::string &Data,
                    UINT32 Attributes) {
  Entries_[{GuidText(Vendor), Name}] = {Attributes, Data};
}
