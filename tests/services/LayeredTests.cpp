// The layered AES transform through slot 51, on every kind of processor:
// against its known answers and a model that is written from its definition
// with single-block calls of the library.
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/services/CipherSupport.h"
#include "tests/support/DriverTest.h"
#include "tests/support/GuardedBuffer.h"

#include <openssl/aes.h>

namespace {

using Block = std::array<UINT8, 16>;

// The definition, byte by byte.
class LayeredModel {
public:
  explicit LayeredModel(const Bytes &Key) {
    AES_set_encrypt_key(Key.data(), 256, &Encryption_);
    AES_set_decrypt_key(Key.data(), 256, &Decryption_);
  }

  Bytes Transform(Bytes Buffer) const {
    Pass(Buffer);
    std::reverse(Buffer.begin(), Buffer.end());
    Pass(Buffer);
    std::reverse(Buffer.begin(), Buffer.end());
    Pass(Buffer);
    return Buffer;
  }

private:
  void Pass(Bytes &Buffer) const {
    Block Vector = {};
    AES_encrypt(Vector.data(), Vector.data(), &Encryption_);
    UINTN Offset = 0;
    for (; Offset + 16 <= Buffer.size(); Offset += 16) {
      Block Cipher;
      std::copy_n(&Buffer[Offset], 16, Cipher.data());
      Block Plain;
      AES_decrypt(Cipher.data(), Plain.data(), &Decryption_);
      for (UINTN Index = 0; Index < 16; Index++) {
        Buffer[Offset + Index] = Plain[Index] ^ Vector[Index];
      }
      Vector = Cipher;
    }
    for (; Offset < Buffer.size(); Offset++) {
      Block Stream;
      AES_encrypt(Vector.data(), Stream.data(), &Decryption_);
      std::rotate(Vector.begin(), Vector.begin() + 1, Vector.end());
      Vector[15] = Buffer[Offset];
      Buffer[Offset] ^= Stream[0];
    }
  }

  AES_KEY Encryption_;
  AES_KEY Decryption_;
};

class LayeredTest : public CipherTest {
protected:
  Bytes Transform(const Bytes &Input, const Bytes &Key, UINTN Misalignment = 0) {
    GuardedBuffer Output(Input.size(), Misalignment);
    EXPECT_EQ(Svc().SvcAesLayeredTransform(Output.Get(), Input.data(), Input.size(), Key.data(), 256),
              EFI_SUCCESS);
    EXPECT_TRUE(Output.OnlyWritten(Input.size()));
    return Output.Content();
  }
};

Bytes Counting(UINTN Size) {
  Bytes Result(Size);
  for (UINTN Index = 0; Index < Size; Index++) {
    Result[Index] = static_cast<UINT8>(Index);
  }
  return Result;
}

TEST_F(LayeredTest, KnownAnswersAndTheModelOnEachProcessor) {
  const char *const Answers[] = {
      "1E",
      "ACF1BB",
      "9FBE2849D9E0D192BF84BA4CE7D320E5",
      "233A16B17240AE3AE106C2EF2A27BD48B4",
      "69796546C54F8AC85BC31C51F950A7EE019629D837EC6A74B29DAD928B0F80220FEE797F5FD11831",
  };
  OnEachProcessor([&] {
    for (const char *Answer : Answers) {
      const Bytes Expected = FromHex(Answer);
      EXPECT_EQ(Transform(Counting(Expected.size()), Counting(32)), Expected);
    }
    const Bytes Key = Pattern(32, 5);
    const LayeredModel Model(Key);
    for (UINTN Size = 1; Size <= 300; Size++) {
      const Bytes Input = Pattern(Size, Size);
      const Bytes Expected = Model.Transform(Input);
      ASSERT_EQ(Transform(Input, Key, Size % 16), Expected) << Size << " bytes";
      Bytes InPlace = Input;
      ASSERT_EQ(Svc().SvcAesLayeredTransform(InPlace.data(), InPlace.data(), Size, Key.data(), 256),
                EFI_SUCCESS);
      ASSERT_EQ(InPlace, Expected) << Size << " bytes in place";
    }
    const Bytes Large = Pattern(70007);
    EXPECT_EQ(Transform(Large, Key), Model.Transform(Large));
  });
}

TEST_F(LayeredTest, RefusalsLeaveTheOutput) {
  OnEachProcessor([&] {
    const Bytes Key = Pattern(32);
    struct Row {
      bool Output, Input;
      UINTN Size;
      bool Key;
      UINTN KeyLength;
    };
    const Row Rows[] = {
        {true, false, 16, true, 256},         {true, true, 0, true, 256},
        {false, true, 16, true, 256},         {true, true, 16, false, 256},
        {true, true, 16, true, 128},          {true, true, 16, true, 192},
        {true, true, 16, true, 32},           {true, true, 16, true, 0},
        {true, true, 16, true, 0x100000100},  {true, true, 0x100000000, true, 256},
        {true, true, 0x100000010, true, 256}, {true, true, ~UINTN{0}, true, 256},
    };
    const UINTN Allocations = Memory().Calls();
    for (const Row &Case : Rows) {
      GuardedBuffer Output(32);
      EXPECT_EQ(Svc().SvcAesLayeredTransform(Case.Output ? Output.Get() : nullptr,
                                             Case.Input ? Key.data() : nullptr, Case.Size,
                                             Case.Key ? Key.data() : nullptr, Case.KeyLength),
                EFI_INVALID_PARAMETER)
          << "row " << &Case - Rows;
      EXPECT_TRUE(Output.Untouched());
    }
    EXPECT_EQ(Memory().Calls(), Allocations) << "a refusal allocates nothing";
  });
}

// The context, the working buffer and one buffer for each pass.
TEST_F(LayeredTest, BuffersAreCountedAndWiped) {
  OnEachProcessor([&] {
    const Bytes Key = Pattern(32);
    std::vector<UINTN> Freed;
    Memory().ObserveFree([&Freed](const Pool::Block &Block) {
      EXPECT_EQ(Bytes(Block.Address, Block.Address + Block.Size), Bytes(Block.Size))
          << Block.Size << " bytes not wiped";
      Freed.push_back(Block.Size);
    });
    Transform(Pattern(100), Key);
    std::sort(Freed.begin(), Freed.end());
    EXPECT_EQ(Freed, (std::vector<UINTN>{100, 100, 100, 100, 488}));
    Memory().ObserveFree({});
  });
}

} // namespace
