// Certificates may come in PEM; which of the two it is, the first bytes tell.
#include "tools/fwboot/InputFile.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <memory>

#include <fmt/core.h>

#include "tools/fwboot/Command.h"
#include "tools/vectors/CaseClock.h"

namespace {

constexpr std::string_view mBegin = "-----BEGIN CERTIFICATE-----";
constexpr std::string_view mEnd = "-----END CERTIFICATE-----";

int Base64Digit(char Character) {
  constexpr std::string_view mDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  const size_t Place = mDigits.find(Character);
  return Place == std::string_view::npos ? -1 : static_cast<int>(Place);
}

std::vector<UINT8> DecodeBase64(const std::string &Path, std::string_view Text) {
  std::vector<UINT8> Bytes;
  UINT32 Group = 0;
  int Bits = 0;
  for (const char Character : Text) {
    if (std::strchr(" \t\r\n=", Character) != nullptr) {
      continue;
    }
    const int Digit = Base64Digit(Character);
    if (Digit < 0) {
      throw InputError(Path + ": the PEM block is not Base64");
    }
    Group = Group << 6 | static_cast<UINT32>(Digit);
    Bits += 6;
    if (Bits >= 8) {
      Bits -= 8;
      Bytes.push_back(static_cast<UINT8>(Group >> Bits));
    }
  }
  return Bytes;
}

} // namespace

std::vector<UINT8> ReadInput(const std::string &Path) {
  const auto Close = [](std::FILE *File) { return File == stdin ? 0 : std::fclose(File); };
  const std::unique_ptr<std::FILE, int (*)(std::FILE *)> File(
      Path == "-" ? stdin : std::fopen(Path.c_str(), "rb"), Close);
  if (!File) {
    throw InputError(Path + ": " + std::strerror(errno));
  }
  std::vector<UINT8> Content;
  UINT8 Chunk[65536];
  while (const size_t Count = std::fread(Chunk, 1, sizeof(Chunk), File.get())) {
    Content.insert(Content.end(), Chunk, Chunk + Count);
  }
  if (std::ferror(File.get()) != 0) {
    throw InputError(Path + ": " + std::strerror(errno));
  }
  return Content;
}

std::vector<UINT8> ReadCertificate(const std::string &Path) {
  std::vector<UINT8> Content = ReadInput(Path);
  const std::string_view Text(reinterpret_cast<const char *>(Content.data()), Content.size());
  const size_t Begin = Text.find(mBegin);
  if (Begin == std::string_view::npos) {
    return Content;
  }
  const size_t Inside = Begin + mBegin.size();
  const size_t End = Text.find(mEnd, Inside);
  if (End == std::string_view::npos) {
    throw InputError(Path + ": the PEM block has no end");
  }
  return DecodeBase64(Path, Text.substr(Inside, End - Inside));
}

std::string SetClock(SimulatedFirmware &Firmware, const std::string &Time) {
  std::string Digits = Time;
  if (Digits.empty()) {
    const std::time_t Now = std::time(nullptr);
    char Text[16];
    std::strftime(Text, sizeof(Text), "%Y%m%d%H%M%S", std::gmtime(&Now));
    Digits = Text;
  }
  if (!SetFirmwareClock(Firmware, Digits)) {
    throw InputError("\"" + Time + "\" is no time; it is written YYYYMMDDhhmmss, in UTC");
  }
  const std::string_view Part = Digits;
  return fmt::format("{}-{}-{} {}:{}:{} UTC", Part.substr(0, 4), Part.substr(4, 2), Part.substr(6, 2),
                     Part.substr(8, 2), Part.substr(10, 2), Part.substr(12, 2));
}
