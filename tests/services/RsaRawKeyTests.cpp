// RSA encryption and decryption with raw keys through slots 60 and 61.
#include <gtest/gtest.h>

#include <regex>

#include "tests/services/RsaTestKey.h"
#include "tests/support/Sweep.h"

namespace {

constexpr UINT32 mUnchanged = 7777;

class RsaRawKeyTest : public DriverTest {
protected:
  RsaRawKeyTest() { LibraryKeepsBlocks = true; }
  void TearDown() override {
    Release();
    DriverTest::TearDown();
  }

  EFI_STATUS Encrypt(const Bytes &Message, const Bytes &Modulus) {
    Release();
    return Svc().SvcRsaPublicEncrypt(static_cast<UINT32>(Message.size()), Message.data(), Modulus.data(),
                                     Modulus.size(), &Output, &OutputSize);
  }
  EFI_STATUS Decrypt(const Bytes &Ciphertext, const Bytes &Modulus, const Bytes &Exponent) {
    Release();
    return Svc().SvcRsaPrivateDecrypt(static_cast<UINT32>(Ciphertext.size()), Ciphertext.data(),
                                      Modulus.data(), Modulus.size(), Exponent.data(), Exponent.size(),
                                      &Output, &OutputSize);
  }

  // The result of the last call.
  Bytes Result() { return Output != nullptr ? Bytes(Output, Output + OutputSize) : Bytes(); }

  // A failure behind the allocation leaves this.
  bool Nothing() { return Output == nullptr && OutputSize == 0; }

  void Release() {
    if (Output != nullptr && Output != Foreign()) {
      EXPECT_EQ(Firmware().BootServices()->FreePool(Output), EFI_SUCCESS);
    }
    Output = Foreign();
    OutputSize = mUnchanged;
  }

  bool IsPoolBlock(const UINT8 *Address, UINTN Size) {
    for (const Pool::Block &Open : Memory().OpenBlocks()) {
      if (Open.Address == Address) {
        return Open.Size == Size && Open.Type == EfiBootServicesData;
      }
    }
    return false;
  }

  // No service looks at what the caller's variable holds.
  UINT8 *Foreign() { return reinterpret_cast<UINT8 *>(this); }

  // A boot without random instructions and before any seed: the generator is not ready.
  void BootWithoutRandomness() {
    Release();
    Options.Prepare = [](DriverSession &Starting) {
      Starting.Processor().SetFeature(ProcessorScript::Feature::Rdrand, false);
      Starting.Processor().SetFeature(ProcessorScript::Feature::Rdseed, false);
    };
    Reboot();
  }

