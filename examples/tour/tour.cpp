// A tour of the library: its main jobs on real input, one scene after the other.
//
//   tour <directory with the data>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string_view>

#include "examples/tour/scene.h"

namespace tour {

void Say(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  std::vprintf(format, arguments);
  va_end(arguments);
}

void SayIndented(const char* mark, const std::string& text) {
  std::string_view rest = text;
  while (!rest.empty()) {
    const std::size_t end = rest.find('\n');
    Say("    %s %.*s\n", mark, static_cast<int>(rest.substr(0, end).size()), rest.data());
    rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
  }
}

void ShowTraces() {
  tesselkit::platform::SetDebugOutputSink([](const char* text) { SayIndented("debug |", text); });
}

std::string TextOf(PaMsgException* caught) {
  std::string text(caught->m_msgList.First().GetFullMsg());
  caught->Delete();
  return text;
}

}  // namespace tour

#ifndef TOUR_TWREG
#define TOUR_TWREG ""
#endif

namespace {

using namespace tour;

struct Scene {
  const char* title;
  void (*play)(const Places&);
};

constexpr Scene kScenes[] = {
    {"Verdicts on text", VerdictsScene},
    {"Failures", FailuresScene},
    {"Another language", LanguageScene},
    {"Lines, files and orders", TextScene},
    {"Objects", ObjectsScene},
    {"Encodings", EncodingsScene},
    {"The registry", RegistryScene},
    {"Faults", FaultsScene},
    {"Timers", TimerScene},
};

// A directory of the tour's own, gone when the tour ends.
class ScratchDirectory {
 public:
  ScratchDirectory() {
    std::string pattern = (std::filesystem::temp_directory_path() / "tesselkit-tour-XXXXXX");
    if (mkdtemp(pattern.data()) != nullptr) m_path = pattern;
  }
  ~ScratchDirectory() {
    std::error_code ignored;
    if (!m_path.empty()) std::filesystem::remove_all(m_path, ignored);
  }
  ScratchDirectory(const ScratchDirectory&) = delete;
  ScratchDirectory& operator=(const ScratchDirectory&) = delete;

  const std::string& Path() const { return m_path; }

 private:
  std::string m_path;
};

void PlayAll(const Places& places) {
  ShowTraces();
  int number = 0;
  for (const Scene& scene : kScenes) {
    Say("\n%d. %s\n\n", ++number, scene.title);
    scene.play(places);
  }
  tesselkit::platform::SetDebugOutputSink({});
}

}  // namespace

int main(int count, char** arguments) {
  if (count == 2 && std::strcmp(arguments[1], "--in-process-language") == 0) {
    SayInProcessLanguage();
    return 0;
  }
  if (count != 2) {
    std::fprintf(stderr, "usage: tour <directory with the data>\n");
    return 2;
  }
  const ScratchDirectory scratch;
  try {
    Say("Tesselkit, the core utility library: a tour\n");
    PlayAll(
        {std::filesystem::canonical("/proc/self/exe"), arguments[1], scratch.Path(), TOUR_TWREG});
    return 0;
  } catch (PaMsgException* caught) {
    std::fprintf(stderr, "the tour failed: %s\n", TextOf(caught).c_str());
  } catch (CException* caught) {
    char text[512];
    caught->GetErrorMessage(text, sizeof text);
    caught->Delete();
    std::fprintf(stderr, "the tour failed: %s\n", text);
  }
  return 1;
}
