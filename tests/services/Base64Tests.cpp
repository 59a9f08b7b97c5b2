// Base64 through slots 54 to 59: a plain model over random data in both widths, what damaged text answers,
// and refusals. Known answers: tests/vectors.
#include <gtest/gtest.h>

#include <optional>
#include <random>

#include "tests/support/DriverTest.h"
#include "tests/support/Sweep.h"

namespace {

// RFC 4648, section 4, in lines of 64 characters unless NoNewline.
std::string Encode(const Bytes &Data, bool UrlSafe, bool NoNewline) {
  const char *Alphabet = UrlSafe ? "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_"
                                 : "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string Text;
  UINTN Column = 0;
  for (UINTN Index = 0; Index < Data.size(); Index += 3) {
    UINT32 Group = 0;
    for (UINTN Byte = 0; Byte < 3; Byte++) {
      Group = Group << 8 | (Index + Byte < Data.size() ? Data[Index + Byte] : 0);
    }
    for (UINTN Place = 0; Place < 4; Place++) {
      Text += Index + Place > Data.size() ? '=' : Alphabet[Group >> (18 - 6 * Place) & 63];
    }
    Column += 4;
    if (!NoNewline && (Column == 64 || Index + 3 >= Data.size())) {
      Text += '\n';
      Column = 0;
    }
  }
  return Text;
}

int Value(UINT8 Character) {
  static const std::string Alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  const size_t Place = Alphabet.find(static_cast<char>(Character));
  // Padding counts as zero bits.
  return Place != std::string::npos ? static_cast<int>(Place) : Character == '=' ? 0 : -1;
}

// Whole groups of four to bytes, three of each whatever the padding; nothing when another character is among
// them.
std::optional<Bytes> DecodeGroups(const std::string &Text) {
  Bytes Output;
  for (size_t Index = 0; Index + 4 <= Text.size(); Index += 4) {
    UINT32 Group = 0;
    for (size_t Place = Index; Place < Index + 4; Place++) {
      const int Bits = Value(static_cast<UINT8>(Text[Place]));
      if (Bits < 0) {
        return std::nullopt;
      }
      Group = Group << 6 | static_cast<UINT32>(Bits);
    }
    Output.insert(Output.end(), {static_cast<UINT8>(Group >> 16), static_cast<UINT8>(Group >> 8),
                                 static_cast<UINT8>(Group)});
  }
  return Output;
}

// What comes of text without line structure, of at most 1,023 characters: what is over whole groups is not
// looked at, and only the last two characters say how many bytes are padding.
Bytes DecodeFlat(std::string Text) {
  Text.resize(Text.size() / 4 * 4);
  const size_t Padding = Text.empty() || Text.back() != '=' ? 0 : Text[Text.size() - 2] == '=' ? 2 : 1;
  const size_t First = Text.find_first_not_of(" \t");
  const size_t Last = Text.find_last_not_of(" \t\r\n-");
  if (First == std::string::npos || Last == std::string::npos || (Last + 1 - First) % 4 != 0) {
    return {};
  }
  Bytes Output = DecodeGroups(Text.substr(First, Last + 1 - First)).value_or(Bytes());
  Output.resize(Output.size() - std::min(Output.size(), Padding));
  return Output;
}

struct LineResult {
  bool Bad;
  bool Ended; // by the end mark, or by padding
  Bytes Output;
};

// Text in lines, blanks ignored, up to an end mark: full lines of 64 characters are decoded as they come, the
// rest when it makes whole groups. Behind padding nothing may come but padding.
LineResult DecodeLines(const std::string &Text) {
  LineResult Result = {};
  std::string Pending;
  size_t Padding = 0;
  bool Mark = false;
  auto Flush = [&] {
    const Bytes Decoded = *DecodeGroups(Pending);
    Pending.clear();
    Result.Bad = Decoded.size() < Padding;
    Result.Output.insert(Result.Output.end(), Decoded.begin(),
                         Decoded.end() - static_cast<long>(Result.Bad ? 0 : Padding));
  };
  for (const char Character : Text) {
    if (Character == '-') {
      Mark = true;
      break;
    }
    if (std::string(" \t\r\n").find(Character) != std::string::npos) {
      continue;
    }
    Padding += Character == '=';
    if (Value(static_cast<UINT8>(Character)) < 0 || (Character != '=' && Padding != 0) || Padding > 2) {
      Result.Bad = true;
      return Result;
    }
    Pending += Character;
    if (Pending.size() == 64) {
      Flush();
    }
  }
  if (!Pending.empty() && Pending.size() % 4 == 0) {
    Flush();
  } else if (!Pending.empty() && Mark) {
    Result.Bad = true;
  }
  Result.Ended = Mark || (Pending.empty() && Padding != 0);
  return Result;
}

// What comes of line-structured text, of at most 1,023 characters: the lines before the first one with
// anything in it are skipped, and from there on no line may be bad.
Bytes DecodeStructured(const std::string &Text) {
  for (size_t Begin = 0, End; (End = Text.find('\n', Begin)) != std::string::npos; Begin = End + 1) {
    const LineResult Line = DecodeLines(Text.substr(Begin, End + 1 - Begin));
    if (!Line.Output.empty() || (!Line.Bad && !Line.Ended)) {
      const LineResult All = DecodeLines(Text.substr(Begin));
      return All.Bad ? Bytes() : All.Output;
    }
  }
  return {};
}

struct Answer {
  EFI_STATUS Status;
  Bytes Output;
  bool operator==(const Answer &) const = default;
};

void PrintTo(const Answer &Printed, std::ostream *Stream) {
  *Stream << std::hex << Printed.Status << std::dec << ", " << Printed.Output.size() << " bytes";
}

// The alphabet of "+" and "/", up to the first zero.
std::string ToStandard(std::string Text) {
  for (size_t Index = 0; Index < Text.size() && Text[Index] != '\0'; Index++) {
    Text[Index] = Text[Index] == '-' ? '+' : Text[Index] == '_' ? '/' : Text[Index];
  }
  return Text;
}

std::string RandomText(std::mt19937 &Generator) {
  Bytes Data(Generator() % 400 + 1);
  for (UINT8 &Byte : Data) {
    Byte = static_cast<UINT8>(Generator());
  }
  std::string Text = Encode(Data, Generator() % 2, Generator() % 2);
  for (UINTN Damage = Generator() % 4; Damage != 0; Damage--) {
    const char Characters[] = {'\0', '\n', '\r', ' ', '=', '-', '_', '!', 'A', '\x80'};
    Text[Generator() % Text.size()] = Characters[Generator() % sizeof(Characters)];
  }
  return Text;
}

class Base64Test : public DriverTest {
protected:
  Base64Test() { LibraryKeepsBlocks = true; }

