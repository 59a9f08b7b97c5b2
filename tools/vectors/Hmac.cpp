// Family "hmac": a key, a message and its MAC, through the one-shot services and through the streaming ones;
// and a value to be compared with the MAC, which may be cut or wrong.
#include <algorithm>
#include <string>

#include "tools/vectors/Families.h"
#include "tools/vectors/InputBytes.h"
#include "tools/vectors/MarkedBuffer.h"

namespace {

using Octets = std::vector<UINT8>;

struct MAC_CASE {
  HASH_TYPE Type;
  Octets Key;
  Octets Message;
  Octets Mac;
};

MAC_CASE ReadCase(VectorCase &Case) {
  const std::string Name = Case.Text("alg");
  if (Name != "sha1" && Name != "sha256") {
    Case.Refuse("alg", "\"" + Name + "\" is no MAC algorithm");
  }
  const bool Sha1 = Name == "sha1";
  const MAC_CASE Read = {Sha1 ? HASH_TYPE_SHA1 : HASH_TYPE_SHA256, Case.Hex("key"), Case.Hex("msg"),
                         Case.Hex("mac")};
  if (Case.Number("hash_type") != Read.Type) {
    Case.Refuse("hash_type", "not the type of the algorithm");
  }
  if (Read.Mac.size() != (Sha1 ? CRYPTO_SERVICES_SHA1_DIGEST_SIZE : CRYPTO_SERVICES_SHA256_DIGEST_SIZE)) {
    Case.Refuse("mac", "not the size of the algorithm's MAC");
  }
  return Read;
}

void Compute(VectorRun &Run, const MAC_CASE &Read) {
  MarkedBuffer Mac(Read.Mac.size());
  UINTN Size = Mac.Size();
  const EFI_STATUS Answer =
      Run.Services.SvcHmacCompute(Read.Type, InputBytes(Read.Key), Read.Key.size(), InputBytes(Read.Message),
                                  Read.Message.size(), Mac.Data(), &Size);
  if (Run.Status(52, Answer)) {
    Run.Equal("the MAC", Mac.Bytes(), Read.Mac);
  } else {
    Run.Require(Answer == EFI_SUCCESS || Mac.Untouched(), "SvcHmacCompute refused and wrote");
  }
  Run.Require(Mac.Intact(), "SvcHmacCompute wrote outside its buffer");
  Run.Require(Size == Read.Mac.size(), "SvcHmacCompute gave the size " + std::to_string(Size));
}

void Verify(VectorRun &Run, const MAC_CASE &Read, const Octets &Tag) {
  const auto Answer = [&](const Octets &Expected) {
    return Run.Services.SvcHmacVerify(Read.Type, InputBytes(Read.Key), Read.Key.size(),
                                      InputBytes(Read.Message), Read.Message.size(), InputBytes(Expected),
                                      Expected.size());
  };
  Run.Status(53, Answer(Tag));
  // What the source gives may be wrong; the MAC itself is accepted wherever it can be computed.
  if (Run.Case.Expectation(52).Answer == ExpectedAnswer::Success) {
    Run.Require(Answer(Read.Mac) == EFI_SUCCESS, "SvcHmacVerify refused the MAC itself");
  }
}

// The streaming services take a key and a message of any length, so that only slot 17 has an answer of its
// own in a case that another slot refuses.
void Stream(VectorRun &Run, const MAC_CASE &Read, UINTN Step) {
  if (!Run.Size(14, Run.Services.SvcHmacSha1GetContextSize(), CRYPTO_SERVICES_HMAC_SHA1_CONTEXT_SIZE)) {
    return;
  }
  MarkedBuffer Context(CRYPTO_SERVICES_HMAC_SHA1_CONTEXT_SIZE);
  MarkedBuffer Mac(Read.Mac.size());
  Run.Case.Expectation(15);
  Run.Case.Expectation(16);
  Run.Require(Run.Services.SvcHmacSha1Init(Context.Data(), InputBytes(Read.Key), Read.Key.size()) == TRUE,
              "SvcHmacSha1Init refused");
  UINTN Place = 0;
  do {
    const UINTN Piece = std::min(Step, Read.Message.size() - Place);
    Run.Require(Run.Services.SvcHmacSha1Update(Context.Data(), InputBytes(Read.Message) + Place, Piece) ==
                    TRUE,
                "SvcHmacSha1Update refused");
    Place += Piece;
  } while (Place != Read.Message.size());
  if (Run.Boolean(17, Run.Services.SvcHmacSha1Final(Context.Data(), Mac.Data()))) {
    Run.Equal("the MAC streamed in steps of " + std::to_string(Step), Mac.Bytes(), Read.Mac);
  }
  Run.Require(Context.Intact(), "the streaming services wrote outside their context");
  Run.Require(Mac.Intact(), "the streaming services wrote outside the MAC");
}

} // namespace

void RunHmacCase(VectorRun &Run) {
  const MAC_CASE Read = ReadCase(Run.Case);
  Compute(Run, Read);
  Verify(Run, Read, Run.Case.Hex("tag"));
  if (Read.Type == HASH_TYPE_SHA1 && Run.Case.Lists(14)) {
    for (const UINTN Step : {~UINTN{0}, UINTN{1}, UINTN{61}}) {
      Stream(Run, Read, Step);
    }
  }
}
