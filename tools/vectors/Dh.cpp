// Family "dh": key agreement over a prime and a generator, with a peer whose numbers are known, a peer whose
// value must be refused, or one that the driver plays itself.
#include <string>

#include "tools/vectors/Families.h"
#include "tools/vectors/MarkedBuffer.h"
#include "tools/vectors/ModularPower.h"

namespace {

using Octets = std::vector<UINT8>;

class Party {
public:
  explicit Party(VectorRun &Run) : Run_(Run), Context_(Run.Services.SvcDhNew()) {
    Run_.Require(Context_ != nullptr, "SvcDhNew answered NULL");
    Run_.Case.Expectation(41);
  }
  ~Party() {
    Run_.Services.SvcDhFree(Context_);
    Run_.Case.Expectation(45);
  }
  Party(const Party &) = delete;
  Party &operator=(const Party &) = delete;

  BOOLEAN SetParameters(UINT64 Generator, const Octets &Prime) {
    return Run_.Services.SvcDhGenerateParameter(Context_, Generator, Prime.size() * 8, Prime.data());
  }

  // Empty when the service refuses.
  Octets PublicValue() {
    UINTN Size = 0;
    const BOOLEAN Query = Run_.Services.SvcDhGenerateKey(Context_, nullptr, &Size);
    Run_.Require(Query == FALSE, "SvcDhGenerateKey answered a size query with TRUE");
    MarkedBuffer Value(Size);
    const BOOLEAN Answer = Run_.Services.SvcDhGenerateKey(Context_, Value.Data(), &Size);
    Run_.Require(Value.Intact(), "SvcDhGenerateKey wrote outside its buffer");
    return Answer == TRUE && Size == Value.Size() ? Value.Bytes() : Octets{};
  }

  // Compares the service's answer with the case's and gives the secret; empty when it refuses.
  Octets Secret(const Octets &Peer, UINTN PrimeSize) {
    MarkedBuffer Value(PrimeSize);
    UINTN Size = Value.Size();
    const BOOLEAN Answer =
        Run_.Services.SvcDhComputeKey(Context_, Peer.data(), Peer.size(), Value.Data(), &Size);
    Run_.Require(Value.Intact(), "SvcDhComputeKey wrote outside its buffer");
    if (!Run_.Boolean(44, Answer)) {
      Run_.Require(Answer == TRUE || (Value.Untouched() && Size == PrimeSize),
                   "SvcDhComputeKey refused and wrote");
      return {};
    }
    Octets Secret = Value.Bytes();
    Secret.resize(Size);
    return Secret;
  }

private:
  VectorRun &Run_;
  VOID *Context_;
};

// The source's own numbers, which the driver cannot be given: they must at least agree with each other.
void CheckSource(VectorRun &Run, const Octets &Prime, const Octets &Generator) {
  if (Run.Case.Has("own_x")) {
    const Octets Own = Run.Case.Hex("own_x");
    Run.Equal("the source's public value", ModularPower(Generator, Own, Prime), Run.Case.Hex("own_y"));
    Run.Equal("the source's secret", ModularPower(Run.Case.Hex("peer_y"), Own, Prime), Run.Case.Hex("k"));
  }
  if (Run.Case.Has("other_y")) {
    const Octets Peer = Run.Case.Hex("peer_x");
    Run.Equal("the source's secret", ModularPower(Run.Case.Hex("other_y"), Peer, Prime), Run.Case.Hex("z"));
  }
}

// A generator that is neither 2 nor 5 cannot be used, and leaves a context that cannot either.
void RefusedGenerator(VectorRun &Run, const Octets &Prime) {
  const Octets Generator = Run.Case.Hex("g_hex");
  UINT64 Low = 0;
  for (const UINT8 Byte : Generator) {
    Low = Low << 8 | Byte;
  }
  Party Own(Run);
  Run.Require(Low != 2 && Low != 5 && !Run.Boolean(42, Own.SetParameters(Low, Prime)),
              "the generator was taken");
  Run.Case.Expectation(43);
  Run.Require(Own.PublicValue().empty(), "a key was made without parameters");
  Run.Require(Own.Secret(Prime, Prime.size()).empty(), "a secret was made without a key");
}

} // namespace

void RunDhCase(VectorRun &Run) {
  const Octets Prime = Run.Case.Hex("p");
  if ((Run.Case.Number("pbits") + 7) / 8 != Prime.size()) {
    Run.Case.Refuse("pbits", "not the size of p");
  }
  Run.MakeGeneratorReady();
  if (Run.Case.Has("g_hex")) {
    RefusedGenerator(Run, Prime);
    return;
  }
  const UINT64 Generator = Run.Case.Number("g");
  CheckSource(Run, Prime, {static_cast<UINT8>(Generator)});
  Party Own(Run);
  const BOOLEAN HasParameters = Own.SetParameters(Generator, Prime);
  const Octets PublicValue = Own.PublicValue();
  // What a case refuses is the peer, so the steps before it succeed in every one.
  Run.Case.Expectation(42);
  Run.Case.Expectation(43);
  Run.Require(HasParameters == TRUE, "SvcDhGenerateParameter refused");
  Run.Require(!PublicValue.empty(), "SvcDhGenerateKey refused");
  if (const auto Bad = Run.Case.OptionalHex("bad_peer_y")) {
    Own.Secret(*Bad, Prime.size());
    return;
  }
  if (Run.Case.Has("peer_x")) {
    const Octets Secret = Own.Secret(Run.Case.Hex("peer_y"), Prime.size());
    Run.Equal("the secret", Secret, ModularPower(PublicValue, Run.Case.Hex("peer_x"), Prime));
    return;
  }
  Party Other(Run);
  Run.Require(Other.SetParameters(Generator, Prime) == TRUE,
              "SvcDhGenerateParameter refused the second party");
  const Octets Secret = Own.Secret(Other.PublicValue(), Prime.size());
  Run.Require(!Secret.empty(), "no secret");
  Run.Equal("the other party's secret", Other.Secret(PublicValue, Prime.size()), Secret);
}
