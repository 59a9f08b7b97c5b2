// Family "rsa_decrypt": a ciphertext and its message, or its refusal; and each message once more through the
// driver's own encryption.
#include <algorithm>
#include <string>

#include "tools/vectors/Families.h"

namespace {

using Octets = std::vector<UINT8>;

struct RawKey {
  Octets Modulus;
  Octets Exponent;
  UINTN Size; // k
};

// The result buffer of one call, given back to the pool at its end.
struct Result {
  explicit Result(VectorRun &Run) : Run(Run) {}
  ~Result() {
    if (Block != nullptr) {
      Run.Session.Firmware().BootServices()->FreePool(Block);
    }
  }
  Result(const Result &) = delete;
  Result &operator=(const Result &) = delete;

  Octets Bytes() const { return {Block, Block + Size}; }

  VectorRun &Run;
  UINT8 *Block = nullptr;
  UINT32 Size = 0;
};

EFI_STATUS Decrypt(const RawKey &Key, const Octets &Ciphertext, Result &Plain) {
  return Plain.Run.Services.SvcRsaPrivateDecrypt(static_cast<UINT32>(Ciphertext.size()), Ciphertext.data(),
                                                 Key.Modulus.data(), Key.Modulus.size(), Key.Exponent.data(),
                                                 Key.Exponent.size(), &Plain.Block, &Plain.Size);
}

void RequireMessage(const Result &Plain, const RawKey &Key, const Octets &Message) {
  Plain.Run.Equal("the message", Plain.Bytes(), Message);
  Plain.Run.Require(
      std::all_of(Plain.Block + Plain.Size, Plain.Block + Key.Size, [](UINT8 Byte) { return Byte == 0; }),
      "the buffer is not zero behind the message");
}

void ThereAndBack(VectorRun &Run, const RawKey &Key, const Octets &Message) {
  Result Cipher(Run);
  const EFI_STATUS Answer =
      Run.Services.SvcRsaPublicEncrypt(static_cast<UINT32>(Message.size()), Message.data(),
                                       Key.Modulus.data(), Key.Modulus.size(), &Cipher.Block, &Cipher.Size);
  const bool Fits = Message.size() + 12 <= Key.Size;
  Run.Require(Answer == (Fits ? EFI_SUCCESS : EFI_DEVICE_ERROR), "SvcRsaPublicEncrypt answered wrongly");
  if (Answer != EFI_SUCCESS) {
    Run.Require(Cipher.Block == nullptr && Cipher.Size == 0, "SvcRsaPublicEncrypt refused and left a result");
    return;
  }
  Run.Require(Cipher.Size == Key.Size, "the ciphertext has not the size of the modulus");
  Result Plain(Run);
  Run.Require(Decrypt(Key, Cipher.Bytes(), Plain) == EFI_SUCCESS, "what was encrypted is not decrypted");
  if (Plain.Block != nullptr) {
    RequireMessage(Plain, Key, Message);
  }
}

} // namespace

void RunRsaDecryptCase(VectorRun &Run) {
  const RawKey Key = {Run.Case.Hex("n"), Run.Case.Hex("d"), Run.Case.Number("k")};
  const Octets Ciphertext = Run.Case.Hex("ct");
  const std::optional<Octets> Message = Run.Case.OptionalHex("msg");
  if (Run.Case.Number("nbits") > Key.Size * 8) {
    Run.Case.Refuse("nbits", "more bits than k bytes have");
  }
  Result Plain(Run);
  if (Run.Status(61, Decrypt(Key, Ciphertext, Plain))) {
    if (!Message) {
      Run.Case.Refuse("expect", "a success without msg");
    }
    RequireMessage(Plain, Key, *Message);
  } else {
    Run.Require(Plain.Block == nullptr && Plain.Size == 0, "SvcRsaPrivateDecrypt refused and left a result");
  }
  if (Message && !Message->empty()) {
    Run.MakeGeneratorReady();
    ThereAndBack(Run, Key, *Message);
  }
}
