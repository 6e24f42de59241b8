#include "tesselkit/platform/registry.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <set>

#include "tesselkit/platform/system_message.h"
#include "tests/support/code_page.h"
#include "tests/support/hives.h"

namespace {

using test::Data;
using test::Key;
using test::SetData;

class Registry : public testing::Test {
 protected:
  test::Hives m_hives;
};

LONG Open(const char* path, HKEY root = HKEY_CURRENT_USER) {
  return Key(path, root, KEY_READ).Status();
}

TEST_F(Registry, PathsAreWalkedByCharactersWithoutCase) {
  const struct {
    int line;
    int page;
    const char* made;
    const char* opened;
    LONG status;
  } kRows[] = {
      {__LINE__, 0, "Software\\Veltrim", "SOFTWARE\\veltrim", ERROR_SUCCESS},
      {__LINE__, 0, "\\a\\\\b\\", "a\\b", ERROR_SUCCESS},
      {__LINE__, 0, "c\\d", "\\\\c\\\\\\d\\\\", ERROR_SUCCESS},
      {__LINE__, 0, "e", "e/f", ERROR_FILE_NOT_FOUND},
      {__LINE__, 0, "g\\h", "g\\h\\i", ERROR_FILE_NOT_FOUND},
      {__LINE__, 0, "j.k", "j\\k", ERROR_FILE_NOT_FOUND},
      {__LINE__, 932, "\x83\\x", "\x83\\X", ERROR_SUCCESS},  // one character with a trail of 0x5C
      {__LINE__, 932, "\x83\\y", "\x83", ERROR_FILE_NOT_FOUND},
      {__LINE__, 932, "\x83\x41", "\x83\x61", ERROR_FILE_NOT_FOUND},  // a trail is no letter
      {__LINE__, 932, "\x82\x60", "\x82\x81", ERROR_SUCCESS},         // full-width letters
      {__LINE__, 0, "", "", ERROR_SUCCESS},
  };
  for (const auto& row : kRows) {
    const testing::ScopedTrace trace(__FILE__, row.line, "");
    const test::CodePage page(row.page);
    ASSERT_EQ(Key(row.made).Status(), ERROR_SUCCESS);
    EXPECT_EQ(Open(row.opened), row.status);
  }
}

TEST_F(Registry, NamesPathsAndDataHaveTheirLimits) {
  const std::string longest(255, 'k');
  std::string deepest;
  for (int i = 0; i < 512; ++i) deepest += "\\d";
  const std::string name(16383, 'v');
  const std::string data(3 << 20, 'x');
  const Key key("limits");
  EXPECT_EQ(Key(longest.c_str()).Status(), ERROR_SUCCESS);
  EXPECT_EQ(Key((longest + "k").c_str()).Status(), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Key(deepest.c_str()).Status(), ERROR_SUCCESS);
  EXPECT_EQ(Key((deepest + "\\d").c_str()).Status(), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Key("e", Key(deepest.c_str())).Status(), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(SetData(key, name.c_str(), data), ERROR_SUCCESS);
  EXPECT_EQ(SetData(key, (name + "v").c_str(), data), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Data(key, name.c_str()), data);
}

TEST_F(Registry, SizesGoInAndOut) {
  const Key key("sizes");
  ASSERT_EQ(SetData(key, "Value", "12345"), ERROR_SUCCESS);
  ASSERT_EQ(SetData(key, nullptr, "", REG_NONE), ERROR_SUCCESS);
  const Key child("sizes\\child");
  const struct {
    int line;
    bool has_buffer;
    DWORD room;
    LONG status;
    DWORD size;
    std::string_view data;
  } kRows[] = {
      {__LINE__, false, 0, ERROR_SUCCESS, 5, "......"},
      {__LINE__, true, 0, ERROR_MORE_DATA, 5, "......"},
      {__LINE__, true, 4, ERROR_MORE_DATA, 5, "......"},
      {__LINE__, true, 5, ERROR_SUCCESS, 5, "12345."},
      {__LINE__, true, 6, ERROR_SUCCESS, 5, "12345."},
  };
  for (const auto& row : kRows) {
    const testing::ScopedTrace trace(__FILE__, row.line, "");
    std::string data = "......";
    std::string name(6, '.');
    BYTE* buffer = row.has_buffer ? reinterpret_cast<BYTE*>(data.data()) : nullptr;
    DWORD size = row.room;
    DWORD type = 99;
    EXPECT_EQ(RegQueryValueExA(key, "vALUE", nullptr, &type, buffer, &size), row.status);
    EXPECT_EQ(type, REG_BINARY);
    EXPECT_EQ(size, row.size);
    EXPECT_EQ(data, row.data);

    data = "......";
    size = row.room;
    DWORD name_size = 6;
    EXPECT_EQ(RegEnumValueA(key, 1, name.data(), &name_size, nullptr, &type, buffer, &size),
              row.status);
    EXPECT_EQ(name_size, 5u);
    EXPECT_EQ(size, row.size);
    EXPECT_EQ(data, row.data);
  }
  char name[6];
  DWORD size = 5;
  EXPECT_EQ(RegEnumKeyExA(key, 0, name, &size, nullptr, nullptr, nullptr, nullptr),
            ERROR_MORE_DATA);
  size = 6;
  EXPECT_EQ(RegEnumKeyExA(key, 0, name, &size, nullptr, nullptr, nullptr, nullptr), ERROR_SUCCESS);
  EXPECT_EQ(std::string_view(name, size), "child");
  EXPECT_EQ(RegEnumKeyExA(key, 1, name, &size, nullptr, nullptr, nullptr, nullptr),
            ERROR_NO_MORE_ITEMS);
  EXPECT_EQ(RegQueryValueExA(key, nullptr, nullptr, nullptr, nullptr, &size), ERROR_SUCCESS);
  EXPECT_EQ(size, 0u);
}

TEST_F(Registry, ShortFunctionsReadAndSetUnnamedValues) {
  const Key key("short");
  EXPECT_EQ(RegSetValueA(key, "a\\b", REG_SZ, "text", 0), ERROR_SUCCESS);
  char text[5];
  LONG size = 4;
  EXPECT_EQ(RegQueryValueA(key, "a\\b", text, &size), ERROR_MORE_DATA);
  EXPECT_EQ(size, 5);
  EXPECT_EQ(RegQueryValueA(key, "a\\b", text, &size), ERROR_SUCCESS);
  EXPECT_STREQ(text, "text");
  EXPECT_EQ(RegQueryValueA(key, "a", text, &size), ERROR_SUCCESS);
  EXPECT_STREQ(text, "");
  EXPECT_EQ(RegQueryValueA(key, "c", text, &size), ERROR_FILE_NOT_FOUND);
  SetData(key, "", "1234", REG_DWORD);
  EXPECT_EQ(RegQueryValueA(key, nullptr, text, &size), ERROR_INVALID_DATA);
}

TEST_F(Registry, AHandleDoesWhatItsRightsAllow) {
  const Key made("rights\\sub");
  const Key writer("rights", HKEY_CURRENT_USER, KEY_ALL_ACCESS);
  const Key reader("rights", HKEY_CURRENT_USER, KEY_READ);
  const Key setter("rights", HKEY_CURRENT_USER, KEY_SET_VALUE);
  SetData(writer, "v", "1");
  DWORD count = 0;
  char name[9];
  DWORD size = sizeof name;
  HKEY opened = nullptr;
  EXPECT_EQ(SetData(reader, "v", "2"), ERROR_ACCESS_DENIED);
  EXPECT_EQ(RegDeleteValueA(reader, "v"), ERROR_ACCESS_DENIED);
  EXPECT_EQ(RegDeleteKeyA(reader, "sub"), ERROR_ACCESS_DENIED);
  EXPECT_EQ(RegCreateKeyExA(reader, "new", 0, "", 0, KEY_READ, nullptr, &opened, nullptr),
            ERROR_ACCESS_DENIED);
  EXPECT_EQ(opened, nullptr);
  EXPECT_EQ(Data(setter, "v"), "(5)");
  EXPECT_EQ(RegEnumKeyExA(setter, 0, name, &size, nullptr, nullptr, nullptr, nullptr),
            ERROR_ACCESS_DENIED);
  EXPECT_EQ(RegQueryInfoKeyA(setter, nullptr, nullptr, nullptr, &count, nullptr, nullptr, nullptr,
                             nullptr, nullptr, nullptr, nullptr),
            ERROR_ACCESS_DENIED);
  EXPECT_EQ(SetData(setter, "v", "3"), ERROR_SUCCESS);
  EXPECT_EQ(Data(reader, "v"), "3");
}

TEST_F(Registry, HandlesAreChecked) {
  const HKEY made_up = reinterpret_cast<HKEY>(std::uintptr_t{0x12345678});
  EXPECT_EQ(Data(nullptr, "v"), "(6)");
  EXPECT_EQ(Data(made_up, "v"), "(6)");
  EXPECT_EQ(RegCloseKey(made_up), ERROR_INVALID_HANDLE);
  EXPECT_EQ(RegCloseKey(HKEY_CURRENT_USER), ERROR_SUCCESS);

  std::set<HKEY> seen;
  for (int i = 0; i < 1000; ++i) {
    HKEY key = nullptr;
    ASSERT_EQ(RegCreateKeyA(HKEY_CURRENT_USER, "h", &key), ERROR_SUCCESS);
    EXPECT_TRUE(seen.insert(key).second) << "a closed handle's number came back";
    EXPECT_EQ(RegCloseKey(key), ERROR_SUCCESS);
    EXPECT_EQ(RegCloseKey(key), ERROR_INVALID_HANDLE);
    EXPECT_EQ(Data(key, "v"), "(6)");
  }

  const Key parent("gone");
  const Key child("gone\\child");
  EXPECT_EQ(RegDeleteKeyA(HKEY_CURRENT_USER, "gone"), ERROR_ACCESS_DENIED) << "it has a subkey";
  EXPECT_EQ(RegDeleteKeyA(parent, "CHILD"), ERROR_SUCCESS);
  EXPECT_EQ(RegDeleteKeyA(parent, "child"), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(Key("gone\\child").Status(), ERROR_SUCCESS) << "another key of that name";
  EXPECT_EQ(Data(child, "v"), "(1018)");
  EXPECT_EQ(SetData(child, "v", "1"), ERROR_KEY_DELETED);
  EXPECT_EQ(Key("x", child).Status(), ERROR_KEY_DELETED);
  EXPECT_EQ(Key("", child, KEY_READ).Status(), ERROR_KEY_DELETED);
  EXPECT_EQ(RegDeleteValueA(child, "v"), ERROR_KEY_DELETED);
  EXPECT_EQ(RegDeleteKeyA(child, ""), ERROR_KEY_DELETED);
  EXPECT_EQ(RegCloseKey(HKEY{}), ERROR_INVALID_HANDLE);
  EXPECT_EQ(RegDeleteKeyA(HKEY_CURRENT_USER, ""), ERROR_ACCESS_DENIED);
  EXPECT_EQ(RegDeleteKeyA(HKEY_CURRENT_USER, nullptr), ERROR_INVALID_PARAMETER);
}

TEST_F(Registry, PredefinedKeysAreTreesOfTheirOwn) {
  const HKEY kRoots[] = {HKEY_CLASSES_ROOT,     HKEY_CURRENT_USER,   HKEY_LOCAL_MACHINE, HKEY_USERS,
                         HKEY_PERFORMANCE_DATA, HKEY_CURRENT_CONFIG, HKEY_DYN_DATA};
  for (HKEY root : kRoots) {
    HKEY connected = nullptr;
    ASSERT_EQ(RegConnectRegistryA(nullptr, root, &connected), ERROR_SUCCESS);
    EXPECT_EQ(Open("mark", connected), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(Key("mark", root).Status(), ERROR_SUCCESS);
    EXPECT_EQ(Open("mark", connected), ERROR_SUCCESS);
    EXPECT_EQ(RegCloseKey(connected), ERROR_SUCCESS);
  }
  HKEY key = nullptr;
  EXPECT_EQ(RegConnectRegistryA("\\\\elsewhere.example", HKEY_USERS, &key), ERROR_BAD_NETPATH);
  EXPECT_EQ(RegConnectRegistryA("", HKEY_USERS, &key), ERROR_SUCCESS);
  RegCloseKey(key);
  EXPECT_TRUE(std::filesystem::exists(m_hives.User()));
  EXPECT_TRUE(std::filesystem::exists(m_hives.Machine()));
}

// What a key holds, as a plain map of folded names has it.
struct ModelKey {
  std::map<std::string, std::pair<std::string, std::string>> values;   // folded: name, data
  std::map<std::string, std::pair<std::string, std::string>> subkeys;  // folded: name, class
};

template <class Map, class Length>
DWORD Longest(const Map& map, Length length) {
  DWORD longest = 0;
  for (const auto& [folded, entry] : map) {
    longest = std::max(longest, static_cast<DWORD>(length(entry).size()));
  }
  return longest;
}

void ExpectHolds(HKEY key, const ModelKey& model) {
  DWORD info[6];
  ASSERT_EQ(RegQueryInfoKeyA(key, nullptr, nullptr, nullptr, &info[0], &info[1], &info[2], &info[3],
                             &info[4], &info[5], nullptr, nullptr),
            ERROR_SUCCESS);
  const auto first = [](const auto& entry) { return entry.first; };
  const auto second = [](const auto& entry) { return entry.second; };
  const DWORD wanted[6] = {static_cast<DWORD>(model.subkeys.size()),
                           Longest(model.subkeys, first),
                           Longest(model.subkeys, second),
                           static_cast<DWORD>(model.values.size()),
                           Longest(model.values, first),
                           Longest(model.values, second)};
  EXPECT_TRUE(std::ranges::equal(info, wanted));

  char name[300];
  for (DWORD i = 0; i <= model.subkeys.size(); ++i) {
    DWORD size = sizeof name;
    const LONG status = RegEnumKeyExA(key, i, name, &size, nullptr, nullptr, nullptr, nullptr);
    ASSERT_EQ(status, i < model.subkeys.size() ? ERROR_SUCCESS : ERROR_NO_MORE_ITEMS);
    if (status == ERROR_SUCCESS) {
      EXPECT_EQ(std::next(model.subkeys.begin(), i)->second.first, name);
    }
  }
  for (DWORD i = 0; i <= model.values.size(); ++i) {
    DWORD size = sizeof name;
    std::string data(64, '.');
    DWORD data_size = 64;
    const LONG status = RegEnumValueA(key, i, name, &size, nullptr, nullptr,
                                      reinterpret_cast<BYTE*>(data.data()), &data_size);
    ASSERT_EQ(status, i < model.values.size() ? ERROR_SUCCESS : ERROR_NO_MORE_ITEMS);
    if (status != ERROR_SUCCESS) continue;
    const auto& value = std::next(model.values.begin(), i)->second;
    EXPECT_EQ(value.first, name);
    EXPECT_EQ(value.second, data.substr(0, data_size));
  }
}

TEST_F(Registry, HoldsWhatAMapWouldHold) {
  std::mt19937 random(20261123);
  const auto pick = [&](int count) { return static_cast<int>(random() % count); };
  const Key key("model");
  ModelKey model;
  for (int step = 0; step < 3000; ++step) {
    const std::string folded = std::string(1 + pick(4), static_cast<char>('a' + pick(3)));
    std::string name = folded;
    if (pick(2) == 0) name[0] = static_cast<char>(name[0] - 'a' + 'A');
    const std::string text(pick(9), 'x');
    switch (pick(4)) {
      case 0:
        EXPECT_EQ(SetData(key, name.c_str(), text), ERROR_SUCCESS);
        if (!model.values.emplace(folded, std::pair(name, text)).second) {
          model.values[folded].second = text;
        }
        break;
      case 1:
        EXPECT_EQ(RegDeleteValueA(key, name.c_str()),
                  model.values.erase(folded) != 0 ? ERROR_SUCCESS : ERROR_FILE_NOT_FOUND);
        break;
      case 2: {
        HKEY made = nullptr;
        DWORD disposition = 0;
        EXPECT_EQ(RegCreateKeyExA(key, name.c_str(), 0, text.c_str(), 0, KEY_ALL_ACCESS, nullptr,
                                  &made, &disposition),
                  ERROR_SUCCESS);
        RegCloseKey(made);
        const bool is_new = model.subkeys.emplace(folded, std::pair(name, text)).second;
        EXPECT_EQ(disposition, is_new ? REG_CREATED_NEW_KEY : REG_OPENED_EXISTING_KEY);
        break;
      }
      default:
        EXPECT_EQ(RegDeleteKeyA(key, name.c_str()),
                  model.subkeys.erase(folded) != 0 ? ERROR_SUCCESS : ERROR_FILE_NOT_FOUND);
    }
    if (step % 50 == 0) ExpectHolds(key, model);
    if (HasFailure()) FAIL() << "step " << step;
  }
  EXPECT_EQ(test::Damage(), "");
}

TEST_F(Registry, EnumeratingGoesOnWhileSomebodyWrites) {
  const Key key("list");
  for (int i = 0; i < 300; ++i) Key(std::to_string(1000 + i).c_str(), key);
  char name[9];
  std::set<std::string> seen;
  for (DWORD i = 0, size = 9;
       RegEnumKeyExA(key, i, name, &size, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS;
       ++i, size = 9) {
    EXPECT_TRUE(seen.insert(name).second);
    SetData(key, "last", name);
    if (i == 100) RegDeleteKeyA(key, "1150");
  }
  EXPECT_EQ(seen.size(), 299u);
  DWORD size = 9;
  for (DWORD left = 299; left > 0; --left, size = 9) {
    ASSERT_EQ(RegEnumKeyExA(key, 0, name, &size, nullptr, nullptr, nullptr, nullptr),
              ERROR_SUCCESS);
    ASSERT_EQ(RegDeleteKeyA(key, name), ERROR_SUCCESS);
  }
  EXPECT_EQ(RegEnumKeyExA(key, 0, name, &size, nullptr, nullptr, nullptr, nullptr),
            ERROR_NO_MORE_ITEMS);
}

// The names of the subkeys at `count` indices from `first` on, upward or downward.
std::vector<std::string> Names(HKEY key, DWORD first, int step, int count) {
  std::vector<std::string> names;
  for (DWORD index = first; count > 0; --count, index += static_cast<DWORD>(step)) {
    char name[300];
    DWORD size = sizeof name;
    const LONG status = RegEnumKeyExA(key, index, name, &size, nullptr, nullptr, nullptr, nullptr);
    names.push_back(status == ERROR_SUCCESS ? name : std::to_string(status));
  }
  return names;
}

TEST_F(Registry, EnumeratingMayGoDown) {
  constexpr int kKeys = 2500;
  const Key key("down");
  for (int i = 0; i < kKeys; ++i) Key(std::to_string(i).c_str(), key);
  std::vector<std::string> up = Names(key, 0, 1, kKeys);
  std::reverse(up.begin(), up.end());
  EXPECT_EQ(Names(key, kKeys - 1, -1, kKeys), up);
}

TEST_F(Registry, EnumeratingEndsUnderAnotherCodePage) {
  const Key key("pages");
  for (const char* name : {"\x83\x41", "\x83\x61", "\x84\x42", "b"}) Key(name, key);
  const test::CodePage page(932);
  std::set<std::string> seen;
  for (DWORD i = 0; i < 4; ++i) {
    seen.insert(Names(key, i, 1, 1)[0]);
    SetData(key, "written", std::to_string(i));
  }
  EXPECT_EQ(seen, (std::set<std::string>{"\x83\x41", "\x84\x42", "b", "259"}));
}

TEST_F(Registry, TreesGoInOneStep) {
  const Key key("tree");
  SetData(key, "stays", "1");
  for (const char* path : {"tree\\a\\b\\c", "tree\\a\\d", "tree\\e", "tree2\\a"}) {
    SetData(Key(path), "v", path);
  }
  const Key below("tree\\a\\b");
  EXPECT_EQ(tesselkit::platform::DeleteSubkeys(key), ERROR_SUCCESS);
  ExpectHolds(key, {{{"stays", {"stays", "1"}}}, {}});
  EXPECT_EQ(Data(below, "v"), "(1018)");
  EXPECT_EQ(Data(Key("tree2\\a"), "v"), "tree2\\a");
  EXPECT_EQ(Open("tree\\a"), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(test::Damage(), "");
}

TEST(SystemMessages, EveryStatusHasATextWithItsLineEnd) {
  const LONG kCodes[] = {ERROR_SUCCESS,
                         ERROR_FILE_NOT_FOUND,
                         ERROR_ACCESS_DENIED,
                         ERROR_INVALID_HANDLE,
                         ERROR_NOT_ENOUGH_MEMORY,
                         ERROR_INVALID_DATA,
                         ERROR_BAD_NETPATH,
                         ERROR_INVALID_PARAMETER,
                         ERROR_DISK_FULL,
                         ERROR_BUSY,
                         ERROR_MORE_DATA,
                         ERROR_NO_MORE_ITEMS,
                         ERROR_BADDB,
                         ERROR_REGISTRY_IO_FAILED,
                         ERROR_KEY_DELETED,
                         ERROR_NO_SYSTEM_RESOURCES};
  std::set<std::string> texts;
  for (const LONG code : kCodes) {
    char buffer[300];
    const DWORD length = FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM, nullptr, code, 0, buffer,
                                        sizeof buffer, nullptr);
    const std::string text(buffer, length);
    EXPECT_TRUE(text.size() > 3 && text.ends_with(".\r\n")) << code;
    EXPECT_TRUE(texts.insert(text).second) << code;
    EXPECT_EQ(FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM, nullptr, code, 0, buffer, length, nullptr),
              0u);
  }
  char* text = nullptr;
  constexpr DWORD kFlags = FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM;
  const auto out = reinterpret_cast<char*>(&text);
  EXPECT_EQ(FormatMessageA(kFlags, nullptr, ERROR_ACCESS_DENIED, 0, out, 0, nullptr), 19u);
  EXPECT_STREQ(text, "Access is denied.\r\n");
  EXPECT_EQ(LocalFree(text), nullptr);
  EXPECT_EQ(FormatMessageA(kFlags, nullptr, 123456, 0, out, 0, nullptr), 0u);
  EXPECT_EQ(text, nullptr);
}

}  // namespace
