// The registry: settings of the user over those of the machine, a failing call, a saved login, and
// what the command for people shows of it. The tour has hives of its own.
#include <cstdio>
#include <cstdlib>

#include "examples/tour/scene.h"

namespace {

using namespace tour;

constexpr char kSettings[] = "Software\\Tour\\Settings";

void ShowSetting(const char* name) {
  CString value;
  const int found = AdLookupRegistryValue(kSettings, name, value);
  Say("    %-10s %s\n", name, found ? static_cast<const char*>(value) : "(not set)");
}

void ShowSettings() {
  AdSetRegistryValue(kSettings, "Language", "en", HKEY_LOCAL_MACHINE);
  AdSetRegistryValue(kSettings, "Page", "932", HKEY_LOCAL_MACHINE);
  AdSetRegistryValue(kSettings, "Language", "ja", HKEY_CURRENT_USER);
  Say("  Settings of the user over those of the machine\n");
  ShowSetting("Language");
  ShowSetting("Page");
}

void ShowFailure() {
  AdRegistry registry;
  registry.Initialize();
  registry.SetPath(HKEY_CURRENT_USER, kSettings, 1);
  Say("\n  A write to a key that is open for reading\n");
  try {
    registry.SetValue("Language", CString("nb"), 1);
  } catch (PaMsgException* caught) {
    SayIndented("caught |", TextOf(caught));
  }
  registry.Finalize();
}

void ShowLogin() {
  CString entry = "night shift";
  CString user = "miles27";
  CString password = "transporter";
  CString database = "ORDERS";
  CString set;
  SaveTWLoginInfo(entry, user, password, database, set);
  user = password = database = "";
  GetTWLoginInfo(entry, user, password, database, set);
  Say("\n  A login saved and read again: %s, %s, %s\n", static_cast<const char*>(user),
      static_cast<const char*>(password), static_cast<const char*>(database));
}

// What a program of the installation prints.
void ShowOutputOf(const std::string& command) {
  std::FILE* const output = popen(command.c_str(), "r");
  std::string text;
  for (int c; output != nullptr && (c = std::fgetc(output)) != EOF;) text += static_cast<char>(c);
  if (output == nullptr || pclose(output) != 0) text = "(cannot be run)";
  SayIndented("|", text);
}

}  // namespace

void tour::RegistryScene(const Places& places) {
  setenv("TESSELKIT_REGISTRY_USER", (places.scratch + "/user.hive").c_str(), 1);
  setenv("TESSELKIT_REGISTRY_MACHINE", (places.scratch + "/machine.hive").c_str(), 1);
  ShowSettings();
  ShowFailure();
  ShowLogin();
  if (places.twreg.empty()) return;
  Say("  and listed by twreg\n");
  ShowOutputOf(places.twreg +
               " list --recursive 'HKCU\\Software\\Veltrim Software\\Tarnwell\\"
               "2000.02.10\\Common\\TWIntSvr'");
}
