// The base of the product's stateful classes: a two-phase lifecycle, a hook for the library's
// archive, and a description of itself for traces.
//
// The owner of an object constructs it, calls Initialize before the first use and Finalize after
// the last, and destroys it. Constructors and destructors call neither. Initialize may be called
// again after Finalize. Objects belong to one thread at a time.
//
// A derived class makes Initialize and Finalize public; its Initialize calls its base's first, its
// Finalize calls its base's last.
#pragma once

#include "tesselkit/platform/cobject.h"
#include "tesselkit/platform/cstring.h"
#include "tesselkit/platform/export.h"

class AdArchive;
class AdObjectGuard;

class TESSELKIT_API AdObject : public CObject {
 public:
  // A new AdObject, owned by the caller.
  static CObject* CreateObject();

  CRuntimeClass* GetRuntimeClass() const override;

 protected:
  AdObject();
  ~AdObject() override;

  // Stores and loads nothing; the object's data travel through the other one.
  void Serialize(CArchive& archive) override;

 public:
  // A name for people. GetDumpTag() unless a class has something better.
  virtual CString GetName() const;

  // Writes one line to the debugger output: the dump tag, the name in quotes when it is neither
  // empty nor the tag itself, a colon, the message and a line feed. Null and "" are shown as
  // "<no message>".
  void ReportViaODS(const char* message) const;

  static CRuntimeClass classAdObject;

 protected:
  virtual void Initialize();
  virtual void Finalize();

  // Called by the archive for every object that it writes or reads. A class that persists
  // overrides it to write or read its members.
  virtual void Serialize(AdArchive& archive);

  void ClearAllObjectMemberVars();

  // The name of the object's class, "@", and its address as "0x" and exactly eight lower-case
  // hexadecimal digits (the low 32 bits of it).
  CString GetDumpTag() const;

 private:
  friend class AdObjectGuard;
  friend class AdArchive;
};
