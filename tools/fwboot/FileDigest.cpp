// Reading in chunks, and the two roads through the service table.
#include "tools/fwboot/FileDigest.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <functional>
#include <memory>
#include <vector>

#include <fmt/format.h>
#include <sys/stat.h>

#include "tools/fwboot/Command.h"
#include "tools/fwboot/Hex.h"
#include "tools/fwboot/ProgressBar.h"
#include "tools/session/StatusNames.h"

namespace {

constexpr UINTN mChunkBytes = 1 << 20;

constexpr FILE_DIGEST_ALGORITHM mAlgorithms[] = {
    {"sha1", "SHA-1", "sha1sum", HASH_TYPE_SHA1, CRYPTO_SERVICES_SHA1_DIGEST_SIZE},
    {"sha256", "SHA-256", "sha256sum", HASH_TYPE_SHA256, CRYPTO_SERVICES_SHA256_DIGEST_SIZE},
    {"md5", "MD5", "md5sum", HASH_TYPE_MD5, CRYPTO_SERVICES_MD5_DIGEST_SIZE},
};

using CHUNK_TAKER = std::function<void(const UINT8 *Chunk, UINTN Size)>;

void ReadChunks(const std::string &Path, const CHUNK_TAKER &Take) {
  const auto Close = [](std::FILE *File) { return File == stdin ? 0 : std::fclose(File); };
  std::unique_ptr<std::FILE, int (*)(std::FILE *)> File(Path == "-" ? stdin : std::fopen(Path.c_str(), "rb"),
                                                        Close);
  if (!File) {
    throw InputError(Path + ": " + std::strerror(errno));
  }
  struct stat Information = {};
  fstat(fileno(File.get()), &Information);
  ProgressBar Bar(Path);
  std::vector<UINT8> Chunk(mChunkBytes);
  UINT64 Done = 0;
  while (const UINTN Count = std::fread(Chunk.data(), 1, Chunk.size(), File.get())) {
    Take(Chunk.data(), Count);
    Done += Count;
    Bar.Show(Done, S_ISREG(Information.st_mode) ? static_cast<UINT64>(Information.st_size) : 0);
  }
  if (std::ferror(File.get()) != 0) {
    throw InputError(Path + ": " + std::strerror(errno));
  }
}

// The same signatures serve both algorithms.
struct STREAM_SERVICES {
  const char *Prefix;
  CRYPTO_SERVICES_SHA1_GET_CONTEXT_SIZE GetContextSize;
  CRYPTO_SERVICES_SHA1_INIT Init;
  CRYPTO_SERVICES_SHA1_UPDATE Update;
  CRYPTO_SERVICES_SHA1_FINAL Final;
};

FileDigest HashStreamed(const STREAM_SERVICES &Services, UINTN DigestSize, const std::string &Path) {
  std::vector<UINT8> Context(Services.GetContextSize());
  std::vector<UINT8> Digest(DigestSize);
  const char *Refused = Context.empty() || Services.Init(Context.data()) != TRUE ? "Init" : nullptr;
  ReadChunks(Path, [&](const UINT8 *Chunk, UINTN Size) {
    if (Refused == nullptr && Services.Update(Context.data(), Chunk, Size) != TRUE) {
      Refused = "Update";
    }
  });
  if (Refused == nullptr && Services.Final(Context.data(), Digest.data()) != TRUE) {
    Refused = "Final";
  }
  if (Refused != nullptr) {
    return {{}, fmt::format("{}{} answers FALSE", Services.Prefix, Refused)};
  }
  return {HexText(Digest), {}};
}

FileDigest HashAtOnce(const CRYPTO_SERVICES_PROTOCOL &Services, const FILE_DIGEST_ALGORITHM &Algorithm,
                      const std::string &Path) {
  std::vector<UINT8> Data;
  ReadChunks(Path, [&](const UINT8 *Chunk, UINTN Size) { Data.insert(Data.end(), Chunk, Chunk + Size); });
  const UINTN DataSize = Data.size();
  if (Data.empty()) {
    // The service must see a pointer, so that it is the empty length that it judges.
    Data.push_back(0);
  }
  std::vector<UINT8> Digest(Algorithm.Size);
  UINTN Size = Digest.size();
  const EFI_STATUS Status = Services.SvcHashAll(Algorithm.Type, Data.data(), DataSize, Digest.data(), &Size);
  if (Status != EFI_SUCCESS) {
    return {{},
            fmt::format("SvcHashAll answers {}{}", StatusName(Status),
                        DataSize == 0 ? ": the service takes no empty message" : "")};
  }
  return {HexText(Digest), {}};
}

} // namespace

std::span<const FILE_DIGEST_ALGORITHM> FileDigestAlgorithms() {
  return mAlgorithms;
}

std::string SumLine(const std::string &Hex, const std::string &Path) {
  std::string Name;
  for (const char Character : Path) {
    switch (Character) {
    case '\\':
      Name += "\\\\";
      break;
    case '\n':
      Name += "\\n";
      break;
    case '\r':
      Name += "\\r";
      break;
    default:
      Name += Character;
    }
  }
  return (Name == Path ? "" : "\\") + Hex + "  " + Name;
}

FileDigest HashFile(DriverSession &Session, const FILE_DIGEST_ALGORITHM &Algorithm, const std::string &Path) {
  const CRYPTO_SERVICES_PROTOCOL &Services = Session.Services();
  switch (Algorithm.Type) {
  case HASH_TYPE_SHA1:
    return HashStreamed({"SvcSha1", Services.SvcSha1GetContextSize, Services.SvcSha1Init,
                         Services.SvcSha1Update, Services.SvcSha1Final},
                        Algorithm.Size, Path);
  case HASH_TYPE_SHA256:
    return HashStreamed({"SvcSha256", Services.SvcSha256GetContextSize, Services.SvcSha256Init,
                         Services.SvcSha256Update, Services.SvcSha256Final},
                        Algorithm.Size, Path);
  default:
    return HashAtOnce(Services, Algorithm, Path);
  }
}
