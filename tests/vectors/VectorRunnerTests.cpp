// Running cases against the driver: right ones pass, and each way of being wrong is told.
#include <gtest/gtest.h>

#include <string>

#include "tests/support/DriverTest.h"
#include "tools/vectors/VectorRunner.h"

namespace {

const std::string mAbc = "id=abc\nslots=2,10-13\nalg=sha1\nhash_type=1\nmsg=616263\nexpect=ok\n"
                         "digest=a9993e364706816aba3e25717850c26c9cd0d89d\n";

// mAbc with one piece replaced.
std::string Abc(const std::string &Piece = "", const std::string &By = "") {
  std::string Text = mAbc;
  if (!Piece.empty()) {
    Text.replace(Text.find(Piece), Piece.size(), By);
  }
  return Text;
}

VectorResult RunText(const std::string &Text, const std::string &IdPart = "") {
  VectorOptions Options;
  Options.Session = TestedDriver();
  Options.IdPart = IdPart;
  return RunVectors(VectorFile::Parse("digest.txt", Text), Options);
}

TEST(VectorRunner, PassesAndFails) {
  const struct {
    std::string Text;
    const char *Failure;
  } Rows[] = {
      {Abc(), nullptr},
      {Abc("msg=616263", "msg=616263\nnote=for a reader"), nullptr},
      {Abc("slots=2,10-13", "slots=2"), nullptr},
      {Abc("digest=a9", "digest=a8"), "the digest streamed in pieces is a9993e36"},
      {Abc("digest=a9", "digest=a8"), "SvcHashAll's digest is a9993e36"},
      {Abc("msg=616263", "msg=61626300"), "the streamed digest is"},
      {Abc("expect=ok", "expect=ok\nexpect.2=EFI_NOT_FOUND"),
       "digest.txt:1: abc: slot 2 (SvcHashAll) answered EFI_SUCCESS, expected EFI_NOT_FOUND"},
      {Abc("msg=616263", "msg="), "slot 2 (SvcHashAll) answered EFI_INVALID_PARAMETER, expected EFI_SUCCESS"},
      {Abc("expect=ok", "expect=ok\nexpect.12=FALSE"),
       "slot 12 (SvcSha1Update) answered TRUE, expected FALSE"},
  };
  for (const auto &Row : Rows) {
    const VectorResult Result = RunText(Row.Text);
    EXPECT_EQ(Result.Passed, Row.Failure == nullptr ? 1U : 0U) << Row.Text;
    EXPECT_EQ(Result.Failed, Row.Failure == nullptr ? 0U : 1U) << Row.Text;
    if (Row.Failure != nullptr) {
      ASSERT_EQ(Result.Failures.size(), 1U) << Row.Text;
      EXPECT_NE(Result.Failures[0].find(Row.Failure), std::string::npos) << Result.Failures[0];
    }
  }
}

TEST(VectorRunner, RefusesWhatNobodyUnderstands) {
  const std::string Rows[] = {
      "# nosuch 1 cases.\n\n" + Abc(),
      Abc("msg=616263", "msg=616263\nkey=00"),
      Abc("slots=2,10-13", "slots=2,10-13,6"),
      Abc("slots=2,10-13", "slots=2,10-12"),
      Abc("slots=2,10-13", "slots=3"),
      Abc("hash_type=1", "hash_type=2"),
      Abc("alg=sha1", "alg=sha3"),
      Abc("msg=616263", "msg=616263\nrepeat=4000000000"),
  };
  for (const std::string &Text : Rows) {
    EXPECT_THROW(RunText(Text), VectorError) << Text;
  }
}

TEST(VectorRunner, GoesOnAfterAFailureAndChoosesById) {
  const std::string Two = Abc("digest=a9", "digest=a8") + "\n" + Abc("id=abc", "id=abd");
  const VectorResult Both = RunText(Two);
  EXPECT_EQ(Both.Passed, 1U);
  EXPECT_EQ(Both.Failed, 1U);
  const VectorResult One = RunText(Two, "abd");
  EXPECT_EQ(One.Passed, 1U);
  EXPECT_EQ(One.Failed, 0U);
  EXPECT_EQ(RunText(Two, "abe").Passed, 0U);
}

// Where a case of Base64 leaves the answer open, what the library has always answered is held to; a case that
// says that it is slow waits to be asked for.
TEST(VectorRunner, HoldsToTheFiltersAnswerAndSkipsWhatIsSlow) {
  const std::string Open =
      "# base64\n\nid=a\nslots=56,58\nop=decode\nurl=0\nnonl=1\ntext=51554a4451\nexpect=any\n";
  const std::string Right = "oracle_status=EFI_SUCCESS\noracle_bin=414243\n";
  EXPECT_EQ(RunText(Open + Right).Passed, 1U);
  EXPECT_EQ(RunText(Open + "oracle_status=EFI_SUCCESS\noracle_bin=414244\n").Failed, 1U);
  EXPECT_EQ(RunText(Open + "oracle_status=EFI_LOAD_ERROR\noracle_bin=\n").Failed, 1U);
  EXPECT_THROW(RunText(Open), VectorError);
  const VectorResult Slow = RunText(Open + Right + "slow=1\n");
  EXPECT_EQ(Slow.Passed + Slow.Failed, 0U);
  ASSERT_EQ(Slow.Skipped.size(), 1U);
  EXPECT_EQ(Slow.Skipped[0], "digest.txt:3: a");
  EXPECT_THROW(RunText(Open + Right + "slow=2\n"), VectorError);
}

TEST(VectorRunner, ReportsADriverThatDoesNotStart) {
  VectorOptions Options;
  Options.Session = TestedDriver();
  Options.Session.Prepare = [](DriverSession &Session) {
    Session.Firmware().Handles.InstallMultipleCalls.FailAt(1, EFI_OUT_OF_RESOURCES);
  };
  EXPECT_THROW(RunVectors(VectorFile::Parse("digest.txt", Abc()), Options), BootError);
}

} // namespace
