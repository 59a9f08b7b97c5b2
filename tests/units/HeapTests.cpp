// The library's heap: contents across realloc, stale entries, failing growth,
// and calls that come in the middle of another call.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <random>

#include "driver/platform/Pool.h"
#include "tests/units/Internals.h"

#include <openssl/sha.h>

namespace {

class HeapTest : public InternalsTest {
protected:
  void SetUp() override {
    InternalsTest::SetUp();
    LibraryKeepsBlocks = false;
  }

  // A block of the heap with known contents; Check finds every byte again.
  struct Held {
    UINT8 *Block;
    Bytes Content;
    bool Intact() const { return memcmp(Block, Content.data(), Content.size()) == 0; }
  };

  Held Hold(UINTN Size, UINT64 Seed) {
    Held Result = {static_cast<UINT8 *>(Crt_malloc(Size)), Pattern(Size, Seed)};
    EXPECT_NE(Result.Block, nullptr);
    memcpy(Result.Block, Result.Content.data(), Size);
    return Result;
  }

  void Resize(Held &Which, UINTN Size) {
    auto *Block = static_cast<UINT8 *>(Crt_realloc(Which.Block, Size));
    ASSERT_NE(Block, nullptr);
    Which.Block = Block;
    Which.Content.resize(Size); // zeros behind the old contents
    ASSERT_TRUE(Which.Intact());
  }
};

TEST_F(HeapTest, ReallocKeepsContentsAndZeroesTheRest) {
  for (auto [From, To] : {std::pair<UINTN, UINTN>{16, 32}, {16, 8}, {1, 5000}, {5000, 1}, {40, 40}}) {
    Held Block = Hold(From, From + To);
    Resize(Block, To);
    Crt_free(Block.Block);
  }
  auto *Fresh = static_cast<UINT8 *>(Crt_realloc(nullptr, 24));
  ASSERT_NE(Fresh, nullptr);
  EXPECT_EQ(Bytes(Fresh, Fresh + 24), Bytes(24));
  Crt_free(Fresh);
  Crt_free(nullptr);
}

TEST_F(HeapTest, ABlockIsAPoolBlockOfItsVerySize) {
  for (UINTN Size : {1, 24, 5000}) {
    VOID *Block = Crt_malloc(Size);
    const std::vector<Pool::Block> Open = Memory().OpenBlocks();
    EXPECT_TRUE(std::any_of(Open.begin(), Open.end(), [&](const Pool::Block &Each) {
      return Each.Address == Block && Each.Size == Size && Each.Type == EfiBootServicesData;
    })) << Size;
    Crt_free(Block);
  }
}

TEST_F(HeapTest, ARefusedReallocLeavesTheBlock) {
  Held Block = Hold(100, 1);
  Memory().FailAt(1);
  EXPECT_EQ(Crt_realloc(Block.Block, 200), nullptr);
  EXPECT_TRUE(Block.Intact());
  Resize(Block, 200);
  Crt_free(Block.Block);
}

TEST_F(HeapTest, PoolBlocksAndHeapBlocksAreInterchangeable) {
  Crt_free(AllocateBootPool(50)); // no entry: only freed
  // A heap block that goes to the pool directly leaves an entry behind; a new block at its address replaces
  // it.
  for (int Round = 0; Round < 2000; Round++) {
    VOID *Block = Crt_malloc(8 + Round % 5 * 8);
    Held Checked = {static_cast<UINT8 *>(Block), Bytes()};
    FreeBootPool(Checked.Block);
  }
  Held Block = Hold(64, 9);
  Resize(Block, 128);
  Crt_free(Block.Block);
  LibraryKeepsBlocks = true; // entries left behind make the table grow
}

TEST_F(HeapTest, TensOfThousandsOfBlocksKeepTheirSizes) {
  std::mt19937 Generator(7);
  std::map<UINTN, Held> Live;
  UINTN Next = 0;
  for (UINTN Step = 0; Step < 60000; Step++) {
    UINTN Choice = Generator() % 8;
    if (Live.size() < 20000 && Choice < 5) {
      Live.emplace(Next, Hold(1 + Generator() % 40, Next));
      Next++;
    } else if (!Live.empty()) {
      auto Place = std::next(Live.begin(),
                             static_cast<std::ptrdiff_t>(Generator() % std::min<UINTN>(Live.size(), 50)));
      if (Choice == 7) {
        Resize(Place->second, 1 + Generator() % 80);
      } else {
        ASSERT_TRUE(Place->second.Intact());
        Crt_free(Place->second.Block);
        Live.erase(Place);
      }
    }
  }
  for (auto &[Number, Block] : Live) {
    ASSERT_TRUE(Block.Intact());
    Crt_free(Block.Block);
  }
  LibraryKeepsBlocks = true; // the table's segments stay
}

TEST_F(HeapTest, AFailedGrowthOfTheTableFailsMallocAndLeaksNothing) {
  std::vector<VOID *> Blocks;
  bool GrowthRefused = false;
  while (Blocks.size() < 20000 && !GrowthRefused) {
    Memory().FailAt(2); // the second allocation of one malloc is the table's
    UINTN Before = LiveBlocks();
    VOID *Block = Crt_malloc(8);
    if (Block == nullptr) {
      EXPECT_EQ(LiveBlocks(), Before);
      GrowthRefused = true;
    } else {
      Blocks.push_back(Block);
    }
    Memory().ClearFailures();
  }
  EXPECT_TRUE(GrowthRefused);
  for (VOID *Block : Blocks) {
    Crt_free(Block);
  }
}

// A notification in the middle of a call makes, resizes and frees blocks of its own; inside every allocation
// of a long series, the growths of the table included.
TEST_F(HeapTest, NotificationsInTheMiddleOfCallsLeaveTheTableWhole) {
  std::mt19937 Generator(11);
  std::vector<Held> Outer;
  std::vector<Held> Inner;
  UINTN Runs = 0;
  bool Inside = false;
  auto Interrupt = [&] {
    if (Inside) {
      return;
    }
    Inside = true;
    Runs++;
    Inner.push_back(Hold(1 + Generator() % 64, Runs));
    Inner.push_back(Hold(1 + Generator() % 64, Runs + 1));
    Resize(Inner.back(), 1 + Generator() % 100);
    if (Generator() % 2 == 0) {
      UINTN Victim = Generator() % Inner.size();
      ASSERT_TRUE(Inner[Victim].Intact());
      Crt_free(Inner[Victim].Block);
      Inner.erase(Inner.begin() + static_cast<std::ptrdiff_t>(Victim));
    }
    UINT8 Digest[32];
    SHA256(Inner.empty() ? Digest : Inner.back().Block, 1, Digest);
    Inside = false;
  };
  for (UINTN Step = 0; Step < 4000; Step++) {
    for (UINTN Call = 1; Call <= 3; Call++) {
      Memory().OnCall(Call, Interrupt);
    }
    Outer.push_back(Hold(1 + Generator() % 64, Step));
    if (Step % 3 == 0) {
      Resize(Outer[Generator() % Outer.size()], 1 + Generator() % 90);
    }
  }
  EXPECT_GE(Runs, 4000U);
  for (std::vector<Held> *Blocks : {&Outer, &Inner}) {
    for (Held &Block : *Blocks) {
      ASSERT_TRUE(Block.Intact());
      Resize(Block, Block.Content.size() + 8);
      Crt_free(Block.Block);
    }
  }
  LibraryKeepsBlocks = true; // the table's segments stay
}

} // namespace
