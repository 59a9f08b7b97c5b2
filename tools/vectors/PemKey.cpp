// Family "pem_key": a PEM text, a password or none, and the components of the key in it.
#include <array>
#include <string>

#include "tools/vectors/Families.h"
#include "tools/vectors/RsaComponents.h"

namespace {

constexpr std::array<std::pair<const char *, RSA_KEY_TAG>, 8> mComponents = {{
    {"n", RsaKeyN},
    {"e", RsaKeyE},
    {"d", RsaKeyD},
    {"p", RsaKeyP},
    {"q", RsaKeyQ},
    {"dp", RsaKeyDp},
    {"dq", RsaKeyDq},
    {"qinv", RsaKeyQInv},
}};

} // namespace

void RunPemKeyCase(VectorRun &Run) {
  const std::vector<UINT8> Text = Run.Case.Hex("pem");
  std::vector<UINT8> Password = Run.Case.OptionalHex("password").value_or(std::vector<UINT8>{});
  const bool HasPassword = Run.Case.Number("has_password") != 0;
  if (!HasPassword && Run.Case.Has("password")) {
    Run.Case.Refuse("password", "given to a case that has none");
  }
  Password.push_back(0);
  // What the source says of the block; the service finds out itself.
  Run.Case.Text("kind");
  Run.Case.Text("cipher");

  UINT8 PlaceMark = 0;
  VOID *Context = &PlaceMark;
  const BOOLEAN Answer = Run.Services.SvcRsaGetPrivateKeyFromPem(
      Text.data(), Text.size(), HasPassword ? reinterpret_cast<const CHAR8 *>(Password.data()) : nullptr,
      &Context);
  if (Run.Boolean(27, Answer)) {
    for (const auto &[Key, Tag] : mComponents) {
      RequireRsaComponent(Run, Context, Tag, Run.Case.Hex(Key));
    }
    Run.Services.SvcRsaFree(Context);
  } else {
    Run.Require(Answer == TRUE || Context == nullptr || (Text.empty() && Context == &PlaceMark),
                "SvcRsaGetPrivateKeyFromPem refused and stored no NULL");
    for (const auto &[Key, Tag] : mComponents) {
      Run.Case.OptionalHex(Key);
    }
  }
}
