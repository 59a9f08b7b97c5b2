// fwboot as a user meets it: exit codes, one clear line for bad input, and output that other tools
// understand.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "tests/vectors/CommandTest.h"

namespace {

TEST_F(Command, SaysInOneLineWhatIsBad) {
  Write("truncated.txt", "id=a\nslots=2");
  Write("unknown.txt", "# nosuch\n\nid=a\nslots=2\nexpect=ok\n");
  Write("key.txt", "# digest\n\nid=a\nslots=2\nalg=md5\nhash_type=5\nmsg=61\nwhat=1\nexpect=ok\n"
                   "digest=0cc175b9c0f1b6a831c399e269772661\n");
  Write("twice", "block = 1\nblock = 1\n");
  Write("large", "block = 0x10000000000000000\n");
  const struct {
    Words Arguments;
    const char *Says;
  } Rows[] = {
      {{"bogus"}, "bogus"},
      {{"--bogus"}, "--bogus"},
      {{"hash"}, "ALGORITHM"},
      {{"hash", "sha1"}, "FILE"},
      {{"hash", "sha3", "abc"}, "sha3"},
      {{"hash", "sha1", "nofile"}, "nofile: No such file"},
      {{"hash", "sha1", "."}, ".: Is a directory"},
      {{"hash", "sha1", "no\nfile"}, "no?file: No such file"},
      {{"boot", "--violation", "x"}, "--violation: x is not"},
      {{"boot", "--violation", "1,99999999999"}, "--violation: 1,99999999999 is not"},
      {{"boot", "--smm-violation", "1,0," + std::string(97, 'n')}, "at most 96 bytes"},
      {{"boot", "--report", "1x,data"}, "--report: 1x,data is not"},
      {{"boot", "--display", "later"}, "--display: later is none of"},
      {{"boot", "--revision", "new"}, "--revision"},
      {{"screen", "--reason", "x"}, "--reason"},
      {{"screen", "--module", std::string(97, 'n')}, "at most 96 bytes"},
      {{"screen", "--all", "pictures", "--lang", "de"}, "--all"},
      {{"screen", "--all", "abc"}, "abc"},
      {{"services", "extra"}, "extra"},
      {{"verify-data", "--signature", "abc", "abc"}, "--key-type"},
      {{"verify-data", "--key-type", "1", "--modulus", "abc", "--signature", "abc", "abc"}, "--modulus"},
      {{"verify-data", "--key-type", "1", "abc"}, "--signature"},
      {{"verify-data", "--key-type", "1", "--signature", "abc", "empty"}, "empty: empty"},
      {{"verify-data", "--key-type", "1", "--signature", "nofile", "abc"}, "nofile: No such file"},
      {{"verify-image", "abc"}, "--layout"},
      {{"verify-image", "abc", "--layout", "empty"}, "empty: no \"block = OFFSET\""},
      {{"verify-image", "abc", "--layout", "abc"}, "abc:1: not"},
      {{"verify-image", "abc", "--layout", "twice"}, "twice:2: \"block\" comes twice"},
      {{"verify-image", "abc", "--layout", "large"}, "large:1: \"0x10000000000000000\" is no"},
      {{"vectors"}, "FILE"},
      {{"vectors", "nofile"}, "nofile: cannot be read"},
      {{"vectors", "truncated.txt"}, "truncated.txt:2: the file ends"},
      {{"vectors", VECTOR_FOLDER "/digest.txt", "unknown.txt"}, "unknown family \"nosuch\""},
      {{"vectors", "key.txt"}, "key.txt:8: a: nothing uses the key \"what\""},
      {{"vectors", "--id", "zzz", VECTOR_FOLDER "/digest.txt"}, "zzz"},
  };
  for (const auto &Row : Rows) {
    const Outcome Result = Run(Row.Arguments);
    EXPECT_EQ(Result.Code, 2) << Row.Says;
    EXPECT_EQ(Result.Output, "");
    ExpectOneLine(Result, Row.Says);
  }
  for (const char *Path : {"nofile", "abc", "empty", "."}) {
    const Outcome Result = RunProgram({FWBOOT_PATH, "--image", Path, "services"});
    EXPECT_EQ(Result.Code, 2);
    ExpectOneLine(Result, Path);
  }
  const Outcome Full = Run({"services"}, "/dev/full");
  EXPECT_EQ(Full.Code, 2);
  ExpectOneLine(Full, "written");
}

TEST_F(Command, HashesLikeTheSumTools) {
  Write("back\\slash", "1");
  Write("new\nline", "2");
  Write("carriage\rreturn", "3");
  Write("long", std::string((3 << 20) + 17, 'x'));
  for (const std::string &Algorithm : {"sha1", "sha256", "md5"}) {
    Words Names = {"abc", "back\\slash", "new\nline", "carriage\rreturn", "long", "-"};
    if (Algorithm != "md5") {
      Names.push_back("empty");
    }
    Words Ours = {"hash", Algorithm};
    Words Theirs = {Algorithm + "sum", "--"};
    Ours.insert(Ours.end(), Names.begin(), Names.end());
    Theirs.insert(Theirs.end(), Names.begin(), Names.end());
    const Outcome Expected = RunProgram(Theirs);
    const Outcome Result = Run(Ours);
    ASSERT_EQ(Expected.Code, 0) << Expected.Errors;
    EXPECT_EQ(Result.Code, 0);
    EXPECT_EQ(Result.Output, Expected.Output);
    EXPECT_EQ(Result.Errors, "");
  }
}

TEST_F(Command, TellsThatNoEmptyMessageHasAnMd5) {
  const Outcome Result = Run({"hash", "md5", "empty", "abc"});
  EXPECT_EQ(Result.Code, 1);
  ExpectOneLine(Result, "empty: SvcHashAll answers EFI_INVALID_PARAMETER");
  EXPECT_EQ(Result.Output, "900150983cd24fb0d6963f7d28e17f72  abc\n");
}

TEST_F(Command, RunsVectorsAndCounts) {
  const Outcome Right = Run({"vectors", "--id", "rfc1321", VECTOR_FOLDER "/digest.txt"});
  EXPECT_EQ(Right.Code, 0);
  EXPECT_EQ(Right.Output, "7 passed, 0 failed\n");
  Write("wrong.txt", "# digest\n\nid=a\nslots=2\nalg=md5\nhash_type=5\nmsg=62\nexpect=ok\n"
                     "digest=0cc175b9c0f1b6a831c399e269772661\n");
  const Outcome Wrong = Run({"vectors", "wrong.txt", VECTOR_FOLDER "/digest.txt"});
  EXPECT_EQ(Wrong.Code, 1);
  EXPECT_EQ(Wrong.Output.find("wrong.txt:3: a: SvcHashAll's digest is 92eb5ffee6ae2fec3ad71c777531578f"), 0U);
  EXPECT_NE(Wrong.Output.find("\n16 passed, 1 failed\n"), std::string::npos) << Wrong.Output;
}

TEST_F(Command, ShowsBootAndServices) {
  const Outcome Boot = Run({"boot"});
  EXPECT_EQ(Boot.Code, 0) << Boot.Errors;
  const size_t Located = Boot.Output.find("LocateProtocol EFI_HII_STRING_PROTOCOL: EFI_SUCCESS");
  const size_t Installed =
      Boot.Output.find("InstallMultipleProtocolInterfaces CRYPTO_SERVICES_PROTOCOL: EFI_SUCCESS");
  EXPECT_LT(Located, Installed);
  EXPECT_NE(Installed, std::string::npos);
  EXPECT_NE(Boot.Output.find("The driver started: EFI_SUCCESS"), std::string::npos);
  const Outcome Services = Run({"services"});
  EXPECT_EQ(Services.Code, 0);
  EXPECT_EQ(std::count(Services.Output.begin(), Services.Output.end(), '\n'), CRYPTO_SERVICES_SLOT_COUNT);
  EXPECT_NE(Services.Output.find("\n 8  0x040  SvcSha256Update                   BOOLEAN     digests\n"),
            std::string::npos);
}

TEST_F(Command, TellsTheRoadOfAPolicyBoot) {
  const struct {
    Words Arguments;
    int Code;
    // In this order in the output.
    Words Says;
  } Rows[] = {
      {{"--lang", "fr-CA", "--violation", "2,0,ABC"},
       3,
       {"for HaltAtReadyToBoot", "Échec de l'autorisation du module", "│ ABC ",
        "\nstart-up, in HaltForever: halted\n"}},
      {{"--violation", "2", "--display", "never"},
       3,
       {"for ShowViolationScreen", "-- ready to boot --", "notification at TPL_CALLBACK: HaltAtReadyToBoot",
        "\nready to boot, in HaltForever: halted\n"}},
      {{"--violation", "2", "--revision", "0x1FFFF"}, 3, {"\nstart-up, in HaltForever: halted\n"}},
      {{"--smm-violation", "5,2,Mod", "--display", "after-rtb", "--dialog", "off"},
       3,
       {"message: fetch at TPL_NOTIFY: EFI_SECURITY_VIOLATION, reason 5, kind 2, module \"Mod\"",
        "-- the display is ready --", "notification at TPL_CALLBACK: ShowViolationScreen",
        "\nthe display is ready, in HaltForever: halted\n"}},
      {{"--report", "1,a,b", "--report", "-1", "--channel", "before-rtb"},
       0,
       {"SvcReportPolicyEvent 1 \"a,b\": EFI_SUCCESS", "SvcReportPolicyEvent -1 \"\": EFI_SECURITY_VIOLATION",
        "-- the channel is ready --", "notification at TPL_CALLBACK: DeferredPolicyEventNotify",
        "message: event 1 \"a,b\" at TPL_CALLBACK: EFI_SUCCESS",
        "message: fetch at TPL_NOTIFY: EFI_NOT_FOUND", "\nready to boot: the boot goes on\n"}},
      {{"--report", "2,bad\x1b", "--handler", "records"},
       3,
       {"SvcReportPolicyEvent 2 \"bad?\": EFI_SECURITY_VIOLATION",
        "\nready to boot, in HaltForever: halted\n"}},
  };
  for (const auto &Row : Rows) {
    Words Arguments = {"boot"};
    Arguments.insert(Arguments.end(), Row.Arguments.begin(), Row.Arguments.end());
    const Outcome Result = Run(Arguments);
    EXPECT_EQ(Result.Code, Row.Code);
    EXPECT_EQ(Result.Errors, "");
    size_t Place = 0;
    for (const std::string &Part : Row.Says) {
      Place = Result.Output.find(Part, Place);
      ASSERT_NE(Place, std::string::npos) << "wanted " << Part << " in\n" << Result.Output;
    }
  }
}

TEST_F(Command, ShowsAndDrawsTheScreen) {
  const Outcome Japanese = Run({"screen", "--lang", "ja-JP", "--reason", "5", "--module", "Test.efi"});
  EXPECT_EQ(Japanese.Code, 0) << Japanese.Errors;
  EXPECT_EQ(Japanese.Output, R"(┌───────────────────────────────────────────────────────────────────────────┐
│                        モジュール アクセス権エラー                        │
├───────────────────────────────────────────────────────────────────────────┤
│ セキュリティ ポリシーに違反して以下のモジュールをロードしようとしました。 │
│ システムをブートすることはできません。                                    │
│ 本稼動のセキュリティ ポリシーに適合していません。                         │
│ Test.efi                                                                  │
└───────────────────────────────────────────────────────────────────────────┘
)");
  const Outcome English = Run({"screen", "--module", "a\x07", "--png", "screen.png"});
  EXPECT_EQ(English.Code, 2) << "a control character has no glyph";
  ExpectOneLine(English, "no glyph for U+0007");
  EXPECT_NE(English.Output.find("│ a\uFFFD "), std::string::npos) << English.Output;

  const std::string Longest(96, 'W');
  ASSERT_EQ(Run({"screen", "--lang", "it", "--module", Longest, "--png", "screen.png"}).Code, 0);
  const std::string Png = Read("screen.png");
  // Signature, then the width and the height in the header chunk.
  ASSERT_GT(Png.size(), 1000U);
  EXPECT_EQ(Png.substr(0, 8), "\x89PNG\r\n\x1a\n");
  EXPECT_EQ(Png.substr(16, 8), std::string("\0\0\x03\x84\0\0\x01\x4A", 8));
  const Outcome Nowhere = Run({"screen", "--png", "none/screen.png"});
  EXPECT_EQ(Nowhere.Code, 2);
  ExpectOneLine(Nowhere, "none/screen.png");
}

TEST_F(Command, DrawsEveryScreen) {
  const Outcome All = Run({"screen", "--all", "pictures"});
  EXPECT_EQ(All.Code, 0) << All.Errors;
  EXPECT_NE(All.Output.find("56 screens drawn, and contact-sheet.png\n"), std::string::npos);
  size_t Files = 0;
  for (const fs::directory_entry &Entry : fs::directory_iterator(Folder / "pictures")) {
    Files += Entry.file_size() > 1000 ? 1 : 0;
  }
  EXPECT_EQ(Files, 57U);
}

TEST_F(Command, ListsTheBuiltinKeysAndWarnsOfDevelopmentKeys) {
  const Outcome Keys = Run({"keys"});
  EXPECT_EQ(Keys.Code, 0) << Keys.Errors;
  const std::string Boot = Run({"boot"}).Output;
  EXPECT_EQ(Boot.find("warning: built-in keys 1, 3, 4 are development keys"), 0U) << Boot;
  for (const char *Type : {"1", "3", "4"}) {
    const std::string Name = "type" + std::string(Type) + ".pem";
    RunProgram(
        {"openssl", "pkey", "-pubin", "-in", SOURCE_PATH "/keys/" + Name, "-outform", "DER", "-out", "der"});
    const std::string Fingerprint = RunProgram({"sha256sum", "der"}).Output.substr(0, 64);
    EXPECT_NE(
        Keys.Output.find("type " + std::string(Type) + "  SHA-256 " + Fingerprint + "  development key\n"),
        std::string::npos)
        << Keys.Output;
  }
}

// The data are signed by the openssl command, which writes the most significant byte first.
TEST_F(Command, VerifiesDataSignedByAnother) {
  Write("part1", "hello ");
  Write("part2", "firmware");
  Write("whole", "hello firmware");
  Write("changed", "hello firmwarf");
  const std::string Private = SOURCE_PATH "/tests/keys/type4-private.pem";
  for (const char *Hash : {"sha1", "sha256"}) {
    ASSERT_EQ(
        RunProgram({"openssl", "dgst", "-" + std::string(Hash), "-sign", Private, "-out", "sig", "whole"})
            .Code,
        0);
    ASSERT_EQ(RunProgram({"openssl", "rsa", "-in", Private, "-noout", "-modulus"}, "modulus").Code, 0);
    const Words Builtin = {"verify-data", "--key-type", "4", "--signature", "sig", "--hash", Hash};
    const Words Modulus = {"verify-data", "--modulus", "modulus", "--signature", "sig", "--hash", Hash};
    for (const Words &Way : {Builtin, Modulus}) {
      const struct {
        Words More;
        int Code;
      } Rows[] = {{{"--big-endian", "whole"}, 0},
                  {{"--big-endian", "part1", "part2"}, 0},
                  {{"--big-endian", "part2", "part1"}, 1},
                  {{"--big-endian", "changed"}, 1},
                  {{"whole"}, 1}};
      for (const auto &Row : Rows) {
        Words Line = Way;
        Line.insert(Line.end(), Row.More.begin(), Row.More.end());
        const Outcome Ended = Run(Line);
        EXPECT_EQ(Ended.Code, Row.Code) << Ended.Output << Ended.Errors;
        EXPECT_EQ(Ended.Output.find("The signature holds") != std::string::npos, Row.Code == 0)
            << Ended.Output;
      }
    }
  }
}

TEST_F(Command, ShowsWhatHappensToAFirmwareImage) {
  Write("image", std::string(4000, 'i'));
  Write("layout", "exclude1 = 16 8 # small\nexclude2 = 0x20 8\nexclude3 = 3999 1\nblock = 0x10\n");
  const Outcome Kept = Run({"verify-image", "image", "--layout", "layout", "--preserve"});
  EXPECT_EQ(Kept.Code, 1);
  EXPECT_NE(Kept.Output.find("SvcVerifyFirmwareImage: EFI_SECURITY_VIOLATION"), std::string::npos);
  EXPECT_NE(Kept.Output.find("excluded region 2  0x20, 8 bytes: blanked, holds its old bytes"),
            std::string::npos)
      << Kept.Output;
  EXPECT_NE(Kept.Output.find("signature          0x588, 256 bytes: blanked, holds"), std::string::npos);
  EXPECT_NE(Kept.Output.find("byte for byte what it was"), std::string::npos);
  const Outcome Blank = Run({"verify-image", "image", "--layout", "layout"});
  EXPECT_NE(Blank.Output.find("excluded region 3  0xf9f, 1 byte: blanked, left blank"), std::string::npos)
      << Blank.Output;
  EXPECT_NE(Blank.Output.find("The buffer has 17 bytes"), std::string::npos);
  Write("layout", "block = 2345\n");
  EXPECT_NE(Run({"verify-image", "image", "--layout", "layout"}).Output.find("EFI_INVALID_PARAMETER"),
            std::string::npos);
}

TEST_F(Command, DemonstratesWithoutADifference) {
  const Outcome Result = Run({});
  EXPECT_EQ(Result.Code, 0) << Result.Errors;
  EXPECT_EQ(Result.Errors, "");
  EXPECT_EQ(Result.Output.find("DIFFERENT"), std::string::npos);
  size_t Equal = 0;
  for (size_t At = 0; (At = Result.Output.find("  equal\n", At)) != std::string::npos; ++At) {
    ++Equal;
  }
  EXPECT_EQ(Equal, 3U) << Result.Output;
}

} // namespace
