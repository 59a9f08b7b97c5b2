// The shell does the work; certificates are made with extensions from small files.
#include "tests/services/TestFolder.h"

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace {

std::time_t mMade; // when the certificates were

constexpr const char *mPkiScript = R"sh(
for k in root other inter leaf second; do openssl genrsa -out $k.key 2048; done
openssl ecparam -name prime256v1 -genkey -noout -out ec.key
printf 'basicConstraints=critical,CA:TRUE\nkeyUsage=critical,keyCertSign,cRLSign\nsubjectKeyIdentifier=hash\n' > ca.ext
printf 'keyUsage=critical,digitalSignature\nextendedKeyUsage=codeSigning\nsubjectKeyIdentifier=hash\nauthorityKeyIdentifier=keyid\n' > leaf.ext
printf 'subjectKeyIdentifier=hash\n' > bare.ext
self() { # NAME KEY EXTENSIONS
  openssl req -new -key $2 -subj "/C=XX/O=Driver tests/CN=$1" -out $1.csr
  openssl x509 -req -in $1.csr -signkey $2 -sha256 -days 3650 -extfile $3 -out $1.pem
  openssl x509 -in $1.pem -outform DER -out $1.der
}
serial=100
issue() { # NAME KEY ISSUER EXTENSIONS DAYS OPTIONS...
  name=$1 key=$2 issuer=$3 ext=$4 days=$5; shift 5
  serial=$((serial + 1))
  openssl req -new -key $key -subj "/C=XX/O=Driver tests/CN=$name" -out $name.csr
  openssl x509 -req -in $name.csr -CA $issuer.pem -CAkey $issuer.key -set_serial $serial -days $days -extfile $ext "$@" -out $name.pem
  openssl x509 -in $name.pem -outform DER -out $name.der
}
self root root.key ca.ext
self other other.key ca.ext
self bare other.key bare.ext
issue inter inter.key root ca.ext 3650 -sha256
issue leaf leaf.key inter leaf.ext 3650 -sha256
issue second second.key root leaf.ext 3650 -sha256
issue short second.key root leaf.ext 30 -sha256
for d in md5 sha1 sha224 sha384 sha512; do issue $d leaf.key root leaf.ext 3650 -$d; done
issue pss leaf.key root leaf.ext 3650 -sha256 -sigopt rsa_padding_mode:pss
issue ec ec.key root leaf.ext 3650 -sha256
)sh";

} // namespace

TestFolder::TestFolder() {
  std::string Name = (std::filesystem::temp_directory_path() / "crypto-services-XXXXXX").string();
  if (mkdtemp(Name.data()) == nullptr) {
    throw std::runtime_error("no temporary folder");
  }
  Path_ = Name;
}

TestFolder::~TestFolder() {
  std::error_code Ignored;
  std::filesystem::remove_all(Path_, Ignored);
}

void TestFolder::Run(const std::string &Script) const {
  Write("script.sh", Bytes(Script.begin(), Script.end()));
  // Sanitizers are for this program, not for its tools.
  const std::string Command =
      "cd '" + Path_ + "' && env -u LD_PRELOAD -u ASAN_OPTIONS sh -e script.sh > log.txt 2>&1 < /dev/null";
  if (std::system(Command.c_str()) != 0) {
    const Bytes Log = Read("log.txt");
    throw std::runtime_error(Script + "\n" + std::string(Log.begin(), Log.end()));
  }
}

Bytes TestFolder::Read(const std::string &Name) const {
  std::ifstream File(std::filesystem::path(Path_) / Name, std::ios::binary);
  if (!File) {
    throw std::runtime_error(Name + " cannot be read");
  }
  return Bytes(std::istreambuf_iterator<char>(File), {});
}

void TestFolder::Write(const std::string &Name, const Bytes &Content) const {
  std::ofstream File(std::filesystem::path(Path_) / Name, std::ios::binary);
  File.write(reinterpret_cast<const char *>(Content.data()), static_cast<std::streamsize>(Content.size()));
}

const TestFolder &TestPki() {
  static const TestFolder Folder;
  static const bool Made = [] {
    Folder.Run(mPkiScript);
    mMade = std::time(nullptr);
    return true;
  }();
  (void)Made;
  return Folder;
}

void SetClock(SimulatedFirmware &Firmware, int Days) {
  TestPki();
  const std::time_t Time = mMade + std::time_t{Days} * 86400;
  const std::tm Utc = *std::gmtime(&Time);
  Firmware.RealTimeClock.Set(static_cast<UINT16>(Utc.tm_year + 1900), static_cast<UINT8>(Utc.tm_mon + 1),
                             static_cast<UINT8>(Utc.tm_mday), static_cast<UINT8>(Utc.tm_hour),
                             static_cast<UINT8>(Utc.tm_min), static_cast<UINT8>(Utc.tm_sec));
}
