// Lookups through the HII protocols (UEFI 2.10, sections 34.3 and 34.8). What
// they answer is foreign data: no size of theirs is trusted beyond a block.
#include "driver/policy/MessageStrings.h"

#include "driver/core/DriverContext.h"
#include "driver/platform/Memory.h"
#include "driver/platform/SizedRead.h"
#include "driver/policy/Languages.h"

namespace {

// Room for a terminator behind a string of any size, odd ones included.
constexpr UINTN TerminatorSpare = sizeof(CHAR16) + 1;

bool IsMessagePackageList(EFI_HII_HANDLE Handle) {
  UINTN Size;
  PoolBlock<UINT8> List = ReadWhole(
      [&](UINTN *Length, UINT8 *Buffer) {
        return DriverContext.HiiDatabase->ExportPackageLists(
            DriverContext.HiiDatabase, Handle, Length,
            reinterpret_cast<EFI_HII_PACKAGE_LIST_HEADER *>(Buffer));
      },
      0, &Size);
  // The name stands at the front of the list.
  return List && Size >= sizeof(EFI_HII_PACKAGE_LIST_HEADER) &&
         CompareMemory(List.Get(), &mMessagePackageListGuid, sizeof(EFI_GUID)) == 0;
}

// The tags of the list's languages, separated by ';' and NUL-terminated.
PoolBlock<UINT8> ReadLanguages(EFI_HII_HANDLE List) {
  UINTN Size;
  return ReadWhole(
      [&](UINTN *Length, UINT8 *Buffer) {
        return DriverContext.HiiString->GetLanguages(DriverContext.HiiString, List,
                                                     reinterpret_cast<CHAR8 *>(Buffer), Length);
      },
      1, &Size);
}

PoolBlock<CHAR16> ReadString(EFI_HII_HANDLE List, const CHAR8 *Language, EFI_STRING_ID Id) {
  UINTN Size;
  PoolBlock<UINT8> Text = ReadWhole(
      [&](UINTN *Length, UINT8 *Buffer) {
        return DriverContext.HiiString->GetString(DriverContext.HiiString, Language, List, Id,
                                                  reinterpret_cast<EFI_STRING>(Buffer), Length, nullptr);
      },
      TerminatorSpare, &Size);
  return PoolBlock<CHAR16>(reinterpret_cast<CHAR16 *>(Text.Release()));
}

} // namespace

PoolBlock<EFI_HII_HANDLE> FindMessagePackageList() {
  UINTN Size;
  // One entry more than listed, so that the array can always end in NULL.
  PoolBlock<UINT8> List = ReadWhole(
      [](UINTN *Length, UINT8 *Buffer) {
        return DriverContext.HiiDatabase->ListPackageLists(DriverContext.HiiDatabase,
                                                           EFI_HII_PACKAGE_TYPE_ALL, nullptr, Length,
                                                           reinterpret_cast<EFI_HII_HANDLE *>(Buffer));
      },
      sizeof(EFI_HII_HANDLE), &Size);
  if (!List) {
    return PoolBlock<EFI_HII_HANDLE>();
  }
  auto *Handles = reinterpret_cast<EFI_HII_HANDLE *>(List.Get());
  UINTN Retained = 0;
  for (UINTN Index = 0; Index < Size / sizeof(EFI_HII_HANDLE) && Handles[Index] != nullptr; Index++) {
    if (IsMessagePackageList(Handles[Index])) {
      Handles[Retained++] = Handles[Index];
    }
  }
  if (Retained == 0) {
    return PoolBlock<EFI_HII_HANDLE>();
  }
  Handles[Retained] = nullptr;
  (void)List.Release();
  return PoolBlock<EFI_HII_HANDLE>(Handles);
}

PoolBlock<CHAR16> LookupMessageString(MESSAGE_STRING_ID Id) {
  if (DriverContext.HiiDatabase == nullptr || DriverContext.HiiString == nullptr) {
    return PoolBlock<CHAR16>();
  }
  EFI_HII_HANDLE List;
  {
    PoolBlock<EFI_HII_HANDLE> Lists = FindMessagePackageList();
    if (!Lists) {
      return PoolBlock<CHAR16>();
    }
    List = *Lists.Get();
  }
  PoolBlock<UINT8> Languages = ReadLanguages(List);
  if (!Languages) {
    return PoolBlock<CHAR16>();
  }
  const auto *Supported = reinterpret_cast<const CHAR8 *>(Languages.Get());
  PoolBlock<CHAR8> Platform = ReadPlatformLanguage();
  // The list itself comes last: its first tag is the fallback.
  const CHAR8 *const Candidates[] = {Platform ? Platform.Get() : Supported, Supported, nullptr};
  PoolBlock<CHAR8> Language = SelectBestLanguage(Supported, Candidates);
  return Language ? ReadString(List, Language.Get(), Id) : PoolBlock<CHAR16>();
}
