// docs/services.md against the public header: the same slots under the same numbers, in the same order, with
// the same arguments, no name that the interface does not know, and an example per family that compiles as
// C11.
#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

std::string ReadText(const char *Path) {
  std::ifstream Stream(fs::path(SOURCE_ROOT) / Path);
  std::ostringstream Text;
  Text << Stream.rdbuf();
  EXPECT_GT(Text.str().size(), 10000U) << Path;
  return Text.str();
}

std::vector<std::string> Lines(const std::string &Text) {
  std::istringstream Stream(Text);
  std::vector<std::string> Result;
  for (std::string Line; std::getline(Stream, Line);) {
    Result.push_back(Line);
  }
  return Result;
}

// One blank between words and none beside punctuation.
std::string Normalized(const std::string &Declaration) {
  const std::string OneLine = std::regex_replace(Declaration, std::regex("\\s+"), " ");
  return std::regex_replace(OneLine, std::regex(" ?([*(),]) ?"), "$1");
}

// "2: EFI_STATUS SvcHashAll(...)", row by row of the interface structure.
std::vector<std::string> HeaderSlots(const std::string &Header) {
  std::string Code;
  for (const std::string &Line : Lines(Header)) {
    Code += Line.substr(0, Line.find("//")) + " ";
  }
  const std::regex Type(R"((?:.* )?typedef (\w+\*?)\(EFIAPI\*(\w+)\)\((.*)\))");
  const std::regex Member(R"((?:.*\{ ?)?(CRYPTO_SERVICES_\w+) (Svc\w+))");
  std::map<std::string, std::pair<std::string, std::string>> Types;
  std::vector<std::string> Slots;
  std::istringstream Statements(Code);
  std::smatch Match;
  for (std::string Statement; std::getline(Statements, Statement, ';');) {
    Statement = std::regex_replace(Normalized(Statement), std::regex("^ | $"), "");
    if (std::regex_match(Statement, Match, Type)) {
      Types[Match[2]] = {Match[1], Match[3]};
    } else if (std::regex_match(Statement, Match, Member)) {
      const auto &[Result, Arguments] = Types.at(Match[1]);
      Slots.push_back(std::to_string(Slots.size()) + ": " +
                      Normalized(Result + " " + Match[2].str() + "(" + Arguments + ")"));
    }
  }
  return Slots;
}

// The same out of the document: a heading with number and name, the declaration behind it, and then some
// text.
std::vector<std::string> DocumentSlots(const std::string &Document) {
  const std::regex Heading("^### Slot (\\d+): (Svc\\w+)$");
  std::vector<std::string> Slots;
  const std::vector<std::string> All = Lines(Document);
  std::smatch Match;
  for (size_t Line = 0; Line < All.size(); Line++) {
    if (!std::regex_match(All[Line], Match, Heading)) {
      continue;
    }
    std::string Declaration;
    size_t Next = Line + 2;
    for (; Next < All.size() && All[Next].rfind("    ", 0) == 0; Next++) {
      Declaration += All[Next].substr(4) + " ";
    }
    Declaration = std::regex_replace(Normalized(Declaration), std::regex(" $"), "");
    const bool Named = Declaration.find(Match[2].str() + "(") != std::string::npos;
    const bool Described = Next + 1 < All.size() && !All[Next + 1].empty() && All[Next + 1][0] != '#';
    Slots.push_back(Match[1].str() + ": " + (Named ? "" : "under another heading: ") + Declaration +
                    (Described ? "" : " without a description"));
  }
  return Slots;
}

std::set<std::string> InterfaceNames(const std::string &Text) {
  const std::regex Name(R"(\b(Svc|EFI_|CRYPTO_SERVICES_|HASH_TYPE|RsaKey)\w+)");
  std::set<std::string> Names;
  for (std::sregex_iterator Word(Text.begin(), Text.end(), Name), End; Word != End; ++Word) {
    Names.insert(Word->str());
  }
  return Names;
}

std::vector<std::string> Differences(const std::string &Header, const std::string &Document) {
  std::vector<std::string> Found;
  const std::vector<std::string> Declared = HeaderSlots(Header);
  const std::vector<std::string> Told = DocumentSlots(Document);
  for (size_t Row = 0; Row < std::max(Declared.size(), Told.size()); Row++) {
    const std::string Expected = Row < Declared.size() ? Declared[Row] : "no further slot";
    const std::string Actual = Row < Told.size() ? Told[Row] : "no further slot";
    if (Expected != Actual) {
      Found.push_back("declared as " + Expected + ", told as " + Actual);
    }
  }
  const std::set<std::string> Known = InterfaceNames(Header);
  for (const std::string &Name : InterfaceNames(Document)) {
    if (Known.count(Name) == 0) {
      Found.push_back("no such name: " + Name);
    }
  }
  bool Example = true;
  for (const std::string &Line : Lines(Document)) {
    if (Line.rfind("## ", 0) == 0) {
      if (!Example) {
        Found.push_back("no example before: " + Line);
      }
      Example = Line.rfind("## Slots", 0) != 0;
    }
    Example = Example || Line == "```c";
  }
  return Found;
}

