// Typed access to the fields, and the rules by which "expect", "status" and "expect.SLOT" combine.
#include "tools/vectors/VectorCase.h"

#include <algorithm>
#include <charconv>

#include "tools/session/SlotTable.h"
#include "tools/session/StatusNames.h"
#include "tools/vectors/SettledAnswers.h"

namespace {

constexpr UINTN mUnknownSlot = ~UINTN{0};

// Keys for a reader: where the case comes from, and what somebody else's library said.
bool IsForReader(const std::string &Key) {
  return Key == "id" || Key == "note" || Key == "info" || Key == "derived" || Key.starts_with("source") ||
         Key.starts_with("oracle");
}

std::optional<UINT64> ParseNumber(std::string_view Text) {
  UINT64 Value = 0;
  const char *End = Text.data() + Text.size();
  const auto [Stop, Error] = std::from_chars(Text.data(), End, Value);
  if (Text.empty() || Error != std::errc{} || Stop != End) {
    return std::nullopt;
  }
  return Value;
}

UINTN ParseSlot(std::string_view Text) {
  const auto Value = ParseNumber(Text);
  return Value && *Value < CRYPTO_SERVICES_SLOT_COUNT ? *Value : mUnknownSlot;
}

int HexDigit(char Digit) {
  if (Digit >= '0' && Digit <= '9') {
    return Digit - '0';
  }
  return Digit >= 'a' && Digit <= 'f' ? Digit - 'a' + 10 : -1;
}

} // namespace

VectorCase::VectorCase(const VectorFile &File, const VectorRecord &Record)
    : File_(File), Record_(Record), Used_(Record.Fields.size()) {
  ReadSlots();
  ReadExpectations();
  const std::string Slow = OptionalText("slow").value_or("0");
  if (Slow != "0" && Slow != "1") {
    Refuse("slow", "neither 0 nor 1");
  }
  Slow_ = Slow == "1";
}

std::string VectorCase::Place() const {
  return File_.Name + ":" + std::to_string(Record_.Line) + ": " + Record_.Id;
}

void VectorCase::ReadSlots() {
  const std::string Value = Text("slots");
  for (size_t Begin = 0; Begin <= Value.size();) {
    const size_t End = std::min(Value.find(',', Begin), Value.size());
    const std::string Range = Value.substr(Begin, End - Begin);
    const size_t Dash = Range.find('-');
    const UINTN First = ParseSlot(Range.substr(0, Dash));
    const UINTN Last = Dash == std::string::npos ? First : ParseSlot(Range.substr(Dash + 1));
    if (First == mUnknownSlot || Last == mUnknownSlot || Last < First) {
      Refuse("slots", "\"" + Range + "\" is no slot or range of slots");
    }
    for (UINTN Number = First; Number <= Last; ++Number) {
      if (!Slots_.insert({Number, {}}).second) {
        Refuse("slots", "slot " + std::to_string(Number) + " is listed twice");
      }
    }
    Begin = End + 1;
  }
}

void VectorCase::ReadExpectations() {
  const std::string Expected = Text("expect");
  if (Expected != "ok" && Expected != "refuse" && Expected != "any") {
    Refuse("expect", "\"" + Expected + "\" is none of ok, refuse, any");
  }
  const VectorField *Status = Has("status") ? &Take("status") : nullptr;
  for (auto &[Number, Entry] : Slots_) {
    const std::string Key = "expect." + std::to_string(Number);
    const ResultKind Kind = DescribeSlot(Number).Kind;
    if (Has(Key)) {
      Entry.Expected = Parse(Number, Take(Key));
    } else if (Expected == "any") {
      Entry.Expected = Settled(Kind);
    } else if (Expected == "ok" || (Kind != ResultKind::Status && Kind != ResultKind::Boolean)) {
      Entry.Expected = {ExpectedAnswer::Success, EFI_SUCCESS};
    } else if (Kind == ResultKind::Boolean) {
      Entry.Expected = {ExpectedAnswer::Refusal, EFI_SUCCESS};
    } else if (Status != nullptr) {
      Entry.Expected = Parse(Number, *Status);
    } else {
      Refuse("expect", "no status says how slot " + std::to_string(Number) + " refuses");
    }
  }
  for (const VectorField &Field : Record_.Fields) {
    if (Field.Key.starts_with("expect.") && !Lists(ParseSlot(std::string_view(Field.Key).substr(7)))) {
      Refuse(Field.Key, "the case does not list that slot");
    }
  }
}

