// "verify": the Authenticode signatures of a PE program against one trusted certificate.
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "tools/fwboot/Commands.h"
#include "tools/fwboot/InputFile.h"
#include "tools/fwboot/SignatureCheck.h"
#include "tools/fwboot/Wording.h"
#include "tools/pe/PeSignatures.h"
#include "tools/pe/SignedDigest.h"

namespace {

struct VERIFY_OPTIONS {
  std::string Path;
  TRUST_OPTIONS Trust;
};

struct IMAGE_DIGEST_ALGORITHM {
  const char *Name;
  std::vector<UINT8> Oid;
  HASH_TYPE Type;
};

// Those that a signature may name and the driver can compute.
const IMAGE_DIGEST_ALGORITHM mAlgorithms[] = {
    {"SHA-256", {0x60, 0x86, 0x48, 0x01, 0x65, 0x03, 0x04, 0x02, 0x01}, HASH_TYPE_SHA256},
    {"SHA-1", {0x2B, 0x0E, 0x03, 0x02, 0x1A}, HASH_TYPE_SHA1},
    {"MD5", {0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x02, 0x05}, HASH_TYPE_MD5},
};

std::string HexText(const std::vector<UINT8> &Bytes) {
  return fmt::format("{:02x}", fmt::join(Bytes, ""));
}

// NULL for a digest that the driver has no service for.
const IMAGE_DIGEST_ALGORITHM *AlgorithmOf(const SignedDigest &Digest) {
  for (const IMAGE_DIGEST_ALGORITHM &Algorithm : mAlgorithms) {
    if (Digest.Oid == Algorithm.Oid) {
      return &Algorithm;
    }
  }
  return nullptr;
}

class ImageDigests {
public:
  ImageDigests(const CRYPTO_SERVICES_PROTOCOL &Services, const std::vector<UINT8> &File, const PeFile &Pe)
      : Services_(Services) {
    for (const PeRange &Range : Pe.Digested) {
      const auto Begin = File.begin() + static_cast<std::ptrdiff_t>(Range.Offset);
      Covered_.insert(Covered_.end(), Begin, Begin + static_cast<std::ptrdiff_t>(Range.Size));
    }
  }

  // Through SvcHashAll; empty when it refuses.
  const std::vector<UINT8> &Get(const IMAGE_DIGEST_ALGORITHM &Algorithm) {
    std::vector<UINT8> &Digest = Digests_[Algorithm.Type];
    if (Digest.empty()) {
      Digest.resize(CRYPTO_SERVICES_SHA256_DIGEST_SIZE);
      UINTN Size = Digest.size();
      const bool Done = Services_.SvcHashAll(Algorithm.Type, Covered_.data(), Covered_.size(), Digest.data(),
                                             &Size) == EFI_SUCCESS;
      Digest.resize(Done ? Size : 0);
    }
    return Digest;
  }

private:
  const CRYPTO_SERVICES_PROTOCOL &Services_;
  std::vector<UINT8> Covered_;
  std::map<HASH_TYPE, std::vector<UINT8>> Digests_;
};

// Checks one signature and prints what came of it.
bool CheckSignature(const CRYPTO_SERVICES_PROTOCOL &Services, SignatureCheck &Check, ImageDigests &Digests,
                    const std::vector<UINT8> &Message) {
  SignedDigest Signed;
  try {
    Signed = ReadSignedDigest(Message);
  } catch (const DerError &) {
    fmt::print("  Answer    refused: no Authenticode signature\n");
    return false;
  }
  const IMAGE_DIGEST_ALGORITHM *Algorithm = AlgorithmOf(Signed);
  fmt::print("  For       {} {}\n", Algorithm != nullptr ? Algorithm->Name : "another digest",
             HexText(Signed.Value));
  Check.ShowSigners(Message, "  ");
  if (Algorithm == nullptr) {
    fmt::print("  Answer    refused: the driver has no service for this digest\n");
    return false;
  }
  const std::vector<UINT8> &Digest = Digests.Get(*Algorithm);
  const std::vector<UINT8> &Trusted = Check.Trusted();
  // A digest of no bytes would not be compared.
  if (!Digest.empty() && Services.SvcAuthenticodeVerify(Message.data(), Message.size(), Trusted.data(),
                                                        Trusted.size(), Digest.data(), Digest.size())) {
    fmt::print("  Answer    verified\n");
    return true;
  }
  fmt::print("  Answer    refused: {}\n",
             Digest == Signed.Value ? Check.LikelyReason() : "the file is not the one that was signed");
  return false;
}

PeFile ReadImage(const std::string &Path, const std::vector<UINT8> &File) {
  try {
    return ReadPeFile(File);
  } catch (const PeError &Error) {
    throw InputError(Path + ": " + Error.what());
  }
}

int RunVerify(const GLOBAL_OPTIONS &Options, const VERIFY_OPTIONS &Own) {
  const std::vector<UINT8> File = ReadInput(Own.Path);
  DriverSession Session(Options.Session());
  RequireServices(Session);
  SignatureCheck Check(Session, Own.Trust);
  const PeFile Pe = ReadImage(Own.Path, File);
  const CRYPTO_SERVICES_PROTOCOL &Services = Session.Services();
  ImageDigests Digests(Services, File, Pe);
  fmt::print("File        {}, {}, {} bytes\n", Own.Path, Pe.Pe32Plus ? "PE32+" : "PE32",
             Grouped(File.size()));
  fmt::print("Digest      SHA-256 {}\n", HexText(Digests.Get(mAlgorithms[0])));
  Check.ShowTrust();
  UINTN Verified = 0;
  for (const PeSignature &Signature : Pe.Signatures) {
    fmt::print("Signature   {} of {}, {} bytes\n", &Signature - Pe.Signatures.data() + 1,
               Pe.Signatures.size(), Grouped(Signature.Content.Size));
    if (!Signature.IsAuthenticode()) {
      fmt::print("  Answer    refused: of type {:#06x}, not Authenticode\n", Signature.Type);
      continue;
    }
    const auto Begin = File.begin() + static_cast<std::ptrdiff_t>(Signature.Content.Offset);
    Verified += CheckSignature(Services, Check, Digests,
                               {Begin, Begin + static_cast<std::ptrdiff_t>(Signature.Content.Size)});
  }
  if (Pe.Signatures.empty()) {
    fmt::print("Signature   none\n");
  }
  fmt::print("{}: {} of {} verified\n", Verified != 0 ? "Accepted" : "Refused", Verified,
             Counted(Pe.Signatures.size(), "signature"));
  return Verified != 0 ? mExitFine : mExitCheckFailed;
}

} // namespace

COMMAND_ACTION DeclareVerify(CLI::App &App) {
  auto Own = std::make_shared<VERIFY_OPTIONS>();
  App.add_option("FILE", Own->Path, "A signed PE program")->required();
  App.add_option("--trust", Own->Trust.Trust, "The trusted certificate, DER or PEM")
      ->required()
      ->type_name("CERT");
  App.add_option("--at", Own->Trust.At, "The firmware's clock, in UTC; the host's time unless given")
      ->type_name("YYYYMMDDhhmmss");
  App.footer("The file is accepted when one of its signatures verifies. Exit code 1 when none does, 2 when "
             "it is no\n"
             "PE image whose headers and certificate table can be believed.");
  return [Own](const GLOBAL_OPTIONS &Options) { return RunVerify(Options, *Own); };
}
