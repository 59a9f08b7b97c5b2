// PBKDF2 through slot 49: the refusals and every output size. More known answers: tests/vectors.
#include <gtest/gtest.h>

#include "tests/support/DriverTest.h"
#include "tests/support/GuardedBuffer.h"

namespace {

class Pbkdf2Test : public DriverTest {
protected:
  Pbkdf2Test() { LibraryKeepsBlocks = true; }

  Bytes Derive(const Bytes &Password, const Bytes &Salt, UINTN Count, UINTN Size) {
    GuardedBuffer Output(Size, Size % 5);
    EXPECT_EQ(Svc().SvcPbkdf2HmacSha1(Password.data(), Password.size(), Salt.empty() ? nullptr : Salt.data(),
                                      Salt.size(), Count, Output.Get(), Size),
              EFI_SUCCESS);
    EXPECT_TRUE(Output.OnlyWritten(Size));
    return Output.Content();
  }
};

// A longer result begins with the shorter ones; blocks after the first are those of the definition.
TEST_F(Pbkdf2Test, EveryOutputSize) {
  // RFC 6070, section 2.
  EXPECT_EQ(Derive({'p', 'a', 's', 's', 'w', 'o', 'r', 'd'}, {'s', 'a', 'l', 't'}, 2, 20),
            FromHex("ea6c014dc72d6f8ccd1ed92ace1d41f0d8de8957"));
  const Bytes Password = Pattern(70);
  const Bytes Long = Derive(Password, {}, 3, 100);
  for (UINTN Size = 1; Size < 100; Size += 3) {
    EXPECT_EQ(Derive(Password, {}, 3, Size), Bytes(Long.begin(), Long.begin() + static_cast<long>(Size)));
  }
  // RFC 8018, section 5.2: with one iteration each block is a MAC of the salt and the block's number.
  const Bytes Once = Derive(Password, {}, 1, 100);
  for (UINT8 Number = 1; Number <= 5; Number++) {
    const Bytes Message = {0, 0, 0, Number};
    Bytes Mac(20);
    UINTN Size = 20;
    ASSERT_EQ(Svc().SvcHmacCompute(HASH_TYPE_SHA1, Password.data(), Password.size(), Message.data(), 4,
                                   Mac.data(), &Size),
              EFI_SUCCESS);
    EXPECT_EQ(Mac, Bytes(Once.begin() + (Number - 1) * 20, Once.begin() + Number * 20));
  }
}

TEST_F(Pbkdf2Test, RefusalsWriteNothing) {
  constexpr UINTN Above = 0x80000000;
  constexpr UINTN Wrapped = 0x100000001; // would be 1 when cut to 32 bits
  struct Row {
    bool Password;
    UINTN PasswordLength;
    bool Salt;
    UINTN SaltLength, Count;
    bool Output;
    UINTN OutputLength;
    EFI_STATUS Status;
  };
  const Row Rows[] = {
      {false, 8, true, 8, 1, true, 20, EFI_INVALID_PARAMETER},
      {true, 0, true, 8, 1, true, 20, EFI_INVALID_PARAMETER},
      {true, 8, true, 8, 0, true, 20, EFI_INVALID_PARAMETER},
      {true, 8, true, 8, 1, false, 20, EFI_INVALID_PARAMETER},
      {true, 8, true, 8, 1, true, 0, EFI_INVALID_PARAMETER},
      {true, 8, false, 8, 0, true, 20, EFI_INVALID_PARAMETER},
      {true, 8, false, 8, 1, true, 20, EFI_BAD_BUFFER_SIZE},
      {true, Above, true, 8, 1, true, 20, EFI_INVALID_PARAMETER},
      {true, 8, true, Above, 1, true, 20, EFI_INVALID_PARAMETER},
      {true, 8, true, 8, Above, true, 20, EFI_INVALID_PARAMETER},
      {true, 8, true, 8, 1, true, Above, EFI_INVALID_PARAMETER},
      {true, Wrapped, true, 8, 1, true, 20, EFI_INVALID_PARAMETER},
      {true, 8, true, Wrapped, 1, true, 20, EFI_INVALID_PARAMETER},
      {true, 8, true, 8, Wrapped, true, 20, EFI_INVALID_PARAMETER},
      {true, 8, true, 8, 1, true, Wrapped, EFI_INVALID_PARAMETER},
  };
  const Bytes Text = Pattern(8);
  for (const Row &Case : Rows) {
    GuardedBuffer Output(20);
    EXPECT_EQ(Svc().SvcPbkdf2HmacSha1(Case.Password ? Text.data() : nullptr, Case.PasswordLength,
                                      Case.Salt ? Text.data() : nullptr, Case.SaltLength, Case.Count,
                                      Case.Output ? Output.Get() : nullptr, Case.OutputLength),
              Case.Status)
        << "row " << &Case - Rows;
    EXPECT_TRUE(Output.Untouched());
  }
}

} // namespace
