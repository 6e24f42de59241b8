// Running twreg as a process of its own, without a shell.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "tests/support/files.h"
#include "tests/support/process.h"

namespace test {

struct Outcome {
  std::string output;
  std::string errors;
  int code = 0;
  bool operator==(const Outcome&) const = default;
};

inline void PrintTo(const Outcome& outcome, std::ostream* out) {
  *out << outcome.code << "\noutput: " << outcome.output << "\nerrors: " << outcome.errors;
}

// Becomes the program with these words, in the language and the code page of the C locale.
inline int BecomeProgram(const char* program, const std::vector<std::string>& words) {
  for (const char* name : {"LANGUAGE", "LC_CTYPE", "NO_COLOR"}) unsetenv(name);
  setenv("LC_ALL", "C", 1);
  std::vector<char*> pointers = {const_cast<char*>(program)};
  for (const std::string& word : words) pointers.push_back(const_cast<char*>(word.c_str()));
  pointers.push_back(nullptr);
  execv(program, pointers.data());
  return 127;
}

// Runs the program with `input` on its standard input.
inline Outcome RunProgram(const char* program, const std::vector<std::string>& words,
                          const std::string& input = "") {
  const TempDirectory directory;
  WriteBytes(directory / "input", input);
  const int code = InChild([&] {
    dup2(open((directory / "input").c_str(), O_RDONLY), STDIN_FILENO);
    dup2(open((directory / "output").c_str(), O_WRONLY | O_CREAT, 0600), STDOUT_FILENO);
    dup2(open((directory / "errors").c_str(), O_WRONLY | O_CREAT, 0600), STDERR_FILENO);
    return BecomeProgram(program, words);
  });
  return {ReadBytes(directory / "output"), ReadBytes(directory / "errors"), code};
}

}  // namespace test
