// What the tour's scenes share: how they print, and their list.
#pragma once

#include <string>

#include "tesselkit/tesselkit.h"

namespace tour {

// Prints in the manner of printf.
void Say(const char* format, ...) TESSELKIT_PRINTF(1, 2);

// Prints a text with every line of it set in.
void SayIndented(const char* mark, const std::string& text);

// Prints what is traced from now on, as it is.
void ShowTraces();

// The text of what was caught, which is ended here.
std::string TextOf(PaMsgException* caught);

// Where the tour finds its files and may write its own.
struct Places {
  std::string program;  // the tour itself
  std::string data;
  std::string scratch;
  std::string twreg;  // the registry's command, empty when it was not built
};

void VerdictsScene(const Places& places);
void FailuresScene(const Places& places);
void FaultsScene(const Places& places);
void LanguageScene(const Places& places);
void TextScene(const Places& places);
void ObjectsScene(const Places& places);
void EncodingsScene(const Places& places);
void RegistryScene(const Places& places);
void TimerScene(const Places& places);

// What the program prints when it runs once more for LanguageScene.
void SayInProcessLanguage();

}  // namespace tour
