// The entropy pool and the five hooks through which the library's generator
// asks for it. A draw moves the pool forward through a hash chain, so that the
// generator stays ready once it was, and no earlier draw follows from the pool.
#include "driver/runtime/Entropy.h"

#include <openssl/sha.h>

extern "C" {
#include "crypto/rand_pool.h" // internal to the library, so without linkage of its own
}

#include "driver/platform/Memory.h"
#include "driver/platform/Processor.h"
#include "driver/runtime/ProcessorFeatures.h"

namespace {

constexpr UINTN BlockSize = SHA256_DIGEST_LENGTH;
constexpr UINTN SeedNeeded = 32;   // bytes of seed that stand in for a processor source
constexpr UINTN WordsPerBlock = 8; // twice the block: a hardware word may hold less than 64 bits of entropy
constexpr UINTN AttemptsPerWord = 64; // a busy source answers within far fewer

// First byte of every hash over the pool, so that no two uses meet.
enum STEP : UINT8 { StepSeed = 1, StepDraw = 2, StepOutput = 3, StepForward = 4 };

UINT8 PoolState[BlockSize];
UINTN SeedReceived; // bytes, saturates at SeedNeeded
UINT64 LastWord;    // of the processor source

void HashPool(STEP Step, const VOID *Data, UINTN Size, UINT8 *Output) {
  SHA256_CTX Hash;
  SHA256_Init(&Hash);
  SHA256_Update(&Hash, &Step, sizeof(Step));
  SHA256_Update(&Hash, PoolState, sizeof(PoolState));
  SHA256_Update(&Hash, Data, Size);
  SHA256_Final(Output, &Hash);
  WipeMemory(&Hash, sizeof(Hash));
}

bool DrawWord(BOOLEAN (*Instruction)(UINT64 *), UINT64 *Word) {
  for (UINTN Attempt = 0; Attempt < AttemptsPerWord; Attempt++) {
    if (Instruction(Word)) {
      // Two equal words in a row are a stuck source: 2^-64 by chance.
      bool Stuck = *Word == LastWord;
      LastWord = *Word;
      return !Stuck;
    }
  }
  return false;
}

bool DrawWords(BOOLEAN (*Instruction)(UINT64 *), UINT64 *Words) {
  for (UINTN Index = 0; Index < WordsPerBlock; Index++) {
    if (!DrawWord(Instruction, &Words[Index])) {
      return false;
    }
  }
  return true;
}

bool DrawFromProcessor(UINT64 *Words) {
  return (ProcessorFeatures.Rdseed && DrawWords(ProcessorRdseed, Words)) ||
         (ProcessorFeatures.Rdrand && DrawWords(ProcessorRdrand, Words));
}

// One block of entropy, or false when there is none to give.
bool DrawBlock(UINT8 *Block) {
  struct {
    UINT64 Words[WordsPerBlock];
    UINT64 TimeStamp;
  } Fresh = {};
  if (DrawFromProcessor(Fresh.Words)) {
    // A full block of entropy is in the pool from here on: should the source fail later, the pool carries on.
    SeedReceived = SeedNeeded;
  } else if (SeedReceived < SeedNeeded) {
    return false;
  }
  Fresh.TimeStamp = ProcessorTimeStamp();
  HashPool(StepDraw, &Fresh, sizeof(Fresh), PoolState);
  HashPool(StepOutput, nullptr, 0, Block);
  HashPool(StepForward, nullptr, 0, PoolState);
  WipeMemory(&Fresh, sizeof(Fresh));
  return true;
}

} // namespace

void MixEntropySeed(const VOID *Seed, UINTN Size) {
  HashPool(StepSeed, Seed, Size, PoolState);
  SeedReceived = Size < SeedNeeded - SeedReceived ? SeedReceived + Size : SeedNeeded;
}

extern "C" {

size_t ossl_pool_acquire_entropy(RAND_POOL *Pool);
int ossl_pool_add_nonce_data(RAND_POOL *Pool);
int ossl_rand_pool_init(void);
void ossl_rand_pool_cleanup(void);
void ossl_rand_pool_keep_random_devices_open(int Keep);

// Bits of entropy now in the library's pool; 0 when there is no source.
size_t ossl_pool_acquire_entropy(RAND_POOL *Pool) {
  UINT8 Block[BlockSize];
  for (size_t Needed = ossl_rand_pool_bytes_needed(Pool, 1); Needed != 0;) {
    size_t Size = Needed < BlockSize ? Needed : BlockSize;
    if (!DrawBlock(Block) || !ossl_rand_pool_add(Pool, Block, Size, Size * 8)) {
      break;
    }
    Needed -= Size;
  }
  WipeMemory(Block, sizeof(Block));
  return ossl_rand_pool_entropy_available(Pool);
}

// A nonce needs to be unique, not secret: time and a count of calls.
int ossl_pool_add_nonce_data(RAND_POOL *Pool) {
  static UINT64 Count;
  struct {
    UINT64 TimeStamp;
    UINT64 Count;
  } Nonce = {ProcessorTimeStamp(), ++Count};
  return ossl_rand_pool_add(Pool, reinterpret_cast<const unsigned char *>(&Nonce), sizeof(Nonce), 0);
}

int ossl_rand_pool_init(void) {
  return 1;
}

void ossl_rand_pool_cleanup(void) {}

void ossl_rand_pool_keep_random_devices_open(int) {}
}