  // Takes a result over: checks its zero character and releases it.
  template <typename CHARACTER> Answer Take(EFI_STATUS Status, CHARACTER *Output, UINTN Length) {
    if (Status != EFI_SUCCESS) {
      EXPECT_EQ(Output, nullptr);
      EXPECT_EQ(Length, mUnchanged);
      return {Status, {}};
    }
    EXPECT_EQ(Output[Length], 0);
    bool Exact = false;
    for (const Pool::Block &Block : Memory().OpenBlocks()) {
      Exact = Exact || (static_cast<VOID *>(Block.Address) == Output &&
                        Block.Size == (Length + 1) * sizeof(CHARACTER) && Block.Type == EfiBootServicesData);
    }
    EXPECT_TRUE(Exact) << "a pool block of the stated size";
    Bytes Content;
    for (UINTN Index = 0; Index < Length; Index++) {
      EXPECT_LE(static_cast<UINT64>(static_cast<std::make_unsigned_t<CHARACTER>>(Output[Index])), 0xFFU);
      Content.push_back(static_cast<UINT8>(Output[Index]));
    }
    EXPECT_EQ(Firmware().BootServices()->FreePool(Output), EFI_SUCCESS);
    return {Status, Content};
  }

  // Both widths, which must agree.
  Answer EncodeBoth(bool UrlSafe, bool NoNewline, const Bytes &Data) {
    CHAR8 *Narrow = nullptr;
    CHAR16 *Wide = nullptr;
    UINTN Length = mUnchanged;
    EFI_STATUS Status =
        Svc().SvcBase64EncodeToAscii(UrlSafe, NoNewline, Data.data(), Data.size(), &Narrow, &Length);
    const Answer First = Take(Status, Narrow, Length);
    Length = mUnchanged;
    Status = Svc().SvcBase64EncodeToUnicode(UrlSafe, NoNewline, Data.data(), Data.size(), &Wide, &Length);
    EXPECT_EQ(Take(Status, reinterpret_cast<UINT16 *>(Wide), Length), First);
    return First;
  }

