// The registry beside raw SQLite with prepared statements in the same mode (the limit), and beside
// stores of settings that others use: a key file that is kept in memory, dconf's file, and
// GSettings.
//
// What is read is a text of 15 bytes in a key three levels below its root, with 20 values and with
// 1,000 keys (or as many as the argument says) beside it.
#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#ifdef TESSELKIT_PEER_GIO
#include <gio/gio.h>
#define G_SETTINGS_ENABLE_BACKEND
#include <gio/gsettingsbackend.h>
#endif
#ifdef TESSELKIT_PEER_DCONF
#include <dconf/dconf.h>
#endif

#include "tesselkit/platform/hive.h"
#include "tesselkit/system/adregistry.h"
#include "tesselkit/util/adutil_registry.h"

namespace {

namespace fs = std::filesystem;

constexpr char kText[] = "fifteen bytes..";
constexpr int kValues = 20;

// Files that are there until the program ends.
class Scratch {
 public:
  Scratch() {
    std::string name = fs::temp_directory_path() / "tesselkit.XXXXXX";
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no directory");
    m_path = name;
  }
  ~Scratch() { fs::remove_all(m_path); }
  std::string operator/(const std::string& name) const { return m_path / name; }

 private:
  fs::path m_path;
};

const Scratch& Files() {
  static const Scratch scratch;
  return scratch;
}

class Sqlite {
 public:
  explicit Sqlite(const std::string& file_name) {
    sqlite3_open(file_name.c_str(), &m_db);
    Execute("PRAGMA journal_mode = WAL; PRAGMA synchronous = NORMAL");
  }
  ~Sqlite() { sqlite3_close_v2(m_db); }
  Sqlite(const Sqlite&) = delete;
  Sqlite& operator=(const Sqlite&) = delete;

  void Execute(const std::string& sql) {
    char* error = nullptr;
    if (sqlite3_exec(m_db, sql.c_str(), nullptr, nullptr, &error) != SQLITE_OK) {
      throw std::runtime_error(error);
    }
  }
  sqlite3_stmt* Prepare(const char* sql) {
    sqlite3_stmt* statement = nullptr;
    sqlite3_prepare_v3(m_db, sql, -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr);
    return statement;
  }

 private:
  sqlite3* m_db = nullptr;
};

// `count` numbers from 1 on, as a table "numbers" of one column "i".
std::string Numbers(std::int64_t count) {
  return "WITH RECURSIVE numbers(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM numbers WHERE i < " +
         std::to_string(count) + ") ";
}

std::string KeyPath(std::int64_t keys) {
  return "Software\\Maker\\" + std::to_string(keys);
}

// A user hive of its own for each number of keys.
void UseHive(std::int64_t keys) {
  static std::int64_t in_use = -1;
  if (in_use == keys) return;
  in_use = keys;
  const std::string file_name = Files() / ("user" + std::to_string(keys) + ".hive");
  setenv("TESSELKIT_REGISTRY_USER", file_name.c_str(), 1);
  tesselkit::platform::ForgetHives();
  if (fs::exists(file_name)) return;

  AdRegistry registry;
  registry.SetPath(HKEY_CURRENT_USER, KeyPath(keys).c_str(), 0);
  for (int i = 0; i < kValues; ++i) {
    registry.SetValue(("value" + std::to_string(i)).c_str(), CString(kText), 1);
  }
  registry.SetPath(HKEY_CURRENT_USER, "Bulk", 0);
  registry.SetPath(HKEY_CURRENT_USER, "Bulk\\first", 0);
  registry.Finalize();
  tesselkit::platform::ForgetHives();
  // By SQL, since one by one would take minutes.
  Sqlite hive(file_name);
  const std::string parent = "(SELECT parent FROM tree WHERE folded = CAST('first' AS BLOB))";
  hive.Execute("BEGIN");
  hive.Execute(Numbers(keys) +
               "INSERT INTO keys (id, parent, folded, depth) SELECT 1000000000 + i, " + parent +
               ", CAST(printf('key%08d', i) AS BLOB), 2 FROM numbers");
  hive.Execute(
      "INSERT INTO tree (parent, folded, name, id) SELECT parent, folded, folded, id "
      "FROM keys WHERE id > 1000000000");
  hive.Execute("UPDATE keys SET subkeys = subkeys + " + std::to_string(keys) +
               " WHERE id = " + parent);
  hive.Execute("COMMIT");
}

class OpenKey {
 public:
  explicit OpenKey(const char* path, REGSAM access = KEY_READ) {
    if (RegOpenKeyExA(HKEY_CURRENT_USER, path, 0, access, &m_key) != ERROR_SUCCESS) {
      throw std::runtime_error("no key");
    }
  }
  ~OpenKey() { RegCloseKey(m_key); }
  operator HKEY() const { return m_key; }

