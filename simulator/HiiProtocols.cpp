// The working members of the HII protocols. Arguments are tested before scripted failures apply, and each
// member names the task priority level at which the standard allows it.
#include "simulator/HiiProtocols.h"

#include <algorithm>
#include <cstring>

#include "simulator/Faults.h"
#include "simulator/Guids.h"
#include "simulator/Refusal.h"
#include "simulator/SimulatedFirmware.h"

namespace {

HiiProtocols &EnterMember(const char *Member, const VOID *This) {
  SimulatedFirmware &Firmware = SimulatedFirmware::Living();
  Firmware.Events.RequireAtMost(Member, TPL_NOTIFY);
  if (This != &Firmware.Hii.Database && This != &Firmware.Hii.String) {
    ReportFault(std::string(Member) + ": called on something that is not the protocol");
  }
  return Firmware.Hii;
}

// Hands out Bytes by the rules of a size probe. *Size and Buffer are what the caller gave; the caller has
// made sure that a buffer comes with a size other than 0.
EFI_STATUS HandOut(const VOID *Bytes, UINTN Needed, UINTN *Size, VOID *Buffer) {
  const bool Fits = *Size >= Needed;
  *Size = Needed;
  if (!Fits) {
    return EFI_BUFFER_TOO_SMALL;
  }
  std::memcpy(Buffer, Bytes, Needed);
  return EFI_SUCCESS;
}

bool IsBadProbe(const UINTN *Size, const VOID *Buffer) {
  return Size == nullptr || (*Size != 0 && Buffer == nullptr);
}

EFI_STATUS EFIAPI NewPackageList(const EFI_HII_DATABASE_PROTOCOL *This,
                                 const EFI_HII_PACKAGE_LIST_HEADER *List, EFI_HANDLE,
                                 EFI_HII_HANDLE *Handle) {
  HiiProtocols &Hii = EnterMember("NewPackageList", This);
  const EFI_STATUS Scripted = Hii.NewPackageListCalls.NextCall();
  if (List == nullptr || Handle == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  if (Scripted != EFI_SUCCESS) {
    return Scripted;
  }
  std::string Why;
  const EFI_HII_HANDLE Fresh = Hii.Store.Add(List, Why);
  if (Fresh == nullptr) {
    // Real databases do not look this closely, so a driver that passes such a list breaks later, elsewhere.
    ReportFault("NewPackageList: " + Why);
    return EFI_INVALID_PARAMETER;
  }
  *Handle = Fresh;
  return EFI_SUCCESS;
}

bool HoldsPackage(const HiiStore::PackageList &List, UINT8 Type, const EFI_GUID *Guid) {
  if (Type == EFI_HII_PACKAGE_TYPE_ALL) {
    return true;
  }
  if (Type == EFI_HII_PACKAGE_TYPE_GUID) {
    return std::any_of(List.PackageGuids.begin(), List.PackageGuids.end(),
                       [&](const EFI_GUID &Present) { return SameGuid(Present, *Guid); });
  }
  return std::find(List.Types.begin(), List.Types.end(), Type) != List.Types.end();
}

EFI_STATUS EFIAPI ListPackageLists(const EFI_HII_DATABASE_PROTOCOL *This, UINT8 Type, const EFI_GUID *Guid,
                                   UINTN *Length, EFI_HII_HANDLE *Handles) {
  HiiProtocols &Hii = EnterMember("ListPackageLists", This);
  const EFI_STATUS Scripted = Hii.ListPackageListsCalls.NextCall();
  if (IsBadProbe(Length, Handles) || (Type == EFI_HII_PACKAGE_TYPE_GUID) != (Guid != nullptr)) {
    return EFI_INVALID_PARAMETER;
  }
  if (Scripted != EFI_SUCCESS) {
    return Scripted;
  }
  std::vector<EFI_HII_HANDLE> Matching;
  for (EFI_HII_HANDLE Handle : Hii.Store.Handles()) {
    if (HoldsPackage(*Hii.Store.Find(Handle), Type, Guid)) {
      Matching.push_back(Handle);
    }
  }
  if (Matching.empty()) {
    return EFI_NOT_FOUND;
  }
  return HandOut(Matching.data(), Matching.size() * sizeof(EFI_HII_HANDLE), Length, Handles);
}

EFI_STATUS EFIAPI ExportPackageLists(const EFI_HII_DATABASE_PROTOCOL *This, EFI_HII_HANDLE Handle,
                                     UINTN *Size, EFI_HII_PACKAGE_LIST_HEADER *Buffer) {
  HiiProtocols &Hii = EnterMember("ExportPackageLists", This);
  const EFI_STATUS Scripted = Hii.ExportPackageListsCalls.NextCall();
  if (IsBadProbe(Size, Buffer)) {
    return EFI_INVALID_PARAMETER;
  }
  if (Scripted != EFI_SUCCESS) {
    return Scripted;
  }
  std::vector<UINT8> Bytes;
  for (EFI_HII_HANDLE Present : Hii.Store.Handles()) {
    if (Handle == nullptr || Handle == Present) {
      const std::vector<UINT8> &List = Hii.Store.Find(Present)->Bytes;
      Bytes.insert(Bytes.end(), List.begin(), List.end());
    }
  }
  if (Bytes.empty()) {
    return EFI_NOT_FOUND;
  }
  return HandOut(Bytes.data(), Bytes.size(), Size, Buffer);
}

EFI_STATUS EFIAPI GetLanguages(const EFI_HII_STRING_PROTOCOL *This, EFI_HII_HANDLE Handle, CHAR8 *Languages,
                               UINTN *Size) {
  HiiProtocols &Hii = EnterMember("GetLanguages", This);
  const EFI_STATUS Scripted = Hii.GetLanguagesCalls.NextCall();
  if (IsBadProbe(Size, Languages)) {
    return EFI_INVALID_PARAMETER;
  }
  if (Scripted != EFI_SUCCESS) {
    return Scripted;
  }
  const HiiStore::PackageList *List = Hii.Store.Find(Handle);
  if (List == nullptr) {
    return EFI_NOT_FOUND;
  }
  const std::string Text = List->Languages();
  return HandOut(Text.c_str(), Text.size() + 1, Size, Languages);
}

EFI_STATUS EFIAPI GetString(const EFI_HII_STRING_PROTOCOL *This, const CHAR8 *Language, EFI_HII_HANDLE Handle,
                            EFI_STRING_ID Id, EFI_STRING String, UINTN *Size, EFI_FONT_INFO **Font) {
  HiiProtocols &Hii = EnterMember("GetString", This);
  const EFI_STATUS Scripted = Hii.GetStringCalls.NextCall();
  if (Language == nullptr || IsBadProbe(Size, String)) {
    return EFI_INVALID_PARAMETER;
  }
  if (Scripted != EFI_SUCCESS) {
    return Scripted;
  }
  const HiiStore::PackageList *List = Hii.Store.Find(Handle);
  if (List == nullptr) {
    return EFI_NOT_FOUND;
  }
  bool Elsewhere = false;
  for (const HiiStore::StringPackage &Package : List->Strings) {
    const auto Found = Package.Texts.find(Id);
    if (Found == Package.Texts.end()) {
      continue;
    }
    if (Package.Language != Language) {
      Elsewhere = true;
      continue;
    }
    if (Font != nullptr) {
      *Font = nullptr;
    }
    const std::u16string &Text = Found->second;
    return HandOut(Text.c_str(), (Text.size() + 1) * sizeof(CHAR16), Size, String);
  }
  return Elsewhere ? EFI_INVALID_LANGUAGE : EFI_NOT_FOUND;
}

} // namespace

HiiProtocols::HiiProtocols() {
  Database.NewPackageList = NewPackageList;
  Database.ListPackageLists = ListPackageLists;
  Database.ExportPackageLists = ExportPackageLists;
  REFUSE_MEMBER(Database, RemovePackageList);
  REFUSE_MEMBER(Database, UpdatePackageList);
  REFUSE_MEMBER(Database, RegisterPackageNotify);
  REFUSE_MEMBER(Database, UnregisterPackageNotify);
  REFUSE_MEMBER(Database, FindKeyboardLayouts);
  REFUSE_MEMBER(Database, GetKeyboardLayout);
  REFUSE_MEMBER(Database, SetKeyboardLayout);
  REFUSE_MEMBER(Database, GetPackageListHandle);
  String.GetString = GetString;
  String.GetLanguages = GetLanguages;
  REFUSE_MEMBER(String, NewString);
  REFUSE_MEMBER(String, SetString);
  REFUSE_MEMBER(String, GetSecondaryLanguages);
}
