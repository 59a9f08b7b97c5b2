// Family "base64": bytes and the four texts that the encoders make of them, or a text and what the decoders
// make of it, in both character widths.
#include <algorithm>
#include <string>

#include "tools/session/StatusNames.h"
#include "tools/vectors/Families.h"
#include "tools/vectors/InputBytes.h"

namespace {

using Octets = std::vector<UINT8>;

constexpr UINTN mUnchanged = 0x1234567;

bool ReadSwitch(VectorCase &Case, const std::string &Key) {
  const UINT64 Value = Case.Number(Key);
  if (Value > 1) {
    Case.Refuse(Key, "neither 0 nor 1");
  }
  return Value == 1;
}

// What a service gave: checks the zero behind it and gives the memory back. CHAR16 text must hold nothing but
// bytes.
template <typename CHARACTER> Octets Take(VectorRun &Run, CHARACTER *Result, UINTN Length) {
  if (Result == nullptr) {
    Run.Require(false, "a service succeeded without a result");
    return {};
  }
  Run.Require(Result[Length] == 0, "a result does not end in a zero");
  Run.Require(std::all_of(Result, Result + Length, [](CHARACTER Each) { return (Each & 0xFF) == Each; }) ||
                  sizeof(CHARACTER) == 1,
              "a result holds characters above 255");
  const Octets Bytes(Result, Result + Length);
  Run.Require(Run.Session.Firmware().BootServices()->FreePool(Result) == EFI_SUCCESS,
              "a result is no pool block");
  return Bytes;
}

void Encode(VectorRun &Run) {
  const Octets Data = Run.Case.Hex("bin");
  for (const bool UrlSafe : {false, true}) {
    for (const bool NoNewline : {false, true}) {
      const std::string Key =
          "text.url" + std::to_string(int{UrlSafe}) + ".nonl" + std::to_string(int{NoNewline});
      const Octets Text = Run.Case.Hex(Key);
      CHAR16 *Wide = nullptr;
      CHAR8 *Narrow = nullptr;
      UINTN Length = mUnchanged;
      if (Run.Status(54, Run.Services.SvcBase64EncodeToUnicode(UrlSafe, NoNewline, InputBytes(Data),
                                                               Data.size(), &Wide, &Length))) {
        Run.Equal(Key + " in CHAR16", Take(Run, Wide, Length), Text);
      }
      if (Run.Status(55, Run.Services.SvcBase64EncodeToAscii(UrlSafe, NoNewline, InputBytes(Data),
                                                             Data.size(), &Narrow, &Length))) {
        Run.Equal(Key + " in CHAR8", Take(Run, Narrow, Length), Text);
      }
    }
  }
}

// The answer and the bytes that a decoder must give. The filter has answered every text alike in every
// release of the library, so where a case leaves the answer open what one release gave is what all must give.
struct DECODED {
  bool Open;
  EFI_STATUS Status;
  Octets Bytes;
};

DECODED ReadDecoded(VectorCase &Case) {
  const SlotExpectation Expected = Case.Expectation(58);
  if (Expected.Answer == ExpectedAnswer::Any) {
    const auto Status = StatusOfName(Case.Text("oracle_status"));
    if (!Status) {
      Case.Refuse("oracle_status", "no status");
    }
    return {true, *Status, Case.Hex("oracle_bin")};
  }
  const bool Succeeds = Expected.Answer == ExpectedAnswer::Success;
  return {false, Expected.Status, Succeeds ? Case.Hex("bin") : Octets{}};
}

// Judges one decoder's answer and takes its result over.
void Judge(VectorRun &Run, UINTN Slot, const DECODED &Wanted, EFI_STATUS Answer, UINT8 *Output,
           UINTN Length) {
  const std::string What = "slot " + std::to_string(Slot);
  if (Run.Status(Slot, Answer)) {
    Run.Equal(What + "'s bytes", Take(Run, Output, Length), Wanted.Bytes);
  } else {
    Run.Require(Answer == EFI_SUCCESS || (Output == nullptr && Length == mUnchanged),
                What + " refused and wrote");
  }
  Run.Require(!Wanted.Open || Answer == Wanted.Status,
              What + " answered " + StatusName(Answer) + ", expected " + StatusName(Wanted.Status));
}

void Decode(VectorRun &Run) {
  const bool UrlSafe = ReadSwitch(Run.Case, "url");
  const bool NoNewline = ReadSwitch(Run.Case, "nonl");
  const Octets Text = Run.Case.Hex("text");
  const DECODED Wanted = ReadDecoded(Run.Case);
  Octets Rewritten = Text;
  if (UrlSafe) {
    const auto End = std::find(Rewritten.begin(), Rewritten.end(), 0);
    std::replace(Rewritten.begin(), End, UINT8{'-'}, UINT8{'+'});
    std::replace(Rewritten.begin(), End, UINT8{'_'}, UINT8{'/'});
  }
  for (const UINTN Slot : {56, 57, 58, 59}) {
    if (!Run.Case.Lists(Slot)) {
      continue;
    }
    // One character more, so that there is an address when there is no text.
    std::vector<CHAR16> Wide(Text.begin(), Text.end());
    std::vector<CHAR8> Narrow(Text.begin(), Text.end());
    Wide.push_back(0);
    Narrow.push_back(0);
    UINT8 *Output = nullptr;
    UINTN Length = mUnchanged;
    const auto &Services = Run.Services;
    const EFI_STATUS Answer =
        Slot == 56
            ? Services.SvcBase64DecodeUnicode(UrlSafe, NoNewline, Wide.data(), Text.size(), &Output, &Length)
        : Slot == 57 ? Services.SvcBase64DecodeUnicodeAuto(Wide.data(), Text.size(), &Output, &Length)
        : Slot == 58
            ? Services.SvcBase64DecodeAscii(UrlSafe, NoNewline, Narrow.data(), Text.size(), &Output, &Length)
            : Services.SvcBase64DecodeAsciiAuto(Narrow.data(), Text.size(), &Output, &Length);
    Judge(Run, Slot, Wanted, Answer, Output, Length);
    Run.Require(std::equal(Text.begin(), Text.end(), Wide.begin()), "a decoder changed the CHAR16 text");
    const Octets &After = Slot >= 58 ? Rewritten : Text;
    Run.Equal("the text afterwards", Octets(Narrow.begin(), Narrow.end() - 1), After);
  }
}

} // namespace

void RunBase64Case(VectorRun &Run) {
  const std::string Operation = Run.Case.Text("op");
  if (Operation == "encode") {
    Encode(Run);
  } else if (Operation == "decode") {
    Decode(Run);
  } else {
    Run.Case.Refuse("op", "\"" + Operation + "\" is neither encode nor decode");
  }
}
