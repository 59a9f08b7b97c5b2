// Family "pbkdf2": a password, a salt, a count of iterations and the key that follows from them.
#include "tools/vectors/Families.h"
#include "tools/vectors/InputBytes.h"
#include "tools/vectors/MarkedBuffer.h"

void RunPbkdf2Case(VectorRun &Run) {
  const std::vector<UINT8> Password = Run.Case.Hex("password");
  const std::vector<UINT8> Salt = Run.Case.Hex("salt");
  const std::vector<UINT8> Key = Run.Case.Hex("dk");
  if (Run.Case.Number("dklen") != Key.size()) {
    Run.Case.Refuse("dklen", "not the size of dk");
  }
  MarkedBuffer Output(Key.size());
  const EFI_STATUS Answer = Run.Services.SvcPbkdf2HmacSha1(
      InputBytes(Password), Password.size(), Salt.empty() ? nullptr : Salt.data(), Salt.size(),
      Run.Case.Number("iterations"), Output.Data(), Output.Size());
  if (Run.Status(49, Answer)) {
    Run.Equal("the key", Output.Bytes(), Key);
  } else {
    Run.Require(Answer == EFI_SUCCESS || Output.Untouched(), "SvcPbkdf2HmacSha1 refused and wrote");
  }
  Run.Require(Output.Intact(), "SvcPbkdf2HmacSha1 wrote outside its buffer");
}
