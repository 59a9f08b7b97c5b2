// SHA-1, SHA-256 and MD5 through slots 2 and 6 to 13: every refusal in its order, and the one-shot service
// against the streaming ones. More known answers: tests/vectors.
#include <gtest/gtest.h>

#include "tests/support/DriverTest.h"
#include "tests/support/GuardedBuffer.h"

namespace {

class DigestTest : public DriverTest {
protected:
  // The streaming slots of one algorithm.
  struct Stream {
    HASH_TYPE Type;
    UINTN ContextSize;
    UINTN DigestSize;
    UINTN(EFIAPI *GetContextSize)();
    BOOLEAN(EFIAPI *Init)(VOID *);
    BOOLEAN(EFIAPI *Update)(VOID *, const VOID *, UINTN);
    BOOLEAN(EFIAPI *Final)(VOID *, UINT8 *);
  };

  std::vector<Stream> Streams() {
    return {{HASH_TYPE_SHA1, 96, 20, Svc().SvcSha1GetContextSize, Svc().SvcSha1Init, Svc().SvcSha1Update,
             Svc().SvcSha1Final},
            {HASH_TYPE_SHA256, 112, 32, Svc().SvcSha256GetContextSize, Svc().SvcSha256Init,
             Svc().SvcSha256Update, Svc().SvcSha256Final}};
  }

