// HMAC through slots 14 to 17, 52 and 53: both families against the definition, the refusals in their order,
// and what is wiped. Known answers: tests/vectors.
#include <gtest/gtest.h>

#include "tests/support/DriverTest.h"
#include "tests/support/GuardedBuffer.h"

namespace {

constexpr UINTN mContextSize = 288;
constexpr HASH_TYPE mTypes[] = {HASH_TYPE_SHA1, HASH_TYPE_SHA256};

UINTN MacSizeOf(HASH_TYPE Type) {
  return Type == HASH_TYPE_SHA1 ? 20 : 32;
}

class HmacTest : public DriverTest {
protected:
  HmacTest() { LibraryKeepsBlocks = true; }

  Bytes Compute(HASH_TYPE Type, const Bytes &Key, const Bytes &Data) {
    GuardedBuffer Mac(64);
    UINTN Size = 64;
    EXPECT_EQ(Svc().SvcHmacCompute(Type, Key.data(), Key.size(), Data.data(), Data.size(), Mac.Get(), &Size),
              EFI_SUCCESS);
    EXPECT_EQ(Size, MacSizeOf(Type));
    return Mac.Taken(Size);
  }

  Bytes Stream(const Bytes &Key, const Bytes &Data, UINTN Step) {
    GuardedBuffer Context(mContextSize, Step % 2 * 8);
    GuardedBuffer Mac(20, Step % 5);
    EXPECT_TRUE(Svc().SvcHmacSha1Init(Context.Get(), Key.data(), Key.size()));
    for (UINTN Offset = 0; Offset < Data.size(); Offset += Step) {
      EXPECT_TRUE(
          Svc().SvcHmacSha1Update(Context.Get(), Data.data() + Offset, std::min(Step, Data.size() - Offset)));
      EXPECT_TRUE(Svc().SvcHmacSha1Update(Context.Get(), nullptr, 0));
    }
    EXPECT_TRUE(Svc().SvcHmacSha1Final(Context.Get(), Mac.Get()));
    EXPECT_EQ(Context.Content(), Bytes(mContextSize)) << "the context is idle after Final";
    EXPECT_TRUE(Mac.OnlyWritten(20));
    return Mac.Content();
  }

  Bytes Digest(HASH_TYPE Type, const Bytes &Data) {
    Bytes Result(MacSizeOf(Type));
    UINTN Size = Result.size();
    EXPECT_EQ(Svc().SvcHashAll(Type, Data.data(), Data.size(), Result.data(), &Size), EFI_SUCCESS);
    return Result;
  }

