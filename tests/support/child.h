// Running another program with an environment of its own.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

namespace test {

// What the shell command `command` writes to its standard output, when nothing but `environment`
// ("NAME=value ...") is set. Any end but with code 0 fails the test.
inline std::string OutputOf(const std::string& environment, const std::string& command) {
  std::string output;
  std::FILE* pipe = popen(("env -i " + environment + " " + command).c_str(), "r");
  if (pipe == nullptr) return "no pipe";
  for (int c = std::fgetc(pipe); c != EOF; c = std::fgetc(pipe)) output += static_cast<char>(c);
  EXPECT_EQ(pclose(pipe), 0) << environment << " " << command;
  return output;
}

}  // namespace test