 private:
  HKEY m_key = nullptr;
};

void ReadValueOfOpenKey(benchmark::State& state) {
  UseHive(state.range(0));
  const OpenKey key(KeyPath(state.range(0)).c_str());
  BYTE data[100];
  for (auto _ : state) {
    DWORD size = sizeof data;
    RegQueryValueExA(key, "value7", nullptr, nullptr, data, &size);
    benchmark::DoNotOptimize(data);
  }
}
BENCHMARK(ReadValueOfOpenKey)->Arg(1000)->Arg(1000000);

void ReadTextByWrapper(benchmark::State& state) {
  UseHive(1000);
  AdRegistry registry;
  registry.SetPath(HKEY_CURRENT_USER, KeyPath(1000).c_str(), 1);
  CString text;
  for (auto _ : state) {
    registry.GetValue("value7", text);
    benchmark::DoNotOptimize(text);
  }
}
BENCHMARK(ReadTextByWrapper);

void LookUpValue(benchmark::State& state) {
  UseHive(state.range(0));
  const std::string path = KeyPath(state.range(0));
  CString text;
  for (auto _ : state) {
    if (!AdLookupRegistryValue(path.c_str(), "value7", text)) throw std::runtime_error("no value");
  }
}
BENCHMARK(LookUpValue)->Arg(1000)->Arg(1000000);

// A table like the store's own.
class SqliteTree : public Sqlite {
 public:
  SqliteTree() : Sqlite(Files() / "raw.db") {
    Execute(
        "DROP TABLE IF EXISTS tree; DROP TABLE IF EXISTS value;"
        "CREATE TABLE tree (parent INTEGER, folded BLOB, name BLOB, id INTEGER,"
        " PRIMARY KEY (parent, folded)) WITHOUT ROWID;"
        "CREATE TABLE value (key INTEGER, folded BLOB, name BLOB, type INTEGER, data BLOB,"
        " PRIMARY KEY (key, folded)) WITHOUT ROWID");
    for (int i = 0; i < kValues; ++i) {
      const std::string name = "'value" + std::to_string(i) + "'";
      Execute("INSERT INTO value VALUES (1, " + name + ", " + name + ", 1, '" + kText + "')");
    }
  }

