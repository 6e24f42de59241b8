// The base of objects that automation callers hold: counted, released by the last holder.
#pragma once

#include "tesselkit/platform/cobject.h"

// A new target is held once, by its maker. Counting is safe from several threads.
class TESSELKIT_API CCmdTarget : public CObject {
  DECLARE_DYNAMIC(CCmdTarget)

 public:
  CCmdTarget() = default;
  ~CCmdTarget() override;

  // One holder more, or one fewer; both return the number of holders. The last release calls
  // OnFinalRelease.
  DWORD InternalAddRef();
  DWORD InternalRelease();

  // Called when the last holder has gone. Deletes the object.
  virtual void OnFinalRelease();

 private:
  LONG m_dwRef = 1;
};
