// Family "rsa_verify": a public key, a digest and a signature to be judged; with the message also as data
// lists, whole and in two parts.
#include <algorithm>

#include "tools/vectors/Families.h"
#include "tools/vectors/RsaSession.h"

namespace {

using Octets = std::vector<UINT8>;

constexpr UINT8 mNoData = 0;

Octets Reversed(const Octets &Value) {
  return {Value.rbegin(), Value.rend()};
}

// A vector without bytes may have no address, and an empty signature is not a missing one.
const UINT8 *Place(const Octets &Value) {
  return Value.empty() ? &mNoData : Value.data();
}

class ListCheck {
public:
  ListCheck(VectorRun &Run, const Octets &Modulus, const Octets &Signature, HASH_TYPE Type)
      : Run_(Run), Modulus_(Modulus), Signature_(Signature), Type_(Type) {}

  // The data list of one message in Parts.
  void Verify(std::initializer_list<std::pair<const UINT8 *, UINTN>> Parts) {
    std::vector<const VOID *> Data;
    std::vector<UINTN> Sizes;
    for (const auto &[First, Size] : Parts) {
      Data.push_back(First);
      Sizes.push_back(Size);
    }
    const Octets Modulus = Modulus_;
    const Octets Signature = Signature_;
    Run_.Status(1, Run_.Services.SvcVerifyDataListWithKey(Data.data(), Sizes.data(), Parts.size(),
                                                          Modulus.data(), Modulus.size(), Place(Signature),
                                                          Signature.size(), Type_));
    Run_.Require(Modulus == Modulus_ && Signature == Signature_,
                 "SvcVerifyDataListWithKey changed modulus or signature");
  }

private:
  VectorRun &Run_;
  const Octets Modulus_;
  const Octets Signature_;
  const HASH_TYPE Type_;
};

} // namespace

void RunRsaVerifyCase(VectorRun &Run) {
  const Octets Modulus = Run.Case.Hex("n");
  const Octets Exponent = Run.Case.Hex("e");
  const Octets Signature = Run.Case.Hex("sig");
  const Octets Digest = RsaDigestOfCase(Run);
  const std::optional<UINT64> Type = Run.Case.OptionalNumber("hash_type");
  if (Run.Case.Number("nbits") > Modulus.size() * 8) {
    Run.Case.Refuse("nbits", "more bits than the modulus has");
  }
  RsaSession Key(Run);
  Key.Set(RsaKeyN, Modulus);
  Key.Set(RsaKeyE, Exponent);
  Run.Boolean(26, Run.Services.SvcRsaPkcs1Verify(Key.Context(), Digest.data(), Digest.size(),
                                                 Place(Signature), Signature.size()));
  if (!Run.Case.Lists(1)) {
    return;
  }
  const Octets Significant(
      std::find_if(Exponent.begin(), Exponent.end(), [](UINT8 Byte) { return Byte != 0; }), Exponent.end());
  if (!Type || Significant != Octets{1, 0, 1}) {
    Run.Case.Refuse("slots", "slot 1 without hash_type, or with another exponent than 010001");
  }
  const Octets Message = Run.Case.Hex("msg");
  ListCheck Check(Run, Reversed(Modulus), Reversed(Signature), static_cast<HASH_TYPE>(*Type));
  Check.Verify({{Place(Message), Message.size()}});
  if (Message.size() > 1) {
    for (UINTN Head : {UINTN{1}, Message.size() / 2, Message.size() - 1}) {
      Check.Verify({{Message.data(), Head}, {Message.data() + Head, Message.size() - Head}});
    }
  }
}