  // Keys below key 2, and values in them.
  void FillTree(std::int64_t keys) {
    Execute("BEGIN");
    Execute(Numbers(keys) +
            "INSERT INTO tree SELECT 2, printf('key%08d', i), printf('key%08d', i)"
            ", 2 + i FROM numbers");
    Execute("INSERT INTO value SELECT id, 'v', 'v', 1, 'data' FROM tree WHERE parent = 2");
    Execute("COMMIT");
  }
};

void ReadValueSqlite(benchmark::State& state) {
  SqliteTree tree;
  sqlite3_stmt* const read =
      tree.Prepare("SELECT type, data FROM value WHERE key = ? AND folded = ?");
  for (auto _ : state) {
    sqlite3_bind_int(read, 1, 1);
    sqlite3_bind_text(read, 2, "value7", 6, SQLITE_STATIC);
    if (sqlite3_step(read) != SQLITE_ROW) throw std::runtime_error("no value");
    benchmark::DoNotOptimize(sqlite3_column_blob(read, 1));
    sqlite3_reset(read);
  }
  sqlite3_finalize(read);
}
BENCHMARK(ReadValueSqlite);

#ifdef TESSELKIT_PEER_GIO

void ReadValueKeyFile(benchmark::State& state) {
  GKeyFile* const file = g_key_file_new();
  for (int i = 0; i < kValues; ++i) {
    g_key_file_set_string(file, KeyPath(1000).c_str(), ("value" + std::to_string(i)).c_str(),
                          kText);
  }
  for (auto _ : state) {
    char* const text = g_key_file_get_string(file, KeyPath(1000).c_str(), "value7", nullptr);
    benchmark::DoNotOptimize(text);
    g_free(text);
  }
  g_key_file_free(file);
}
BENCHMARK(ReadValueKeyFile);

// One call: the file loaded, the value read.
void LookUpValueKeyFile(benchmark::State& state) {
  const std::string file_name = Files() / "settings.ini";
  std::ofstream lines(file_name);
  lines << "[group]\n";
  for (int i = 0; i < kValues; ++i) lines << "value" << i << "=" << kText << "\n";
  lines.close();
  for (auto _ : state) {
    GKeyFile* const file = g_key_file_new();
    g_key_file_load_from_file(file, file_name.c_str(), G_KEY_FILE_NONE, nullptr);
    char* const text = g_key_file_get_string(file, "group", "value7", nullptr);
    benchmark::DoNotOptimize(text);
    g_free(text);
    g_key_file_free(file);
  }
}
BENCHMARK(LookUpValueKeyFile);

void ReadValueGSettings(benchmark::State& state) {
  const std::string directory = Files() / "schemas";
  fs::create_directory(directory);
  std::ofstream schema(directory + "/bench.gschema.xml");
  schema << "<schemalist><schema id='bench' path='/software/maker/'>";
  for (int i = 0; i < kValues; ++i) {
    schema << "<key name='value" << i << "' type='s'><default>'" << kText << "'</default></key>";
  }
  schema << "</schema></schemalist>";
  schema.close();
  if (std::system(("glib-compile-schemas " + directory).c_str()) != 0) {
    return state.SkipWithError("no schema compiler");
  }
  GSettingsSchemaSource* const source =
      g_settings_schema_source_new_from_directory(directory.c_str(), nullptr, FALSE, nullptr);
  GSettingsSchema* const found = g_settings_schema_source_lookup(source, "bench", FALSE);
  GSettingsBackend* const backend = g_memory_settings_backend_new();
  GSettings* const settings = g_settings_new_full(found, backend, nullptr);
  g_settings_set_string(settings, "value7", kText);
  for (auto _ : state) {
    char* const text = g_settings_get_string(settings, "value7");
    benchmark::DoNotOptimize(text);
    g_free(text);
  }
  g_object_unref(settings);
  g_object_unref(backend);
  g_settings_schema_unref(found);
  g_settings_schema_source_unref(source);
}
BENCHMARK(ReadValueGSettings);

#endif

#ifdef TESSELKIT_PEER_DCONF

void ReadValueDconf(benchmark::State& state) {
  const std::string directory = Files() / "dconf.d";
  fs::create_directory(directory);
  std::ofstream lines(directory + "/all");
  for (int key = 0; key < 1000; ++key) {
    lines << "[software/maker/" << key << "]\n";
    for (int i = 0; i < kValues; ++i) lines << "value" << i << "='" << kText << "'\n";
  }
  lines.close();
  const std::string database = Files() / "dconf.db";
  if (std::system(("dconf compile " + database + " " + directory).c_str()) != 0) {
    return state.SkipWithError("no dconf");
  }
  std::ofstream(Files() / "profile") << "file-db:" << database << "\n";
  setenv("DCONF_PROFILE", (Files() / "profile").c_str(), 1);
  DConfClient* const client = dconf_client_new();
  for (auto _ : state) {
    GVariant* const value = dconf_client_read(client, "/software/maker/500/value7");
    if (value == nullptr) return state.SkipWithError("no value");
    benchmark::DoNotOptimize(g_variant_get_string(value, nullptr));
    g_variant_unref(value);
  }
  g_object_unref(client);
}
BENCHMARK(ReadValueDconf);

#endif

void WriteValue(benchmark::State& state) {
  UseHive(state.range(0));
  const OpenKey key(KeyPath(state.range(0)).c_str(), KEY_ALL_ACCESS);
  DWORD number = 0;
  for (auto _ : state) {
    ++number;
    if (RegSetValueExA(key, "number", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&number), 4) !=
        ERROR_SUCCESS) {
      throw std::runtime_error("not written");
    }
  }
}
BENCHMARK(WriteValue)->Arg(1000)->Arg(1000000);

void WriteValueSqlite(benchmark::State& state) {
  SqliteTree tree;
  sqlite3_stmt* const write = tree.Prepare(
      "INSERT INTO value VALUES (1, 'number', 'number', 4, ?) "
      "ON CONFLICT DO UPDATE SET type = excluded.type, data = excluded.data");
  int number = 0;
  for (auto _ : state) {
    ++number;
    sqlite3_bind_blob(write, 1, &number, sizeof number, SQLITE_STATIC);
    if (sqlite3_step(write) != SQLITE_DONE) throw std::runtime_error("not written");
    sqlite3_reset(write);
  }
  sqlite3_finalize(write);
}
BENCHMARK(WriteValueSqlite);

