// fwboot run as a user runs it, in a folder of the test's own.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/support/DriverTest.h"

namespace fs = std::filesystem;

using Words = std::vector<std::string>;

struct Outcome {
  int Code;
  std::string Output;
  std::string Errors;
};

class Command : public testing::Test {
protected:
  void SetUp() override {
    Folder = fs::temp_directory_path() / ("fwboot-tests-" + std::to_string(getpid()));
    fs::create_directories(Folder);
    Write("abc", "abc");
    Write("empty", "");
  }
  void TearDown() override { fs::remove_all(Folder); }

  void Write(const std::string &Name, const std::string &Text) const { std::ofstream(Folder / Name) << Text; }

  std::string Read(const std::string &Name) const {
    std::ifstream Stream(Folder / Name);
    return {std::istreambuf_iterator<char>(Stream), {}};
  }

  // Runs a program in the folder of the test's files, its standard input being the file "abc".
  Outcome RunProgram(const Words &Line, const char *Output = "out") const {
    const pid_t Child = fork();
    if (Child == 0) {
      std::vector<char *> Arguments;
      for (const std::string &Word : Line) {
        Arguments.push_back(const_cast<char *>(Word.c_str()));
      }
      Arguments.push_back(nullptr);
      const bool Ready = chdir(Folder.c_str()) == 0 && dup2(open("abc", O_RDONLY), 0) == 0 &&
                         dup2(open(Output, O_WRONLY | O_CREAT | O_TRUNC, 0600), 1) == 1 &&
                         dup2(open("err", O_WRONLY | O_CREAT | O_TRUNC, 0600), 2) == 2;
      if (Ready) {
        execvp(Arguments[0], Arguments.data());
      }
      _exit(126);
    }
    int Status = 0;
    waitpid(Child, &Status, 0);
    return {WIFEXITED(Status) ? WEXITSTATUS(Status) : -1, Read("out"), Read("err")};
  }

  // fwboot with the options that choose the tested build.
  static Words Fwboot(const Words &Arguments) {
    Words Line = {FWBOOT_PATH, "--linked"};
    if (TestsImage()) {
      Line = {FWBOOT_PATH, "--image", fs::absolute(TestedImage())};
    }
    Line.insert(Line.end(), Arguments.begin(), Arguments.end());
    return Line;
  }

  Outcome Run(const Words &Arguments, const char *Output = "out") const {
    return RunProgram(Fwboot(Arguments), Output);
  }

  static void ExpectOneLine(const Outcome &Result, const std::string &Part) {
    EXPECT_EQ(std::count(Result.Errors.begin(), Result.Errors.end(), '\n'), 1) << Result.Errors;
    EXPECT_EQ(Result.Errors.find("fwboot: "), 0U) << Result.Errors;
    EXPECT_NE(Result.Errors.find(Part), std::string::npos) << "wanted " << Part << ", got " << Result.Errors;
  }

  fs::path Folder;
};