// What the compiler says about all examples together, with the document's line numbers; empty when it is
// content.
std::string CompileExamples(const std::string &Document) {
  std::string Source = "#include \"CryptoServicesProtocol.h\"\n";
  unsigned Number = 0;
  bool Inside = false;
  for (const std::string &Line : Lines(Document)) {
    Number++;
    if (Line.rfind("```", 0) == 0) {
      Inside = Line == "```c";
      Source += Inside ? "#line " + std::to_string(Number + 1) + " \"docs/services.md\"\n" : "";
    } else if (Inside) {
      Source += Line + "\n";
    }
  }
  const fs::path Path = fs::path(testing::TempDir()) / ("examples-" + std::to_string(getpid()) + ".c");
  std::ofstream(Path) << Source;
  const std::string Command = "'" C_COMPILER
                              "' -std=c11 -fsyntax-only -Wall -Wextra -Wpedantic -Werror -I '" SOURCE_ROOT
                              "/include' '" +
                              Path.string() + "' 2>&1";
  std::unique_ptr<FILE, int (*)(FILE *)> Pipe(popen(Command.c_str(), "r"), pclose);
  std::string Output;
  for (int Byte; Pipe && (Byte = fgetc(Pipe.get())) != EOF;) {
    Output += static_cast<char>(Byte);
  }
  if (!Pipe || pclose(Pipe.release()) != 0) {
    Output += "the compiler refuses the examples";
  }
  fs::remove(Path);
  return Output;
}

TEST(ServiceDocument, TellsEverySlotAsTheHeaderDeclaresIt) {
  const std::string Header = ReadText("include/CryptoServicesProtocol.h");
  EXPECT_EQ(HeaderSlots(Header).size(), 62U);
  EXPECT_EQ(Differences(Header, ReadText("docs/services.md")), std::vector<std::string>());
}

TEST(ServiceDocument, ExamplesCompile) {
  EXPECT_EQ(CompileExamples(ReadText("docs/services.md")), "");
}

// The checks above find what they are for.
TEST(ServiceDocument, DriftIsFound) {
  const std::string Header = ReadText("include/CryptoServicesProtocol.h");
  const std::string Document = ReadText("docs/services.md");
  const struct {
    const char *Text;
    const char *By;
  } Rows[] = {
      {"### Slot 7: SvcSha256Init", "### Slot 8: SvcSha256Init"},
      {"### Slot 7: SvcSha256Init", "### Slot 7: SvcSha1Init"},
      {"### Slot 61: SvcRsaPrivateDecrypt", "### The last slot"},
      {"### Slot 6: ", "### Slot 6: SvcSha256GetContextSize\n\n    UINTN "
                       "SvcSha256GetContextSize(VOID)\n\nTwice.\n\n### Slot 6: "},
      {"BOOLEAN SvcSha256Final(VOID *Context, UINT8 *Digest)",
       "BOOLEAN SvcSha256Final(VOID *Context, UINT8 Digest)"},
      {"BOOLEAN SvcSha256Final(VOID *Context, UINT8 *Digest)",
       "BOOLEAN SvcSha256Final(UINT8 *Digest, VOID *Context)"},
      {"BOOLEAN SvcSha256Final(VOID *Context, UINT8 *Digest)",
       "EFI_STATUS SvcSha256Final(VOID *Context, UINT8 *Digest)"},
      {"As slot 7.\n", ""},
      {"`EFI_NOT_STARTED`", "`EFI_NEVER_STARTED`"},
  };
  for (const auto &Row : Rows) {
    std::string Changed = Document;
    ASSERT_NE(Changed.find(Row.Text), std::string::npos) << Row.Text;
    Changed.replace(Changed.find(Row.Text), std::string(Row.Text).size(), Row.By);
    EXPECT_NE(Differences(Header, Changed), std::vector<std::string>()) << Row.Text << " -> " << Row.By;
  }
  EXPECT_NE(Differences(Header, std::regex_replace(Document, std::regex("```c"), "```")),
            std::vector<std::string>());
  std::string Wrong = Document;
  Wrong.replace(Wrong.find("Crypto->SvcAesInit(Context, Key, 256)"), 37,
                "Crypto->SvcAesInit(Context, Key, Key)");
  EXPECT_NE(CompileExamples(Wrong), "");
}

} // namespace