  // CHAR8 and CHAR16, explicit, or automatic when the switches are those that the text asks for. The CHAR8
  // text is rewritten up to its first zero, the CHAR16 text never; the high bytes of CHAR16 text do not
  // count.
  Answer DecodeAll(bool UrlSafe, bool NoNewline, const std::string &Text) {
    const std::string Rewritten = UrlSafe ? ToStandard(Text) : Text;
    const bool Automatic = UrlSafe == (Text.find_first_of("-_") != std::string::npos) &&
                           NoNewline == (Text.find_first_of("\r\n") == std::string::npos);
    Answer First = {};
    for (int Pass = 0; Pass < (Automatic ? 4 : 2); Pass++) {
      UINT8 *Output = nullptr;
      UINTN Length = mUnchanged;
      EFI_STATUS Status;
      if (Pass % 2 == 0) {
        std::string Input = Text;
        Status = Pass == 0 ? Svc().SvcBase64DecodeAscii(UrlSafe, NoNewline, Input.data(), Input.size(),
                                                        &Output, &Length)
                           : Svc().SvcBase64DecodeAsciiAuto(Input.data(), Input.size(), &Output, &Length);
        EXPECT_EQ(Input, Rewritten);
      } else {
        std::u16string Input;
        for (char Character : Text) {
          Input += static_cast<char16_t>((Pass == 1 ? 0x4100 : 0) | static_cast<UINT8>(Character));
        }
        const std::u16string Before = Input;
        Status = Pass == 1 ? Svc().SvcBase64DecodeUnicode(UrlSafe, NoNewline, Input.data(), Input.size(),
                                                          &Output, &Length)
                           : Svc().SvcBase64DecodeUnicodeAuto(Input.data(), Input.size(), &Output, &Length);
        EXPECT_EQ(Input, Before);
      }
      const Answer Given = Take(Status, Output, Length);
      if (Pass == 0) {
        First = Given;
      }
      EXPECT_EQ(Given, First) << "pass " << Pass << " over " << Text;
    }
    return First;
  }

