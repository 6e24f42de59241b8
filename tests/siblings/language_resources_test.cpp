#include "tesselkit/siblings/language_resources.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "tesselkit/platform/module.h"
#include "tesselkit/platform/string_table.h"
#include "tests/support/child.h"

namespace {

struct Choice {
  int line;
  const char* environment;
  const char* language;  // empty: the library's own texts
};

TEST(LanguageResources, TheUsersLanguageReplacesTheLibrarysOwnTexts) {
  const Choice kChoices[] = {
      // line    environment                                    language
      {__LINE__, "", ""},
      {__LINE__, "LANG=de_DE", "de"},
      {__LINE__, "LANG=de_AT.UTF-8", "de_AT"},
      {__LINE__, "LANG=de_CH.UTF-8@euro", "de"},
      {__LINE__, "LANG=de@x_AT", "de"},
      {__LINE__, "LANG=fr LC_MESSAGES=de LC_ALL=en", "en"},
      {__LINE__, "LANG=fr LC_MESSAGES=de LC_CTYPE=en", "de"},
      {__LINE__, "LANG=fr LC_MESSAGES= LC_ALL=", "fr"},
      {__LINE__, "LANG=fr LC_ALL=C", ""},
      {__LINE__, "LANG=fr LC_ALL=C LANGUAGE=de", ""},
      {__LINE__, "LANG=POSIX LANGUAGE=de", ""},
      {__LINE__, "LANG=C.UTF-8 LANGUAGE=de", "de"},
      {__LINE__, "LANG=fr LANGUAGE=", "fr"},
      {__LINE__, "LANG=fr LANGUAGE=xx:de_AT:en", "de_AT"},
      {__LINE__, "LANG=fr LANGUAGE=xx_YY.UTF-8::de_DE.UTF-8:fr", "de"},
      {__LINE__, "LANG=fr LANGUAGE=xx", ""},
      {__LINE__, "LANG=fr LANGUAGE=xx:C:de", ""},
      {__LINE__, "LANG=fr LANGUAGE=es:pt:it:en", "en"},  // no library; no file; no table of its own
      {__LINE__, "LANG=fr LANGUAGE=../language/tesselkit_de:de/x:.:_AT:en", "en"},
  };
  const std::string directory = " TESSELKIT_LANGUAGE_DIR=" TEST_LANGUAGES;
  for (const Choice& row : kChoices) {
    const std::string language = row.language;
    // Message 18044 is in no language module, so a module hides the library's own.
    const std::string expected =
        language.empty() ? "Tarnwell Core, 1, none\n"
                         : "core in " + language + ", 0, tesselkit_" + language + ".so\n";
    EXPECT_EQ(test::OutputOf(row.environment + directory, TEST_PROBE " texts"), expected)
        << "line " << row.line;
  }
}

TEST(LanguageResources, WithoutADirectoryTheLibrarysOwnTextsStay) {
  for (const char* directory : {"", " TESSELKIT_LANGUAGE_DIR=", " TESSELKIT_LANGUAGE_DIR=/none"}) {
    EXPECT_EQ(test::OutputOf(std::string("LANG=de_DE") + directory, TEST_PROBE " texts"),
              "Tarnwell Core, 1, none\n");
  }
}

TEST(LanguageResources, AModuleStaysWhenAnotherIsAskedFor) {
  setenv("TESSELKIT_LANGUAGE_DIR", TEST_LANGUAGES, 1);
  const auto load = [](const char* language) {
    setenv("LC_ALL", language, 1);
    return TWResourceDLL::LoadResourceDLL(nullptr);
  };
  const HINSTANCE german = load("de");
  const HINSTANCE french = load("fr");
  EXPECT_EQ(load("xx"), nullptr);
  EXPECT_EQ(load("de"), german);
  char text[32];
  EXPECT_EQ(LoadStringA(german, 18017, text, sizeof text), 10);
  EXPECT_STREQ(text, "core in de");
  EXPECT_EQ(GetModuleHandleA("tesselkit_fr"), french);
  unsetenv("TESSELKIT_LANGUAGE_DIR");
  unsetenv("LC_ALL");
}

}  // namespace
