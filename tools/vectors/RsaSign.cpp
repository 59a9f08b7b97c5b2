// Family "rsa_sign": a digest and its one signature, made with d alone and with the CRT components, and
// verified again.
#include <algorithm>
#include <string>

#include "tools/vectors/Families.h"
#include "tools/vectors/MarkedBuffer.h"
#include "tools/vectors/RsaComponents.h"
#include "tools/vectors/RsaSession.h"

namespace {

using Octets = std::vector<UINT8>;

void Sign(VectorRun &Run, VOID *Context, const Octets &Digest, const Octets &Signature) {
  UINTN Size = 0;
  Run.Require(Run.Services.SvcRsaPkcs1Sign(Context, Digest.data(), Digest.size(), nullptr, &Size) == FALSE &&
                  Size == Signature.size(),
              "SvcRsaPkcs1Sign answered a size query with " + std::to_string(Size));
  MarkedBuffer Made(Signature.size());
  const BOOLEAN Answer =
      Run.Services.SvcRsaPkcs1Sign(Context, Digest.data(), Digest.size(), Made.Data(), &Size);
  if (Run.Boolean(25, Answer)) {
    Run.Equal("the signature", Made.Bytes(), Signature);
  }
  Run.Require(Made.Intact(), "SvcRsaPkcs1Sign wrote outside its buffer");
  Run.Require(Size == Signature.size(), "SvcRsaPkcs1Sign gave the size " + std::to_string(Size));
}

} // namespace

Octets RsaDigestOfCase(VectorRun &Run) {
  const Octets Digest = Run.Case.Hex("digest");
  const std::string Algorithm = Run.Case.Text("alg");
  const HASH_TYPE Type = Algorithm == "md5"      ? HASH_TYPE_MD5
                         : Algorithm == "sha1"   ? HASH_TYPE_SHA1
                         : Algorithm == "sha256" ? HASH_TYPE_SHA256
                                                 : 0;
  const std::optional<Octets> Message = Run.Case.OptionalHex("msg");
  // The one-shot service takes no empty message.
  if (Message && !Message->empty() && Type != 0) {
    MarkedBuffer Made(32);
    UINTN Size = Made.Size();
    Run.Require(Run.Services.SvcHashAll(Type, Message->data(), Message->size(), Made.Data(), &Size) ==
                    EFI_SUCCESS,
                "the message cannot be hashed");
    Octets Computed = Made.Bytes();
    Computed.resize(Size);
    Run.Equal("the digest of the message", Computed, Digest);
  }
  return Digest;
}

void RunRsaSignCase(VectorRun &Run) {
  constexpr std::pair<RSA_KEY_TAG, const char *> mComponents[] = {
      {RsaKeyN, "n"}, {RsaKeyE, "e"},   {RsaKeyD, "d"},   {RsaKeyP, "p"},
      {RsaKeyQ, "q"}, {RsaKeyDp, "dp"}, {RsaKeyDq, "dq"}, {RsaKeyQInv, "qinv"}};
  const Octets Digest = RsaDigestOfCase(Run);
  const Octets Signature = Run.Case.Hex("sig");
  RsaSession Alone(Run);
  RsaSession WithExponent(Run);
  RsaSession Whole(Run);
  for (const auto &[Tag, Name] : mComponents) {
    const Octets Value = Run.Case.Hex(Name);
    if (Tag == RsaKeyN || Tag == RsaKeyD) {
      Alone.Set(Tag, Value);
    }
    if (Tag == RsaKeyN || Tag == RsaKeyD || Tag == RsaKeyE) {
      WithExponent.Set(Tag, Value);
    }
    Whole.Set(Tag, Value);
    RequireRsaComponent(
        Run, Whole.Context(), Tag,
        {std::find_if(Value.begin(), Value.end(), [](UINT8 Byte) { return Byte != 0; }), Value.end()});
  }
  Run.Case.Expectation(24);
  if (Run.Case.Number("nbits") == 0) {
    Run.Case.Refuse("nbits", "a modulus without bits");
  }
  for (const RsaSession *Key : {&Alone, &WithExponent, &Whole}) {
    Sign(Run, Key->Context(), Digest, Signature);
  }
  for (const RsaSession *Key : {&WithExponent, &Whole}) {
    Run.Boolean(26, Run.Services.SvcRsaPkcs1Verify(Key->Context(), Digest.data(), Digest.size(),
                                                   Signature.data(), Signature.size()));
  }
}
