// One case while it runs: its values by type, what it expects of each slot, and a memory of which keys
// somebody asked for, because a value that nobody looked at was not tested. Calls no service.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "tools/session/SlotTable.h"
#include "tools/vectors/VectorFile.h"
#include "uefi/Base.h"

// Any: the case does not say, and the family that has such slots does; all of them answer an EFI_STATUS.
enum class ExpectedAnswer { Success, Refusal, Any };

struct SlotExpectation {
  ExpectedAnswer Answer;
  // Of a refusal in a slot that answers an EFI_STATUS.
  EFI_STATUS Status;
};

class VectorCase {
public:
  // Reads "slots", "expect", "status" and every "expect.SLOT". Throws VectorError when one is missing or
  // makes no sense: a slot above 61 or twice, an answer that a slot of its kind cannot give, an expectation
  // for a slot that is not listed, a refusal without the status to expect. Both arguments must outlive the
  // case. Where "expect=any" leaves a BOOLEAN open, SettledAnswers.h must have closed it.
  VectorCase(const VectorFile &File, const VectorRecord &Record);

  const std::string &Id() const { return Record_.Id; }

  // Whether the case says of itself, by "slow=1", that it takes long.
  bool Slow() const { return Slow_; }

  // "FILE:LINE: ID", for reports.
  std::string Place() const;

  // Whether the case is for this slot.
  bool Lists(UINTN Slot) const;

  // What the slot must answer; counts as having driven it. Throws VectorError for a slot that is not listed.
  SlotExpectation Expectation(UINTN Slot);

  // The value of a key, which then counts as used. All but Has and the optional ones throw VectorError for a
  // key that is missing; every one throws for a value of another form: Hex is lower-case hex of whole bytes,
  // Number decimal.
  bool Has(const std::string &Key) const { return Find(Key) != nullptr; }
  std::string Text(const std::string &Key);
  std::vector<UINT8> Hex(const std::string &Key);
  UINT64 Number(const std::string &Key);
  std::optional<std::string> OptionalText(const std::string &Key);
  std::optional<std::vector<UINT8>> OptionalHex(const std::string &Key);
  std::optional<UINT64> OptionalNumber(const std::string &Key);

  // Refuses the value of a key, with its line.
  [[noreturn]] void Refuse(const std::string &Key, const std::string &Reason) const;

  // Throws VectorError for a key that was not asked for, but for those that speak to a reader, and for a
  // listed slot that was not driven.
  void RequireAllUsed() const;

private:
  struct Slot {
    SlotExpectation Expected;
    bool Driven;
  };

  const VectorField *Find(const std::string &Key) const;
  const VectorField &Take(const std::string &Key);
  void ReadSlots();
  void ReadExpectations();
  SlotExpectation Settled(ResultKind Kind) const;
  SlotExpectation Parse(UINTN Number, const VectorField &Field) const;

  const VectorFile &File_;
  const VectorRecord &Record_;
  std::map<UINTN, Slot> Slots_;
  std::vector<bool> Used_;
  bool Slow_ = false;
};