SlotExpectation VectorCase::Settled(ResultKind Kind) const {
  if (Kind == ResultKind::Status) {
    return {ExpectedAnswer::Any, EFI_SUCCESS};
  }
  const auto Answer = SettledAnswer(Id());
  if (!Answer) {
    Refuse("expect", "\"any\", and nobody has settled what this driver is to answer");
  }
  const bool Refuses = Kind == ResultKind::Boolean && *Answer == FALSE;
  return {Refuses ? ExpectedAnswer::Refusal : ExpectedAnswer::Success, EFI_SUCCESS};
}

SlotExpectation VectorCase::Parse(UINTN Number, const VectorField &Field) const {
  const ResultKind Kind = DescribeSlot(Number).Kind;
  if (Kind == ResultKind::Boolean && (Field.Value == "TRUE" || Field.Value == "FALSE")) {
    return {Field.Value == "TRUE" ? ExpectedAnswer::Success : ExpectedAnswer::Refusal, EFI_SUCCESS};
  }
  const auto Status = StatusOfName(Field.Value);
  if (Kind != ResultKind::Status || !Status) {
    Refuse(Field.Key, "\"" + Field.Value + "\" is no answer of slot " + std::to_string(Number));
  }
  return {*Status == EFI_SUCCESS ? ExpectedAnswer::Success : ExpectedAnswer::Refusal, *Status};
}

bool VectorCase::Lists(UINTN Slot) const {
  return Slots_.contains(Slot);
}

SlotExpectation VectorCase::Expectation(UINTN Slot) {
  const auto Found = Slots_.find(Slot);
  if (Found == Slots_.end()) {
    Refuse("slots", "the case needs slot " + std::to_string(Slot) + " and does not list it");
  }
  Found->second.Driven = true;
  return Found->second.Expected;
}

const VectorField *VectorCase::Find(const std::string &Key) const {
  for (const VectorField &Field : Record_.Fields) {
    if (Field.Key == Key) {
      return &Field;
    }
  }
  return nullptr;
}

const VectorField &VectorCase::Take(const std::string &Key) {
  const VectorField *Field = Find(Key);
  if (Field == nullptr) {
    throw VectorError(File_.Name, Record_.Line, Record_.Id + ": no \"" + Key + "\"");
  }
  Used_[static_cast<size_t>(Field - Record_.Fields.data())] = true;
  return *Field;
}

void VectorCase::Refuse(const std::string &Key, const std::string &Reason) const {
  const VectorField *Field = Find(Key);
  throw VectorError(File_.Name, Field == nullptr ? Record_.Line : Field->Line,
                    Record_.Id + ": " + Key + ": " + Reason);
}

std::string VectorCase::Text(const std::string &Key) {
  return Take(Key).Value;
}

std::vector<UINT8> VectorCase::Hex(const std::string &Key) {
  const std::string &Digits = Take(Key).Value;
  if (Digits.size() % 2 != 0) {
    Refuse(Key, "an odd number of hex digits");
  }
  std::vector<UINT8> Bytes;
  Bytes.reserve(Digits.size() / 2);
  for (size_t Index = 0; Index < Digits.size(); Index += 2) {
    const int High = HexDigit(Digits[Index]);
    const int Low = HexDigit(Digits[Index + 1]);
    if (High < 0 || Low < 0) {
      Refuse(Key, "not lower-case hex");
    }
    Bytes.push_back(static_cast<UINT8>(High << 4 | Low));
  }
  return Bytes;
}

UINT64 VectorCase::Number(const std::string &Key) {
  const auto Value = ParseNumber(Take(Key).Value);
  if (!Value) {
    Refuse(Key, "not a decimal number");
  }
  return *Value;
}

std::optional<std::string> VectorCase::OptionalText(const std::string &Key) {
  return Has(Key) ? std::optional(Text(Key)) : std::nullopt;
}

std::optional<std::vector<UINT8>> VectorCase::OptionalHex(const std::string &Key) {
  return Has(Key) ? std::optional(Hex(Key)) : std::nullopt;
}

std::optional<UINT64> VectorCase::OptionalNumber(const std::string &Key) {
  return Has(Key) ? std::optional(Number(Key)) : std::nullopt;
}

void VectorCase::RequireAllUsed() const {
  for (size_t Index = 0; Index < Used_.size(); ++Index) {
    const VectorField &Field = Record_.Fields[Index];
    if (!Used_[Index] && !IsForReader(Field.Key)) {
      throw VectorError(File_.Name, Field.Line,
                        Record_.Id + ": nothing uses the key \"" + Field.Key + "\" in family " +
                            File_.Family);
    }
  }
  for (const auto &[Number, Entry] : Slots_) {
    if (!Entry.Driven) {
      Refuse("slots", "family " + File_.Family + " does not drive slot " + std::to_string(Number));
    }
  }
}
