// Base64 through slots 54 to 59: known answers, a plain model over random data
// in both widths, what damaged text answers, refusals and memory.
#include <gtest/gtest.h>

#include <random>

#include "tests/services/ColdSweep.h"
#include "tests/support/DriverTest.h"

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

struct Answer {
  EFI_STATUS Status;
  Bytes Output;
  bool operator==(const Answer &) const = default;
};

void PrintTo(const Answer &Printed, std::ostream *Stream) {
  *Stream << std::hex << Printed.Status << std::dec << ", " << Printed.Output.size() << " bytes";
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
      Exact = Exact || (static_cast<VOID *>(Block.Address) == Output && Block.Size == (Length + 1) * sizeof(CHARACTER) &&
                        Block.Type == EfiBootServicesData);
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
    EFI_STATUS Status = Svc().SvcBase64EncodeToAscii(UrlSafe, NoNewline, Data.data(), Data.size(), &Narrow, &Length);
    const Answer First = Take(Status, Narrow, Length);
    Length = mUnchanged;
    Status = Svc().SvcBase64EncodeToUnicode(UrlSafe, NoNewline, Data.data(), Data.size(), &Wide, &Length);
    EXPECT_EQ(Take(Status, reinterpret_cast<UINT16 *>(Wide), Length), First);
    return First;
  }

  // CHAR8 and CHAR16, explicit, or automatic when the switches are those that the text asks for. The CHAR8 text is
  // rewritten up to its first zero, the CHAR16 text never; the high bytes of CHAR16 text do not count.
  Answer DecodeAll(bool UrlSafe, bool NoNewline, const std::string &Text) {
    std::string Rewritten = Text;
    for (size_t Index = 0; UrlSafe && Index < Rewritten.size() && Rewritten[Index] != '\0'; Index++) {
      Rewritten[Index] = Rewritten[Index] == '-' ? '+' : Rewritten[Index] == '_' ? '/' : Rewritten[Index];
    }
    const bool Automatic = UrlSafe == (Text.find_first_of("-_") != std::string::npos) &&
                           NoNewline == (Text.find_first_of("\r\n") == std::string::npos);
    Answer First = {};
    for (int Pass = 0; Pass < (Automatic ? 4 : 2); Pass++) {
      UINT8 *Output = nullptr;
      UINTN Length = mUnchanged;
      EFI_STATUS Status;
      if (Pass % 2 == 0) {
        std::string Input = Text;
        Status = Pass == 0 ? Svc().SvcBase64DecodeAscii(UrlSafe, NoNewline, Input.data(), Input.size(), &Output, &Length)
                           : Svc().SvcBase64DecodeAsciiAuto(Input.data(), Input.size(), &Output, &Length);
        EXPECT_EQ(Input, Rewritten);
      } else {
        std::u16string Input;
        for (char Character : Text) {
          Input += static_cast<char16_t>((Pass == 1 ? 0x4100 : 0) | static_cast<UINT8>(Character));
        }
        const std::u16string Before = Input;
        Status = Pass == 1
                     ? Svc().SvcBase64DecodeUnicode(UrlSafe, NoNewline, Input.data(), Input.size(), &Output, &Length)
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

Bytes ToBytes(const std::string &Text) { return Bytes(Text.begin(), Text.end()); }

TEST_F(Base64Test, KnownAnswers) {
  // RFC 4648, section 10.
  const std::pair<std::string, std::string> Rows[] = {{"f", "Zg=="},         {"fo", "Zm8="},
                                                      {"foo", "Zm9v"},       {"foob", "Zm9vYg=="},
                                                      {"fooba", "Zm9vYmE="}, {"foobar", "Zm9vYmFy"}};
  for (const auto &[Data, Text] : Rows) {
    EXPECT_EQ(EncodeBoth(false, true, ToBytes(Data)), (Answer{EFI_SUCCESS, ToBytes(Text)}));
    EXPECT_EQ(DecodeAll(false, true, Text), (Answer{EFI_SUCCESS, ToBytes(Data)}));
    EXPECT_EQ(EncodeBoth(false, false, ToBytes(Data)), (Answer{EFI_SUCCESS, ToBytes(Text + "\n")}));
  }
  const Bytes Both = FromHex("fbffbf");
  EXPECT_EQ(EncodeBoth(false, false, Both).Output, ToBytes("+/+/\n"));
  EXPECT_EQ(EncodeBoth(true, true, Both).Output, ToBytes("-_-_"));
  EXPECT_EQ(DecodeAll(true, true, "-_-_").Output, Both);
  EXPECT_EQ(EncodeBoth(false, false, Bytes(48)).Output.size(), 65U);
  EXPECT_EQ(EncodeBoth(false, false, Bytes(49)).Output.size(), 70U);
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
      ASSERT_EQ(DecodeAll(UrlSafe, NoNewline, Text), (Answer{EFI_SUCCESS, Data})) << Size << ", switches " << Switches;
    }
  }
}

TEST_F(Base64Test, OtherLayoutsAndWhatIsNoBase64) {
  struct Row {
    bool NoNewline;
    std::string Text;
    std::string Hex; // empty: EFI_LOAD_ERROR
  };
  const std::string Long = Encode(Bytes(57, 'x'), false, true);
  const std::string LongHex = [] {
    std::string Hex;
    for (int Index = 0; Index < 57; Index++) {
      Hex += "78";
    }
    return Hex;
  }();
  const Row Rows[] = {
      {true, "QUJDQ", "414243"},
      {true, "QUJD-", "414243"},
      {true, "QUJD\r\n", "414243"},
      {true, "QUI=\n", "4142"},
      {true, "====", "00"},
      {true, "Q===", "40"},
      {true, "QQ==QUJD", "410000414243"},
      {true, "QQ", ""},
      {true, "QU JD", ""},
      {true, " QUJD", ""},
      {true, "\nQUJD", ""},
      {true, "!!!!", ""},
      {true, "QUJD!!!!", ""},
      {true, std::string("QU\0JD", 5), ""},
      {true, "QUJD\nQUJD", ""},
      {false, Long + "\n", LongHex},
      {false, Long + "\r\n", LongHex},
      {false, Long + "\n" + Long, LongHex + LongHex},
      {false, "\n\nQUJD\n", "414243"},
      {false, "QUJD", ""},
      {false, "QQ\n", ""},
      {false, "QUJDQ\n", ""},
      {false, "!!!!\nQUJD\n", "414243"},
      {false, "QUJD-QUJD\n", "414243"},
      {false, "hello world\nQUJD\n", ""},
      {false, "QQ==\nQUJD\n", ""},
  };
  for (const Row &Case : Rows) {
    const Answer Expected = {Case.Hex.empty() ? EFI_LOAD_ERROR : EFI_SUCCESS, FromHex(Case.Hex)};
    EXPECT_EQ(DecodeAll(false, Case.NoNewline, Case.Text), Expected) << "row " << &Case - Rows << ": " << Case.Text;
  }
}

// Whatever the text, the widths agree, the answer is one of two, and nothing stays behind.
TEST_F(Base64Test, DamagedTextNeverDoesHarm) {
  std::mt19937 Generator(4648);
  for (int Warm = 0; Warm < 2; Warm++) {
    (void)DecodeAll(false, true, "!");
  }
  const UINTN Live = LiveBlocks();
  for (int Round = 0; Round < 1500; Round++) {
    const std::string Text = RandomText(Generator);
    const Answer Given = DecodeAll(Generator() % 2, Generator() % 2, Text);
    ASSERT_TRUE(Given.Status == EFI_SUCCESS || Given.Status == EFI_LOAD_ERROR);
    ASSERT_FALSE(HasFailure()) << "round " << Round;
  }
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
}

TEST_F(Base64Test, RefusalsTouchNothing) {
  enum Wrong { NoInput, NoLength, TooLong, Wrapped, NoOutput, NoOutputLength, HeldOutput };
  for (int Case = NoInput; Case <= HeldOutput; Case++) {
    const EFI_STATUS Expected = Case == HeldOutput ? EFI_BAD_BUFFER_SIZE : EFI_INVALID_PARAMETER;
    const UINTN Length = Case == NoLength ? 0 : Case == TooLong ? 0x80000000 : Case == Wrapped ? 0x100000004 : 4;
    CHAR8 Text[] = "-_-_";
    CHAR16 Wide[] = u"-_-_";
    CHAR8 *Input = Case == NoInput ? nullptr : Text;
    CHAR16 *WideInput = Case == NoInput ? nullptr : Wide;
    UINT8 Held = 0;
    UINT8 *Output = Case == HeldOutput ? &Held : nullptr;
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
    EXPECT_EQ(Output, Case == HeldOutput ? &Held : nullptr);
    EXPECT_EQ(Size, mUnchanged);
    EXPECT_EQ(Memory().Calls(), Calls);
  }
}

TEST_F(Base64Test, EveryAllocationMayFail) {
  const Bytes Data = Pattern(3000);
  const std::string Text = Encode(Data, false, true);
  SweepScenario Scenario;
  Scenario.Success = EFI_SUCCESS;
  // Where memory runs out before the first character, nothing was encoded.
  Scenario.Failures = {EFI_OUT_OF_RESOURCES, EFI_LOAD_ERROR};
  Answer Given;
  for (bool WideText : {false, true}) {
    Scenario.Name = WideText ? "Base64 encoding to CHAR16" : "Base64 encoding to CHAR8";
    Scenario.Call = [&, WideText]() -> UINT64 {
      UINTN Length = mUnchanged;
      CHAR8 *Narrow = nullptr;
      CHAR16 *Wide = nullptr;
      const EFI_STATUS Status =
          WideText ? Svc().SvcBase64EncodeToUnicode(FALSE, TRUE, Data.data(), Data.size(), &Wide, &Length)
                   : Svc().SvcBase64EncodeToAscii(FALSE, TRUE, Data.data(), Data.size(), &Narrow, &Length);
      Given = WideText ? Take(Status, reinterpret_cast<UINT16 *>(Wide), Length) : Take(Status, Narrow, Length);
      return Status;
    };
    Scenario.AfterSuccess = [&] { EXPECT_EQ(Given.Output, ToBytes(Text)); };
    SweepAllocations(Session(), Scenario);
  }
  SweepColdStart([this]() -> DriverSession & { return Reboot(), Session(); }, Scenario);

  Scenario.Name = "Base64 decoding of CHAR16";
  Scenario.Call = [&]() -> UINT64 {
    const std::u16string Wide(Text.begin(), Text.end());
    UINT8 *Output = nullptr;
    UINTN Length = mUnchanged;
    const EFI_STATUS Status = Svc().SvcBase64DecodeUnicodeAuto(Wide.data(), Wide.size(), &Output, &Length);
    Given = Take(Status, Output, Length);
    return Status;
  };
  Scenario.Failures = {EFI_OUT_OF_RESOURCES};
  Scenario.AfterSuccess = [&] { EXPECT_EQ(Given.Output, Data); };
  SweepAllocations(Session(), Scenario);
}

} // namespace