  static constexpr UINTN mUnchanged = 0x1234567;
};

Bytes ToBytes(const std::string &Text) {
  return Bytes(Text.begin(), Text.end());
}

TEST_F(Base64Test, EverySizeEqualsTheModelAndComesBack) {
  std::vector<UINTN> Sizes = {1535, 1536, 1537, 2047, 2048, 2049, 4096, 6145, 100000};
  for (UINTN Size = 1; Size <= 300; Size++) {
    Sizes.push_back(Size);
  }
  for (UINTN Size : Sizes) {
    const Bytes Data = Pattern(Size, Size);
    for (int Switches = 0; Switches < 4; Switches++) {
      const bool UrlSafe = Switches & 1;
      const bool NoNewline = Switches & 2;
      const std::string Text = Encode(Data, UrlSafe, NoNewline);
      ASSERT_EQ(EncodeBoth(UrlSafe, NoNewline, Data), (Answer{EFI_SUCCESS, ToBytes(Text)})) << Size;
      ASSERT_EQ(DecodeAll(UrlSafe, NoNewline, Text), (Answer{EFI_SUCCESS, Data}))
          << Size << ", switches " << Switches;
    }
  }
}

TEST_F(Base64Test, OtherLayoutsAndWhatIsNoBase64) {
  struct Row {
    bool NoNewline;
    std::string Text;
    std::string Data; // empty: EFI_LOAD_ERROR
  };
  const std::string LongData(57, 'x');
  const std::string Long = Encode(ToBytes(LongData), false, true);
  const Row Rows[] = {
      {true, "QUJDQ", "ABC"},
      {true, "QUJD-", "ABC"},
      {true, "QUJD\r\n", "ABC"},
      {true, "QUI=\n", "AB"},
      {true, "====", std::string(1, '\0')},
      {true, "Q===", "@"},
      {true, "QQ==QUJD", std::string("A\0\0ABC", 6)},
      {true, "QQ", ""},
      {true, "QU JD", ""},
      {true, " QUJD", ""},
      {true, "\nQUJD", ""},
      {true, "!!!!", ""},
      {true, "QUJD!!!!", ""},
      {true, std::string("QU\0JD", 5), ""},
      {true, "QUJD\nQUJD", ""},
      {false, Long + "\n", LongData},
      {false, Long + "\r\n", LongData},
      {false, Long + "\n" + Long, LongData + LongData},
      {false, "\n\nQUJD\n", "ABC"},
      {false, "QUJD", ""},
      {false, "QQ\n", ""},
      {false, "QUJDQ\n", ""},
      {false, "!!!!\nQUJD\n", "ABC"},
      {false, "QUJD-QUJD\n", "ABC"},
      {false, "hello world\nQUJD\n", ""},
      {false, "QQ==\nQUJD\n", ""},
  };
  for (const Row &Case : Rows) {
    const Answer Expected = {Case.Data.empty() ? EFI_LOAD_ERROR : EFI_SUCCESS, ToBytes(Case.Data)};
    EXPECT_EQ(DecodeAll(false, Case.NoNewline, Case.Text), Expected)
        << "row " << &Case - Rows << ": " << Case.Text;
  }
}

// Whatever the text, both widths give what the model gives, and nothing stays behind.
TEST_F(Base64Test, DamagedTextGivesWhatTheModelGives) {
  std::mt19937 Generator(4648);
  for (int Warm = 0; Warm < 2; Warm++) {
    (void)DecodeAll(false, true, "!");
  }
  const UINTN Live = LiveBlocks();
  int Decoded = 0;
  for (int Round = 0; Round < 1500; Round++) {
    const std::string Text = RandomText(Generator);
    const bool UrlSafe = Generator() % 2;
    const bool NoNewline = Generator() % 2;
    const std::string Standard = UrlSafe ? ToStandard(Text) : Text;
    const Bytes Expected = NoNewline ? DecodeFlat(Standard) : DecodeStructured(Standard);
    ASSERT_EQ(DecodeAll(UrlSafe, NoNewline, Text),
              (Answer{Expected.empty() ? EFI_LOAD_ERROR : EFI_SUCCESS, Expected}))
        << "round " << Round << ": " << Text;
    Decoded += !Expected.empty();
    ASSERT_FALSE(HasFailure()) << "round " << Round;
  }
  EXPECT_TRUE(Decoded > 300 && Decoded < 1200) << "the model has an opinion both ways: " << Decoded;
  EXPECT_EQ(LiveBlocks(), Live);
}

TEST_F(Base64Test, TheAutomaticChoice) {
  struct Row {
    std::string Text;
    bool UrlSafe, NoNewline;
  };
  // A zero character does not end the scan.
  const Row Rows[] = {{"QUJD", false, true},
                      {"QUJD\r", false, false},
                      {"QUJ-", true, true},
                      {"QUJ_\n", true, false},
                      {std::string("QUJD\0\n", 6), false, false},
                      {std::string("QUJD\0-", 6), true, true}};
  for (const Row &Case : Rows) {
    (void)DecodeAll(Case.UrlSafe, Case.NoNewline, Case.Text);
  }
  // A character of 16 bits is no "-", though its low byte is what is decoded.
  UINT8 *Output = nullptr;
  UINTN Length = mUnchanged;
  EXPECT_EQ(Svc().SvcBase64DecodeUnicodeAuto(u"QUJ\u012D", 4, &Output, &Length), EFI_LOAD_ERROR);
  EXPECT_EQ(Output, nullptr);
}

TEST_F(Base64Test, RefusalsTouchNothing) {
  enum Wrong { NoInput, NoLength, TooLong, Wrapped, NoOutput, NoOutputLength, HeldOutput };
  for (int Case = NoInput; Case <= HeldOutput; Case++) {
    const EFI_STATUS Expected = Case == HeldOutput ? EFI_BAD_BUFFER_SIZE : EFI_INVALID_PARAMETER;
    const UINTN Length = Case == NoLength  ? 0
                         : Case == TooLong ? 0x80000000
                         : Case == Wrapped ? 0x100000004
                                           : 4;
    CHAR8 Text[] = "-_-_";
    CHAR16 Wide[] = u"-_-_";
    CHAR8 *Input = Case == NoInput ? nullptr : Text;
    CHAR16 *WideInput = Case == NoInput ? nullptr : Wide;
    UINT8 Held = 0;
    UINT8 *Output = &Held; // tested last
    UINT8 **Place = Case == NoOutput ? nullptr : &Output;
    UINTN Size = mUnchanged;
    UINTN *SizePlace = Case == NoOutputLength ? nullptr : &Size;
    const UINTN Calls = Memory().Calls();
    EXPECT_EQ(Svc().SvcBase64EncodeToAscii(TRUE, TRUE, reinterpret_cast<UINT8 *>(Input), Length,
                                           reinterpret_cast<CHAR8 **>(Place), SizePlace),
              Expected);
    EXPECT_EQ(Svc().SvcBase64EncodeToUnicode(TRUE, TRUE, reinterpret_cast<UINT8 *>(Input), Length,
                                             reinterpret_cast<CHAR16 **>(Place), SizePlace),
              Expected);
    EXPECT_EQ(Svc().SvcBase64DecodeAscii(TRUE, TRUE, Input, Length, Place, SizePlace), Expected);
    EXPECT_EQ(Svc().SvcBase64DecodeAsciiAuto(Input, Length, Place, SizePlace), Expected);
    EXPECT_EQ(Svc().SvcBase64DecodeUnicode(TRUE, TRUE, WideInput, Length, Place, SizePlace), Expected);
    EXPECT_EQ(Svc().SvcBase64DecodeUnicodeAuto(WideInput, Length, Place, SizePlace), Expected);
    EXPECT_EQ(std::string(Text), "-_-_") << "refused text is not rewritten";
    EXPECT_EQ(Output, &Held);
    EXPECT_EQ(Size, mUnchanged);
    EXPECT_EQ(Memory().Calls(), Calls);
  }
}

// A text of several growths of the library's buffer: where one of them fails, nobody sees the short text.
TEST_F(Base64Test, LongTextsAreWholeOrRefused) {
  const Bytes Data = Pattern(3000);
  const std::string Text = Encode(Data, false, true);
  Answer Given;
  SweepScenario Scenario;
  Scenario.Success = EFI_SUCCESS;
  // Where memory runs out before the first character, nothing was encoded.
  Scenario.Failures = {EFI_OUT_OF_RESOURCES, EFI_LOAD_ERROR};
  Scenario.AfterSuccess = [&] { EXPECT_EQ(Given.Output, ToBytes(Text)); };
  for (bool WideText : {false, true}) {
    Scenario.Name = WideText ? "a long text in CHAR16" : "a long text in CHAR8";
    Scenario.Call = [&, WideText]() -> UINT64 {
      UINTN Length = mUnchanged;
      CHAR8 *Narrow = nullptr;
      CHAR16 *Wide = nullptr;
      const EFI_STATUS Status =
          WideText ? Svc().SvcBase64EncodeToUnicode(FALSE, TRUE, Data.data(), Data.size(), &Wide, &Length)
                   : Svc().SvcBase64EncodeToAscii(FALSE, TRUE, Data.data(), Data.size(), &Narrow, &Length);
      Given =
          WideText ? Take(Status, reinterpret_cast<UINT16 *>(Wide), Length) : Take(Status, Narrow, Length);
      return Status;
    };
    EXPECT_GT(SweepAllocations(Session(), Scenario), 6U);
  }
}

} // namespace
