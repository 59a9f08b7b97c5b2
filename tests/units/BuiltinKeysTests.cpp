// The built-in key store: its answer for every key type, and the order of its refusals.
#include <gtest/gtest.h>

#include "driver/trust/BuiltinKeys.h"
#include "driver/trust/DataList.h"
#include "tests/services/RsaTestKey.h"
#include "tests/units/Internals.h"

namespace {

constexpr UINTN mUnchanged = 7777;

class BuiltinKeysTest : public InternalsTest {
protected:
  const VOID *Data = this;
  const VOID *const *List = &Data;
  BUILTIN_KEY_RECORD *Records = nullptr;
  UINTN Count = mUnchanged;

  void Release() {
    if (Records != nullptr) {
      EXPECT_EQ(Firmware().BootServices()->FreePool(Records), EFI_SUCCESS);
    }
    Records = nullptr;
    Count = mUnchanged;
  }
  Bytes Content() {
    const UINT8 *First = reinterpret_cast<const UINT8 *>(Records);
    return Bytes(First, First + sizeof(BUILTIN_KEY_RECORD));
  }
};

TEST_F(BuiltinKeysTest, EveryKeyTypeHasItsAnswer) {
  struct Row {
    BUILTIN_KEY_TYPE Type;
    bool List;
    EFI_STATUS Status;
    bool Record;
    const char *Key;
  };
  const Row Rows[] = {{0, true, EFI_SUCCESS, true, nullptr},
                      {0, false, EFI_SUCCESS, true, nullptr},
                      {1, true, EFI_SUCCESS, true, "type1-private"},
                      {2, true, EFI_NOT_FOUND, false, nullptr},
                      {3, false, EFI_SUCCESS, true, "type3-private"},
                      {4, true, EFI_SUCCESS, true, "type4-private"},
                      {5, true, EFI_SECURITY_VIOLATION, true, nullptr},
                      {5, false, EFI_INVALID_PARAMETER, true, nullptr},
                      {6, true, EFI_NOT_FOUND, false, nullptr},
                      {0xFFFFFFFF, true, EFI_NOT_FOUND, false, nullptr}};
  for (const Row &Case : Rows) {
    EXPECT_EQ(GetBuiltinKeys(Case.Type, &Records, &Count, Case.List ? List : nullptr), Case.Status)
        << Case.Type;
    EXPECT_EQ(Count, Case.Status == EFI_SUCCESS ? 1 : mUnchanged) << Case.Type;
    ASSERT_EQ(Records != nullptr, Case.Record) << Case.Type;
    if (Case.Record) {
      Bytes Expected(268);
      if (Case.Key != nullptr) {
        Expected = Reversed(RsaTestKey::Load(Case.Key).N());
        for (UINT8 Byte : {UINT8{1}, static_cast<UINT8>(Case.Type), UINT8{1}}) {
          Expected.insert(Expected.end(), {Byte, 0, 0, 0});
        }
      }
      EXPECT_EQ(Content(), Expected) << Case.Type;
      EXPECT_EQ(Memory().OpenBlocks().back().Type, EfiBootServicesData);
    }
    Release();
  }
}

TEST_F(BuiltinKeysTest, RefusalsComeInTheirOrder) {
  auto *Held = reinterpret_cast<BUILTIN_KEY_RECORD *>(this);
  BUILTIN_KEY_RECORD *Variable = Held;
  EXPECT_EQ(GetBuiltinKeys(2, &Variable, nullptr, nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(GetBuiltinKeys(2, &Variable, &Count, nullptr), EFI_BAD_BUFFER_SIZE);
  EXPECT_EQ(Variable, Held);
  Memory().FailFrom(1);
  EXPECT_EQ(GetBuiltinKeys(2, &Records, &Count, List), EFI_NOT_FOUND);
  EXPECT_EQ(GetBuiltinKeys(1, &Records, &Count, List), EFI_OUT_OF_RESOURCES);
  EXPECT_EQ(GetBuiltinKeys(5, &Records, &Count, nullptr), EFI_OUT_OF_RESOURCES);
  Memory().ClearFailures();
  EXPECT_EQ(Records, nullptr);
  EXPECT_EQ(Count, mUnchanged);

  EXPECT_EQ(AllocateKeyRecords(&Variable, 0), EFI_INVALID_PARAMETER);
  EXPECT_EQ(AllocateKeyRecords(&Variable, 1), EFI_BAD_BUFFER_SIZE);
  EXPECT_EQ(AllocateKeyRecords(&Records, ~UINTN{0} / 268 + 1), EFI_BAD_BUFFER_SIZE);
  ASSERT_EQ(AllocateKeyRecords(&Records, 3), EFI_SUCCESS);
  EXPECT_EQ(Memory().OpenBlocks().back().Size, 3 * 268U);
  // Only the first record is filled.
  EXPECT_EQ(FillBuiltinKeyRecord(1, nullptr, 3, List), EFI_INVALID_PARAMETER);
  EXPECT_EQ(FillBuiltinKeyRecord(1, Records, 0, List), EFI_INVALID_PARAMETER);
  EXPECT_EQ(FillBuiltinKeyRecord(2, Records, 3, List), EFI_NOT_FOUND);
  EXPECT_EQ(Content(), Bytes(268));
  EXPECT_EQ(FillBuiltinKeyRecord(1, Records, 3, List), EFI_SUCCESS);
  EXPECT_EQ(Records[0].Valid, 1U);
  Records[0] = Records[1];
  EXPECT_EQ(Content(), Bytes(268));
  Release();
}

// Two keys whose marks no record of the store has; the second is the signer's.
EFI_STATUS TwoKeys(BUILTIN_KEY_TYPE, BUILTIN_KEY_RECORD **Records, UINTN *Count, const VOID *const *) {
  *Count = 2;
  const EFI_STATUS Status = AllocateKeyRecords(Records, *Count);
  for (UINT32 Index = 0; Index < *Count; Index++) {
    const Bytes Modulus = Reversed(RsaTestKey::Load(Index == 0 ? "type1-private" : "type3-private").N());
    std::copy(Modulus.begin(), Modulus.end(), (*Records)[Index].Modulus);
    (*Records)[Index].Valid = 6 + Index;
  }
  return Status;
}

TEST_F(BuiltinKeysTest, TheMarkComesFromTheKeyThatVerifies) {
  const Bytes Message = Pattern(50);
  const Bytes Signature = SignMessage(Svc(), RsaTestKey::Load("type3-private"), HASH_TYPE_SHA1, Message);
  const VOID *Start = Message.data();
  const UINTN Size = Message.size();
  const SIGNED_DATA Signed = {&Start, &Size, 1, Signature.data(), Signature.size(), HASH_TYPE_SHA1};
  UINT32 Valid = mUnchanged;
  EXPECT_EQ(VerifyWithKeysOf(TwoKeys, 1, Signed, &Valid), EFI_SUCCESS);
  EXPECT_EQ(Valid, 7U);
}

} // namespace
