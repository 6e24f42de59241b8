// One open key of the registry: walking the tree of keys, typed values, deletion.
//
//   AdRegistry registry;
//   registry.Initialize();
//   registry.SetPath(HKEY_CURRENT_USER, "Software\\Product", 0);
//   registry.SetValue("Language", CString("de"), 1);
//   registry.Finalize();
//
// A registry call that fails throws message 18058 (PaMsgException*), which names the platform
// function, the whole path of the key and the system's text; a null argument is a condition failure
// (message 18019) with the source name "adregistry". Missing values are no failures: reading
// answers 0. `bReadOnly` other than 0 opens a key for reading and never makes it; 0 opens it with
// every right and makes it when it is missing.
//
// The object owns its open key and its connection, and closes them with Finalize, with another root
// and with its own end. The root stays the caller's, with one exception: an open key of the
// caller's that is given as the root is taken over and closed. When a key cannot be opened, the
// path is the new one and no key is open; the object may go on to another path.
//
// An object belongs to one thread at a time; different ones may be used by different threads.
#pragma once

#include "tesselkit/objects/adobject.h"
#include "tesselkit/platform/collections.h"
#include "tesselkit/platform/registry.h"

class TESSELKIT_API AdRegistry : public AdObject {
  DECLARE_DYNAMIC(AdRegistry)

 public:
  // The type of a stored value, as the platform numbers it. Stores may hold other numbers too.
  enum KeyValueTypes : DWORD {
    kNoType = REG_NONE,
    kText = REG_SZ,
    kExpandableText = REG_EXPAND_SZ,
    kBinary = REG_BINARY,
    kNumber = REG_DWORD,
    kBigEndianNumber = REG_DWORD_BIG_ENDIAN,
    kLink = REG_LINK,
    kTextList = REG_MULTI_SZ,
  };

  AdRegistry();
  ~AdRegistry() override;

  // Both close what is open and clear the status. The path is left as it is.
  void Initialize() override;
  void Finalize() override;

  // Opens the key at `lpszPathName` below `hRootKey`. Backslashes at both ends of the name do not
  // count.
  void SetPath(HKEY hRootKey, const char* lpszPathName, int bReadOnly);

  // Opens the key `lpszSubkeyName` below the current one. Backslashes at both ends of the name do
  // not count; a name may hold several levels.
  void PushDirectory(const char* lpszSubkeyName, int bReadOnly);

  // Opens the key one level up; the same key again when the path has only one level.
  void PopDirectory(int bReadOnly);

  // 1 when there is a key `name` below the current key, whose path stays, but which is open for
  // reading only then. 0 when there is none, and for null and "": nothing changes.
  int KeyExists(const char* name);

  // Reads a value of the open key into the room of `*size` bytes at `data`; `*size` receives the
  // data's size, also when the room does not do. Null for both asks only whether there is such a
  // value. 1 with `type` set, or 0 with `type` as it was.
  int QueryValue(const char* lpszValueName, KeyValueTypes& type, unsigned char* data,
                 unsigned long* size);

  // 1 when the open key has such a value, not longer than its longest when it was opened.
  int ValueExists(const char* lpszValueName);

  // Typed reading: 1, or 0 with the output as it was when the value is missing or too long: more
  // than 2048 bytes for a number or a text, more than the key's longest value when it was opened
  // for the arrays. What is stored is converted:
  //
  //   stored         number     text          texts                numbers
  //   text           its "%d"   itself        itself               its "%d"
  //   number         itself     as "%d"       as "%d"              itself
  //   binary         -          -             each DWORD as "%d"   each DWORD
  //   list of texts  -          -             each                 each one's "%d"
  //   others         -          -             none                 none
  //
  // "-" and a text that holds no number are condition failures: "i>0" for the text that is read as
  // one number (which is 0 then), else "0". An array is emptied first, and keeps what was converted
  // before the failure.
  int GetValue(const char* lpszValueName, unsigned long& value);
  int GetValue(const char* lpszValueName, CString& value);
  int GetValue(const char* lpszValueName, CStringArray& values);
  int GetValue(const char* lpszValueName, CDWordArray& values);

  // Typed writing, as a number, a text, a list of texts and binary data. `bOverwrite` 0 leaves a
  // value that is there, of whatever type, as it is. A list ends for readers at its first empty
  // text. A number of more than 32 bits is a condition failure.
  void SetValue(const char* lpszValueName, unsigned long value, int bOverwrite);
  void SetValue(const char* lpszValueName, const CString& value, int bOverwrite);
  void SetValue(const char* lpszValueName, const CStringArray& values, int bOverwrite);
  void SetValue(const char* lpszValueName, const CDWordArray& values, int bOverwrite);

  // The name of the subkey at `index`; 0 and `name` as it was past the last one.
  int EnumerateKeys(unsigned long index, CString& name);

  // The value at `index`, its data in the room of `size` bytes at `data`; `size` receives the
  // data's size. 0 past the last one or when the room does not do, `name` and `type` as they were.
  int EnumerateValues(unsigned long index, CString& name, KeyValueTypes& type, unsigned char* data,
                      unsigned long& size);

  // Null stands for the unnamed value. A value that is not there is a failure.
  void DeleteValue(const char* lpszValueName);

  // Deletes a key and everything below it; the current path stays, open with every right. What
  // cannot be deleted stays without a report. The keys above the last level are made when they are
  // missing.
  void DeleteKey(const char* lpszKeyToDelete);

 protected:
  void AssertValid() const override;

  // Closes the keys and clears the status; a root that serves as connection or key is left alone.
  void ClearRegistryMemberVars();

  // Opens, or makes, the key at the current path.
  void Open(int bReadOnly);

  // Fills the key information below from the open key.
  void QueryInfo();

  // The root's name (empty for other roots than the current user and the machine), a backslash and
  // the current path.
  CString FormatCurrentKeyPath();

  // The system's text for the status of the last registry call; empty when it has none.
  CString FormatLastErrorMessage();

  // Writes a value. Null data are a condition failure.
  void SetValue(const char* lpszValueName, KeyValueTypes type, unsigned char* lpbValueData,
                unsigned long size, int bOverwrite);

  // Deletes the key `name` below the current one and everything below it.
  void DeleteKeysDeep(const char* name);

  HKEY m_hRootKey = nullptr;
  LONG m_lLastError = 0;
  HKEY m_hKey = nullptr;
  HKEY m_hRootConnection = nullptr;
  CString m_strPath;  // below the root, without backslashes at its ends after SetPath

  // Of the open key, as it was when it was opened.
  DWORD m_dwSubKeys = 0;
  DWORD m_dwMaxSubKeyLen = 0;
  DWORD m_dwValues = 0;
  DWORD m_dwMaxValueNameLen = 0;
  DWORD m_dwMaxValueLen = 0;

 private:
  void Connect(HKEY root);
  void AppendToPath(const char* name);
  LONG OpenPath(REGSAM access, HKEY& key);
  void DeleteSubkeysSingly();
  void CheckName(const char* lpszValueName) const;
  [[noreturn]] void ThrowFailure(const char* function, int line);
};
