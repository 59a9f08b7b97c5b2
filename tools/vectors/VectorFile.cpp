// One pass over the lines; whatever is not exactly of the form is refused with its place.
#include "tools/vectors/VectorFile.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <sstream>
#include <string_view>
#include <utility>

namespace {

bool IsKeyCharacter(char Character) {
  return (Character >= 'a' && Character <= 'z') || (Character >= 'A' && Character <= 'Z') ||
         (Character >= '0' && Character <= '9') || Character == '_' || Character == '.';
}

std::string BaseName(const std::string &Path) {
  const std::string Name = Path.substr(Path.find_last_of('/') + 1);
  return Name.substr(0, Name.find_last_of('.'));
}

class Parser {
public:
  Parser(const std::string &Name, const std::string &Text) : Text_(Text) {
    File_.Name = Name;
    File_.Family = BaseName(Name);
  }

  VectorFile Run() {
    for (size_t Begin = 0; Begin < Text_.size();) {
      const size_t End = Text_.find('\n', Begin);
      ++Line_;
      if (End == std::string::npos) {
        Refuse("the file ends inside a line");
      }
      Take(std::string_view(Text_).substr(Begin, End - Begin));
      Begin = End + 1;
    }
    EndCase();
    if (File_.Records.empty()) {
      throw VectorError(File_.Name, "holds no cases");
    }
    if (Claimed_ != 0 && Claimed_ != File_.Records.size()) {
      throw VectorError(File_.Name, "claims " + std::to_string(Claimed_) + " cases and holds " +
                                        std::to_string(File_.Records.size()));
    }
    return std::move(File_);
  }

private:
  [[noreturn]] void Refuse(const std::string &Reason) const { throw VectorError(File_.Name, Line_, Reason); }

  void Take(std::string_view Line) {
    if (Line.empty()) {
      TakeBlank();
    } else if (Line[0] == '#') {
      TakeComment(Line.substr(1));
    } else {
      TakeField(Line);
    }
  }

  void TakeBlank() {
    if (Blank_) {
      Refuse("a second blank line");
    }
    Blank_ = true;
    EndCase();
  }

  void TakeComment(std::string_view Comment) {
    if (InCases_) {
      Refuse("a comment behind the top of the file");
    }
    if (std::exchange(Commented_, true)) {
      return;
    }
    std::istringstream Words{std::string(Comment)};
    std::string Family, Unit;
    UINTN Count = 0;
    if (Words >> Family) {
      File_.Family = Family;
      if (Words >> Count >> Unit && Unit.starts_with("case")) {
        Claimed_ = Count;
      }
    }
  }

  void TakeField(std::string_view Line) {
    const size_t Equals = Line.find('=');
    if (Equals == std::string_view::npos) {
      Refuse("no \"=\" in the line");
    }
    const std::string Key(Line.substr(0, Equals));
    if (Key.empty() || !std::all_of(Key.begin(), Key.end(), IsKeyCharacter)) {
      Refuse("not a key before the \"=\"");
    }
    if (InCases_ && !InCase_ && !Blank_) {
      Refuse("no blank line before the case");
    }
    if (!InCase_) {
      File_.Records.push_back({{}, Line_, {}});
    }
    InCases_ = InCase_ = true;
    Blank_ = false;
    VectorRecord &Record = File_.Records.back();
    for (const VectorField &Earlier : Record.Fields) {
      if (Earlier.Key == Key) {
        Refuse("a second \"" + Key + "\" in the case, after line " + std::to_string(Earlier.Line));
      }
    }
    Record.Fields.push_back({Key, std::string(Line.substr(Equals + 1)), Line_});
    if (Key == "id") {
      TakeId(Record);
    }
  }

  void TakeId(VectorRecord &Record) {
    Record.Id = Record.Fields.back().Value;
    if (Record.Id.empty()) {
      Refuse("an empty id");
    }
    const auto [Known, New] = Ids_.emplace(Record.Id, Line_);
    if (!New) {
      Refuse("a second case \"" + Record.Id + "\", after line " + std::to_string(Known->second));
    }
  }

  void EndCase() {
    if (InCase_ && File_.Records.back().Id.empty()) {
      throw VectorError(File_.Name, File_.Records.back().Line, "a case without id");
    }
    InCase_ = false;
  }

  const std::string &Text_;
  VectorFile File_;
  std::map<std::string, UINTN> Ids_;
  UINTN Line_ = 0;
  UINTN Claimed_ = 0;
  bool Commented_ = false;
  bool InCases_ = false;
  bool InCase_ = false;
  bool Blank_ = false;
};

} // namespace

VectorFile VectorFile::Parse(const std::string &Name, const std::string &Text) {
  return Parser(Name, Text).Run();
}

VectorFile VectorFile::Read(const std::string &Path) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE *)> Stream(std::fopen(Path.c_str(), "rb"), std::fclose);
  std::string Text;
  if (Stream) {
    char Chunk[65536];
    while (const size_t Count = std::fread(Chunk, 1, sizeof(Chunk), Stream.get())) {
      Text.append(Chunk, Count);
    }
  }
  if (!Stream || std::ferror(Stream.get()) != 0) {
    throw VectorError(Path, std::string("cannot be read: ") + std::strerror(errno));
  }
  return Parse(Path, Text);
}
