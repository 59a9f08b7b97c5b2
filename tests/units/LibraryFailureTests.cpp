// What the services answer when the crypto library fails where it never does by itself.
#include <gtest/gtest.h>

#include <climits>

#include "tests/support/GuardedBuffer.h"
#include "tests/units/LibraryScript.h"

namespace {

constexpr UINTN mUnchanged = 0x1234567;

class LibraryFailureTest : public ScriptedLibraryTest {
protected:
  // Every block that goes back meanwhile is zero, but for those of the given sizes.
  void ExpectWipes(const std::vector<UINTN> &Uncleared) {
    Memory().ObserveFree([Uncleared](const Pool::Block &Block) {
      if (std::find(Uncleared.begin(), Uncleared.end(), Block.Size) == Uncleared.end()) {
        EXPECT_EQ(Bytes(Block.Address, Block.Address + Block.Size), Bytes(Block.Size))
            << Block.Size << " bytes";
      }
    });
  }
};

// The answers of the Base64 filter that a memory object never brings about.
TEST_F(LibraryFailureTest, EveryAnswerOfTheBase64Filter) {
  struct Row {
    int Answer;
    bool Retry;
    // What a decoder answers when the first read, and when the second read, gives that.
    EFI_STATUS First, Second;
  };
  const Row Rows[] = {
      {-1, false, EFI_DEVICE_ERROR, EFI_DEVICE_ERROR}, {-1, true, EFI_LOAD_ERROR, EFI_SUCCESS},
      {0, true, EFI_LOAD_ERROR, EFI_SUCCESS},          {-2, false, EFI_UNSUPPORTED, EFI_UNSUPPORTED},
      {-2, true, EFI_UNSUPPORTED, EFI_UNSUPPORTED},    {-3, false, EFI_NOT_FOUND, EFI_NOT_FOUND},
      {-3, true, EFI_NOT_FOUND, EFI_NOT_FOUND},        {INT_MIN, false, EFI_NOT_FOUND, EFI_NOT_FOUND},
  };
  std::string Text;
  for (int Index = 0; Index < 1000; Index++) {
    Text += "-_-_";
  }
  const std::u16string Wide(Text.begin(), Text.end());
  // Once undisturbed, so that the library has its globals.
  for (int Case = -1; Case < 2 * static_cast<int>(std::size(Rows)); Case++) {
    const Row &Way = Rows[Case < 0 ? 0 : Case / 2];
    const EFI_STATUS Expected = Case < 0 ? EFI_SUCCESS : Case % 2 == 0 ? Way.First : Way.Second;
    for (const bool Unicode : {false, true}) {
      int Reads = 0;
      mLibrary.ChunkRead = [&](BIO *Chain, const std::function<int()> &Real) {
        if (Case < 0 || Reads++ < Case % 2) {
          return Real();
        }
        Way.Retry ? BIO_set_flags(Chain, BIO_FLAGS_SHOULD_RETRY)
                  : BIO_clear_flags(Chain, BIO_FLAGS_SHOULD_RETRY);
        return Way.Answer;
      };
      const UINTN Live = LiveBlocks();
      std::string Rewritten = Text;
      UINT8 *Output = nullptr;
      UINTN Length = mUnchanged;
      EXPECT_EQ(Unicode
                    ? Svc().SvcBase64DecodeUnicodeAuto(Wide.data(), Wide.size(), &Output, &Length)
                    : Svc().SvcBase64DecodeAscii(TRUE, TRUE, Rewritten.data(), Text.size(), &Output, &Length),
                Expected)
          << "case " << Case;
      EXPECT_EQ(Rewritten.substr(0, 8), Unicode ? "-_-_-_-_" : "+/+/+/+/") << "whatever comes later";
      if (Expected == EFI_SUCCESS) {
        EXPECT_EQ(Length, Case < 0 ? 3000U : 2048U);
        EXPECT_EQ(Bytes(Output, Output + 4), FromHex("fbffbffb"));
        EXPECT_EQ(Output[Length], 0);
        Firmware().BootServices()->FreePool(Output);
      } else {
        EXPECT_EQ(Output, nullptr);
        EXPECT_EQ(Length, mUnchanged);
      }
      if (Case >= 0) {
        EXPECT_EQ(LiveBlocks(), Live) << "case " << Case;
      }
    }
  }
}

TEST_F(LibraryFailureTest, AFilterThatCannotBeChained) {
  CHAR8 Text[] = "QUJD";
  CHAR16 *Wide = nullptr;
  UINT8 *Output = nullptr;
  UINTN Length = mUnchanged;
  EXPECT_EQ(Svc().SvcBase64DecodeAsciiAuto(Text, 4, &Output, &Length), EFI_SUCCESS);
  Firmware().BootServices()->FreePool(Output);
  Output = nullptr;
  Length = mUnchanged;
  const UINTN Live = LiveBlocks();
  mLibrary.Push = [] { return nullptr; };
  EXPECT_EQ(Svc().SvcBase64DecodeAsciiAuto(Text, 4, &Output, &Length), EFI_DEVICE_ERROR);
  EXPECT_EQ(Svc().SvcBase64EncodeToUnicode(FALSE, FALSE, reinterpret_cast<UINT8 *>(Text), 4, &Wide, &Length),
            EFI_DEVICE_ERROR);
  EXPECT_EQ(Output, nullptr);
  EXPECT_EQ(Wide, nullptr);
  EXPECT_EQ(Length, mUnchanged);
  EXPECT_EQ(LiveBlocks(), Live);
}

TEST_F(LibraryFailureTest, RefusedAesSchedules) {
  const Bytes Key = Pattern(32);
  Bytes Context(CRYPTO_SERVICES_AES_CONTEXT_SIZE);
  for (const bool Encryption : {true, false}) {
    for (const int Answer : {-1, -2, 1}) {
      mLibrary = {};
      (Encryption ? mLibrary.SetEncryptKey : mLibrary.SetDecryptKey) = [Answer] { return Answer; };
      EXPECT_FALSE(Svc().SvcAesInit(Context.data(), Key.data(), 256));
      GuardedBuffer Output(40);
      const UINTN Live = LiveBlocks();
      ExpectWipes({});
      EXPECT_EQ(Svc().SvcAesLayeredTransform(Output.Get(), Key.data(), 32, Key.data(), 256),
                EFI_DEVICE_ERROR);
      EXPECT_TRUE(Output.Untouched());
      EXPECT_EQ(LiveBlocks(), Live);
    }
  }
  Memory().ObserveFree({});
}

// The inner and the outer pass of a MAC, and a long key's; each failing alone. The hash contexts and the
// digest of a long key go back as they are.
TEST_F(LibraryFailureTest, AHashPassThatFails) {
  const Bytes Key = Pattern(65);
  const Bytes Data = Pattern(100);
  for (int Failing = 0; Failing < 3; Failing++) {
    int Passes = 0;
    mLibrary.Sha256Final = [&] { return Passes++ == Failing ? 0 : 1; };
    ExpectWipes({112, 32});
    GuardedBuffer Mac(32);
    UINTN Size = 32;
    const UINTN Live = LiveBlocks();
    EXPECT_EQ(Svc().SvcHmacCompute(HASH_TYPE_SHA256, Key.data(), 65, Data.data(), 100, Mac.Get(), &Size),
              EFI_SECURITY_VIOLATION);
    EXPECT_EQ(Size, 32U);
    EXPECT_EQ(Passes, Failing + 1);
    Passes = 0;
    EXPECT_EQ(Svc().SvcHmacVerify(HASH_TYPE_SHA256, Key.data(), 65, Data.data(), 100, Mac.Get(), 32),
              EFI_SECURITY_VIOLATION);
    EXPECT_TRUE(Mac.Untouched());
    EXPECT_EQ(LiveBlocks(), Live);
  }
  Memory().ObserveFree({});
}

// Success is the answer 1 and no other.
TEST_F(LibraryFailureTest, DerivationAndGenerator) {
  for (const int Answer : {0, -1, 2}) {
    mLibrary = {};
    GuardedBuffer Output(32);
    mLibrary.Pbkdf2 = [Answer] { return Answer; };
    EXPECT_EQ(Svc().SvcPbkdf2HmacSha1(Output.Get(), 8, nullptr, 0, 1, Output.Get(), 32), EFI_DEVICE_ERROR);
    mLibrary.GeneratorBytes = [Answer](UINT8 *, int) { return Answer; };
    EXPECT_FALSE(Svc().SvcRandomBytes(Output.Get(), 32));
    EXPECT_TRUE(Output.Untouched());
    bool Seeded = false;
    mLibrary.Seed = [&Seeded](const VOID *, int) { Seeded = true; };
    mLibrary.GeneratorStatus = [Answer] { return Answer; };
    EXPECT_FALSE(Svc().SvcRandomSeed(Output.Get(), 32));
    EXPECT_TRUE(Seeded);
    Seeded = false;
    mLibrary.GeneratorStatus = [] { return 1; };
    mLibrary.AddDigest = [] { return 0; };
    EXPECT_FALSE(Svc().SvcRandomSeed(Output.Get(), 32)) << "SHA-1 is not registered";
    EXPECT_FALSE(Seeded);
  }
}

} // namespace
