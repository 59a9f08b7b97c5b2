#include "tests/support/DriverTest.h"

#include <cstdlib>
#include <cstring>
#include <iostream>
#include <random>

#include "simulator/DriverCall.h"

namespace {

bool Image = true;
std::string ImagePath = FIRMWARE_IMAGE_PATH;

} // namespace

bool TestsImage() {
  return Image;
}

const std::string &TestedImage() {
  return ImagePath;
}

SessionOptions TestedDriver() {
  SessionOptions Options;
  if (Image) {
    Options.Image = ImagePath;
  }
  return Options;
}

DriverSession &DriverTest::Session() {
  if (!Session_) {
    Session_ = std::make_unique<DriverSession>(Options);
  }
  return *Session_;
}

void DriverTest::Reboot() {
  CheckEnd();
  Session();
}

void DriverTest::TearDown() {
  CheckEnd();
}

void DriverTest::CheckEnd() {
  if (!Session_) {
    return;
  }
  EXPECT_EQ(Firmware().TakeFaults(), std::vector<std::string>{});
  if (!LibraryKeepsBlocks && Session_->Outcome() == BootOutcome::Started) {
    for (const Leak &Open : Firmware().Leaks()) {
      EXPECT_NE(Open.Kind, LeakKind::PoolBlock) << Open.Text();
    }
  }
  Session_.reset();
  EXPECT_EQ(SimulatedFirmware::LastFaults(), std::vector<std::string>{});
}

Bytes FromHex(const std::string &Text) {
  Bytes Result;
  std::string Digits;
  for (char Character : Text) {
    if (Character != ' ') {
      Digits += Character;
    }
  }
  for (size_t Index = 0; Index + 1 < Digits.size(); Index += 2) {
    Result.push_back(static_cast<UINT8>(std::stoul(Digits.substr(Index, 2), nullptr, 16)));
  }
  return Result;
}

Bytes Pattern(UINTN Size, UINT64 Seed) {
  std::mt19937_64 Generator(Seed);
  Bytes Result(Size);
  for (UINT8 &Byte : Result) {
    Byte = static_cast<UINT8>(Generator());
  }
  return Result;
}

int main(int Count, char **Arguments) {
  RestartWithoutHostAvx(Arguments);
  testing::InitGoogleTest(&Count, Arguments);
  for (int Index = 1; Index < Count; Index++) {
    std::string Argument = Arguments[Index];
    if (Argument == "--driver=image" || Argument == "--driver=linked") {
      Image = Argument == "--driver=image";
    } else if (Argument.rfind("--image=", 0) == 0) {
      ImagePath = Argument.substr(std::strlen("--image="));
    } else {
      std::cerr << "unknown argument: " << Argument << "\n";
      return 2;
    }
  }
  return RUN_ALL_TESTS();
}
