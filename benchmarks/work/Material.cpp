// The shell does the work.
#include "benchmarks/work/Material.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>

namespace {

std::string mFolder;

// The keys' components come out as lines of hex digits, the version first.
constexpr const char *mScript = R"sh(
for bits in 2048 4096; do
  openssl genrsa -traditional -out rsa$bits.key $bits
  openssl asn1parse -in rsa$bits.key | sed -n 's/.*INTEGER *://p' > rsa$bits.txt
  printf '%032d' 0 > digest.bin
  openssl pkeyutl -sign -inkey rsa$bits.key -pkeyopt digest:sha256 -in digest.bin -out rsa$bits.sig
  openssl pkeyutl -encrypt -inkey rsa$bits.key -in digest.bin -out rsa$bits.enc
done
head -c 16777216 /dev/zero | tr '\0' Z > data.bin
openssl rsa -in type1.key -traditional | openssl asn1parse | sed -n 's/.*INTEGER *://p' > type1.txt
for size in 1024 16384 1048576 16777216; do
  head -c $size data.bin | openssl dgst -sha256 -sign type1.key -out data$size.sig
done
openssl prime -generate -bits 2048 -hex > prime.txt

printf 'basicConstraints=critical,CA:TRUE\nkeyUsage=critical,keyCertSign\nsubjectKeyIdentifier=hash\n' > ca.ext
printf 'keyUsage=critical,digitalSignature\nextendedKeyUsage=codeSigning\nsubjectKeyIdentifier=hash\nauthorityKeyIdentifier=keyid\n' > leaf.ext
issue() { # NAME EXTENSIONS OPTIONS...
  name=$1 ext=$2; shift 2
  openssl req -new -newkey rsa:2048 -nodes -keyout $name.key -subj "/O=Benchmark/CN=$name" -out $name.csr
  [ $# != 0 ] || set -- -signkey $name.key
  openssl x509 -req -in $name.csr "$@" -sha256 -days 30 -extfile $ext -out $name.pem
  openssl x509 -in $name.pem -outform DER -out $name.der
}
issue root ca.ext
issue inter ca.ext -CA root.pem -CAkey root.key -set_serial 1
issue leaf leaf.ext -CA inter.pem -CAkey inter.key -set_serial 2
issue direct leaf.ext -CA root.pem -CAkey root.key -set_serial 3
head -c 16384 data.bin > message.bin
openssl smime -sign -binary -in message.bin -outform DER -out message.p7 -md sha256 -signer leaf.pem -inkey leaf.key -certfile inter.pem
osslsigncode sign -h sha256 -certs leaf.pem -key leaf.key -ac inter.pem -in program.efi -out signed.efi
osslsigncode extract-signature -in signed.efi -out program.p7
)sh";

Bytes FromHex(const std::string &Text) {
  const std::string Digits = (Text.size() % 2 != 0 ? "0" : "") + Text;
  Bytes Result;
  for (size_t Index = 0; Index < Digits.size(); Index += 2) {
    Result.push_back(static_cast<UINT8>(std::stoul(Digits.substr(Index, 2), nullptr, 16)));
  }
  return Result;
}

} // namespace

MaterialFolder::MaterialFolder(const std::string &ImagePath, const std::string &KeyPath) {
  std::string Name = (std::filesystem::temp_directory_path() / "crypto-services-XXXXXX").string();
  if (mkdtemp(Name.data()) == nullptr) {
    throw std::runtime_error("no temporary folder");
  }
  Path_ = Name;
  UseMaterial(Path_);
  try {
    std::filesystem::copy_file(ImagePath, Path_ + "/program.efi");
    std::filesystem::copy_file(KeyPath, Path_ + "/type1.key");
    RunOnMaterial(mScript);
  } catch (...) {
    std::filesystem::remove_all(Path_);
    throw;
  }
}

MaterialFolder::~MaterialFolder() {
  std::error_code Ignored;
  std::filesystem::remove_all(Path_, Ignored);
}

void UseMaterial(const std::string &FolderPath) {
  mFolder = FolderPath;
}

Bytes Material(const std::string &Name) {
  std::ifstream Stream(mFolder + "/" + Name, std::ios::binary);
  if (!Stream) {
    throw std::runtime_error("no test data " + Name);
  }
  return Bytes(std::istreambuf_iterator<char>(Stream), {});
}

void WriteMaterial(const std::string &Name, const Bytes &Content) {
  std::ofstream(mFolder + "/" + Name, std::ios::binary)
      .write(reinterpret_cast<const char *>(Content.data()), static_cast<std::streamsize>(Content.size()));
}

void RunOnMaterial(const std::string &Script) {
  WriteMaterial("script.sh", Bytes(Script.begin(), Script.end()));
  if (std::system(("cd '" + mFolder + "' && sh -e script.sh > log.txt 2>&1").c_str()) != 0) {
    const Bytes Log = Material("log.txt");
    throw std::runtime_error("the test data cannot be made: " + std::string(Log.begin(), Log.end()));
  }
}

std::array<Bytes, 8> RsaComponents(const std::string &Name) {
  const Bytes Text = Material(Name + ".txt");
  std::istringstream Lines(std::string(Text.begin(), Text.end()));
  std::string Line;
  std::getline(Lines, Line); // the version
  std::array<Bytes, 8> Components;
  for (Bytes &Component : Components) {
    std::getline(Lines, Line);
    Component = FromHex(Line);
  }
  return Components;
}

Bytes Reversed(const Bytes &Content) {
  return Bytes(Content.rbegin(), Content.rend());
}
