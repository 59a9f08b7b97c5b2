// The form of vector files, and what a case expects of its slots: whatever is not exactly of the form is
// refused where it stands.
#include <gtest/gtest.h>

#include <string>

#include "tools/vectors/VectorCase.h"
#include "tools/vectors/VectorFile.h"

namespace {

// What the parser says against a text; empty when it takes it.
std::string Refusal(const std::string &Text) {
  try {
    VectorFile::Parse("dir/some.txt", Text);
  } catch (const VectorError &Error) {
    return Error.what();
  }
  return "";
}

TEST(VectorFile, TakesTheForm) {
  const VectorFile File =
      VectorFile::Parse("dir/some.txt", "# digest 2 cases. More.\n# second=comment\n\nid=a/1\nmsg=\n"
                                        "text=x=y z\n\nid=a/2\nmd.10=00\n");
  EXPECT_EQ(File.Family, "digest");
  ASSERT_EQ(File.Records.size(), 2U);
  EXPECT_EQ(File.Records[0].Id, "a/1");
  EXPECT_EQ(File.Records[0].Line, 4U);
  ASSERT_EQ(File.Records[0].Fields.size(), 3U);
  EXPECT_EQ(File.Records[0].Fields[1].Value, "");
  EXPECT_EQ(File.Records[0].Fields[2].Value, "x=y z");
  EXPECT_EQ(File.Records[1].Fields[1].Key, "md.10");
  EXPECT_EQ(VectorFile::Parse("dir/some.txt", "id=a\n").Family, "some");
}

TEST(VectorFile, RefusesEverythingElse) {
  const struct {
    const char *Text;
    const char *Why;
  } Rows[] = {
      {"id=a\nmsg", "some.txt:2: the file ends inside a line"},
      {"id=a\nmsg\n", "some.txt:2: no \"=\""},
      {"id=a\n=00\n", "some.txt:2: not a key"},
      {"id=a\n msg=00\n", "some.txt:2: not a key"},
      {"id=a\nm-g=00\n", "some.txt:2: not a key"},
      {"id=a\nmsg=1\nmsg=1\n", "some.txt:3: a second \"msg\""},
      {"id=a\nid=b\n", "some.txt:2: a second \"id\""},
      {"id=a\n\nid=b\n\nid=a\n", "some.txt:5: a second case \"a\", after line 1"},
      {"id=\n", "some.txt:1: an empty id"},
      {"id=a\n\nmsg=00\n", "some.txt:3: a case without id"},
      {"id=a\n\n\nid=b\n", "some.txt:3: a second blank line"},
      {"id=a\n# late\n", "some.txt:2: a comment behind"},
      {"# one\nid=a\n\n# late\n", "some.txt:4: a comment behind"},
      {"", "some.txt: holds no cases"},
      {"# digest 0 cases.\n", "some.txt: holds no cases"},
      {"# digest 2 cases.\n\nid=a\n", "some.txt: claims 2 cases and holds 1"},
  };
  for (const auto &Row : Rows) {
    const std::string Said = Refusal(Row.Text);
    EXPECT_NE(Said.find(Row.Why), std::string::npos) << "for:\n" << Row.Text << "said: " << Said;
  }
}

TEST(VectorFile, NamesAnUnreadableFile) {
  EXPECT_THROW(VectorFile::Read("no/such/file"), VectorError);
  EXPECT_THROW(VectorFile::Read("/"), VectorError);
}

// One case with these lines behind its id.
VectorFile OneCase(const std::string &Lines) {
  return VectorFile::Parse("one.txt", "id=x\n" + Lines);
}

std::string CaseRefusal(const std::string &Lines) {
  const VectorFile File = OneCase(Lines);
  try {
    VectorCase Case(File, File.Records[0]);
  } catch (const VectorError &Error) {
    return Error.what();
  }
  return "";
}

TEST(VectorCase, CombinesExpectations) {
  const struct {
    const char *Lines;
    UINTN Slot;
    ExpectedAnswer Answer;
    EFI_STATUS Status;
  } Rows[] = {
      {"slots=2,6-9\nexpect=ok\n", 8, ExpectedAnswer::Success, EFI_SUCCESS},
      {"slots=2,6-9\nexpect=ok\nexpect.2=EFI_NOT_FOUND\n", 2, ExpectedAnswer::Refusal, EFI_NOT_FOUND},
      {"slots=2,6-9\nexpect=ok\nexpect.2=EFI_NOT_FOUND\n", 9, ExpectedAnswer::Success, EFI_SUCCESS},
      {"slots=26\nexpect=refuse\n", 26, ExpectedAnswer::Refusal, EFI_SUCCESS},
      {"slots=26\nexpect=refuse\nexpect.26=TRUE\n", 26, ExpectedAnswer::Success, EFI_SUCCESS},
      {"slots=14-17\nexpect=refuse\n", 14, ExpectedAnswer::Success, EFI_SUCCESS},
      {"slots=49\nexpect=refuse\nstatus=EFI_INVALID_PARAMETER\n", 49, ExpectedAnswer::Refusal,
       EFI_INVALID_PARAMETER},
      {"slots=2,1\nexpect=any\nexpect.1=EFI_SUCCESS\n", 1, ExpectedAnswer::Success, EFI_SUCCESS},
      {"slots=2,1\nexpect=any\n", 1, ExpectedAnswer::Any, EFI_SUCCESS},
  };
  for (const auto &Row : Rows) {
    const VectorFile File = OneCase(Row.Lines);
    VectorCase Case(File, File.Records[0]);
    EXPECT_TRUE(Case.Lists(Row.Slot));
    const SlotExpectation Expected = Case.Expectation(Row.Slot);
    EXPECT_EQ(Expected.Answer, Row.Answer) << Row.Lines;
    EXPECT_EQ(Expected.Status, Row.Status) << Row.Lines;
    EXPECT_FALSE(Case.Lists(61));
    EXPECT_THROW(Case.Expectation(61), VectorError);
  }
}

TEST(VectorCase, RefusesWhatMakesNoSense) {
  const struct {
    const char *Lines;
    const char *Why;
  } Rows[] = {
      {"slots=2\n", "no \"expect\""},
      {"expect=ok\n", "no \"slots\""},
      {"slots=2\nexpect=yes\n", "one.txt:3: x: expect: \"yes\" is none of"},
      {"slots=\nexpect=ok\n", "\"\" is no slot"},
      {"slots=62\nexpect=ok\n", "\"62\" is no slot"},
      {"slots=9-6\nexpect=ok\n", "\"9-6\" is no slot"},
      {"slots=2,\nexpect=ok\n", "\"\" is no slot"},
      {"slots=2;3\nexpect=ok\n", "\"2;3\" is no slot"},
      {"slots=6-9,8\nexpect=ok\n", "slot 8 is listed twice"},
      {"slots=26\nexpect=any\n", "nobody has settled"},
      {"slots=2\nexpect=refuse\n", "no status says how slot 2 refuses"},
      {"slots=2\nexpect=ok\nexpect.3=EFI_SUCCESS\n", "expect.3: the case does not list that slot"},
      {"slots=2\nexpect=ok\nexpect.two=EFI_SUCCESS\n", "expect.two: the case does not list that slot"},
      {"slots=2\nexpect=ok\nexpect.2=FALSE\n", "\"FALSE\" is no answer of slot 2"},
      {"slots=2\nexpect=ok\nexpect.2=EFI_NO_SUCH\n", "\"EFI_NO_SUCH\" is no answer of slot 2"},
      {"slots=26\nexpect=ok\nexpect.26=EFI_SUCCESS\n", "\"EFI_SUCCESS\" is no answer of slot 26"},
  };
  for (const auto &Row : Rows) {
    const std::string Said = CaseRefusal(Row.Lines);
    EXPECT_NE(Said.find(Row.Why), std::string::npos) << "for:\n" << Row.Lines << "said: " << Said;
  }
}

TEST(VectorCase, GivesValuesByType) {
  const VectorFile File =
      OneCase("slots=2\nexpect=ok\nhex=00ff\nodd=0\nupper=FF\nnumber=18446744073709551615\n"
              "large=18446744073709551616\nsigned=-1\nempty=\n");
  VectorCase Case(File, File.Records[0]);
  EXPECT_EQ(Case.Hex("hex"), (std::vector<UINT8>{0x00, 0xFF}));
  EXPECT_EQ(Case.Hex("empty"), std::vector<UINT8>{});
  EXPECT_EQ(Case.Number("number"), 18446744073709551615U);
  EXPECT_EQ(Case.OptionalNumber("absent"), std::nullopt);
  EXPECT_EQ(Case.OptionalText("empty"), "");
  EXPECT_EQ(Case.OptionalHex("absent"), std::nullopt);
  EXPECT_THROW(Case.Text("absent"), VectorError);
  EXPECT_THROW(Case.Hex("odd"), VectorError);
  EXPECT_THROW(Case.OptionalHex("upper"), VectorError);
  EXPECT_THROW(Case.Number("large"), VectorError);
  EXPECT_THROW(Case.Number("signed"), VectorError);
  EXPECT_THROW(Case.Number("empty"), VectorError);
}

TEST(VectorCase, RemembersWhatWasUsed) {
  const VectorFile File =
      OneCase("slots=2,6\nexpect=ok\nmsg=00\nnote=n\ninfo=i\nderived=d\nsource_says=s\noracle_bin=b\n");
  VectorCase Case(File, File.Records[0]);
  EXPECT_THROW(Case.RequireAllUsed(), VectorError);
  Case.Expectation(2);
  Case.Expectation(6);
  EXPECT_THROW(Case.RequireAllUsed(), VectorError) << "msg was not used";
  Case.Hex("msg");
  EXPECT_NO_THROW(Case.RequireAllUsed());

  VectorCase Again(File, File.Records[0]);
  Again.Hex("msg");
  Again.Expectation(2);
  EXPECT_THROW(Again.RequireAllUsed(), VectorError) << "slot 6 was not driven";
}

} // namespace
