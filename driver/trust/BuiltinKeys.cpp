// Every lookup writes the moduli, each a row of instructions with one word of it as their operand, into its
// own stack frame.
#include "driver/trust/BuiltinKeys.h"

#include "BuiltinModuli.h" // made by the build from the provisioned public keys
#include "driver/platform/Memory.h"
#include "driver/platform/Pool.h"

namespace {

constexpr UINTN WordCount = BUILTIN_MODULUS_SIZE / sizeof(UINT64);

struct MODULI {
  UINT64 Type1[WordCount];
  UINT64 Type3[WordCount];
  UINT64 Type4[WordCount];
};

template <typename TYPE, TYPE... VALUES> struct INDEX_LIST {};

// The assembler statement keeps the compiler from gathering the words in a constant of the data sections.
template <UINT64 WORD> [[gnu::always_inline]] inline UINT64 FromCode() {
  UINT64 Word;
  __asm__ volatile("movabsq %1, %0" : "=r"(Word) : "i"(WORD));
  return Word;
}

template <const BUILTIN_MODULUS &MODULUS, UINTN... INDEX>
[[gnu::always_inline]] inline void WriteModulus(UINT64 *Words, INDEX_LIST<UINTN, INDEX...>) {
  ((Words[INDEX] = FromCode<MODULUS.Words[INDEX]>()), ...);
}

using ALL_WORDS = __make_integer_seq<INDEX_LIST, UINTN, WordCount>;

void FillRecord(BUILTIN_KEY_RECORD *Record, BUILTIN_KEY_TYPE KeyType, const UINT64 *Words) {
  MoveMemory(Record->Modulus, Words, sizeof(Record->Modulus));
  Record->Kind = 1;
  Record->KeyType = KeyType;
  Record->Valid = 1;
}

} // namespace

EFI_STATUS GetBuiltinKeys(BUILTIN_KEY_TYPE KeyType, BUILTIN_KEY_RECORD **Records, UINTN *Count,
                          const VOID *const *DataList) {
  if (Count == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  if (*Records != nullptr) {
    return EFI_BAD_BUFFER_SIZE;
  }
  if (KeyType == 2 || KeyType > 5) {
    return EFI_NOT_FOUND;
  }
  EFI_STATUS Status = AllocateKeyRecords(Records, 1);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  Status = FillBuiltinKeyRecord(KeyType, *Records, 1, DataList);
  if (!EFI_ERROR(Status)) {
    *Count = 1;
  }
  return Status;
}

EFI_STATUS AllocateKeyRecords(BUILTIN_KEY_RECORD **Records, UINTN Count) {
  if (Count == 0) {
    return EFI_INVALID_PARAMETER;
  }
  UINTN Size;
  if (*Records != nullptr || __builtin_mul_overflow(Count, sizeof(BUILTIN_KEY_RECORD), &Size)) {
    return EFI_BAD_BUFFER_SIZE;
  }
  *Records = static_cast<BUILTIN_KEY_RECORD *>(AllocateZeroedPool(Size));
  return *Records == nullptr ? EFI_OUT_OF_RESOURCES : EFI_SUCCESS;
}

extern "C" [[gnu::noinline]] EFI_STATUS EFIAPI FillBuiltinKeyRecord(BUILTIN_KEY_TYPE KeyType,
                                                                    BUILTIN_KEY_RECORD *Record, UINTN Count,
                                                                    const VOID *const *DataList) {
  MODULI Moduli;
  WriteModulus<mBuiltinModulusType1>(Moduli.Type1, ALL_WORDS());
  WriteModulus<mBuiltinModulusType3>(Moduli.Type3, ALL_WORDS());
  WriteModulus<mBuiltinModulusType4>(Moduli.Type4, ALL_WORDS());
  if (Record == nullptr || Count == 0) {
    return EFI_INVALID_PARAMETER;
  }
  switch (KeyType) {
  case 0:
    return EFI_SUCCESS;
  case 1:
    FillRecord(Record, KeyType, Moduli.Type1);
    return EFI_SUCCESS;
  case 3:
    FillRecord(Record, KeyType, Moduli.Type3);
    return EFI_SUCCESS;
  case 4:
    FillRecord(Record, KeyType, Moduli.Type4);
    return EFI_SUCCESS;
  case 5:
    return DataList == nullptr ? EFI_INVALID_PARAMETER : EFI_SECURITY_VIOLATION;
  default:
    return EFI_NOT_FOUND;
  }
}
