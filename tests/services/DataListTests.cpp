// Signature checks over data lists through slots 0, 1 and 3, with the development keys in the store.
#include <gtest/gtest.h>

#include <regex>

#include "tests/services/RsaTestKey.h"
#include "tests/support/Sweep.h"

namespace {

constexpr UINT32 mUnchanged = 7777;

// More bytes than a number of the library holds.
constexpr UINTN mTooWide = 0x4000040;

class DataListTest : public DriverTest {
protected:
  DataListTest() { LibraryKeepsBlocks = true; }

  // Slot 1 over Parts; the caller's buffers stay as they are.
  EFI_STATUS Verify(const std::vector<Bytes> &Parts, const Bytes &Modulus, const Bytes &Signature,
                    HASH_TYPE Type) {
    std::vector<const VOID *> Data;
    std::vector<UINTN> Sizes;
    for (const Bytes &Part : Parts) {
      Data.push_back(Part.data());
      Sizes.push_back(Part.size());
    }
    const Bytes ModulusBefore = Modulus;
    const Bytes SignatureBefore = Signature;
    EFI_STATUS Status =
        Svc().SvcVerifyDataListWithKey(Data.data(), Sizes.data(), Parts.size(), Modulus.data(),
                                       Modulus.size(), Signature.data(), Signature.size(), Type);
    EXPECT_EQ(Modulus, ModulusBefore);
    EXPECT_EQ(Signature, SignatureBefore);
    return Status;
  }

  // Slots 3 and 0, which must agree, over one buffer; KeyValid is left in the member.
  EFI_STATUS VerifyBuiltin(const Bytes &Message, const Bytes &Signature, BUILTIN_KEY_TYPE KeyType,
                           HASH_TYPE Type) {
    const VOID *Data = Message.data();
    const UINTN Size = Message.size();
    KeyValid = mUnchanged;
    EFI_STATUS Status = Svc().SvcVerifyDataListWithBuiltinKeys(&Data, &Size, 1, Signature.data(),
                                                               Signature.size(), KeyType, &KeyValid, Type);
    UINT32 OtherValid = mUnchanged;
    EXPECT_EQ(Svc().SvcVerifyBufferWithBuiltinKeys(Message.data(), Message.size(), Signature.data(),
                                                   Signature.size(), KeyType, Type, &OtherValid),
              Status);
    EXPECT_EQ(OtherValid, KeyValid);
    EXPECT_EQ(Svc().SvcVerifyBufferWithBuiltinKeys(Message.data(), Message.size(), Signature.data(),
                                                   Signature.size(), KeyType, Type, nullptr),
              Status);
    return Status;
  }

