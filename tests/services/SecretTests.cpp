// What services leave behind of the keys and passwords that they are given: in released pool blocks, looked
// at before any fill, in blocks that stay, on the stack and in the image's own data.
#include <gtest/gtest.h>

#include <cstring>
#include <iostream>
#include <set>
#include <unordered_set>

#include "simulator/DriverCall.h"
#include "tests/services/SlotCalls.h"

namespace {

// All stretches of 8 bytes of some secrets, in both byte orders: the library's numbers lie reversed.
class Stretches {
public:
  explicit Stretches(const std::vector<Bytes> &Secrets) {
    for (const Bytes &Secret : Secrets) {
      Add(Secret);
      Add(Bytes(Secret.rbegin(), Secret.rend()));
    }
  }

  UINTN Count(const UINT8 *Start, UINTN Size) const {
    UINTN Found = 0;
    for (UINTN Place = 0; Place + mLength <= Size; Place++) {
      Found += Values_.contains(Value(Start + Place));
    }
    return Found;
  }
  UINTN Count(const Bytes &Memory) const { return Count(Memory.data(), Memory.size()); }

private:
  static constexpr UINTN mLength = 8;

  static UINT64 Value(const UINT8 *Place) {
    UINT64 Result;
    std::memcpy(&Result, Place, sizeof(Result));
    return Result;
  }

  void Add(const Bytes &Secret) {
    for (UINTN Place = 0; Place + mLength <= Secret.size(); Place++) {
      // A stretch of few values, as in an unused part of a context, is found anywhere.
      const std::unordered_set<UINT8> Different(&Secret[Place], &Secret[Place] + mLength);
      if (Different.size() > mLength / 2) {
        Values_.insert(Value(&Secret[Place]));
      }
    }
  }

  std::unordered_set<UINT64> Values_;
};

class SecretTest : public SlotTest {
protected:
  struct Findings {
    UINTN Freed, Kept, Stack, Data;
  };

  Findings Search(const SlotCall &Call) {
    std::vector<Bytes> Freed;
    Bytes Stack;
    Bytes Data;
    std::vector<Bytes> Secrets;
    RunSlot(Svc(), Call, [&](SlotStage &Stage, const auto &Make) {
      Memory().ObserveFree([&Freed](const Pool::Block &Block) {
        Freed.emplace_back(Block.Address, Block.Address + Block.Size);
      });
      KeepDriverStack(&Stack);
      Make();
      KeepDriverStack(nullptr);
      Memory().ObserveFree({});
      Data = WritableData();
      Secrets = Call.Secrets(Stage);
    });
    const Stretches Searched(Secrets);
    Findings Found{};
    for (const Bytes &Block : Freed) {
      Found.Freed += Searched.Count(Block);
    }
    for (const Pool::Block &Block : Memory().OpenBlocks()) {
      Found.Kept += Searched.Count(Block.Address, Block.Size);
    }
    Found.Stack = Searched.Count(Stack);
    Found.Data = Searched.Count(Data);
    return Found;
  }

private:
  Bytes WritableData() {
    Bytes Data;
    if (const LoadedImage *Image = Session().Target().Image()) {
      for (const ImageSection &Section : Image->Sections()) {
        if (Section.Writable) {
          const auto *Start = reinterpret_cast<const UINT8 *>(Image->Base() + Section.Rva);
          Data.insert(Data.end(), Start, Start + Section.Size);
        }
      }
    }
    return Data;
  }
};

// Where something is found, and why it is no fault: the interface says that the buffer is not cleared, or the
// place belongs to the crypto library.
struct KNOWN_PLACE {
  UINTN Slot;
  const char *Place;
};
constexpr KNOWN_PLACE mKnown[] = {
    // The last bytes of a seed, and of a draw by routines without AES instructions, in the generator's state
    // and on the way there.
    {46, "kept blocks"},
    {46, "the stack"},
    {47, "kept blocks"},
    {47, "the stack"},
    // The two blocks that the next call mixes in.
    {50, "image data"},
    // The digest that stands in for a key above 64 bytes.
    {52, "freed blocks"},
    {53, "freed blocks"},
    // Texts and data in the coder's buffers and filters.
    {54, "freed blocks"},
    {55, "freed blocks"},
    {56, "freed blocks"},
    {57, "freed blocks"},
    {58, "freed blocks"},
    {59, "freed blocks"},
    {56, "the stack"},
    {57, "the stack"},
    {58, "the stack"},
    {59, "the stack"},
};

// Stands for a service that leaves 32 bytes on its stack.
UINT64 EFIAPI LeaveOnStack(const UINT8 *Secret) {
  UINT8 Left[64] = {};
  std::memcpy(Left, Secret, 32);
  __asm__ volatile("" : : "r"(Left) : "memory");
  return 0;
}

TEST_F(SecretTest, TheSearchSeesTheStackOfACall) {
  Boot();
  const Bytes Secret = Pattern(32, 99);
  Bytes Stack;
  KeepDriverStack(&Stack);
  CallDriver("LeaveOnStack", reinterpret_cast<const void *>(&LeaveOnStack),
             {reinterpret_cast<UINT64>(Secret.data())});
  KeepDriverStack(nullptr);
  EXPECT_EQ(Stretches({Secret}).Count(Stack), TestsImage() ? 25U : 0U);
}

TEST_F(SecretTest, NothingIsLeftButWhereItIsKnown) {
  using enum ProcessorScript::Feature;
  const struct {
    const char *Name;
    std::vector<ProcessorScript::Feature> Removed;
  } Processors[] = {
      {"own", {}}, {"no SHA", {Sha}}, {"no AES", {AesNi}}, {"plain", {AesNi, Sha, Ssse3, Pclmul}}};
  std::set<std::pair<UINTN, std::string>> Known;
  for (const KNOWN_PLACE &Row : mKnown) {
    Known.insert({Row.Slot, Row.Place});
  }
  std::set<std::pair<UINTN, std::string>> Seen;
  for (const auto &Processor : Processors) {
    Boot(Processor.Removed);
    for (const SlotCall &Call : SlotCalls()) {
      const Findings Found = Search(Call);
      const struct {
        const char *Place;
        UINTN Count;
      } Places[] = {{"freed blocks", Found.Freed},
                    {"kept blocks", Found.Kept},
                    {"the stack", Found.Stack},
                    {"image data", Found.Data}};
      for (const auto &[Place, Count] : Places) {
        if (Count != 0) {
          std::cout << Processor.Name << ": slot " << Call.Slot << ", " << Call.Name << ": " << Count
                    << " stretches in " << Place << "\n";
          Seen.insert({Call.Slot, Place});
          EXPECT_TRUE(Known.contains({Call.Slot, Place})) << Call.Name << ", " << Place;
        }
      }
    }
  }
  // A linked driver's stack and data are the test program's own, and not looked at.
  std::erase_if(
      Known, [](const auto &Row) { return !TestsImage() && Row.second[0] != 'f' && Row.second[0] != 'k'; });
  EXPECT_EQ(Seen, Known) << "what is gone need not be listed";
}

} // namespace
