// Builds one package list in a pool block and hands it to the database.
#include "driver/core/StringPackages.h"

#include "driver/core/DriverContext.h"
#include "driver/platform/Memory.h"
#include "driver/platform/Pool.h"

namespace {

constexpr UINT32 LengthPrefixSize = sizeof(UINT32);

UINT32 PackagesSize(const UINT8 *Array) {
  UINT32 Length;
  MoveMemory(&Length, Array, LengthPrefixSize);
  return Length - LengthPrefixSize;
}

} // namespace

EFI_HII_HANDLE AddStringPackages(const EFI_GUID &ListGuid, EFI_HANDLE DeviceHandle,
                                 const UINT8 *const *Arrays) {
  UINT32 Sum = 0;
  for (UINTN Index = 0; Arrays[Index] != nullptr; Index++) {
    Sum += PackagesSize(Arrays[Index]);
  }
  if (Sum == 0 || DriverContext.HiiDatabase == nullptr) {
    return nullptr;
  }
  constexpr EFI_HII_PACKAGE_HEADER EndPackage = {sizeof(EFI_HII_PACKAGE_HEADER), EFI_HII_PACKAGE_END};
  EFI_HII_PACKAGE_LIST_HEADER Header = {ListGuid, 0};
  Header.PackageLength = static_cast<UINT32>(sizeof(Header)) + Sum + static_cast<UINT32>(sizeof(EndPackage));
  PoolBlock<UINT8> List = ZeroedBlock(Header.PackageLength);
  if (!List) {
    return nullptr;
  }
  UINT8 *Place = List.Get();
  MoveMemory(Place, &Header, sizeof(Header));
  Place += sizeof(Header);
  for (UINTN Index = 0; Arrays[Index] != nullptr; Index++) {
    UINT32 Size = PackagesSize(Arrays[Index]);
    MoveMemory(Place, Arrays[Index] + LengthPrefixSize, Size);
    Place += Size;
  }
  MoveMemory(Place, &EndPackage, sizeof(EndPackage));

  EFI_HII_HANDLE Handle = nullptr;
  EFI_STATUS Status = DriverContext.HiiDatabase->NewPackageList(
      DriverContext.HiiDatabase, reinterpret_cast<EFI_HII_PACKAGE_LIST_HEADER *>(List.Get()), DeviceHandle,
      &Handle);
  return EFI_ERROR(Status) ? nullptr : Handle;
}
