// Family "digest": a message and its digest, through the one-shot service and through the streaming services
// at once and in uneven pieces.
#include <algorithm>
#include <string>

#include "tools/vectors/DigestStream.h"
#include "tools/vectors/Families.h"
#include "tools/vectors/MarkedBuffer.h"

namespace {

// Around the block length of 64 bytes and across it, with empty pieces among them; the whole sequence comes
// again until the message ends.
constexpr UINTN mPieces[] = {1, 63, 64, 0, 65, 3, 127, 128, 129, 7, 0, 4096, 55, 9, 1000, 2};

// What a service reads an empty message from.
constexpr UINT8 mNoData = 0;

std::vector<UINT8> MessageOf(VectorCase &Case) {
  const std::vector<UINT8> Once = Case.Hex("msg");
  const UINT64 Times = Case.OptionalNumber("repeat").value_or(1);
  if (Times > (UINT64{1} << 30) / std::max<UINT64>(Once.size(), 1)) {
    Case.Refuse("repeat", "a message above 1 GiB");
  }
  std::vector<UINT8> Message;
  Message.reserve(Once.size() * Times);
  for (UINT64 Time = 0; Time < Times; ++Time) {
    Message.insert(Message.end(), Once.begin(), Once.end());
  }
  return Message;
}

void OneShot(VectorRun &Run, const DIGEST_ALGORITHM &Algorithm, const std::vector<UINT8> &Message,
             const std::vector<UINT8> &Digest) {
  MarkedBuffer Output(Algorithm.DigestSize);
  UINTN Size = Output.Size();
  const EFI_STATUS Answer = Run.Services.SvcHashAll(
      Algorithm.Type, Message.empty() ? &mNoData : Message.data(), Message.size(), Output.Data(), &Size);
  if (Run.Status(2, Answer)) {
    Run.Equal("SvcHashAll's digest", Output.Bytes(), Digest);
  } else {
    Run.Require(Answer == EFI_SUCCESS || Output.Untouched(), "SvcHashAll refused and wrote");
  }
  Run.Require(Output.Intact(), "SvcHashAll wrote outside its buffer");
  Run.Require(Size == Algorithm.DigestSize, "SvcHashAll gave the size " + std::to_string(Size));
}

// Feeds the message in pieces of the sizes at Pieces, over and over; without any, at once.
void Streamed(VectorRun &Run, const DIGEST_ALGORITHM &Algorithm, const std::vector<UINT8> &Message,
              const std::vector<UINT8> &Digest, const UINTN *Pieces, UINTN Count) {
  const DIGEST_STREAM &Stream = Algorithm.Stream;
  if (!Run.Size(Stream.First, Stream.GetContextSize(), Stream.ContextSize)) {
    return;
  }
  MarkedBuffer Context(Stream.ContextSize);
  MarkedBuffer Output(Algorithm.DigestSize);
  Run.Boolean(Stream.First + 1, Stream.Init(Context.Data()));
  UINTN Place = 0;
  UINTN Turn = 0;
  do {
    const UINTN Left = Message.size() - Place;
    const UINTN Piece = Count == 0 ? Left : std::min(Pieces[Turn++ % Count], Left);
    Run.Boolean(Stream.First + 2, Stream.Update(Context.Data(), Message.data() + Place, Piece));
    Place += Piece;
  } while (Place != Message.size());
  if (Run.Boolean(Stream.First + 3, Stream.Final(Context.Data(), Output.Data()))) {
    Run.Equal(Count == 0 ? "the streamed digest" : "the digest streamed in pieces", Output.Bytes(), Digest);
  }
  Run.Require(Context.Intact(), "the streaming services wrote outside their context");
  Run.Require(Output.Intact(), "the streaming services wrote outside the digest");
}

} // namespace

DIGEST_ALGORITHM DigestOfCase(VectorCase &Case, const CRYPTO_SERVICES_PROTOCOL &Services) {
  const std::string Name = Case.Text("alg");
  if (Name == "sha1") {
    return {HASH_TYPE_SHA1,
            CRYPTO_SERVICES_SHA1_DIGEST_SIZE,
            {10, CRYPTO_SERVICES_SHA1_CONTEXT_SIZE, Services.SvcSha1GetContextSize, Services.SvcSha1Init,
             Services.SvcSha1Update, Services.SvcSha1Final}};
  }
  if (Name == "sha256") {
    return {HASH_TYPE_SHA256,
            CRYPTO_SERVICES_SHA256_DIGEST_SIZE,
            {6, CRYPTO_SERVICES_SHA256_CONTEXT_SIZE, Services.SvcSha256GetContextSize, Services.SvcSha256Init,
             Services.SvcSha256Update, Services.SvcSha256Final}};
  }
  if (Name == "md5") {
    return {HASH_TYPE_MD5, CRYPTO_SERVICES_MD5_DIGEST_SIZE, {}};
  }
  Case.Refuse("alg", "\"" + Name + "\" is no digest algorithm");
}

void RunDigestCase(VectorRun &Run) {
  const DIGEST_ALGORITHM Algorithm = DigestOfCase(Run.Case, Run.Services);
  if (Run.Case.Number("hash_type") != Algorithm.Type) {
    Run.Case.Refuse("hash_type", "not the type of the algorithm");
  }
  const std::vector<UINT8> Message = MessageOf(Run.Case);
  const std::vector<UINT8> Digest = Run.Case.Hex("digest");
  if (Run.Case.Lists(2)) {
    OneShot(Run, Algorithm, Message, Digest);
  }
  if (Algorithm.Stream.First != 0 && Run.Case.Lists(Algorithm.Stream.First)) {
    Streamed(Run, Algorithm, Message, Digest, nullptr, 0);
    Streamed(Run, Algorithm, Message, Digest, mPieces, std::size(mPieces));
  }
}
