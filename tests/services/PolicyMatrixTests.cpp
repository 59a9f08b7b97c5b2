// Where a boot stops and what is on the screen then: records of an earlier boot phase, answers of the handler
// in system-management mode, and everything that can be missing or refuse, row by row. Many rows must go on.
#include <gtest/gtest.h>

#include "tests/services/PolicyBoot.h"

namespace {

// What the handler says at ready-to-boot.
enum class Answer { Success, NotFound, Violation, Other, CommunicateFails, NoChannel };

// What the platform refuses from the entry point on.
enum class Refusal { None, ReadyToBootEvents, Events, Watches };

struct Row {
  const char *RecordName;
  // The hand-off blocks and the violation that they must be read as.
  std::function<void(HobList &)> Blocks;
  std::optional<PolicyViolation> Record;
  UINT32 Revision;
  Refusal Refuses;
  DisplayTime Display;
  bool Dialog;
  bool Strings;
  Answer Handler;
};

const PolicyViolation mFetched = {5, 0, "Fetched"};

std::string Describe(const Row &Case) {
  static const char *const mRefusals[] = {"nothing refused", "no ready-to-boot events", "no events",
                                          "no watches"};
  static const char *const mDisplays[] = {"display at start", "display before ready-to-boot",
                                          "display after ready-to-boot", "no display"};
  static const char *const mAnswers[] = {"success", "not found",       "violation",
                                         "other",   "failing channel", "no channel"};
  return std::string("record ") + Case.RecordName + ", revision " + std::to_string(Case.Revision) + ", " +
         mRefusals[static_cast<int>(Case.Refuses)] + ", " + mDisplays[static_cast<int>(Case.Display)] +
         (Case.Dialog ? "" : ", no dialog") + (Case.Strings ? "" : ", no strings") +
         ", handler: " + mAnswers[static_cast<int>(Case.Handler)];
}

std::optional<MessageDialog::Screen> ScreenOf(const Row &Case, const PolicyViolation *Violation) {
  if (!Case.Dialog) {
    return {};
  }
  if (Violation == nullptr) {
    return Case.Strings ? BareScreen() : MuteBareScreen();
  }
  return Case.Strings ? FullScreen(*Violation) : MuteFullScreen(*Violation);
}

// A record stops the boot whatever else is the matter.
PolicyOutcome ExpectedOfRecord(const Row &Case) {
  if (Case.Revision < 0x20000 || Case.Refuses == Refusal::ReadyToBootEvents) {
    return {PolicyEnd::Start, {}};
  }
  if (Case.Display == DisplayTime::AtStart) {
    return {PolicyEnd::Start, ScreenOf(Case, &*Case.Record)};
  }
  if (Case.Refuses != Refusal::None) {
    return {PolicyEnd::Start, {}};
  }
  if (Case.Display == DisplayTime::BeforeReadyToBoot) {
    return {PolicyEnd::EarlyDisplay, ScreenOf(Case, &*Case.Record)};
  }
  return {PolicyEnd::ReadyToBoot, {}};
}

// Without a record only the handler's violation stops it, and only along its road.
PolicyOutcome ExpectedOfHandler(const Row &Case) {
  const bool Asked = Case.Revision >= 0x20000 && Case.Refuses != Refusal::ReadyToBootEvents;
  if (!Asked || Case.Handler != Answer::Violation) {
    return {PolicyEnd::GoesOn, {}};
  }
  if (Case.Display == DisplayTime::AtStart || Case.Display == DisplayTime::BeforeReadyToBoot) {
    return {PolicyEnd::ReadyToBoot, ScreenOf(Case, &mFetched)};
  }
  if (Case.Display == DisplayTime::AfterReadyToBoot && Case.Refuses == Refusal::None) {
    return {PolicyEnd::LateDisplay, ScreenOf(Case, nullptr)};
  }
  return {PolicyEnd::GoesOn, {}};
}

void Check(const Row &Case) {
  SCOPED_TRACE(Describe(Case));
  PolicyPlatform Platform;
  Platform.Blocks = Case.Blocks;
  Platform.Firmware.Revision = Case.Revision;
  Platform.Firmware.HiiDatabase = Platform.Firmware.HiiString = Case.Strings;
  Platform.Display = Case.Display;
  Platform.Dialog = Case.Dialog;
  Platform.Channel = Case.Handler != Answer::NoChannel;
  PolicyBoot Boot(Platform);
  if (Case.Handler == Answer::Violation) {
    Boot.Smm.Kept = mFetched;
  } else if (Case.Handler == Answer::CommunicateFails) {
    Boot.Smm.CommunicateCalls.FailFrom(1, EFI_DEVICE_ERROR);
  } else {
    Boot.Smm.NothingKept = Case.Handler == Answer::Success    ? EFI_SUCCESS
                           : Case.Handler == Answer::NotFound ? EFI_NOT_FOUND
                                                              : EFI_ACCESS_DENIED;
  }
  const PolicyOutcome Outcome = Boot.Run([&](DriverSession &Starting) {
    EventQueue &Events = Starting.Firmware().Events;
    if (Case.Refuses == Refusal::ReadyToBootEvents) {
      Events.CreateEventExCalls.FailFrom(1, EFI_OUT_OF_RESOURCES);
    } else if (Case.Refuses == Refusal::Events) {
      Events.CreateEventCalls.FailFrom(1, EFI_OUT_OF_RESOURCES);
    } else if (Case.Refuses == Refusal::Watches) {
      Starting.Firmware().Handles.RegisterProtocolNotifyCalls.FailFrom(1, EFI_OUT_OF_RESOURCES);
    }
  });
  EXPECT_EQ(Outcome, Case.Record ? ExpectedOfRecord(Case) : ExpectedOfHandler(Case));
}

constexpr UINT32 mOld = 0x1FFFF;
constexpr UINT32 mNew = 0x20000;
constexpr DisplayTime mDisplays[] = {DisplayTime::AtStart, DisplayTime::BeforeReadyToBoot,
                                     DisplayTime::AfterReadyToBoot, DisplayTime::Never};
constexpr Refusal mRefusals[] = {Refusal::None, Refusal::ReadyToBootEvents, Refusal::Events,
                                 Refusal::Watches};

// A block whose length covers Size bytes of the record, with other bytes where the rest would be.
std::function<void(HobList &)> Cut(const PolicyViolation &Violation, UINT16 Size) {
  return [=](HobList &List) {
    std::vector<UINT8> Data = Violation.Bytes();
    Data.resize(Size);
    List.AddGuid(mPolicyViolationHobGuid, Data, static_cast<UINT16>(24 + Size), 0xEE);
    List.AddRaw(EFI_HOB_TYPE_UNUSED, std::vector<UINT8>(200, 0xEE));
  };
}

// A whole record in a block, the first behind the hand-off block, whose length says something else.
std::function<void(HobList &)> Mislabelled(const PolicyViolation &Violation, UINT16 Length) {
  return [=](HobList &List) {
    Recorded(Violation)(List);
    UINT8 *Block = static_cast<UINT8 *>(List.Start()) + sizeof(EFI_HOB_HANDOFF_INFO_TABLE);
    std::memcpy(Block + offsetof(EFI_HOB_GENERIC_HEADER, HobLength), &Length, sizeof(Length));
  };
}

std::vector<Row> RecordKinds() {
  std::vector<Row> Rows;
  const auto Add = [&Rows](const char *Name, std::function<void(HobList &)> Blocks, PolicyViolation Record) {
    Rows.push_back({Name, std::move(Blocks), std::move(Record), mNew, Refusal::None, DisplayTime::AtStart,
                    true, true, Answer::Success});
  };
  const auto AddPlain = [&Add](const char *Name, const PolicyViolation &Record) {
    Add(Name, Recorded(Record), Record);
  };
  AddPlain("reason -1", {-1, 0, "Below"});
  AddPlain("reason 0", {0, 0, "ABC"});
  AddPlain("reason 3", {3, 1, "ABC"});
  AddPlain("reason 4", {4, 3, "ABC"});
  AddPlain("reason 7", {7, 0, "ABC"});
  AddPlain("reason 8", {8, 0, "ABC"});
  AddPlain("reason of the least value", {INT32_MIN, 0, "ABC"});
  AddPlain("kind 2 with reason 0", {0, 2, "Required"});
  AddPlain("kind 2 with reason 8", {8, 2, ""});
  AddPlain("a name without NUL", {2, 0, std::string(96, 'N')});
  AddPlain("a name without NUL before kind 2", {2, 2, std::string(96, 'N')});
  AddPlain("a name beyond ASCII", {2, 0, "caf\xE9 \x80\xFF"});
  Add("cut within the name", Cut({5, 2, "Module-Name"}, 10), {5, 0, "Module"});
  Add("cut behind the name", Cut({5, 2, "Module-Name"}, 100), {5, 0, "Module-Name"});
  Add("cut before its last byte", Cut({5, 0x01000002, "Module"}, 103), {5, 2, "Module"});
  Add("without data", Cut({5, 2, "Module"}, 0), {0, 0, ""});
  Add("of length 0", Mislabelled({5, 2, "Module"}, 0), {0, 0, ""});
  Add("of a length within its name", Mislabelled({5, 2, "Module"}, 20), {0, 0, ""});
  Add("of a length beyond the list", Mislabelled({5, 2, "Module"}, 0xFFF8), {5, 2, "Module"});
  Add("two of them",
      [](HobList &List) {
        Recorded({6, 0, "First"})(List);
        Recorded({2, 0, "Second"})(List);
      },
      {6, 0, "First"});
  Add("behind blocks of other names and types",
      [](HobList &List) {
        List.AddGuid(mEfiHobListGuid, PolicyViolation{1, 0, "Other"}.Bytes());
        std::vector<UINT8> Body(16);
        std::memcpy(Body.data(), &mPolicyViolationHobGuid, 16);
        List.AddRaw(EFI_HOB_TYPE_RESOURCE_DESCRIPTOR, Body);
        Recorded({2, 0, "ABC"})(List);
      },
      {2, 0, "ABC"});
  Add("behind a block that is all header",
      [](HobList &List) {
        List.AddRaw(EFI_HOB_TYPE_UNUSED, {});
        Recorded({2, 0, "ABC"})(List);
      },
      {2, 0, "ABC"});
  Add("behind a block that leaves it unaligned",
      [](HobList &List) {
        List.AddRaw(EFI_HOB_TYPE_UNUSED, std::vector<UINT8>(9), UINT16{17});
        Recorded({2, 0, "ABC"})(List);
      },
      {2, 0, "ABC"});
  return Rows;
}

// Lists in which there is no record to be found.
std::vector<Row> NoRecordKinds() {
  std::vector<Row> Rows;
  const auto Add = [&Rows](const char *Name, std::function<void(HobList &)> Blocks) {
    Rows.push_back({Name,
                    std::move(Blocks),
                    {},
                    mNew,
                    Refusal::None,
                    DisplayTime::AtStart,
                    true,
                    true,
                    Answer::Success});
  };
  Add("none, no list", {});
  Add("none, an empty list", [](HobList &) {});
  Add("none, another name", [](HobList &List) { List.AddGuid(mEfiHobListGuid, std::vector<UINT8>(104)); });
  Add("hidden by a length of 0", [](HobList &List) {
    List.AddRaw(EFI_HOB_TYPE_UNUSED, {}, UINT16{0});
    Recorded({2, 0, "ABC"})(List);
  });
  Add("hidden by a length below the header", [](HobList &List) {
    List.AddRaw(EFI_HOB_TYPE_UNUSED, {}, UINT16{7});
    Recorded({2, 0, "ABC"})(List);
  });
  // Half a step further would be a record.
  Add("hidden within a block of half a header", [](HobList &List) {
    std::vector<UINT8> Body(4);
    const auto *Name = reinterpret_cast<const UINT8 *>(&mPolicyViolationHobGuid);
    Body.insert(Body.end(), Name, Name + sizeof(EFI_GUID));
    const std::vector<UINT8> Record = PolicyViolation{2, 0, "ABC"}.Bytes();
    Body.insert(Body.end(), Record.begin(), Record.end());
    List.AddRaw(EFI_HOB_TYPE_UNUSED, Body);
    const UINT16 Fields[] = {4, EFI_HOB_TYPE_GUID_EXTENSION, 128};
    UINT8 *Block = static_cast<UINT8 *>(List.Start()) + sizeof(EFI_HOB_HANDOFF_INFO_TABLE);
    std::memcpy(Block + offsetof(EFI_HOB_GENERIC_HEADER, HobLength), Fields, sizeof(Fields));
  });
  Add("none, a name cut off by the end of the list",
      [](HobList &List) { List.AddRaw(EFI_HOB_TYPE_GUID_EXTENSION, {}, UINT16{8}); });
  Add("none, a block of no length before the end",
      [](HobList &List) { List.AddRaw(EFI_HOB_TYPE_GUID_EXTENSION, {}, UINT16{0}); });
  return Rows;
}

// Every kind of record against all that can be on its way to the screen.
TEST(PolicyMatrixTest, EveryRecord) {
  UINTN Count = 0;
  for (Row Case : RecordKinds()) {
    for (DisplayTime Display :
         {DisplayTime::AtStart, DisplayTime::BeforeReadyToBoot, DisplayTime::AfterReadyToBoot}) {
      Case.Display = Display;
      Check(Case);
      Count++;
    }
    Case.Display = DisplayTime::BeforeReadyToBoot;
    Case.Strings = false;
    Check(Case);
    Count++;
  }
  std::cout << Count << " rows\n";
}

// Check of Case on all that a platform can refuse or lack; Finish has the last word on each row, and whether
// it is one. Present says which of dialog and strings are there.
UINTN CheckOnEveryPlatform(Row Case, const std::function<bool(Row &, UINTN Present)> &Finish) {
  UINTN Count = 0;
  for (UINTN Place = 0; Place < 2 * 4 * 4 * 4; Place++) {
    const UINTN Present = Place % 4;
    Case.Dialog = (Present & 1) != 0;
    Case.Strings = (Present & 2) != 0;
    Case.Display = mDisplays[Place / 4 % 4];
    Case.Refuses = mRefusals[Place / 16 % 4];
    Case.Revision = Place / 64 == 0 ? mOld : mNew;
    if (Finish(Case, Present)) {
      Check(Case);
      Count++;
    }
  }
  return Count;
}

TEST(PolicyMatrixTest, EveryPlatformWithARecord) {
  const UINTN Count = CheckOnEveryPlatform(RecordKinds()[1], [](Row &Case, UINTN Present) {
    Case.Handler = Present == 0 ? Answer::NoChannel : Answer::Violation;
    // An old firmware stops the boot before any of these is looked for.
    return Case.Revision != mOld || Present == 3;
  });
  std::cout << Count << " rows\n";
}

TEST(PolicyMatrixTest, EveryPlatformWithoutARecord) {
  UINTN Count = 0;
  for (Answer Handler : {Answer::Success, Answer::NotFound, Answer::Violation, Answer::Other,
                         Answer::CommunicateFails, Answer::NoChannel}) {
    Count += CheckOnEveryPlatform(NoRecordKinds()[1], [Handler](Row &Case, UINTN) {
      Case.Handler = Handler;
      return true;
    });
  }
  std::cout << Count << " rows\n";
}

// What is armed at start-up runs at the level that it must.
TEST(PolicyMatrixTest, EventsHaveTheirLevels) {
  struct Levels {
    bool Record;
    EFI_TPL ReadyToBoot;
    std::vector<EFI_TPL> Watches;
  };
  for (const Levels &Row : {Levels{true, TPL_CALLBACK, {TPL_NOTIFY}}, {false, TPL_NOTIFY, {}}}) {
    PolicyPlatform Platform;
    Platform.Display = DisplayTime::Never;
    if (Row.Record) {
      Platform.Blocks = Recorded({2, 0, "ABC"});
    }
    PolicyBoot Boot(Platform);
    ASSERT_TRUE(Boot.Start());
    std::vector<EFI_TPL> Watches;
    for (const HandleDatabase::Watch *Watch : Boot.Firmware().Handles.OpenWatches()) {
      if (std::memcmp(&Watch->Protocol, &mDisplayReadyProtocolGuid, sizeof(EFI_GUID)) == 0) {
        Watches.push_back(static_cast<const EventQueue::Event *>(Watch->Event)->Tpl);
      }
    }
    EXPECT_EQ(Watches, Row.Watches);
    for (const EventQueue::Event *Event : Boot.Firmware().Events.OpenEvents()) {
      EXPECT_TRUE(!Event->Group || Event->Tpl == Row.ReadyToBoot) << Event->Tpl;
    }
  }
}

TEST(PolicyMatrixTest, EveryListWithoutARecord) {
  UINTN Count = 0;
  for (Row Case : NoRecordKinds()) {
    for (Answer Handler : {Answer::NotFound, Answer::Violation}) {
      Case.Handler = Handler;
      Check(Case);
      Count++;
    }
  }
  std::cout << Count << " rows\n";
}

} // namespace
