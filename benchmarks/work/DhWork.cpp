// Diffie-Hellman over a prime that the library does not know by name: for those it takes shorter exponents.
#include "benchmarks/work/Work.h"

#include <memory>

#include <openssl/bn.h>
#include <openssl/dh.h>

#include "benchmarks/work/Material.h"

namespace {

constexpr UINTN mPrimeBits[] = {2048};

std::string PrimeText() {
  const Bytes Text = Material("prime.txt");
  return std::string(Text.begin(), Text.end());
}

using DH_HANDLE = std::shared_ptr<DH>;

DH_HANDLE BareGroup(const std::string &Prime) {
  DH_HANDLE Group(DH_new(), DH_free);
  BIGNUM *P = nullptr;
  BN_hex2bn(&P, Prime.c_str());
  BIGNUM *G = BN_new();
  BN_set_word(G, 2);
  DH_set0_pqg(Group.get(), P, nullptr, G);
  return Group;
}

// Below the prime.
Bytes Peer() {
  return Bytes(255, 0xA5);
}

STEP BareKey(UINTN) {
  return [Prime = PrimeText()] { return DH_generate_key(BareGroup(Prime).get()) == 1; };
}

STEP BareSecret(UINTN) {
  const DH_HANDLE Group = BareGroup(PrimeText());
  const bool Ready = DH_generate_key(Group.get()) == 1;
  return [Group, Ready, Value = Peer()] {
    const std::unique_ptr<BIGNUM, void (*)(BIGNUM *)> Other(
        BN_bin2bn(Value.data(), static_cast<int>(Value.size()), nullptr), BN_free);
    UINT8 Secret[256];
    return Ready && DH_compute_key(Secret, Other.get(), Group.get()) > 0;
  };
}

Bytes PrimeBytes() {
  const std::string Text = PrimeText();
  Bytes Prime;
  for (size_t Index = 0; Index + 1 < Text.find('\n'); Index += 2) {
    Prime.push_back(static_cast<UINT8>(std::stoul(Text.substr(Index, 2), nullptr, 16)));
  }
  return Prime;
}

// A context with its key pair; NULL when that fails.
std::shared_ptr<VOID> DriverPair(const CRYPTO_SERVICES_PROTOCOL &Services, const Bytes &Prime) {
  std::shared_ptr<VOID> Context(Services.SvcDhNew(), [&Services](VOID *Old) { Services.SvcDhFree(Old); });
  UINT8 Public[256];
  UINTN Size = sizeof(Public);
  const bool Ready = Services.SvcDhGenerateParameter(Context.get(), 2, 8 * Prime.size(), Prime.data()) &&
                     Services.SvcDhGenerateKey(Context.get(), Public, &Size);
  return Ready ? Context : nullptr;
}

STEP Key(const BOOTED &Driver, UINTN) {
  return
      [&Services = Driver.Services, Prime = PrimeBytes()] { return DriverPair(Services, Prime) != nullptr; };
}

STEP Secret(const BOOTED &Driver, UINTN) {
  return [&Services = Driver.Services, Pair = DriverPair(Driver.Services, PrimeBytes()), Value = Peer()] {
    UINT8 Secret[256];
    UINTN Size = sizeof(Secret);
    return Pair && Services.SvcDhComputeKey(Pair.get(), Value.data(), Value.size(), Secret, &Size);
  };
}

constexpr WORK mWorks[] = {
    {"Diffie-Hellman", "Parameters and key pair, slots 41-43", UNIT::Bits, mPrimeBits, 0.95, BareKey, Key},
    {"Diffie-Hellman", "Shared secret, slot 44", UNIT::Bits, mPrimeBits, 0.95, BareSecret, Secret},
};

} // namespace

std::span<const WORK> DhWorks() {
  return mWorks;
}
