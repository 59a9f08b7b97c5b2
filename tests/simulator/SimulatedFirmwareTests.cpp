// Holds the tables to UEFI 2.10, sections 4.2 to 4.6, the hand-off blocks to PI 1.7, volume 3, section 5, and
// the firmware to its account of what a driver leaves behind, also after a boot that was stopped.
#include <csetjmp>
#include <cstring>

#include "simulator/DriverCall.h"
#include "simulator/Faults.h"
#include "tests/simulator/FirmwareTest.h"
#include "uefi/Hob.h"

namespace {

constexpr EFI_GUID mGuidA = {0xA, 0, 0, {}};
constexpr EFI_GUID mGuidB = {0xB, 0, 0, {}};

using SimulatedFirmwareTests = FirmwareTest;

// The checksum of the standard, computed with a table of nibbles and so in another way than the firmware
// does.
UINT32 Checksum(const VOID *Data, UINTN Size) {
  UINT32 Nibbles[16];
  for (UINT32 Index = 0; Index < 16; ++Index) {
    Nibbles[Index] = Index;
    for (int Bit = 0; Bit < 4; ++Bit) {
      Nibbles[Index] = (Nibbles[Index] >> 1) ^ ((Nibbles[Index] & 1) != 0 ? 0xEDB88320 : 0);
    }
  }
  UINT32 Value = 0xFFFFFFFF;
  for (UINTN Index = 0; Index < Size; ++Index) {
    Value ^= static_cast<const UINT8 *>(Data)[Index];
    Value = (Value >> 4) ^ Nibbles[Value & 15];
    Value = (Value >> 4) ^ Nibbles[Value & 15];
  }
  return ~Value;
}

template <typename TABLE>
void ExpectSealed(const TABLE &Table, UINT64 Signature, UINT32 Revision, UINTN Size) {
  TABLE Copy;
  std::memcpy(&Copy, &Table, sizeof(Copy));
  Copy.Hdr.CRC32 = 0;
  EXPECT_EQ(Table.Hdr.Signature, Signature);
  EXPECT_EQ(Table.Hdr.Revision, Revision);
  EXPECT_EQ(Table.Hdr.HeaderSize, Size);
  EXPECT_EQ(Table.Hdr.Reserved, 0u);
  EXPECT_EQ(Table.Hdr.CRC32, Checksum(&Copy, Size));
}

TEST(FirmwareTables, HeadersFollowTheRevision) {
  ASSERT_EQ(Checksum("123456789", 9), 0xCBF43926u);
  const struct {
    UINT32 Revision;
    UINTN BootSize;
    UINTN RuntimeSize;
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
  }
}

TEST_F(SimulatedFirmwareTests, EveryMemberIsFilled) {
  const auto ExpectFilled = [](const VOID *Table, UINTN Size) {
    for (UINTN Offset = sizeof(EFI_TABLE_HEADER); Offset < Size; Offset += sizeof(VOID *)) {
      VOID *Member = nullptr;
      std::memcpy(&Member, static_cast<const UINT8 *>(Table) + Offset, sizeof(Member));
      EXPECT_NE(Member, nullptr) << "at " << Offset;
    }
  };
  ExpectFilled(Firmware.BootServices(), sizeof(EFI_BOOT_SERVICES));
  ExpectFilled(Firmware.RuntimeServices(), sizeof(EFI_RUNTIME_SERVICES));
}

TEST_F(SimulatedFirmwareTests, RefusedServicesEndTheRunWithTheirName) {
  EFI_RUNTIME_SERVICES *Runtime = Firmware.RuntimeServices();
  UINT8 Byte = 0;
  EFI_PHYSICAL_ADDRESS Memory = 0;
  EXPECT_DEATH(Boot->AllocatePages(AllocateAnyPages, EfiBootServicesData, 1, &Memory),
               "called AllocatePages");
  EXPECT_DEATH(Boot->SetMem(&Byte, 1, 0), "called SetMem");
  EXPECT_DEATH(Boot->UninstallMultipleProtocolInterfaces(nullptr, nullptr),
               "called UninstallMultipleProtocolInterfaces");
  EXPECT_DEATH(Runtime->SetVariable(u"X", &mGuidA, 0, 0, nullptr), "called SetVariable");
  EXPECT_DEATH(Firmware.Hii.Database.RemovePackageList(&Firmware.Hii.Database, nullptr),
               "called RemovePackageList");
  EXPECT_DEATH(Firmware.Hii.String.SetString(&Firmware.Hii.String, nullptr, 1, "en", u"", nullptr),
               "called SetString");
}

TEST(FirmwareTables, CreateEventExIsNotThereBeforeRevisionTwo) {
  SimulatedFirmware Firmware({.Revision = EFI_2_00_SYSTEM_TABLE_REVISION - 1});
  EFI_EVENT Event = nullptr;
  EXPECT_DEATH(Firmware.BootServices()->CreateEventEx(0, 0, nullptr, nullptr, nullptr, &Event),
               "called CreateEventEx");
}

TEST_F(SimulatedFirmwareTests, OneLivesAtATime) {
  EXPECT_DEATH(SimulatedFirmware(), "a second simulated firmware");
}

TEST(FirmwareTables, ServicesNeedALivingFirmware) {
  auto Firmware = std::make_unique<SimulatedFirmware>();
  const EFI_FREE_POOL FreePool = Firmware->BootServices()->FreePool;
  Firmware.reset();
  EXPECT_DEATH(FreePool(nullptr), "no simulated firmware lives");
}

TEST(FirmwareTables, HiiProtocolsAreThereAsChosen) {
  for (bool Database : {false, true}) {
    for (bool String : {false, true}) {
      SimulatedFirmware Firmware({.HiiDatabase = Database, .HiiString = String});
      VOID *Found = nullptr;
      EXPECT_EQ(Firmware.BootServices()->LocateProtocol(&mEfiHiiDatabaseProtocolGuid, nullptr, &Found),
                Database ? EFI_SUCCESS : EFI_NOT_FOUND);
      EXPECT_EQ(Found == &Firmware.Hii.Database, Database);
      EXPECT_EQ(Firmware.BootServices()->LocateProtocol(&mEfiHiiStringProtocolGuid, nullptr, &Found),
                String ? EFI_SUCCESS : EFI_NOT_FOUND);
      EXPECT_EQ(Found == &Firmware.Hii.String, String);
    }
  }
}

TEST_F(SimulatedFirmwareTests, TheConfigurationTableKeepsItsOrderAndItsChecksum) {
  UINT8 Tables[3];
  const EFI_SYSTEM_TABLE &System = *Firmware.SystemTable();
  EXPECT_EQ(System.NumberOfTableEntries, 0u);
  Firmware.AddConfiguration(mGuidA, &Tables[0]);
  Firmware.AddConfiguration(mGuidB, &Tables[1]);
  Firmware.AddConfiguration(mGuidA, &Tables[2]);
  ASSERT_EQ(System.NumberOfTableEntries, 3u);
  for (int Index = 0; Index < 3; ++Index) {
    EXPECT_EQ(System.ConfigurationTable[Index].VendorTable, &Tables[Index]);
  }
  ExpectSealed(System, EFI_SYSTEM_TABLE_SIGNATURE, EFI_2_100_SYSTEM_TABLE_REVISION, sizeof(System));
  Firmware.RemoveConfiguration(mGuidA);
  ASSERT_EQ(System.NumberOfTableEntries, 1u);
  EXPECT_EQ(System.ConfigurationTable[0].VendorTable, &Tables[1]);
  ExpectSealed(System, EFI_SYSTEM_TABLE_SIGNATURE, EFI_2_100_SYSTEM_TABLE_REVISION, sizeof(System));
}

TEST_F(SimulatedFirmwareTests, HandOffBlocksLieAsTheirLengthsSay) {
  HobList Hobs;
  Hobs.AddGuid(mGuidA, {1, 2, 3})
      .AddGuid(mGuidB, std::vector<UINT8>(16, 7), 32)
      .AddRaw(EFI_HOB_TYPE_CPU, {9}, 0);
  Firmware.AddHobList(Hobs);
  const struct {
    UINT16 Type;
    UINT16 Length;
    UINTN Step;
  } Rows[] = {
      {EFI_HOB_TYPE_HANDOFF, 56, 56},        {EFI_HOB_TYPE_GUID_EXTENSION, 32, 32},
      {EFI_HOB_TYPE_GUID_EXTENSION, 32, 32}, {EFI_HOB_TYPE_CPU, 0, 8},
      {EFI_HOB_TYPE_END_OF_HOB_LIST, 8, 8},
  };
  const auto *At = static_cast<const UINT8 *>(Firmware.SystemTable()->ConfigurationTable[0].VendorTable);
  EFI_HOB_HANDOFF_INFO_TABLE Handoff;
  std::memcpy(&Handoff, At, sizeof(Handoff));
  EXPECT_EQ(At, Hobs.Start());
  EXPECT_EQ(At[56 + 8], 0xA);
  EXPECT_EQ(At[56 + 24 + 2], 3);
  EXPECT_EQ(At[56 + 24 + 3], 0);
  for (const auto &Row : Rows) {
    EFI_HOB_GENERIC_HEADER Header;
    std::memcpy(&Header, At, sizeof(Header));
    EXPECT_EQ(Header.HobType, Row.Type);
    EXPECT_EQ(Header.HobLength, Row.Length);
    At += Row.Step;
  }
  EXPECT_EQ(Handoff.EfiEndOfHobList, reinterpret_cast<UINT64>(At));
  EXPECT_DEATH(Hobs.AddGuid(mGuidA, {}), "behind the end");
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
    const std::vector<Leak> Leaks = Firmware.Leaks();
    SetPlaceNamer({});
    ASSERT_EQ(Leaks.size(), 3u);
    EXPECT_EQ(Leaks[0].Kind, LeakKind::PoolBlock);
    EXPECT_EQ(Leaks[0].Size, 24u);
    EXPECT_EQ(Leaks[0].Text(), "pool block 2 (24 bytes of memory type 2) made at here");
    EXPECT_EQ(Leaks[1].Text(), "event 1 (TPL 4) made at here");
    EXPECT_EQ(Leaks[2].Text(),
              "protocol watch 1 (protocol 0000000A-0000-0000-0000-000000000000) made at here");
    // Without a namer the place is the caller: this program, at some offset.
    EXPECT_NE(Firmware.Leaks()[0].Place.find("+0x"), std::string::npos);
    EXPECT_NE(Firmware.Leaks()[0].Place, Firmware.Leaks()[1].Place);
  }
  EXPECT_EQ(SimulatedFirmware::LastLeaks().size(), 3u);
  { SimulatedFirmware Firmware; }
  EXPECT_TRUE(SimulatedFirmware::LastLeaks().empty());
}

