// Families "aes" and "tdes": a key, whole blocks of text and their cipher text, through the services of both
// directions, into a buffer of their own and in place.
#include <algorithm>
#include <functional>
#include <string>

#include "tools/vectors/Families.h"
#include "tools/vectors/InputBytes.h"
#include "tools/vectors/MarkedBuffer.h"

namespace {

using Octets = std::vector<UINT8>;
using CIPHER_CALL = std::function<BOOLEAN(VOID *Context, const UINT8 *Input, UINTN Size, UINT8 *Output)>;

// Decryption has the slot behind that of encryption.
struct BLOCK_CIPHER {
  UINTN InitSlot;
  UINTN EncryptSlot;
  UINTN ContextSize;
  BOOLEAN(EFIAPI *Init)(VOID *Context, const UINT8 *Key, UINTN KeyLength);
  CIPHER_CALL Encrypt;
  CIPHER_CALL Decrypt;
};

Octets ReadKey(VectorCase &Case) {
  const Octets Key = Case.Hex("key");
  if (Case.Number("bits") != Key.size() * 8) {
    Case.Refuse("bits", "not the length of the key");
  }
  return Key;
}

using CBC_SERVICE = BOOLEAN(EFIAPI *)(VOID *Context, const UINT8 *Input, UINTN Size, const UINT8 *Ivec,
                                      UINT8 *Output);

// A call of a CBC service with the vector, which it must leave as it is.
CIPHER_CALL WithVector(VectorRun &Run, CBC_SERVICE Service, const Octets &Vector) {
  return [&Run, Service, Vector](VOID *Context, const UINT8 *Input, UINTN Size, UINT8 *Output) {
    Octets Given = Vector;
    const BOOLEAN Answer = Service(Context, Input, Size, Given.data(), Output);
    Run.Equal("the caller's vector", Given, Vector);
    return Answer;
  };
}

void OneDirection(VectorRun &Run, UINTN Slot, const CIPHER_CALL &Call, VOID *Context, const Octets &From,
                  const Octets &To) {
  const std::string What = "slot " + std::to_string(Slot);
  MarkedBuffer Apart(To.size());
  if (Run.Boolean(Slot, Call(Context, InputBytes(From), From.size(), Apart.Data()))) {
    Run.Equal(What + "'s output", Apart.Bytes(), To);
  }
  MarkedBuffer InPlace(To.size());
  std::copy(From.begin(), From.end(), InPlace.Data());
  if (Run.Boolean(Slot, Call(Context, InPlace.Data(), From.size(), InPlace.Data()))) {
    Run.Equal(What + "'s output in place", InPlace.Bytes(), To);
  }
  Run.Require(Apart.Intact() && InPlace.Intact(), What + " wrote outside its buffer");
}

void BothDirections(VectorRun &Run, const BLOCK_CIPHER &Cipher, const Octets &Key) {
  const Octets Plain = Run.Case.Hex("pt");
  const Octets Secret = Run.Case.Hex("ct");
  if (Plain.size() != Secret.size()) {
    Run.Case.Refuse("ct", "not as long as pt");
  }
  MarkedBuffer Context(Cipher.ContextSize);
  const BOOLEAN Ready = Cipher.Init(Context.Data(), Key.data(), Key.size() * 8);
  if (Run.Boolean(Cipher.InitSlot, Ready)) {
    const Octets Before = Context.Bytes();
    OneDirection(Run, Cipher.EncryptSlot, Cipher.Encrypt, Context.Data(), Plain, Secret);
    OneDirection(Run, Cipher.EncryptSlot + 1, Cipher.Decrypt, Context.Data(), Secret, Plain);
    Run.Require(Context.Bytes() == Before, "the services wrote to the context");
  } else {
    // A refused key leaves no context that could be used.
    Run.Case.Expectation(Cipher.EncryptSlot);
    Run.Case.Expectation(Cipher.EncryptSlot + 1);
  }
  Run.Require(Context.Intact(), "slot " + std::to_string(Cipher.InitSlot) + " wrote outside its context");
}

Octets ReadVector(VectorCase &Case, UINTN Size) {
  const Octets Vector = Case.Hex("iv");
  if (Vector.size() != Size) {
    Case.Refuse("iv", "not the size of a block");
  }
  return Vector;
}

} // namespace

void RunAesCase(VectorRun &Run) {
  const CRYPTO_SERVICES_PROTOCOL &Services = Run.Services;
  const Octets Key = ReadKey(Run.Case);
  BLOCK_CIPHER Cipher = {36,
                         39,
                         CRYPTO_SERVICES_AES_CONTEXT_SIZE,
                         Services.SvcAesInit,
                         Services.SvcAesEcbEncrypt,
                         Services.SvcAesEcbDecrypt};
  const std::string Mode = Run.Case.Text("mode");
  if (Mode == "cbc") {
    const Octets Vector = ReadVector(Run.Case, CRYPTO_SERVICES_AES_BLOCK_SIZE);
    Cipher.EncryptSlot = 37;
    Cipher.Encrypt = WithVector(Run, Services.SvcAesCbcEncrypt, Vector);
    Cipher.Decrypt = WithVector(Run, Services.SvcAesCbcDecrypt, Vector);
  } else if (Mode != "ecb") {
    Run.Case.Refuse("mode", "\"" + Mode + "\" is neither ecb nor cbc");
  }
  BothDirections(Run, Cipher, Key);
}

void RunTdesCase(VectorRun &Run) {
  const Octets Key = ReadKey(Run.Case);
  const Octets Vector = ReadVector(Run.Case, CRYPTO_SERVICES_TDES_BLOCK_SIZE);
  BothDirections(Run,
                 {19, 20, CRYPTO_SERVICES_TDES_CONTEXT_SIZE, Run.Services.SvcTdesInit,
                  WithVector(Run, Run.Services.SvcTdesCbcEncrypt, Vector),
                  WithVector(Run, Run.Services.SvcTdesCbcDecrypt, Vector)},
                 Key);
}
