// Holds the tables to UEFI 2.10, sections 4.2 to 4.6, the hand-off blocks to PI 1.7, volume 3, section 5, and
// the firmware to its account of what a driver leaves behind.
#include <cstring>

#include <zlib.h>

#include "simulator/Faults.h"
#include "tests/simulator/FirmwareTest.h"
#include "uefi/Hob.h"

namespace {

constexpr EFI_GUID mGuidA = {0xA, 0, 0, {}};
constexpr EFI_GUID mGuidB = {0xB, 0, 0, {}};

using SimulatedFirmwareTests = FirmwareTest;

template <typename TABLE>
void ExpectSealed(const TABLE &Table, UINT64 Signature, UINT32 Revision, UINT32 Size) {
  TABLE Copy;
  std::memcpy(&Copy, &Table, sizeof(Copy));
  Copy.Hdr.CRC32 = 0;
  EXPECT_EQ(Table.Hdr.Signature, Signature);
  EXPECT_EQ(Table.Hdr.Revision, Revision);
  EXPECT_EQ(Table.Hdr.HeaderSize, Size);
  EXPECT_EQ(Table.Hdr.Reserved, 0u);
  EXPECT_EQ(Table.Hdr.CRC32, crc32(0, reinterpret_cast<const UINT8 *>(&Copy), Size));
}

template <typename TABLE> void ExpectFilled(const TABLE &Table) {
  for (UINTN Offset = sizeof(EFI_TABLE_HEADER); Offset < sizeof(TABLE); Offset += sizeof(VOID *)) {
    VOID *Member = nullptr;
    std::memcpy(&Member, reinterpret_cast<const UINT8 *>(&Table) + Offset, sizeof(Member));
    EXPECT_NE(Member, nullptr) << "at " << Offset;
  }
}

TEST(FirmwareTables, HeadersFollowTheRevision) {
  const struct {
    UINT32 Revision;
    UINT32 BootSize;
    UINT32 RuntimeSize;
  } Rows[] = {
      {EFI_2_100_SYSTEM_TABLE_REVISION, 0x178, 0x88},
      {EFI_2_00_SYSTEM_TABLE_REVISION, 0x178, 0x88},
      {EFI_2_00_SYSTEM_TABLE_REVISION - 1, 0x170, 0x70},
      {EFI_1_10_SYSTEM_TABLE_REVISION, 0x170, 0x70},
  };
  for (const auto &Row : Rows) {
    SimulatedFirmware Firmware({.Revision = Row.Revision});
    const EFI_SYSTEM_TABLE &System = *Firmware.SystemTable();
    ExpectSealed(System, 0x5453595320494249, Row.Revision, 0x78);
    ExpectSealed(*System.BootServices, 0x56524553544f4f42, Row.Revision, Row.BootSize);
    ExpectSealed(*System.RuntimeServices, 0x56524553544e5552, Row.Revision, Row.RuntimeSize);
    ExpectFilled(*System.BootServices);
    ExpectFilled(*System.RuntimeServices);
  }
}

TEST(FirmwareTables, WhatCannotBeAnsweredEndsTheRun) {
  auto Firmware = std::make_unique<SimulatedFirmware>();
  EFI_BOOT_SERVICES *Boot = Firmware->BootServices();
  EFI_HII_STRING_PROTOCOL *String = &Firmware->Hii.String;
  UINT8 Byte = 0;
  EXPECT_DEATH(Boot->SetMem(&Byte, 1, 0), "called SetMem");
  EXPECT_DEATH(Firmware->RuntimeServices()->SetVariable(u"X", &mGuidA, 0, 0, nullptr), "called SetVariable");
  EXPECT_DEATH(String->SetString(String, nullptr, 1, "en", u"", nullptr), "called SetString");
  EXPECT_DEATH(SimulatedFirmware(), "a second simulated firmware");
  const EFI_FREE_POOL FreePool = Boot->FreePool;
  Firmware.reset();
  EXPECT_DEATH(FreePool(nullptr), "no simulated firmware lives");
  SimulatedFirmware Old({.Revision = EFI_2_00_SYSTEM_TABLE_REVISION - 1});
  EFI_EVENT Event = nullptr;
  EXPECT_DEATH(Old.BootServices()->CreateEventEx(0, 0, nullptr, nullptr, nullptr, &Event),
               "called CreateEventEx");
}

// The configuration table keeps its order and the system table its checksum; the blocks lie as their lengths
// say.
TEST_F(SimulatedFirmwareTests, TheConfigurationTableLeadsToTheHandOffBlocks) {
  UINT8 Table = 0;
  HobList Hobs;
  Hobs.AddGuid(mGuidA, {1, 2, 3})
      .AddGuid(mGuidB, std::vector<UINT8>(16, 7), 32)
      .AddRaw(EFI_HOB_TYPE_CPU, {9}, 0);
  Firmware.AddConfiguration(mGuidA, &Table);
  Firmware.AddHobList(Hobs);
  const EFI_SYSTEM_TABLE &System = *Firmware.SystemTable();
  ExpectSealed(System, EFI_SYSTEM_TABLE_SIGNATURE, EFI_2_100_SYSTEM_TABLE_REVISION, sizeof(System));
  ASSERT_EQ(System.NumberOfTableEntries, 2u);
  EXPECT_EQ(System.ConfigurationTable[0].VendorTable, &Table);
  const auto *At = static_cast<const UINT8 *>(System.ConfigurationTable[1].VendorTable);
  EFI_HOB_HANDOFF_INFO_TABLE Handoff;
  std::memcpy(&Handoff, At, sizeof(Handoff));
  EXPECT_EQ(std::vector<UINT8>(At + 56 + 24, At + 56 + 32), std::vector<UINT8>({1, 2, 3, 0, 0, 0, 0, 0}));
  const struct {
    UINT16 Type;
    UINT16 Length;
    UINTN Step;
  } Rows[] = {
      {EFI_HOB_TYPE_HANDOFF, 56, 56},        {EFI_HOB_TYPE_GUID_EXTENSION, 32, 32},
      {EFI_HOB_TYPE_GUID_EXTENSION, 32, 32}, {EFI_HOB_TYPE_CPU, 0, 8},
      {EFI_HOB_TYPE_END_OF_HOB_LIST, 8, 8},
  };
  for (const auto &Row : Rows) {
    EFI_HOB_GENERIC_HEADER Header;
    std::memcpy(&Header, At, sizeof(Header));
    EXPECT_EQ(Header.HobType, Row.Type);
    EXPECT_EQ(Header.HobLength, Row.Length);
    At += Row.Step;
  }
  EXPECT_EQ(Handoff.EfiEndOfHobList, reinterpret_cast<UINT64>(At));
}

TEST(FirmwareAccount, LeaksNameWhatIsOpenAndWhereItWasMade) {
  {
    SimulatedFirmware Firmware;
    EFI_BOOT_SERVICES *Boot = Firmware.BootServices();
    VOID *Kept = nullptr;
    VOID *Freed = nullptr;
    EFI_EVENT Event = nullptr;
    VOID *Registration = nullptr;
    Boot->AllocatePool(EfiBootServicesData, 5, &Freed);
    Boot->AllocatePool(EfiLoaderData, 24, &Kept);
    Boot->FreePool(Freed);
    Boot->CreateEvent(0, 0, nullptr, nullptr, &Event);
    Boot->RegisterProtocolNotify(&mGuidA, Event, &Registration);
    SetPlaceNamer([](const void *Address) { return Address != nullptr ? "here" : ""; });
    std::string Told;
    for (const Leak &Each : Firmware.Leaks()) {
      Told += Each.Text() + "\n";
    }
    SetPlaceNamer({});
    EXPECT_EQ(Told, "pool block 2 (24 bytes of memory type 2) made at here\n"
                    "event 1 (TPL 4) made at here\n"
                    "protocol watch 1 (protocol 0000000A-0000-0000-0000-000000000000) made at here\n");
    // Without a namer the place is the caller: this program, at some offset.
    EXPECT_NE(Firmware.Leaks()[0].Place.find("+0x"), std::string::npos);
    EXPECT_NE(Firmware.Leaks()[0].Place, Firmware.Leaks()[1].Place);
    // Destruction checks the guards of what is open.
    [](volatile UINT8 * Behind) __attribute__((no_sanitize("address"))) {
      *Behind = 1;
    }
    (static_cast<UINT8 *>(Kept) + 24);
  }
  EXPECT_EQ(SimulatedFirmware::LastLeaks().size(), 3u);
  ASSERT_EQ(SimulatedFirmware::LastFaults().size(), 1u);
  EXPECT_NE(SimulatedFirmware::LastFaults()[0].find("damaged back guard"), std::string::npos);
  { SimulatedFirmware Firmware; }
  EXPECT_TRUE(SimulatedFirmware::LastLeaks().empty());
  EXPECT_TRUE(SimulatedFirmware::LastFaults().empty());
}

} // namespace
