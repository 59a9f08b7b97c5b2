// The commands that offer single services, beside other programs' answers; and the processors that the driver
// can be shown.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "tests/vectors/CommandTest.h"

namespace {

TEST_F(Command, SaysWhatItCannotConvertDeriveOrDraw) {
  Write("text", "not Base64!!");
  const struct {
    Words Arguments;
    int Code;
    const char *Says;
  } Rows[] = {
      {{"hmac", "sha1", "abc"}, 2, "--key-file"},
      {{"hmac", "md5", "--key-file", "abc", "abc"}, 2, "md5"},
      {{"hmac", "sha1", "--key-file", "nofile", "abc"}, 2, "nofile: No such file"},
      {{"hmac", "sha256", "--key-file", "abc", "empty"},
       1,
       "empty: SvcHmacCompute answers EFI_INVALID_PARAMETER"},
      {{"hmac", "sha256", "--key-file", "empty", "abc"}, 1, "takes no empty key"},
      {{"base64", "recode", "abc"}, 2, "recode"},
      {{"base64", "decode", "text"}, 2, "text: SvcBase64DecodeAsciiAuto answers EFI_LOAD_ERROR"},
      {{"base64", "decode", "--no-newline", "text"}, 2, "SvcBase64DecodeAscii answers EFI_LOAD_ERROR"},
      {{"base64", "encode", "empty"}, 2, "empty: empty"},
      {{"random", "0"}, 2, "COUNT"},
      {{"random", "x"}, 2, "COUNT"},
      {{"--processor", "plain", "random", "8"}, 1, "SvcRandomBytes answers FALSE"},
      {{"--processor", "plain", "random", "8", "--seed-file", "abc"}, 1, "abc: SvcRandomSeed answers FALSE"},
      {{"--processor", "old", "services"}, 2, "old"},
      {{"pbkdf2", "--iterations", "1", "--length", "1"}, 2, "--password"},
      {{"pbkdf2", "--password", "", "--iterations", "1", "--length", "1"}, 2, "password is empty"},
      {{"pbkdf2", "--password-hex", "abc", "--iterations", "1", "--length", "1"},
       2,
       "--password-hex: not whole bytes"},
      {{"pbkdf2", "--password", "p", "--salt", "s", "--salt-file", "abc", "--iterations", "1", "--length",
        "1"},
       2,
       "--salt"},
      {{"pbkdf2", "--password", "p", "--iterations", "0", "--length", "1"}, 2, "--iterations"},
  };
  for (const auto &Row : Rows) {
    const Outcome Result = Run(Row.Arguments);
    EXPECT_EQ(Result.Code, Row.Code) << Row.Says;
    EXPECT_EQ(Result.Output, "");
    ExpectOneLine(Result, Row.Says);
  }
  Write("long", std::string(100000, 'x'));
  EXPECT_EQ(Run({"base64", "encode", "long"}, "/dev/full").Code, 2);
}

TEST_F(Command, AuthenticatesLikeOpenssl) {
  Write("long", std::string(70001, 'x'));
  for (const std::string &Algorithm : {"sha1", "sha256"}) {
    for (const std::string &Key : {"abc", "long"}) {
      const Outcome Ours = Run({"hmac", Algorithm, "--key-file", Key, "long", "-"});
      std::string Expected;
      for (const std::string &Data : {"long", "abc"}) {
        const std::string KeyText = Read(Key);
        const Outcome Theirs = RunProgram({"openssl", "dgst", "-r", "-" + Algorithm, "-hmac", KeyText, Data});
        Expected += Theirs.Output.substr(0, Theirs.Output.find(' ')) + (Data == "abc" ? "  -\n" : "  long\n");
      }
      EXPECT_EQ(Ours.Output, Expected);
    }
  }
}

TEST_F(Command, ConvertsLikeOpensslAndBack) {
  std::string Data;
  for (int Index = 0; Index < 3001; Index++) {
    Data += static_cast<char>(Index * Index >> 3);
  }
  Write("data", Data);
  for (const bool UrlSafe : {false, true}) {
    for (const bool NoNewline : {false, true}) {
      std::string Expected = RunProgram({"openssl", "base64", "-in", "data"}).Output;
      if (NoNewline) {
        std::erase(Expected, '\n');
      }
      if (UrlSafe) {
        std::replace(Expected.begin(), Expected.end(), '+', '-');
        std::replace(Expected.begin(), Expected.end(), '/', '_');
      }
      Words Switches;
      if (UrlSafe) {
        Switches.push_back("--url");
      }
      if (NoNewline) {
        Switches.push_back("--no-newline");
      }
      Words Encode = {"base64", "encode", "data"};
      Encode.insert(Encode.end(), Switches.begin(), Switches.end());
      EXPECT_EQ(Run(Encode).Output, Expected);
      Write("text", Expected);
      Words Decode = {"base64", "decode", "text"};
      EXPECT_EQ(Run(Decode).Output, Data) << "the service sees by itself what text it is";
      Decode.insert(Decode.end(), Switches.begin(), Switches.end());
      EXPECT_EQ(Run(Decode).Output, Data);
    }
  }
  EXPECT_EQ(Run({"base64", "encode"}).Output, "YWJj\n") << "the standard input";
}

TEST_F(Command, DerivesKeysAndDrawsBytes) {
  // RFC 6070, the third example.
  const std::string Expected = "4b007901b765489abead49d926f721d065a429c1\n";
  const Words Rest = {"--salt", "salt", "--iterations", "4096", "--length", "20"};
  Write("password", "password");
  for (const Words &Password : {Words{"--password", "password"},
                                {"--password-hex", "70617373776F7264"},
                                {"--password-file", "password"}}) {
    Words Line = {"pbkdf2"};
    Line.insert(Line.end(), Password.begin(), Password.end());
    Line.insert(Line.end(), Rest.begin(), Rest.end());
    EXPECT_EQ(Run(Line).Output, Expected);
  }
  Write("seed", std::string(32, 's'));
  for (const std::string &Processor : {"plain", "native"}) {
    const Words Line = {"--processor", Processor, "random", "40", "--seed-file", "seed"};
    const std::string First = Run(Line).Output;
    EXPECT_EQ(First.size(), 64U + 1 + 16 + 1);
    EXPECT_NE(Run(Line).Output, First);
  }
}

// The same services with other instructions underneath.
TEST_F(Command, RunsVectorsOnEveryProcessor) {
  for (const std::string &Processor : {"native", "ssse3", "plain"}) {
    Words Line = {"--processor", Processor, "vectors"};
    for (const char *Name : {"aes", "base64", "hmac", "pbkdf2", "rsa_decrypt", "tdes"}) {
      Line.push_back(VECTOR_FOLDER "/" + std::string(Name) + ".txt");
    }
    const Outcome Result = Run(Line);
    EXPECT_EQ(Result.Code, 0) << Result.Output;
    EXPECT_NE(Result.Output.find("rfc6070/4: skipped, as it is slow"), std::string::npos);
    EXPECT_NE(Result.Output.find("\n46 passed, 0 failed, 1 skipped\n"), std::string::npos) << Result.Output;
  }
}

} // namespace