  Bytes HashAll(HASH_TYPE Type, const Bytes &Message) {
    GuardedBuffer Digest(64);
    UINTN Size = 64;
    const UINTN Before = Memory().Calls();
    EXPECT_EQ(Svc().SvcHashAll(Type, Message.data(), Message.size(), Digest.Get(), &Size), EFI_SUCCESS);
    EXPECT_EQ(Memory().Calls() - Before, 1U) << "one context";
    return Digest.Taken(Size);
  }
};

TEST_F(DigestTest, StreamingEqualsOneShotHoweverTheMessageIsSplit) {
  const Bytes Message = Pattern(1000);
  for (const Stream &Row : Streams()) {
    EXPECT_EQ(Row.GetContextSize(), Row.ContextSize);
    const Bytes Expected = HashAll(Row.Type, Message);
    const UINTN AllocationsBefore = Memory().Calls();
    for (UINTN Step : {UINTN{1}, UINTN{3}, UINTN{63}, UINTN{64}, UINTN{65}, UINTN{129}, UINTN{1000}}) {
      GuardedBuffer Context(Row.ContextSize, Step % 2 * 8);
      GuardedBuffer Digest(Row.DigestSize, Step % 7);
      ASSERT_TRUE(Row.Init(Context.Get()));
      for (UINTN Offset = 0; Offset < Message.size(); Offset += Step) {
        ASSERT_TRUE(
            Row.Update(Context.Get(), Message.data() + Offset, std::min(Step, Message.size() - Offset)));
        ASSERT_TRUE(Row.Update(Context.Get(), nullptr, 0));
      }
      ASSERT_TRUE(Row.Final(Context.Get(), Digest.Get()));
      EXPECT_EQ(Digest.Content(), Expected) << "steps of " << Step;
      EXPECT_TRUE(Context.OnlyWritten(Row.ContextSize));
      EXPECT_TRUE(Digest.OnlyWritten(Row.DigestSize));
    }
    EXPECT_EQ(Memory().Calls(), AllocationsBefore) << "the streaming services allocate nothing";
  }
}

TEST_F(DigestTest, ContextsAreCopiedFreelyAndReusedAfterInit) {
  const Bytes Message = Pattern(200);
  for (const Stream &Row : Streams()) {
    Bytes First(Row.ContextSize);
    Bytes Digest(Row.DigestSize);
    ASSERT_TRUE(Row.Init(First.data()));
    ASSERT_TRUE(Row.Update(First.data(), Message.data(), 100));
    Bytes Second = First;
    ASSERT_TRUE(Row.Update(Second.data(), Message.data() + 100, 100));
    ASSERT_TRUE(Row.Final(First.data(), Digest.data()));
    EXPECT_EQ(Digest, HashAll(Row.Type, Bytes(Message.begin(), Message.begin() + 100)));
    ASSERT_TRUE(Row.Final(Second.data(), Digest.data()));
    EXPECT_EQ(Digest, HashAll(Row.Type, Message));
    ASSERT_TRUE(Row.Init(First.data()));
    ASSERT_TRUE(Row.Update(First.data(), Message.data(), Message.size()));
    ASSERT_TRUE(Row.Final(First.data(), Digest.data()));
    EXPECT_EQ(Digest, HashAll(Row.Type, Message));
  }
}

TEST_F(DigestTest, StreamingRefusalsChangeNothing) {
  for (const Stream &Row : Streams()) {
    GuardedBuffer Context(Row.ContextSize);
    GuardedBuffer Digest(Row.DigestSize);
    UINT8 Byte = 0;
    EXPECT_FALSE(Row.Init(nullptr));
    EXPECT_FALSE(Row.Update(nullptr, &Byte, 1));
    EXPECT_FALSE(Row.Update(Context.Get(), nullptr, 5));
    EXPECT_FALSE(Row.Final(nullptr, Digest.Get()));
    EXPECT_FALSE(Row.Final(Context.Get(), nullptr));
    EXPECT_TRUE(Context.Untouched());
    EXPECT_TRUE(Digest.Untouched());
  }
}

TEST_F(DigestTest, HashAllAnswersInTheOrderOfItsTable) {
  EXPECT_EQ(HashAll(HASH_TYPE_MD5, {'a', 'b', 'c'}), FromHex("900150983cd24fb0d6963f7d28e17f72"));
  constexpr UINTN Unchanged = 77;
  struct Row {
    HASH_TYPE Type;
    bool Data;
    UINTN DataSize;
    bool Digest;
    UINTN DigestSize;
    EFI_STATUS Status;
    UINTN SizeAfter;
  };
  const Row Rows[] = {
      {HASH_TYPE_SHA256, false, 3, true, Unchanged, EFI_INVALID_PARAMETER, Unchanged},
      {HASH_TYPE_SHA256, true, 0, true, Unchanged, EFI_INVALID_PARAMETER, Unchanged},
      {0, false, 0, false, Unchanged, EFI_INVALID_PARAMETER, Unchanged},
      {HASH_TYPE_SHA1, true, 3, false, Unchanged, EFI_BUFFER_TOO_SMALL, 20},
      {HASH_TYPE_SHA256, true, 3, false, Unchanged, EFI_BUFFER_TOO_SMALL, 32},
      {HASH_TYPE_MD5, true, 3, false, 0, EFI_BUFFER_TOO_SMALL, 16},
      {3, true, 3, false, Unchanged, EFI_BUFFER_TOO_SMALL, 0},
      {HASH_TYPE_SHA1, true, 3, true, 19, EFI_BUFFER_TOO_SMALL, 20},
      {HASH_TYPE_SHA256, true, 3, true, 31, EFI_BUFFER_TOO_SMALL, 32},
      {HASH_TYPE_MD5, true, 3, true, 0, EFI_BUFFER_TOO_SMALL, 16},
      {0, true, 3, true, Unchanged, EFI_UNSUPPORTED, 0},
      {3, true, 3, true, 0, EFI_UNSUPPORTED, 0},
      {4, true, 3, true, Unchanged, EFI_UNSUPPORTED, 0},
      {6, true, 3, true, Unchanged, EFI_UNSUPPORTED, 0},
      {0x80000001, true, 3, true, Unchanged, EFI_UNSUPPORTED, 0},
  };
  const UINTN AllocationsBefore = Memory().Calls();
  for (const Row &Case : Rows) {
    GuardedBuffer Digest(Unchanged);
    UINTN Size = Case.DigestSize;
    EXPECT_EQ(Svc().SvcHashAll(Case.Type, Case.Data ? "abc" : nullptr, Case.DataSize,
                               Case.Digest ? Digest.Get() : nullptr, &Size),
              Case.Status)
        << "type " << Case.Type;
    EXPECT_EQ(Size, Case.SizeAfter) << "type " << Case.Type;
    EXPECT_TRUE(Digest.Untouched());
  }
  EXPECT_EQ(Svc().SvcHashAll(HASH_TYPE_SHA1, "abc", 3, nullptr, nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Memory().Calls(), AllocationsBefore) << "a refusal allocates nothing";
}

} // namespace
