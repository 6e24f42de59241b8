// The library takes its texts from a module for the user's language when there is one. The
// language is chosen when the library is loaded, so the tour runs once more for it.
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "examples/tour/scene.h"

void tour::SayInProcessLanguage() {
  for (const char* text : {"", "12a", "2147483648"}) {
    long value = 0;
    CString problem;
    AdStrToLong(text, value, problem);
    Say("  \"%s\"\n", text);
    SayIndented("|", std::string(problem));
  }
}

void tour::LanguageScene(const Places& places) {
  const std::string languages = places.program.substr(0, places.program.rfind('/')) + "/language";
  std::fflush(stdout);
  const pid_t child = fork();
  if (child == 0) {
    setenv("LC_ALL", "C.UTF-8", 1);
    setenv("LANGUAGE", "de", 1);
    setenv("TESSELKIT_LANGUAGE_DIR", languages.c_str(), 1);
    execl(places.program.c_str(), places.program.c_str(), "--in-process-language", nullptr);
    _exit(127);
  }
  int status = 0;
  if (child < 0 || waitpid(child, &status, 0) != child || status != 0) {
    Say("  (the tour could not run once more)\n");
  }
}
