// Reads unencrypted PKCS#8 keys in PEM, no more of the formats than these files use.
#include "tests/services/RsaTestKey.h"

#include <fstream>
#include <map>
#include <stdexcept>

#include "tests/support/GuardedBuffer.h"

namespace {

Bytes DecodePem(const std::string &Path) {
  std::ifstream File(Path);
  if (!File) {
    throw std::runtime_error("no test key at " + Path);
  }
  const std::string Alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  Bytes Der;
  UINT32 Bits = 0;
  UINTN Count = 0;
  for (std::string Line; std::getline(File, Line);) {
    for (char Character : Line[0] == '-' ? "" : Line) {
      const size_t Value = Alphabet.find(Character);
      if (Value == std::string::npos) {
        continue;
      }
      Bits = Bits << 6 | static_cast<UINT32>(Value);
      Count += 6;
      if (Count >= 8) {
        Count -= 8;
        Der.push_back(static_cast<UINT8>(Bits >> Count));
      }
    }
  }
  return Der;
}

// All INTEGERs in [Place, End), in order, also those inside sequences and octet strings.
void CollectNumbers(const UINT8 *Place, const UINT8 *End, std::vector<Bytes> &Numbers) {
  while (Place < End) {
    const UINT8 Tag = *Place++;
    UINTN Length = *Place++;
    if (Length > 0x80) {
      UINTN Octets = Length - 0x80;
      for (Length = 0; Octets != 0; Octets--) {
        Length = Length << 8 | *Place++;
      }
    }
    if (Tag == 0x02) {
      Numbers.emplace_back(Place[0] == 0 && Length > 1 ? Place + 1 : Place, Place + Length);
    } else if (Tag == 0x30 || Tag == 0x04) {
      CollectNumbers(Place, Place + Length, Numbers);
    }
    Place += Length;
  }
}

} // namespace

const RsaTestKey &RsaTestKey::Load(const std::string &Name) {
  static std::map<std::string, RsaTestKey> Keys;
  auto [Entry, IsNew] = Keys.try_emplace(Name);
  if (IsNew) {
    const Bytes Der = DecodePem(TEST_KEYS_PATH "/" + Name + ".pem");
    std::vector<Bytes> Numbers;
    CollectNumbers(Der.data(), Der.data() + Der.size(), Numbers);
    // Two version numbers come first; then the order is that of the tags (RFC 8017, appendix A.1.2).
    std::copy(Numbers.begin() + 2, Numbers.end(), Entry->second.Components.begin());
  }
  return Entry->second;
}

Bytes Reversed(const Bytes &Value) {
  return Bytes(Value.rbegin(), Value.rend());
}

void SetComponents(const CRYPTO_SERVICES_PROTOCOL &Svc, VOID *Context, const RsaTestKey &Key,
                   std::initializer_list<RSA_KEY_TAG> Tags) {
  for (RSA_KEY_TAG Tag : Tags) {
    const Bytes &Value = Key.Components[Tag];
    EXPECT_TRUE(Svc.SvcRsaSetKey(Context, Tag, Value.data(), Value.size())) << "component " << Tag;
  }
}

Bytes Component(const CRYPTO_SERVICES_PROTOCOL &Svc, VOID *Context, RSA_KEY_TAG Tag) {
  UINTN Size = 4096;
  GuardedBuffer Value(Size);
  EXPECT_TRUE(Svc.SvcRsaGetKey(Context, Tag, Value.Get(), &Size)) << "component " << Tag;
  return Value.Taken(Size);
}

Bytes SignDigest(const CRYPTO_SERVICES_PROTOCOL &Svc, const RsaTestKey &Key, const Bytes &Digest) {
  VOID *Context = Svc.SvcRsaNew();
  SetComponents(Svc, Context, Key, {RsaKeyN, RsaKeyE, RsaKeyD});
  Bytes Signature(Key.Size());
  UINTN Size = Signature.size();
  EXPECT_TRUE(Svc.SvcRsaPkcs1Sign(Context, Digest.data(), Digest.size(), Signature.data(), &Size));
  EXPECT_EQ(Size, Signature.size());
  Svc.SvcRsaFree(Context);
  return Signature;
}

Bytes SignMessage(const CRYPTO_SERVICES_PROTOCOL &Svc, const RsaTestKey &Key, HASH_TYPE Type,
                  const Bytes &Message) {
  Bytes Digest(Type == HASH_TYPE_SHA1 ? 20 : 32);
  UINTN Size = Digest.size();
  EXPECT_EQ(Svc.SvcHashAll(Type, Message.data(), Message.size(), Digest.data(), &Size), EFI_SUCCESS);
  return Reversed(SignDigest(Svc, Key, Digest));
}

void GrowHeapTable(const CRYPTO_SERVICES_PROTOCOL &Svc) {
  std::vector<VOID *> Contexts(256);
  const UINT8 One = 1;
  for (VOID *&Context : Contexts) {
    Context = Svc.SvcRsaNew();
    for (RSA_KEY_TAG Tag = RsaKeyN; Tag <= RsaKeyQInv; Tag++) {
      EXPECT_TRUE(Svc.SvcRsaSetKey(Context, Tag, &One, 1));
    }
  }
  for (VOID *Context : Contexts) {
    Svc.SvcRsaFree(Context);
  }
}
