// The step of the build that turns public keys into the store's constants: what it refuses, in one line.
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <regex>

#include <unistd.h>

namespace {

namespace fs = std::filesystem;

const fs::path mSource = SOURCE_PATH;

struct Outcome {
  int Status;
  std::string Text;
};

Outcome RunCommand(const std::string &Command) {
  std::string Text;
  FILE *Pipe = popen((Command + " 2>&1").c_str(), "r");
  std::array<char, 4096> Part;
  while (fgets(Part.data(), Part.size(), Pipe) != nullptr) {
    Text += Part.data();
  }
  return {pclose(Pipe), Text};
}

class BuiltinKeyProvisioningTest : public testing::Test {
protected:
  void SetUp() override {
    fs::create_directories(Folder);
    for (const char *Type : {"1", "3", "4"}) {
      fs::copy_file(mSource / "keys" / ("type" + std::string(Type) + ".pem"), Key(Type));
    }
  }
  void TearDown() override { fs::remove_all(Folder); }

  fs::path Key(const std::string &Type) { return Folder / ("type" + Type + ".pem"); }
  Outcome Provision(const std::string &Refused = "") {
    return RunCommand((mSource / "cmake" / "builtin-moduli.sh").string() + " " + Header.string() + " " +
                      Folder.string() + " " + Refused);
  }
  void Make(const std::string &Type, const std::string &How) {
    const Outcome Made = RunCommand("openssl " + How + " | openssl pkey -pubout -out " + Key(Type).string());
    ASSERT_EQ(Made.Status, 0) << Made.Text;
  }

  // One line that says which key and why, and nothing written.
  void ExpectRefused(const Outcome &Ended, const std::string &Pattern) {
    EXPECT_NE(Ended.Status, 0);
    EXPECT_TRUE(std::regex_match(Ended.Text, std::regex("built-in keys: [^\n]*" + Pattern + "\n")))
        << Ended.Text;
    EXPECT_FALSE(fs::exists(Header));
  }

  const fs::path Folder = fs::path(testing::TempDir()) / ("keys-" + std::to_string(getpid()));
  const fs::path Header = Folder / "Moduli.h";
};

TEST_F(BuiltinKeyProvisioningTest, TakesThreeDistinctKeys) {
  const Outcome Ended = Provision();
  EXPECT_EQ(Ended.Status, 0) << Ended.Text;
  EXPECT_EQ(Ended.Text, "");
  EXPECT_TRUE(fs::exists(Header));
}

TEST_F(BuiltinKeyProvisioningTest, RefusesWhatIsNoSuchKey) {
  const struct {
    const char *How;
    const char *Why;
  } Rows[] = {{"genrsa 1024", "type3.pem has 1024 bits, not 2048"},
              {"genrsa 2056", "type3.pem has 2056 bits, not 2048"},
              {"genrsa -3 2048", "type3.pem has another exponent than 65537"},
              {"genpkey -algorithm RSA-PSS -pkeyopt rsa_keygen_bits:2048", "type3.pem is not an RSA key"},
              {"ecparam -name prime256v1 -genkey -noout", "type3.pem is not an RSA key"}};
  for (const auto &Row : Rows) {
    Make("3", std::string(Row.How) + " 2> /dev/null");
    ExpectRefused(Provision(), Row.Why);
  }
  fs::copy_file(mSource / "tests/keys/type3-private.pem", Key("3"), fs::copy_options::overwrite_existing);
  ExpectRefused(Provision(), "type3.pem is not a public key in PEM form");
  std::ofstream(Key("3")) << "nothing of the kind\n";
  ExpectRefused(Provision(), "type3.pem is not a public key in PEM form");
  fs::remove(Key("3"));
  ExpectRefused(Provision(), "type3.pem is missing");
  fs::copy_file(Key("1"), Key("3"));
  ExpectRefused(Provision(), "type3.pem is the same key as .*type1.pem");
}

TEST_F(BuiltinKeyProvisioningTest, AReleaseRefusesEachDevelopmentKey) {
  const std::string List = (mSource / "keys/development-keys.txt").string();
  EXPECT_EQ(Provision().Status, 0) << "development keys are the default elsewhere";
  fs::remove(Header);
  ExpectRefused(Provision(List), "type1.pem is a development key.*");
  for (const char *Type : {"1", "3", "4"}) {
    Make(Type, "genrsa 2048 2> /dev/null");
  }
  for (const char *Type : {"1", "3", "4"}) {
    const fs::path Own = Folder / "own.pem";
    fs::rename(Key(Type), Own);
    fs::copy_file(mSource / "keys" / Key(Type).filename(), Key(Type));
    ExpectRefused(Provision(List), "type" + std::string(Type) + ".pem is a development key.*");
    fs::remove(Key(Type));
    fs::rename(Own, Key(Type));
  }
  EXPECT_EQ(Provision(List).Status, 0) << "keys of one's own are taken";
}

} // namespace