  // RFC 2104, section 2, around the digest service.
  Bytes Definition(HASH_TYPE Type, const Bytes &Key, const Bytes &Data) {
    const Bytes Short = Key.size() > 64 ? Digest(Type, Key) : Key;
    Bytes Inner(64, 0x36);
    Bytes Outer(64, 0x5C);
    for (UINTN Index = 0; Index < Short.size(); Index++) {
      Inner[Index] ^= Short[Index];
      Outer[Index] ^= Short[Index];
    }
    Inner.insert(Inner.end(), Data.begin(), Data.end());
    const Bytes Hashed = Digest(Type, Inner);
    Outer.insert(Outer.end(), Hashed.begin(), Hashed.end());
    return Digest(Type, Outer);
  }
};

// The keys go into the block unchanged up to 64 bytes, and from there on by their digest.
TEST_F(HmacTest, EverySizeEqualsTheDefinition) {
  EXPECT_EQ(Svc().SvcHmacSha1GetContextSize(), mContextSize);
  for (HASH_TYPE Type : mTypes) {
    for (UINTN KeySize : {1, 33, 63, 64, 65, 200}) {
      const Bytes Key = Pattern(KeySize, 4);
      for (UINTN DataSize = 1; DataSize <= 300; DataSize += KeySize == 33 ? 1 : 23) {
        const Bytes Data = Pattern(DataSize, DataSize);
        const Bytes Expected = Definition(Type, Key, Data);
        ASSERT_EQ(Compute(Type, Key, Data), Expected) << KeySize << ", " << DataSize;
        if (Type == HASH_TYPE_SHA1) {
          ASSERT_EQ(Stream(Key, Data, DataSize % 70 + 1), Expected) << KeySize << ", " << DataSize;
        }
      }
    }
  }
  // An empty message, which only the streaming services take; as the openssl command has it.
  EXPECT_EQ(Stream(Bytes(20, 0x0b), {}, 1), FromHex("123fd78bda0100786ae86b76f50f01bd18e477f3"));
}

TEST_F(HmacTest, StreamingRefusalsChangeNothing) {
  GuardedBuffer Context(mContextSize);
  GuardedBuffer Mac(20);
  UINT8 Byte = 0;
  EXPECT_FALSE(Svc().SvcHmacSha1Init(nullptr, &Byte, 1));
  EXPECT_FALSE(Svc().SvcHmacSha1Init(Context.Get(), &Byte, 0x80000000));
  EXPECT_FALSE(Svc().SvcHmacSha1Update(nullptr, &Byte, 1));
  EXPECT_FALSE(Svc().SvcHmacSha1Update(Context.Get(), nullptr, 5));
  EXPECT_FALSE(Svc().SvcHmacSha1Final(nullptr, Mac.Get()));
  EXPECT_FALSE(Svc().SvcHmacSha1Final(Context.Get(), nullptr));
  EXPECT_TRUE(Context.Untouched());
  EXPECT_TRUE(Mac.Untouched());
}

TEST_F(HmacTest, AnIdleContextSwallowsCallsAndWritesNothing) {
  GuardedBuffer Mac(20);
  const UINT8 Byte = 0;
  (void)Stream(Pattern(10), Pattern(10), 3);
  const UINTN Live = LiveBlocks();
  // Never initialised, initialised without a key, finished already, copied while active.
  for (int Kind = 0; Kind < 4; Kind++) {
    Bytes Context = Pattern(mContextSize, 9);
    Bytes Original(mContextSize);
    if (Kind == 1) {
      EXPECT_TRUE(Svc().SvcHmacSha1Init(Context.data(), nullptr, 5));
    } else if (Kind == 2) {
      Bytes Discarded(20);
      EXPECT_TRUE(Svc().SvcHmacSha1Init(Context.data(), &Byte, 1));
      EXPECT_TRUE(Svc().SvcHmacSha1Final(Context.data(), Discarded.data()));
    } else if (Kind == 3) {
      EXPECT_TRUE(Svc().SvcHmacSha1Init(Original.data(), &Byte, 1));
      Context = Original;
    }
    EXPECT_TRUE(Svc().SvcHmacSha1Update(Context.data(), &Byte, 1));
    EXPECT_TRUE(Svc().SvcHmacSha1Final(Context.data(), Mac.Get()));
    EXPECT_TRUE(Mac.Untouched()) << "kind " << Kind;
    EXPECT_EQ(Context, Bytes(mContextSize)) << "kind " << Kind;
    if (Kind == 3) {
      Bytes Result(20);
      EXPECT_TRUE(Svc().SvcHmacSha1Final(Original.data(), Result.data()));
      EXPECT_EQ(Result, Stream({Byte}, {}, 1));
    }
  }
  EXPECT_EQ(LiveBlocks(), Live);
}

// A key of no bytes is a key, and Init does not look at what the context held.
TEST_F(HmacTest, EmptyKeysAndAbandonedContexts) {
  const UINT8 Byte = 0;
  Bytes Context(mContextSize);
  Bytes Mac(20);
  ASSERT_TRUE(Svc().SvcHmacSha1Init(Context.data(), &Byte, 1));
  ASSERT_TRUE(Svc().SvcHmacSha1Update(Context.data(), &Byte, 1));
  const UINTN Live = LiveBlocks();
  ASSERT_TRUE(Svc().SvcHmacSha1Init(Context.data(), &Byte, 0));
  EXPECT_GT(LiveBlocks(), Live) << "the first life keeps its blocks";
  ASSERT_TRUE(Svc().SvcHmacSha1Final(Context.data(), Mac.data()));
  EXPECT_EQ(Mac, FromHex("fbdb1d1b18aa6c08324b7d64b71fb76370690e1d"));
  EXPECT_EQ(LiveBlocks(), Live);
}

TEST_F(HmacTest, ComputeAnswersInTheOrderOfItsTable) {
  constexpr UINTN Unchanged = 77;
  struct Row {
    HASH_TYPE Type;
    UINTN KeySize;
    bool Key;
    UINTN DataSize;
    bool Data;
    bool Mac;
    UINTN MacSize;
    EFI_STATUS Status;
    UINTN SizeAfter;
    EFI_STATUS Verify;
  };
  const Row Rows[] = {
      {2, 4, false, 4, true, true, Unchanged, EFI_INVALID_PARAMETER, Unchanged, EFI_NOT_STARTED},
      {2, 0, true, 4, true, true, Unchanged, EFI_INVALID_PARAMETER, Unchanged, EFI_NOT_STARTED},
      {2, 4, true, 4, false, true, Unchanged, EFI_INVALID_PARAMETER, Unchanged, EFI_NOT_STARTED},
      {2, 4, true, 0, true, true, Unchanged, EFI_INVALID_PARAMETER, Unchanged, EFI_NOT_STARTED},
      {5, 4, true, 4, true, false, 32, EFI_INVALID_PARAMETER, 32, EFI_NOT_STARTED},
      {2, 4, true, 4, true, false, 32, EFI_INVALID_PARAMETER, 32, EFI_SECURITY_VIOLATION},
      {5, 4, true, 4, true, true, Unchanged, EFI_UNSUPPORTED, Unchanged, EFI_NOT_STARTED},
      {5, 4, true, 4, true, false, 0, EFI_UNSUPPORTED, 0, EFI_NOT_STARTED},
      {0, 4, true, 4, true, true, Unchanged, EFI_UNSUPPORTED, Unchanged, EFI_NOT_STARTED},
      {3, 4, true, 4, true, true, Unchanged, EFI_UNSUPPORTED, Unchanged, EFI_NOT_STARTED},
      {1, 4, true, 4, true, false, 0, EFI_BUFFER_TOO_SMALL, 20, EFI_SECURITY_VIOLATION},
      {2, 4, true, 4, true, false, 0, EFI_BUFFER_TOO_SMALL, 32, EFI_SECURITY_VIOLATION},
      {1, 4, true, 4, true, true, 19, EFI_BUFFER_TOO_SMALL, 20, EFI_SECURITY_VIOLATION},
      {2, 4, true, 4, true, true, 31, EFI_BUFFER_TOO_SMALL, 32, EFI_SECURITY_VIOLATION},
      {1, 4, true, ~UINTN{0}, true, true, Unchanged, EFI_OUT_OF_RESOURCES, 20, EFI_OUT_OF_RESOURCES},
      {2, 4, true, ~UINTN{0} - 63, true, true, Unchanged, EFI_OUT_OF_RESOURCES, 32, EFI_OUT_OF_RESOURCES},
  };
  const Bytes Key = {1, 2, 3, 4};
  const Bytes Data = {5, 6, 7, 8};
  for (const Row &Case : Rows) {
    GuardedBuffer Mac(Unchanged);
    UINTN Size = Case.MacSize;
    const UINT8 *KeyPlace = Case.Key ? Key.data() : nullptr;
    const UINT8 *DataPlace = Case.Data ? Data.data() : nullptr;
    const std::string Where = "row " + std::to_string(&Case - Rows);
    EXPECT_EQ(Svc().SvcHmacCompute(Case.Type, KeyPlace, Case.KeySize, DataPlace, Case.DataSize,
                                   Case.Mac ? Mac.Get() : nullptr, &Size),
              Case.Status)
        << Where;
    EXPECT_EQ(Size, Case.SizeAfter) << Where;
    EXPECT_TRUE(Mac.Untouched()) << Where;
    EXPECT_EQ(Svc().SvcHmacVerify(Case.Type, KeyPlace, Case.KeySize, DataPlace, Case.DataSize, Mac.Get(), 64),
              Case.Verify)
        << Where;
  }
  EXPECT_EQ(Svc().SvcHmacCompute(1, Key.data(), 4, Data.data(), 4, nullptr, nullptr), EFI_INVALID_PARAMETER);
}

TEST_F(HmacTest, VerifyAcceptsTheMacAndNothingElse) {
  const Bytes Key = Pattern(30, 5);
  const Bytes Data = Pattern(90, 6);
  for (HASH_TYPE Type : mTypes) {
    auto Verify = [&](const Bytes &Mac, UINTN Size) {
      return Svc().SvcHmacVerify(Type, Key.data(), Key.size(), Data.data(), Data.size(),
                                 Mac.empty() ? nullptr : Mac.data(), Size);
    };
    Bytes Mac = Compute(Type, Key, Data);
    const UINTN Size = Mac.size();
    EXPECT_EQ(Verify(Mac, Size), EFI_SUCCESS);
    EXPECT_EQ(Verify({}, Size), EFI_SECURITY_VIOLATION);
    Mac.resize(64);
    for (UINTN Other : {UINTN{0}, Size - 12, Size - 1, Size + 1, UINTN{64}}) {
      EXPECT_EQ(Verify(Mac, Other), EFI_SECURITY_VIOLATION) << Other;
    }
    for (UINTN Bit = 0; Bit < Size * 8; Bit += 5) {
      Mac[Bit / 8] ^= static_cast<UINT8>(1 << Bit % 8);
      EXPECT_EQ(Verify(Mac, Size), EFI_SECURITY_VIOLATION) << "bit " << Bit;
      Mac[Bit / 8] ^= static_cast<UINT8>(1 << Bit % 8);
    }
    EXPECT_EQ(Verify(Mac, Size), EFI_SUCCESS);
  }
}

// What depends on the key is zero when it goes back, but for the digest of a long key and the hash contexts.
TEST_F(HmacTest, ScratchBuffersAreCountedAndWiped) {
  const Bytes Data = Pattern(75, 7);
  for (HASH_TYPE Type : mTypes) {
    const UINTN Size = MacSizeOf(Type);
    const UINTN HashContext = Type == HASH_TYPE_SHA1 ? 96 : 112;
    for (UINTN KeySize : {64, 65}) {
      const Bytes Key = Pattern(KeySize, 8);
      std::vector<std::pair<UINTN, bool>> Freed;
      const auto Observe = [&Freed](const Pool::Block &Block) {
        Freed.push_back({Block.Size, Bytes(Block.Address, Block.Address + Block.Size) == Bytes(Block.Size)});
      };
      Memory().ObserveFree(Observe);
      const UINTN Before = Memory().Calls();
      (void)Compute(Type, Key, Data);
      Memory().ObserveFree({});
      EXPECT_EQ(Memory().Calls() - Before, KeySize > 64 ? 10U : 8U);
      std::vector<std::pair<UINTN, bool>> Expected = {
          {HashContext, false}, {HashContext, false},     {Size + 64, true}, {64, true},
          {Size, true},         {Data.size() + 64, true}, {64, true},        {64, true}};
      if (KeySize > 64) {
        Expected.insert(Expected.begin(), {{HashContext, false}, {Size, false}});
      }
      EXPECT_EQ(Freed, Expected) << "type " << Type << ", " << KeySize << " key bytes";
      // Verifying adds the MAC's own block, which goes back last and as it is.
      Freed.clear();
      Memory().ObserveFree(Observe);
      EXPECT_EQ(Svc().SvcHmacVerify(Type, Key.data(), KeySize, Data.data(), Data.size(), Key.data(), 1),
                EFI_SECURITY_VIOLATION);
      Memory().ObserveFree({});
      Expected.push_back({Size, false});
      EXPECT_EQ(Freed, Expected) << "verifying, type " << Type << ", " << KeySize << " key bytes";
    }
  }
}

} // namespace
