// The private keys of tests/keys as numbers, and what the RSA tests do with them through the service table.
// The keys are public: nothing but tests may trust them.
#pragma once

#include <array>
#include <string>

#include "tests/support/DriverTest.h"

struct RsaTestKey {
  // By RSA_KEY_TAG, big-endian without leading zeros.
  std::array<Bytes, 8> Components;

  const Bytes &N() const { return Components[RsaKeyN]; }
  UINTN Size() const { return N().size(); }

  // Name is that of a file in tests/keys without its ending, as "rsa512-private". Read once.
  static const RsaTestKey &Load(const std::string &Name);
};

// The bytes in the opposite order.
Bytes Reversed(const Bytes &Value);

// Sets components Tags of a context from Key; gtest failures when one is refused.
void SetComponents(const CRYPTO_SERVICES_PROTOCOL &Svc, VOID *Context, const RsaTestKey &Key,
                   std::initializer_list<RSA_KEY_TAG> Tags);

// What slot 23 gives out, big-endian; absent and zero are both empty. gtest failures when it refuses.
Bytes Component(const CRYPTO_SERVICES_PROTOCOL &Svc, VOID *Context, RSA_KEY_TAG Tag);

// The PKCS#1 v1.5 signature of Digest by Key, big-endian, made by slot 25; gtest failures when it is refused.
Bytes SignDigest(const CRYPTO_SERVICES_PROTOCOL &Svc, const RsaTestKey &Key, const Bytes &Digest);

// The signature of Message with SHA-1 or SHA-256, least-significant byte first, as slots 0, 1, 3 and 4 take
// it.
Bytes SignMessage(const CRYPTO_SERVICES_PROTOCOL &Svc, const RsaTestKey &Key, HASH_TYPE Type,
                  const Bytes &Message);

// Makes the driver's heap grow its table of live blocks, which stays, so that a count of blocks that follows
// does not depend on where blocks happen to lie.
void GrowHeapTable(const CRYPTO_SERVICES_PROTOCOL &Svc);
