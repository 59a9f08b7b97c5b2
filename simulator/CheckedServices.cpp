// Fills the checked table with the assembler's stubs and leads each of them to the entry it stands for. Must
// not know any service's arguments: eight slots are carried over whatever they hold.
#include "simulator/CheckedServices.h"

#include <cstring>
#include <iterator>
#include <string>

#include "simulator/DriverCall.h"
#include "simulator/Faults.h"

namespace {

constexpr UINTN mSlotCount = 62;
constexpr UINTN mStubBytes = 16;

static_assert(sizeof(CRYPTO_SERVICES_PROTOCOL) == mSlotCount * sizeof(void *));

// In slot order, which the offsets below hold them to.
// clang-format off
#define EACH_SERVICE(Service)                                                                             \
  Service(SvcVerifyBufferWithBuiltinKeys) Service(SvcVerifyDataListWithKey) Service(SvcHashAll)           \
  Service(SvcVerifyDataListWithBuiltinKeys) Service(SvcVerifyFirmwareImage) Service(SvcReportPolicyEvent) \
  Service(SvcSha256GetContextSize) Service(SvcSha256Init) Service(SvcSha256Update)                        \
  Service(SvcSha256Final) Service(SvcSha1GetContextSize) Service(SvcSha1Init) Service(SvcSha1Update)      \
  Service(SvcSha1Final) Service(SvcHmacSha1GetContextSize) Service(SvcHmacSha1Init)                       \
  Service(SvcHmacSha1Update) Service(SvcHmacSha1Final) Service(SvcTdesGetContextSize)                     \
  Service(SvcTdesInit) Service(SvcTdesCbcEncrypt) Service(SvcTdesCbcDecrypt) Service(SvcRsaNew)           \
  Service(SvcRsaGetKey) Service(SvcRsaSetKey) Service(SvcRsaPkcs1Sign) Service(SvcRsaPkcs1Verify)         \
  Service(SvcRsaGetPrivateKeyFromPem) Service(SvcRsaGetPublicKeyFromX509) Service(SvcX509GetSubjectName)  \
  Service(SvcX509VerifyCert) Service(SvcRsaFree) Service(SvcPkcs7GetSigners) Service(SvcPkcs7Verify)      \
  Service(SvcPkcs7FreeSigners) Service(SvcAesGetContextSize) Service(SvcAesInit)                          \
  Service(SvcAesCbcEncrypt) Service(SvcAesCbcDecrypt) Service(SvcAesEcbEncrypt) Service(SvcAesEcbDecrypt) \
  Service(SvcDhNew) Service(SvcDhGenerateParameter) Service(SvcDhGenerateKey) Service(SvcDhComputeKey)    \
  Service(SvcDhFree) Service(SvcRandomSeed) Service(SvcRandomBytes) Service(SvcAuthenticodeVerify)        \
  Service(SvcPbkdf2HmacSha1) Service(SvcRandomFillClockSeeded) Service(SvcAesLayeredTransform)            \
  Service(SvcHmacCompute) Service(SvcHmacVerify) Service(SvcBase64EncodeToUnicode)                        \
  Service(SvcBase64EncodeToAscii) Service(SvcBase64DecodeUnicode) Service(SvcBase64DecodeUnicodeAuto)     \
  Service(SvcBase64DecodeAscii) Service(SvcBase64DecodeAsciiAuto) Service(SvcRsaPublicEncrypt)            \
  Service(SvcRsaPrivateDecrypt)
// clang-format on

#define NAME_OF(Service) #Service,
#define OFFSET_OF(Service) offsetof(CRYPTO_SERVICES_PROTOCOL, Service),

constexpr const char *mSlotNames[] = {EACH_SERVICE(NAME_OF)};
constexpr UINTN mSlotOffsets[] = {EACH_SERVICE(OFFSET_OF)};

static_assert(std::size(mSlotNames) == mSlotCount);
static_assert([] {
  for (UINTN Slot = 0; Slot < mSlotCount; ++Slot) {
    if (mSlotOffsets[Slot] != Slot * sizeof(void *)) {
      return false;
    }
  }
  return true;
}());

const void *mRaw[mSlotCount];
bool mLiving = false;

} // namespace

extern "C" {

extern const UINT8 CheckedServiceStubs[mSlotCount * mStubBytes];

// Called by the stubs; Arguments are the stub's eight slots.
UINT64 CheckedServiceCall(UINT32 Slot, const UINT64 *Arguments);

UINT64 CheckedServiceCall(UINT32 Slot, const UINT64 *Arguments) {
  return CallDriver(mSlotNames[Slot], mRaw[Slot], Arguments, 8);
}

} // extern "C"

CheckedServices::CheckedServices(const CRYPTO_SERVICES_PROTOCOL *Raw) {
  if (mLiving) {
    AbortRun("a second checked service table");
  }
  mLiving = true;
  std::memcpy(mRaw, Raw, sizeof(mRaw));
  const UINT8 *Stubs[mSlotCount];
  for (UINTN Slot = 0; Slot < mSlotCount; ++Slot) {
    Stubs[Slot] = CheckedServiceStubs + Slot * mStubBytes;
  }
  std::memcpy(&Table_, Stubs, sizeof(Table_));
}

CheckedServices::~CheckedServices() {
  mLiving = false;
}

const char *CheckedServices::SlotName(UINTN Slot) {
  return Slot < mSlotCount ? mSlotNames[Slot] : "?";
}
