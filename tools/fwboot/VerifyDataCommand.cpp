// "verify-data": a signature over files, as slots 0, 1 and 3 check it.
#include <algorithm>
#include <memory>
#include <optional>

#include <fmt/core.h>

#include "tools/fwboot/Commands.h"
#include "tools/fwboot/Hex.h"
#include "tools/fwboot/InputFile.h"
#include "tools/session/StatusNames.h"

namespace {

struct VERIFY_DATA_OPTIONS {
  std::optional<UINT32> KeyType;
  std::string ModulusPath;
  std::string SignaturePath;
  std::string Hash = "sha256";
  bool BigEndian = false;
  std::vector<std::string> Paths;
};

// What "openssl rsa -modulus" prints, or the number's bytes as they are.
std::vector<UINT8> ReadModulus(const std::string &Path, bool BigEndian) {
  constexpr std::string_view mTitle = "Modulus=";
  std::vector<UINT8> Value = ReadInput(Path);
  const std::string Text(Value.begin(), Value.end());
  if (Text.starts_with(mTitle)) {
    const std::string Digits = Text.substr(mTitle.size(), Text.find_last_not_of("\r\n") + 1 - mTitle.size());
    Value = ParseHex(Path, Digits);
    if (Value.empty()) {
      throw InputError(Path + ": no modulus behind \"" + std::string(mTitle) + "\"");
    }
    BigEndian = true;
  }
  if (BigEndian) {
    std::reverse(Value.begin(), Value.end());
  }
  return Value;
}

int RunVerifyData(const GLOBAL_OPTIONS &Options, const VERIFY_DATA_OPTIONS &Own) {
  std::vector<std::vector<UINT8>> Contents;
  std::vector<const VOID *> Data;
  std::vector<UINTN> Sizes;
  for (const std::string &Path : Own.Paths) {
    Contents.push_back(ReadInput(Path));
    if (Contents.back().empty()) {
      throw InputError(Path + ": empty, which no data list may hold");
    }
  }
  for (const std::vector<UINT8> &Content : Contents) {
    Data.push_back(Content.data());
    Sizes.push_back(Content.size());
  }
  std::vector<UINT8> Signature = ReadInput(Own.SignaturePath);
  if (Own.BigEndian) {
    std::reverse(Signature.begin(), Signature.end());
  }
  const HASH_TYPE Type = Own.Hash == "sha1" ? HASH_TYPE_SHA1 : HASH_TYPE_SHA256;
  const std::vector<UINT8> Modulus =
      Own.KeyType ? std::vector<UINT8>() : ReadModulus(Own.ModulusPath, Own.BigEndian);

  DriverSession Session(Options.Session());
  RequireServices(Session);
  const CRYPTO_SERVICES_PROTOCOL &Services = Session.Services();
  UINT32 KeyValid = 0;
  EFI_STATUS Status;
  std::string Service;
  if (!Own.KeyType) {
    Service = "SvcVerifyDataListWithKey";
    Status = Services.SvcVerifyDataListWithKey(Data.data(), Sizes.data(), Data.size(), Modulus.data(),
                                               Modulus.size(), Signature.data(), Signature.size(), Type);
  } else if (Data.size() == 1) {
    Service = "SvcVerifyBufferWithBuiltinKeys";
    Status = Services.SvcVerifyBufferWithBuiltinKeys(Data[0], Sizes[0], Signature.data(), Signature.size(),
                                                     *Own.KeyType, Type, &KeyValid);
  } else {
    Service = "SvcVerifyDataListWithBuiltinKeys";
    Status =
        Services.SvcVerifyDataListWithBuiltinKeys(Data.data(), Sizes.data(), Data.size(), Signature.data(),
                                                  Signature.size(), *Own.KeyType, &KeyValid, Type);
  }
  fmt::print("{}: {}\n", Service, StatusName(Status));
  if (Status != EFI_SUCCESS) {
    fmt::print("The signature is not accepted\n");
    return mExitCheckFailed;
  }
  fmt::print("The signature holds{}\n",
             Own.KeyType ? fmt::format(", by the key of type {} (valid mark {})", *Own.KeyType, KeyValid)
                         : "");
  return mExitFine;
}

} // namespace

COMMAND_ACTION DeclareVerifyData(CLI::App &App) {
  auto Own = std::make_shared<VERIFY_DATA_OPTIONS>();
  auto *Key = App.add_option_group("key")->require_option(1);
  Key->add_option("--key-type", Own->KeyType, "Check with the built-in keys of this type")->type_name("N");
  Key->add_option("--modulus", Own->ModulusPath,
                  "Check with this modulus: its bytes, or the line of openssl rsa -modulus")
      ->type_name("FILE");
  App.add_option("--signature", Own->SignaturePath, "The signature's bytes")->type_name("FILE")->required();
  App.add_flag("--big-endian", Own->BigEndian,
               "Signature and modulus start with their most significant byte, as the openssl command writes "
               "them");
  App.add_option("--hash", Own->Hash, "sha1 or sha256")
      ->type_name("NAME")
      ->check(CLI::IsMember({"sha1", "sha256"}))
      ->capture_default_str();
  App.add_option("FILE", Own->Paths, "What is signed; several files are one data list, hashed in order")
      ->required();
  return [Own](const GLOBAL_OPTIONS &Options) { return RunVerifyData(Options, *Own); };
}