  UINT8 *Output = Foreign();
  UINT32 OutputSize = mUnchanged;
  const RsaTestKey &Small = RsaTestKey::Load("rsa512-private");
  const RsaTestKey &Large = RsaTestKey::Load("type1-private");
};

TEST_F(RsaRawKeyTest, MessagesOfEverySizeComeBack) {
  for (const RsaTestKey *Key : {&Small, &Large}) {
    const UINTN K = Key->Size();
    for (UINTN Size : {UINTN{1}, UINTN{2}, K / 2, K - 13, K - 12}) {
      const Bytes Message = Pattern(Size, K);
      ASSERT_EQ(Encrypt(Message, Key->N()), EFI_SUCCESS) << Size;
      const Bytes Ciphertext = Result();
      ASSERT_EQ(Ciphertext.size(), K);
      EXPECT_TRUE(IsPoolBlock(Output, K));
      ASSERT_EQ(Encrypt(Message, Key->N()), EFI_SUCCESS);
      EXPECT_NE(Result(), Ciphertext) << "the padding is random";
      ASSERT_EQ(Decrypt(Ciphertext, Key->N(), Key->Components[RsaKeyD]), EFI_SUCCESS) << Size;
      EXPECT_EQ(Result(), Message);
      EXPECT_EQ(Bytes(Output + Size, Output + K), Bytes(K - Size)) << "zero behind the message";
    }
    for (UINTN Size : {K - 11, K - 10, K, K + 1}) {
      EXPECT_EQ(Encrypt(Pattern(Size), Key->N()), EFI_DEVICE_ERROR) << Size;
      EXPECT_TRUE(Nothing());
    }
  }
}

TEST_F(RsaRawKeyTest, LeadingZerosOfTheNumbersDoNotCount) {
  Bytes Modulus = Large.N();
  Bytes Exponent = Large.Components[RsaKeyD];
  Modulus.insert(Modulus.begin(), 2, 0);
  Exponent.insert(Exponent.begin(), 300, 0);
  ASSERT_EQ(Encrypt(Pattern(244), Modulus), EFI_SUCCESS);
  const Bytes Ciphertext = Result();
  EXPECT_EQ(Ciphertext.size(), 256U);
  ASSERT_EQ(Decrypt(Ciphertext, Modulus, Exponent), EFI_SUCCESS);
  EXPECT_EQ(Result(), Pattern(244));
}

TEST_F(RsaRawKeyTest, RefusedArgumentsWriteNothing) {
  Session();
  const UINTN Before = Memory().Calls();
  const CRYPTO_SERVICES_PROTOCOL &Table = Svc();
  const UINT8 *N = Small.N().data();
  const UINT8 *D = Small.Components[RsaKeyD].data();
  const UINT8 *In = Small.N().data();
  for (UINTN Wrong = 0; Wrong < 8; Wrong++) {
    const auto Pointer = [Wrong](UINTN Place, const UINT8 *Good) { return Wrong == Place ? nullptr : Good; };
    const UINT32 Size = Wrong == 0 ? 0 : 64;
    const UINTN NSize = Wrong == 3 ? 0 : 64;
    UINT8 **To = Wrong == 4 ? nullptr : &Output;
    UINT32 *ToSize = Wrong == 5 ? nullptr : &OutputSize;
    if (Wrong < 6) {
      EXPECT_EQ(Table.SvcRsaPublicEncrypt(Size, Pointer(1, In), Pointer(2, N), NSize, To, ToSize),
                EFI_INVALID_PARAMETER)
          << Wrong;
    }
    EXPECT_EQ(Table.SvcRsaPrivateDecrypt(Size, Pointer(1, In), Pointer(2, N), NSize, Pointer(6, D),
                                         Wrong == 7 ? 0 : 64, To, ToSize),
              EFI_INVALID_PARAMETER)
        << Wrong;
  }
  EXPECT_EQ(Memory().Calls(), Before) << "nothing is allocated for these";
  // Numbers that the library cannot hold.
  EXPECT_EQ(Table.SvcRsaPublicEncrypt(9, In, N, 0x80000000, &Output, &OutputSize), EFI_DEVICE_ERROR);
  EXPECT_EQ(Table.SvcRsaPrivateDecrypt(64, In, N, ~UINTN{0}, D, 64, &Output, &OutputSize), EFI_DEVICE_ERROR);
  EXPECT_EQ(Table.SvcRsaPrivateDecrypt(64, In, N, 64, D, 0x80000000, &Output, &OutputSize), EFI_DEVICE_ERROR);
  EXPECT_EQ(Output, Foreign());
  EXPECT_EQ(OutputSize, mUnchanged);
}

TEST_F(RsaRawKeyTest, WhatCannotWorkIsADeviceError) {
  ASSERT_EQ(Encrypt(Pattern(20), Small.N()), EFI_SUCCESS);
  const Bytes Ciphertext = Result();
  Bytes Shorter(Ciphertext.begin() + 1, Ciphertext.end());
  Bytes Longer = Ciphertext;
  Longer.insert(Longer.begin(), 0);
  Bytes Even = Small.N();
  Even.back() &= 0xFE;
  Bytes Huge = Pattern(2049, 3);
  Huge.front() = 1;
  Huge.back() |= 1;
  Bytes Wide(65);
  Wide.front() = 1;
  struct Row {
    Bytes Ciphertext;
    Bytes Modulus;
    Bytes Exponent;
  };
  const Bytes &D = Small.Components[RsaKeyD];
  const Row Rows[] = {{Shorter, Small.N(), D},
                      {Longer, Small.N(), D},
                      {Ciphertext, Small.N(), {1, 2, 3}},
                      {Ciphertext, Small.N(), {0}},
                      {Small.N(), Small.N(), D},
                      {Ciphertext, Even, D},
                      {Ciphertext, Small.N(), Wide},
                      {Huge, Huge, {3}},
                      {{5}, {7}, {3}},
                      {Pattern(10), Pattern(10), {3}},
                      {Pattern(11), Pattern(11, 2), {3}},
                      {{1}, {0}, {3}}};
  for (const Row &Case : Rows) {
    EXPECT_EQ(Decrypt(Case.Ciphertext, Case.Modulus, Case.Exponent), EFI_DEVICE_ERROR) << &Case - Rows;
    EXPECT_TRUE(Nothing()) << &Case - Rows;
  }
  // In particular the lengths around the padding, where the unsigned difference wraps.
  for (UINTN K = 1; K <= 12; K++) {
    Bytes Modulus = Pattern(K, 9);
    Modulus.front() |= 0x80;
    Modulus.back() |= 1;
    for (UINT32 Size : {UINT32{1}, UINT32{12}, UINT32{0x7FFFFFFF}, UINT32{0x80000000}, UINT32{0xFFFFFFFF}}) {
      Release();
      EXPECT_EQ(Svc().SvcRsaPublicEncrypt(Size, Huge.data(), Modulus.data(), K, &Output, &OutputSize),
                EFI_DEVICE_ERROR)
          << K << ", " << Size;
      EXPECT_TRUE(Nothing());
    }
  }
  EXPECT_EQ(Encrypt(Pattern(9), Even), EFI_DEVICE_ERROR);
  EXPECT_EQ(Encrypt(Pattern(9), Huge), EFI_DEVICE_ERROR);
  EXPECT_TRUE(Nothing());
}

// Without blinding, the private exponent 1 makes the ciphertext itself the padded block.
TEST_F(RsaRawKeyTest, OnlyWellFormedPaddingIsAccepted) {
  BootWithoutRandomness();
  const UINTN K = Small.Size();
  auto Block = [&](UINT8 First, UINT8 Type, UINTN PaddingSize, UINTN Size) {
    Bytes Made = {First, Type};
    Made.resize(2 + PaddingSize, 0x5A);
    Made.resize(K, 0);
    const Bytes Message = Pattern(Size, 77);
    std::copy(Message.begin(), Message.end(), Made.end() - static_cast<std::ptrdiff_t>(Size));
    return Made;
  };
  for (UINTN Size : {UINTN{0}, UINTN{1}, UINTN{30}, K - 11}) {
    ASSERT_EQ(Decrypt(Block(0, 2, K - 3 - Size, Size), Small.N(), {1}), EFI_SUCCESS) << Size;
    EXPECT_EQ(OutputSize, Size);
    EXPECT_EQ(Result(), Pattern(Size, 77));
  }
  const Bytes Malformed[] = {
      Block(0, 1, K - 13, 10), Block(0, 3, K - 13, 10), Block(0, 0, K - 13, 10), Block(1, 2, K - 13, 10),
      Block(0, 2, K - 2, 0),   Block(0, 2, 7, K - 10),  Block(0, 2, 0, 10),      Bytes(K)};
  for (const Bytes &Bad : Malformed) {
    EXPECT_EQ(Decrypt(Bad, Small.N(), {1}), EFI_DEVICE_ERROR) << &Bad - Malformed;
    EXPECT_TRUE(Nothing());
  }
}

// The private operations need no random numbers; encryption does, and says so.
TEST_F(RsaRawKeyTest, BeforeTheGeneratorIsReady) {
  ASSERT_EQ(Encrypt(Pattern(20), Small.N()), EFI_SUCCESS);
  const Bytes Ciphertext = Result();
  const Bytes Signature = SignDigest(Svc(), Small, Pattern(20));
  BootWithoutRandomness();
  EXPECT_EQ(Encrypt(Pattern(20), Small.N()), EFI_DEVICE_ERROR);
  EXPECT_TRUE(Nothing());
  ASSERT_EQ(Decrypt(Ciphertext, Small.N(), Small.Components[RsaKeyD]), EFI_SUCCESS);
  EXPECT_EQ(Result(), Pattern(20));
  EXPECT_EQ(SignDigest(Svc(), Small, Pattern(20)), Signature);
  const Bytes Seed = Pattern(32);
  ASSERT_TRUE(Svc().SvcRandomSeed(Seed.data(), Seed.size()));
  EXPECT_EQ(Encrypt(Pattern(20), Small.N()), EFI_SUCCESS);
  ASSERT_EQ(Decrypt(Ciphertext, Small.N(), Small.Components[RsaKeyD]), EFI_SUCCESS);
  EXPECT_EQ(Result(), Pattern(20));
}

// The context, the components (each a number and its digits), the result block, and the operation.
TEST_F(RsaRawKeyTest, TheStepThatFailsDecidesTheAnswer) {
  ASSERT_EQ(Encrypt(Pattern(20), Small.N()), EFI_SUCCESS);
  const Bytes Ciphertext = Result();
  GrowHeapTable(Svc());
  const auto Letter = [&](EFI_STATUS Status) {
    const bool Untouched = Output == Foreign() && OutputSize == mUnchanged;
    return Status == EFI_SUCCESS                                                      ? '.'
           : Status == EFI_OUT_OF_RESOURCES && Untouched                              ? 'c'
           : Status == EFI_DEVICE_ERROR && Untouched                                  ? 'k'
           : Status == EFI_OUT_OF_RESOURCES && Output == nullptr && OutputSize == 64U ? 'b'
           : Status == EFI_DEVICE_ERROR && Nothing()                                  ? 'o'
                                                                                      : '?';
  };
  const std::string Encryption =
      LettersOfFailures(Memory(), [&] { return Letter(Encrypt(Pattern(20), Small.N())); });
  EXPECT_TRUE(std::regex_match(Encryption, std::regex("ck{4}bo[o.]*"))) << Encryption;
  const std::string Decryption = LettersOfFailures(
      Memory(), [&] { return Letter(Decrypt(Ciphertext, Small.N(), Small.Components[RsaKeyD])); });
  EXPECT_TRUE(std::regex_match(Decryption, std::regex("ck{6}bo[o.]*"))) << Decryption;
}

} // namespace
