// The tables of a hive. Names and data are blobs, names as they are written and folded.
#pragma once

namespace tesselkit::platform {

// "TWRG", in the place where SQLite's files tell whose they are.
inline constexpr unsigned kHiveApplicationId = 0x54575247;
inline constexpr unsigned kHiveFormat = 1;

// The lengths of a key's names and data, and how many have each, are kept so that the longest one
// is known also when the one that was it has gone.
enum LengthKind { kSubkeyNames = 0, kSubkeyClasses = 1, kValueNames = 2, kValueData = 3 };

// Key 1 is that of HKEY_CLASSES_ROOT, and so on to 7 for HKEY_DYN_DATA; their parent is 0.
inline constexpr char kHiveSchema[] = R"(
PRAGMA page_size = 4096;
PRAGMA application_id = 1415008839;
PRAGMA user_version = 1;
BEGIN;
CREATE TABLE keys (
  id INTEGER PRIMARY KEY AUTOINCREMENT,
  parent INTEGER NOT NULL,
  folded BLOB NOT NULL,
  depth INTEGER NOT NULL,
  class BLOB NOT NULL DEFAULT x'',
  subkeys INTEGER NOT NULL DEFAULT 0,
  longest_subkey INTEGER NOT NULL DEFAULT 0,
  longest_class INTEGER NOT NULL DEFAULT 0,
  value_count INTEGER NOT NULL DEFAULT 0,
  longest_value_name INTEGER NOT NULL DEFAULT 0,
  longest_data INTEGER NOT NULL DEFAULT 0);
CREATE TABLE tree (
  parent INTEGER NOT NULL,
  folded BLOB NOT NULL,
  name BLOB NOT NULL,
  id INTEGER NOT NULL,
  PRIMARY KEY (parent, folded)) WITHOUT ROWID;
CREATE TABLE value (
  key INTEGER NOT NULL,
  folded BLOB NOT NULL,
  name BLOB NOT NULL,
  type INTEGER NOT NULL,
  data BLOB NOT NULL,
  PRIMARY KEY (key, folded)) WITHOUT ROWID;
CREATE TABLE lengths (
  key INTEGER NOT NULL,
  kind INTEGER NOT NULL,
  length INTEGER NOT NULL,
  uses INTEGER NOT NULL,
  PRIMARY KEY (key, kind, length)) WITHOUT ROWID;
INSERT INTO keys (id, parent, folded, depth) VALUES
  (1, 0, CAST('hkey_classes_root' AS BLOB), 0),
  (2, 0, CAST('hkey_current_user' AS BLOB), 0),
  (3, 0, CAST('hkey_local_machine' AS BLOB), 0),
  (4, 0, CAST('hkey_users' AS BLOB), 0),
  (5, 0, CAST('hkey_performance_data' AS BLOB), 0),
  (6, 0, CAST('hkey_current_config' AS BLOB), 0),
  (7, 0, CAST('hkey_dyn_data' AS BLOB), 0);
INSERT INTO tree (parent, folded, name, id) SELECT parent, folded,
  CAST(upper(CAST(folded AS TEXT)) AS BLOB), id FROM keys;
COMMIT;
)";

}  // namespace tesselkit::platform