// 10,000 of the subkeys, by index.
constexpr int kListed = 10000;

void ListSubkeys(benchmark::State& state) {
  UseHive(state.range(0));
  const OpenKey key("Bulk");
  std::int64_t listed = 0;
  for (auto _ : state) {
    char name[256];
    for (DWORD i = 0; i < kListed; ++i) {
      DWORD size = sizeof name;
      listed += RegEnumKeyExA(key, i, name, &size, nullptr, nullptr, nullptr, nullptr) == 0;
    }
  }
  if (listed != kListed * static_cast<std::int64_t>(state.iterations())) {
    state.SkipWithError("not all listed");
  }
}
BENCHMARK(ListSubkeys)->Arg(10000)->Arg(1000000)->Unit(benchmark::kMillisecond);

void ListSubkeysSqlite(benchmark::State& state) {
  SqliteTree tree;
  tree.FillTree(kListed);
  sqlite3_stmt* const list = tree.Prepare("SELECT name FROM tree WHERE parent = 2 ORDER BY folded");
  for (auto _ : state) {
    std::string name;
    while (sqlite3_step(list) == SQLITE_ROW) {
      name.assign(static_cast<const char*>(sqlite3_column_blob(list, 0)),
                  static_cast<std::size_t>(sqlite3_column_bytes(list, 0)));
      benchmark::DoNotOptimize(name);
    }
    sqlite3_reset(list);
  }
  sqlite3_finalize(list);
}
BENCHMARK(ListSubkeysSqlite)->Unit(benchmark::kMillisecond);

void OpenKeyWithInformation(benchmark::State& state) {
  UseHive(state.range(0));
  AdRegistry registry;
  for (auto _ : state) registry.SetPath(HKEY_CURRENT_USER, "Bulk", 1);
}
BENCHMARK(OpenKeyWithInformation)->Arg(1000)->Arg(1000000);

// Each key is opened once before any is opened again, so that nothing is known of most of them.
void OpenEveryKey(benchmark::State& state) {
  UseHive(state.range(0));
  const OpenKey bulk("Bulk");
  std::int64_t i = 0;
  for (auto _ : state) {
    char name[16];
    i = (i + 7919) % state.range(0);
    std::snprintf(name, sizeof name, "key%08d", static_cast<int>(i) + 1);
    HKEY key = nullptr;
    RegOpenKeyExA(bulk, name, 0, KEY_READ, &key);
    RegCloseKey(key);
  }
}
BENCHMARK(OpenEveryKey)->Arg(1000)->Arg(1000000);

void FillTree(int keys) {
  const OpenKey top("Software", KEY_ALL_ACCESS);
  for (int i = 0; i < keys; ++i) {
    HKEY key = nullptr;
    RegCreateKeyA(top, ("Tree\\key" + std::to_string(i)).c_str(), &key);
    RegSetValueExA(key, "v", 0, REG_BINARY, reinterpret_cast<const BYTE*>("data"), 4);
    RegCloseKey(key);
  }
}

void DeleteTree(benchmark::State& state) {
  UseHive(1000);
  for (auto _ : state) {
    state.PauseTiming();
    FillTree(kListed);
    AdRegistry registry;
    registry.SetPath(HKEY_CURRENT_USER, "Software", 0);
    state.ResumeTiming();
    registry.DeleteKey("Tree");
  }
}
BENCHMARK(DeleteTree)->Iterations(3)->Unit(benchmark::kMillisecond);

void DeleteTreeSqlite(benchmark::State& state) {
  SqliteTree tree;
  for (auto _ : state) {
    state.PauseTiming();
    tree.FillTree(kListed);
    state.ResumeTiming();
    const std::string below =
        "WITH RECURSIVE below(id) AS (SELECT id FROM tree WHERE parent = 2 UNION ALL "
        "SELECT tree.id FROM below JOIN tree ON tree.parent = below.id) ";
    tree.Execute("BEGIN");
    tree.Execute(below + "DELETE FROM value WHERE key IN below");
    tree.Execute(below + "DELETE FROM tree WHERE parent = 2 OR parent IN below");
    tree.Execute("COMMIT");
  }
}
BENCHMARK(DeleteTreeSqlite)->Iterations(3)->Unit(benchmark::kMillisecond);

}  // namespace
