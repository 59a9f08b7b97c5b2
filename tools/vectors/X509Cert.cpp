// Family "x509_cert": a certificate, its public key and its subject.
#include <string>

#include "tools/vectors/Families.h"
#include "tools/vectors/MarkedBuffer.h"
#include "tools/vectors/RsaComponents.h"

namespace {

// Left in the place for a context: a refusal must not touch it.
UINT8 mPlaceMark;

std::vector<UINT8> WithoutLeadingZeros(std::vector<UINT8> Number) {
  const auto First = std::find_if(Number.begin(), Number.end(), [](UINT8 Byte) { return Byte != 0; });
  Number.erase(Number.begin(), First);
  return Number;
}

void PublicKey(VectorRun &Run, const std::vector<UINT8> &Certificate) {
  VOID *Context = &mPlaceMark;
  const BOOLEAN Answer =
      Run.Services.SvcRsaGetPublicKeyFromX509(Certificate.data(), Certificate.size(), &Context);
  if (Run.Boolean(28, Answer)) {
    RequireRsaComponent(Run, Context, RsaKeyN, WithoutLeadingZeros(Run.Case.Hex("n")));
    RequireRsaComponent(Run, Context, RsaKeyE, WithoutLeadingZeros(Run.Case.Hex("e")));
    RequireRsaComponent(Run, Context, RsaKeyD, {});
    Run.Services.SvcRsaFree(Context);
  } else {
    Run.Require(Answer == TRUE || Context == &mPlaceMark,
                "SvcRsaGetPublicKeyFromX509 refused and stored a context");
  }
}

void Subject(VectorRun &Run, const std::vector<UINT8> &Certificate) {
  constexpr UINTN mUnchanged = 77;
  UINTN Size = 0;
  const BOOLEAN Query =
      Run.Services.SvcX509GetSubjectName(Certificate.data(), Certificate.size(), nullptr, &Size);
  Run.Require(Query == FALSE, "SvcX509GetSubjectName answered a size query with TRUE");
  MarkedBuffer Name(Size);
  Size = Size == 0 ? mUnchanged : Size;
  const BOOLEAN Answer =
      Run.Services.SvcX509GetSubjectName(Certificate.data(), Certificate.size(), Name.Data(), &Size);
  if (Run.Boolean(29, Answer)) {
    Run.Equal("the subject", Name.Bytes(), Run.Case.Hex("subject"));
  } else {
    Run.Require(Answer == TRUE || Size == mUnchanged, "SvcX509GetSubjectName refused and stored a size");
  }
  Run.Require(Name.Intact(), "SvcX509GetSubjectName wrote outside its buffer");
}

} // namespace

void RunX509CertCase(VectorRun &Run) {
  const std::vector<UINT8> Certificate = Run.Case.Hex("cert");
  // What the source says of the certificate beyond that, and no service gives.
  const std::string KeyType = Run.Case.OptionalText("keytype").value_or("none");
  if (Run.Case.Has("n") != (KeyType == "rsa") || Run.Case.Has("sigalg") != (KeyType != "none")) {
    Run.Case.Refuse("keytype", "not as the other values");
  }
  if (Run.Case.Has("sigalg")) {
    Run.Case.Text("sigalg");
    Run.Case.Number("notbefore");
    Run.Case.Number("notafter");
  }
  PublicKey(Run, Certificate);
  Subject(Run, Certificate);
  if (Run.Case.Lists(30)) {
    Run.Boolean(30, Run.Services.SvcX509VerifyCert(Certificate.data(), Certificate.size(), Certificate.data(),
                                                   Certificate.size()));
  }
}