  UINT32 KeyValid = mUnchanged;
  const RsaTestKey &Small = RsaTestKey::Load("rsa512-private");
  const RsaTestKey &Medium = RsaTestKey::Load("rsa1024-private");
};

TEST_F(DataListTest, OneMessageHoweverItIsSplit) {
  const Bytes Message = Pattern(150);
  const Bytes Modulus = Reversed(Medium.N());
  for (HASH_TYPE Type : {HASH_TYPE_SHA1, HASH_TYPE_SHA256}) {
    const Bytes Signature = SignMessage(Svc(), Medium, Type, Message);
    EXPECT_EQ(Verify({Message}, Modulus, Signature, Type), EFI_SUCCESS);
    std::vector<Bytes> Single;
    for (std::ptrdiff_t Split = 1; Split < 150; Split++) {
      const Bytes Head(Message.begin(), Message.begin() + Split);
      const Bytes Tail(Message.begin() + Split, Message.end());
      EXPECT_EQ(Verify({Head, Tail}, Modulus, Signature, Type), EFI_SUCCESS) << Split;
      EXPECT_EQ(Verify({Tail, Head}, Modulus, Signature, Type), EFI_SECURITY_VIOLATION) << Split;
      EXPECT_EQ(Verify({Head}, Modulus, Signature, Type), EFI_SECURITY_VIOLATION) << Split;
    }
    for (UINT8 Byte : Message) {
      Single.push_back({Byte});
    }
    EXPECT_EQ(Verify(Single, Modulus, Signature, Type), EFI_SUCCESS);
  }
}

TEST_F(DataListTest, EverythingElseIsASecurityViolation) {
  const Bytes Message = Pattern(100);
  const Bytes Modulus = Reversed(Small.N());
  const Bytes Signature = SignMessage(Svc(), Small, HASH_TYPE_SHA256, Message);
  ASSERT_EQ(Verify({Message}, Modulus, Signature, HASH_TYPE_SHA256), EFI_SUCCESS);
  for (UINTN Index = 0; Index < Signature.size(); Index++) {
    Bytes Changed = Signature;
    Changed[Index] ^= 1;
    EXPECT_EQ(Verify({Message}, Modulus, Changed, HASH_TYPE_SHA256), EFI_SECURITY_VIOLATION) << Index;
    Changed = Modulus;
    Changed[Index] ^= 2;
    EXPECT_EQ(Verify({Message}, Changed, Signature, HASH_TYPE_SHA256), EFI_SECURITY_VIOLATION) << Index;
  }
  for (UINTN Index = 0; Index < Message.size(); Index++) {
    Bytes Changed = Message;
    Changed[Index] ^= 0x80;
    EXPECT_EQ(Verify({Changed}, Modulus, Signature, HASH_TYPE_SHA256), EFI_SECURITY_VIOLATION) << Index;
  }
  EXPECT_EQ(Verify({Message}, Modulus, Reversed(Signature), HASH_TYPE_SHA256), EFI_SECURITY_VIOLATION);
  EXPECT_EQ(Verify({Message}, Small.N(), Signature, HASH_TYPE_SHA256), EFI_SECURITY_VIOLATION);
  EXPECT_EQ(Verify({Message}, Modulus, Signature, HASH_TYPE_SHA1), EFI_SECURITY_VIOLATION);
  EXPECT_EQ(Verify({Message}, Modulus, Bytes(Signature.begin(), Signature.end() - 1), HASH_TYPE_SHA256),
            EFI_SECURITY_VIOLATION);
  EXPECT_EQ(Verify({Message}, {0}, Signature, HASH_TYPE_SHA256), EFI_SECURITY_VIOLATION);
  // High zero bytes of the modulus do not count; those of the signature do.
  Bytes Padded = Modulus;
  Padded.push_back(0);
  EXPECT_EQ(Verify({Message}, Padded, Signature, HASH_TYPE_SHA256), EFI_SUCCESS);
  Padded = Signature;
  Padded.push_back(0);
  EXPECT_EQ(Verify({Message}, Modulus, Padded, HASH_TYPE_SHA256), EFI_SECURITY_VIOLATION);
}

TEST_F(DataListTest, TheStoreHoldsTheProvisionedKeys) {
  const Bytes Message = Pattern(1000);
  const struct {
    BUILTIN_KEY_TYPE Type;
    const char *Key;
  } Rows[] = {{1, "type1-private"}, {3, "type3-private"}, {4, "type4-private"}};
  for (const auto &Row : Rows) {
    for (HASH_TYPE Hash : {HASH_TYPE_SHA1, HASH_TYPE_SHA256}) {
      Bytes Signature = SignMessage(Svc(), RsaTestKey::Load(Row.Key), Hash, Message);
      for (BUILTIN_KEY_TYPE Type : {0U, 1U, 3U, 4U, 5U}) {
        EXPECT_EQ(VerifyBuiltin(Message, Signature, Type, Hash),
                  Type == Row.Type ? EFI_SUCCESS : EFI_SECURITY_VIOLATION)
            << Row.Type << ", " << Type;
        EXPECT_EQ(KeyValid, Type == Row.Type ? 1U : mUnchanged);
      }
      for (BUILTIN_KEY_TYPE Type : {2U, 6U, 7U, 0xFFFFFFFFU}) {
        EXPECT_EQ(VerifyBuiltin(Message, Signature, Type, Hash), EFI_NOT_FOUND) << Type;
        EXPECT_EQ(KeyValid, mUnchanged);
      }
      Signature.back() ^= 1;
      EXPECT_EQ(VerifyBuiltin(Message, Signature, Row.Type, Hash), EFI_SECURITY_VIOLATION);
      Signature.pop_back();
      EXPECT_EQ(VerifyBuiltin(Message, Signature, Row.Type, Hash), EFI_SECURITY_VIOLATION);
    }
  }
}

// Each argument that is wrong, in the order of the tests: a row's first fault decides.
TEST_F(DataListTest, RefusalsComeInTheirOrder) {
  struct Row {
    bool DataList, SizeList;
    UINTN Count;
    bool Modulus;
    UINTN ModulusSize;
    bool Signature;
    UINTN SignatureSize;
    HASH_TYPE Hash;
    bool Data;
    UINTN Size;
    EFI_STATUS WithKey;    // slot 1
    EFI_STATUS Builtin;    // slot 3 with key type 1
    EFI_STATUS UnknownKey; // slot 3 with key type 2
  };
  constexpr EFI_STATUS Invalid = EFI_INVALID_PARAMETER;
  constexpr EFI_STATUS Bad = EFI_BAD_BUFFER_SIZE;
  constexpr EFI_STATUS Unknown = EFI_NOT_FOUND;
  constexpr EFI_STATUS Wrong = EFI_SECURITY_VIOLATION;
  const Row Rows[] = {
      {false, true, 2, true, 64, true, 64, 2, true, 4, Invalid, Invalid, Invalid},
      {true, false, 2, true, 64, true, 64, 2, true, 4, Invalid, Invalid, Invalid},
      {true, true, 0, true, 64, true, 64, 2, true, 4, Invalid, Invalid, Invalid},
      {true, true, 2, false, 64, true, 64, 2, true, 4, Invalid, Wrong, Unknown},
      {true, true, 2, true, 0, true, 64, 2, true, 4, Invalid, Wrong, Unknown},
      {true, true, 2, true, 64, false, 64, 2, true, 4, Invalid, Invalid, Invalid},
      {true, true, 2, true, 64, true, 0, 2, true, 4, Invalid, Invalid, Invalid},
      {true, true, 2, true, 64, true, 64, 0, false, 4, Invalid, Invalid, Invalid},
      {true, true, 2, true, 64, true, 64, 3, true, 0, Invalid, Invalid, Invalid},
      {true, true, 2, true, 64, true, 64, HASH_TYPE_MD5, true, 4, Invalid, Invalid, Invalid},
      {true, true, 2, true, 64, true, 64, 2, false, 4, Bad, Bad, Unknown},
      {true, true, 2, true, 64, true, 64, 1, true, 0, Bad, Bad, Unknown},
      {true, true, 2, true, mTooWide, true, 64, 2, true, 4, EFI_NOT_READY, Wrong, Unknown},
      {true, true, 2, true, 64, true, UINTN{1} << 40, 2, true, 4, EFI_OUT_OF_RESOURCES, EFI_OUT_OF_RESOURCES,
       Unknown},
      {true, true, 2, true, 64, true, 64, 1, true, 4, Wrong, Wrong, Unknown},
  };
  const Bytes Block = Pattern(256);
  const Bytes Huge(mTooWide, 1);
  for (const Row &Case : Rows) {
    const VOID *Data[] = {Block.data(), Case.Data ? Block.data() : nullptr};
    const UINTN Sizes[] = {4, Case.Size};
    const VOID **DataList = Case.DataList ? Data : nullptr;
    const UINTN *SizeList = Case.SizeList ? Sizes : nullptr;
    const UINT8 *Modulus = Case.ModulusSize > 256 ? Huge.data() : Block.data();
    const UINT8 *Signature = Case.Signature ? Block.data() : nullptr;
    const UINTN Before = Memory().Calls();
    EXPECT_EQ(Svc().SvcVerifyDataListWithKey(DataList, SizeList, Case.Count, Case.Modulus ? Modulus : nullptr,
                                             Case.ModulusSize, Signature, Case.SignatureSize, Case.Hash),
              Case.WithKey)
        << "row " << &Case - Rows;
    if (Case.WithKey == Invalid || Case.WithKey == Bad) {
      EXPECT_EQ(Memory().Calls(), Before) << "row " << &Case - Rows << " allocates";
    }
    for (BUILTIN_KEY_TYPE Type : {1U, 2U}) {
      EXPECT_EQ(Svc().SvcVerifyDataListWithBuiltinKeys(DataList, SizeList, Case.Count, Signature,
                                                       Case.SignatureSize, Type, &KeyValid, Case.Hash),
                Type == 1 ? Case.Builtin : Case.UnknownKey)
          << "row " << &Case - Rows;
    }
  }
  EXPECT_EQ(KeyValid, mUnchanged);
}

// Slot 0 looks at its data only after the keys.
TEST_F(DataListTest, RefusalsOfTheSingleBuffer) {
  const Bytes Block = Pattern(256);
  struct Row {
    bool Data;
    UINTN DataSize;
    bool Signature;
    UINTN SignatureSize;
    BUILTIN_KEY_TYPE Type;
    HASH_TYPE Hash;
    EFI_STATUS Status;
  };
  const Row Rows[] = {
      {true, 4, true, 256, 1, 5, EFI_INVALID_PARAMETER},   {true, 4, true, 256, 2, 0, EFI_INVALID_PARAMETER},
      {true, 4, true, 256, 1, 3, EFI_INVALID_PARAMETER},   {true, 4, false, 256, 2, 2, EFI_INVALID_PARAMETER},
      {true, 4, true, 0, 2, 2, EFI_INVALID_PARAMETER},     {false, 4, true, 256, 2, 2, EFI_NOT_FOUND},
      {false, 4, true, 256, 1, 2, EFI_BAD_BUFFER_SIZE},    {true, 0, true, 256, 1, 1, EFI_BAD_BUFFER_SIZE},
      {false, 4, true, 256, 5, 2, EFI_SECURITY_VIOLATION}, {false, 4, true, 256, 0, 2, EFI_BAD_BUFFER_SIZE},
  };
  for (const Row &Case : Rows) {
    EXPECT_EQ(Svc().SvcVerifyBufferWithBuiltinKeys(Case.Data ? Block.data() : nullptr, Case.DataSize,
                                                   Case.Signature ? Block.data() : nullptr,
                                                   Case.SignatureSize, Case.Type, Case.Hash, &KeyValid),
              Case.Status)
        << "row " << &Case - Rows;
  }
  EXPECT_EQ(KeyValid, mUnchanged);
}

// The data is hashed where it lies.
TEST_F(DataListTest, NothingIsCopiedButSignatureAndModulus) {
  const Bytes Message = Pattern(1 << 20);
  const RsaTestKey &Key = RsaTestKey::Load("type1-private");
  const Bytes Signature = SignMessage(Svc(), Key, HASH_TYPE_SHA256, Message);
  const Bytes Modulus = Reversed(Key.N());
  ASSERT_EQ(Verify({Message}, Modulus, Signature, HASH_TYPE_SHA256), EFI_SUCCESS);
  const UINTN Peak = Memory().Figures().PeakBytes;
  ASSERT_EQ(Verify({Message}, Modulus, Signature, HASH_TYPE_SHA256), EFI_SUCCESS);
  EXPECT_LT(Memory().Figures().PeakBytes, Peak + 65536);
  EXPECT_LT(Peak, Message.size());
}

// The four working buffers, the context, the components, and the verification.
TEST_F(DataListTest, TheStepThatFailsDecidesTheAnswer) {
  const Bytes Message = Pattern(100);
  const Bytes Modulus = Reversed(Small.N());
  const Bytes Signature = SignMessage(Svc(), Small, HASH_TYPE_SHA256, Message);
  GrowHeapTable(Svc());
  ASSERT_EQ(Verify({Message}, Modulus, Signature, HASH_TYPE_SHA256), EFI_SUCCESS);
  const std::string Letters = LettersOfFailures(Memory(), [&] {
    const EFI_STATUS Status = Verify({Message}, Modulus, Signature, HASH_TYPE_SHA256);
    return Status == EFI_OUT_OF_RESOURCES     ? 'b'
           : Status == EFI_NOT_READY          ? 'k'
           : Status == EFI_SECURITY_VIOLATION ? 'v'
           : Status == EFI_SUCCESS            ? '.'
                                              : '?';
  });
  EXPECT_TRUE(std::regex_match(Letters, std::regex("b{5}k{4}v[v.]*"))) << Letters;
}

} // namespace