TEST(FirmwareAccount, DestructionChecksTheGuardsOfWhatIsOpen) {
  {
    SimulatedFirmware Firmware;
    VOID *Block = nullptr;
    Firmware.BootServices()->AllocatePool(EfiBootServicesData, 8, &Block);
    [](volatile UINT8 * Address) __attribute__((no_sanitize("address"))) {
      *Address = 1;
    }
    (static_cast<UINT8 *>(Block) + 8);
  }
  ASSERT_EQ(SimulatedFirmware::LastFaults().size(), 1u);
  EXPECT_NE(SimulatedFirmware::LastFaults()[0].find("damaged back guard"), std::string::npos);
  { SimulatedFirmware Firmware; }
  EXPECT_TRUE(SimulatedFirmware::LastFaults().empty());
}

jmp_buf OutOfTheBoot;

// A boot that stops inside a notification leaves by a jump through the service that dispatched it, whichever
// that was; what it left behind can still be seen, and the next firmware starts clean.
TEST(FirmwareAccount, AStoppedBootCanBeInspectedAndDestroyed) {
  const EFI_EVENT_NOTIFY Stop = [](EFI_EVENT, VOID *) EFIAPI { std::longjmp(OutOfTheBoot, 1); };
  static SimulatedFirmware *Firmware;
  static EFI_EVENT Event;
  static VOID *Block;
  const struct {
    const char *Name;
    void (*Run)();
  } Rows[] = {
      {"SignalEvent", [] { Firmware->BootServices()->SignalEvent(Event); }},
      {"ready to boot", [] { Firmware->SignalReadyToBoot(); }},
      {"installation", [] { Firmware->Handles.InstallHost(mGuidA, nullptr); }},
      {"allocation",
       [] {
         Firmware->Memory.OnCall(1, [] { Firmware->BootServices()->SignalEvent(Event); });
         Firmware->BootServices()->AllocatePool(EfiBootServicesData, 9, &Block);
       }},
  };
  for (const auto &Row : Rows) {
    SCOPED_TRACE(Row.Name);
    const auto Owner = std::make_unique<SimulatedFirmware>();
    Firmware = Owner.get();
    EFI_BOOT_SERVICES *Boot = Owner->BootServices();
    const EFI_GUID ReadyToBoot = {
        0x7ce88fb3, 0x4bd7, 0x4679, {0x87, 0xa8, 0xa8, 0xd8, 0xde, 0xe5, 0x0d, 0x2b}};
    ASSERT_EQ(Boot->CreateEventEx(EVT_NOTIFY_SIGNAL, TPL_NOTIFY, Stop, nullptr, &ReadyToBoot, &Event),
              EFI_SUCCESS);
    VOID *Registration = nullptr;
    ASSERT_EQ(Boot->RegisterProtocolNotify(&mGuidA, Event, &Registration), EFI_SUCCESS);
    if (setjmp(OutOfTheBoot) == 0) {
      Row.Run();
      ADD_FAILURE() << "came back";
    }
    AbandonDriverCalls();
    ASSERT_EQ(Owner->Events.Notifications().size(), 1u);
    EXPECT_FALSE(Owner->Events.Notifications()[0].Returned);
    EXPECT_TRUE(Owner->Faults().empty());
    EXPECT_EQ(Owner->Leaks().size(), Row.Name == std::string("allocation") ? 3u : 2u);
    VOID *Found = nullptr;
    EXPECT_EQ(Boot->LocateProtocol(&mGuidB, nullptr, &Found), EFI_NOT_FOUND);
  }
}

} // namespace
