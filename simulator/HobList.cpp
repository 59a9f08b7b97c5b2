// The builder of hand-off block lists.
#include "simulator/HobList.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "simulator/Faults.h"

HobList::HobList() {
  EFI_HOB_HANDOFF_INFO_TABLE Handoff{};
  Handoff.Version = EFI_HOB_HANDOFF_TABLE_VERSION;
  Handoff.BootMode = BOOT_WITH_FULL_CONFIGURATION;
  const auto *Body = reinterpret_cast<const UINT8 *>(&Handoff) + sizeof(Handoff.Header);
  AddRaw(EFI_HOB_TYPE_HANDOFF, {Body, Body + sizeof(Handoff) - sizeof(Handoff.Header)});
}

HobList &HobList::AddGuid(const EFI_GUID &Name, const std::vector<UINT8> &Data, std::optional<UINT16> Length,
                          UINT8 Padding) {
  std::vector<UINT8> Body(sizeof(Name));
  std::memcpy(Body.data(), &Name, sizeof(Name));
  Body.insert(Body.end(), Data.begin(), Data.end());
  return AddRaw(EFI_HOB_TYPE_GUID_EXTENSION, Body, Length, Padding);
}

HobList &HobList::AddRaw(UINT16 Type, const std::vector<UINT8> &Body, std::optional<UINT16> Length,
                         UINT8 Padding) {
  if (Ended_) {
    AbortRun("HobList: a block was added behind the end");
  }
  const size_t Start = Bytes_.size();
  const size_t Padded = (sizeof(EFI_HOB_GENERIC_HEADER) + Body.size() + 7) / 8 * 8;
  if (Padded > 0xFFF8) {
    AbortRun("HobList: a block is longer than its length field can say");
  }
  EFI_HOB_GENERIC_HEADER Header{Type, static_cast<UINT16>(Padded), 0};
  size_t Taken = Padded;
  if (Length) {
    Header.HobLength = *Length;
    Taken = std::max<size_t>(*Length, sizeof(Header));
  }
  Bytes_.resize(Start + std::max(Taken, Padded), Padding);
  std::memcpy(&Bytes_[Start], &Header, sizeof(Header));
  if (!Body.empty()) {
    std::memcpy(&Bytes_[Start + sizeof(Header)], Body.data(), Body.size());
  }
  Bytes_.resize(Start + Taken);
  return *this;
}

VOID *HobList::Start() {
  if (!Ended_) {
    AddRaw(EFI_HOB_TYPE_END_OF_HOB_LIST, {});
    Ended_ = true;
    // The size is final now: nothing spare behind the last byte.
    std::vector<UINT8>(Bytes_).swap(Bytes_);
    const auto End = reinterpret_cast<EFI_PHYSICAL_ADDRESS>(Bytes_.data() + Bytes_.size());
    std::memcpy(&Bytes_[offsetof(EFI_HOB_HANDOFF_INFO_TABLE, EfiEndOfHobList)], &End, sizeof(End));
  }
  return Bytes_.data();
}
