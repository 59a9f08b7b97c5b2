// The store's routine is called as the driver calls it; its record is put into the encoding that other tools
// take fingerprints of.
#include "tools/fwboot/BuiltinKeyList.h"

#include <algorithm>
#include <array>

#include <fmt/core.h>

#include "simulator/DriverCall.h"

namespace {

constexpr const char *mStoreRoutine = "FillBuiltinKeyRecord";

// DEVELOPMENT_KEYS is a list of fingerprints, each in quotes and followed by a comma.
constexpr const char *mDevelopmentKeys[] = {DEVELOPMENT_KEYS};

// SubjectPublicKeyInfo (RFC 5280, section 4.1) around an RSA-2048 modulus and the exponent 65537.
constexpr UINT8 mBeforeModulus[] = {0x30, 0x82, 0x01, 0x22, 0x30, 0x0d, 0x06, 0x09, 0x2a, 0x86, 0x48,
                                    0x86, 0xf7, 0x0d, 0x01, 0x01, 0x01, 0x05, 0x00, 0x03, 0x82, 0x01,
                                    0x0f, 0x00, 0x30, 0x82, 0x01, 0x0a, 0x02, 0x82, 0x01, 0x01, 0x00};
constexpr UINT8 mBehindModulus[] = {0x02, 0x03, 0x01, 0x00, 0x01};

// What the driver's store fills: the modulus least-significant byte first, then three numbers.
struct KEY_RECORD {
  std::array<UINT8, 256> Modulus;
  UINT32 Numbers[3];
};

std::string FingerprintOf(const CRYPTO_SERVICES_PROTOCOL &Services, const KEY_RECORD &Record) {
  std::vector<UINT8> Der(std::begin(mBeforeModulus), std::end(mBeforeModulus));
  Der.insert(Der.end(), Record.Modulus.rbegin(), Record.Modulus.rend());
  Der.insert(Der.end(), std::begin(mBehindModulus), std::end(mBehindModulus));
  std::array<UINT8, CRYPTO_SERVICES_SHA256_DIGEST_SIZE> Digest;
  UINTN Size = Digest.size();
  if (EFI_ERROR(Services.SvcHashAll(HASH_TYPE_SHA256, Der.data(), Der.size(), Digest.data(), &Size))) {
    throw InputError("the driver does not hash");
  }
  std::string Text;
  for (const UINT8 Byte : Digest) {
    Text += fmt::format("{:02x}", Byte);
  }
  return Text;
}

} // namespace

std::vector<BuiltinKey> ReadBuiltinKeys(DriverSession &Session) {
  RequireServices(Session);
  const void *Routine = Session.Target().Symbol(mStoreRoutine);
  if (Routine == nullptr) {
    throw InputError("the image's keys cannot be read without its link map beside it");
  }
  std::vector<BuiltinKey> Keys;
  const void *DataList = &Keys;
  for (UINT32 Type = 0; Type <= 6; ++Type) {
    KEY_RECORD Record = {};
    const EFI_STATUS Status =
        CallDriver(mStoreRoutine, Routine,
                   {Type, reinterpret_cast<UINT64>(&Record), 1, reinterpret_cast<UINT64>(&DataList)});
    BuiltinKey Key = {Type, Status, {}, false};
    if (Record.Modulus != decltype(Record.Modulus){}) {
      Key.Fingerprint = FingerprintOf(Session.Services(), Record);
      Key.IsDevelopment = std::find(std::begin(mDevelopmentKeys), std::end(mDevelopmentKeys),
                                    Key.Fingerprint) != std::end(mDevelopmentKeys);
    }
    Keys.push_back(Key);
  }
  return Keys;
}

void WarnOfDevelopmentKeys(const GLOBAL_OPTIONS &Options) {
  // A boot of its own: the one that is told may never get to its services.
  std::string Types;
  try {
    DriverSession Session(Options.Session());
    for (const BuiltinKey &Key : ReadBuiltinKeys(Session)) {
      if (Key.IsDevelopment) {
        Types += (Types.empty() ? "" : ", ") + std::to_string(Key.Type);
      }
    }
  } catch (const InputError &) {
    return;
  } catch (const BootError &) {
    return;
  }
  if (!Types.empty()) {
    fmt::print("warning: built-in keys {} are development keys, whose private halves are public\n", Types);
  }
}
