#include "tesselkit/platform/command_target.h"

#include <atomic>

IMPLEMENT_DYNAMIC(CCmdTarget, CObject)

CCmdTarget::~CCmdTarget() = default;

DWORD CCmdTarget::InternalAddRef() {
  return static_cast<DWORD>(std::atomic_ref(m_dwRef).fetch_add(1) + 1);
}

DWORD CCmdTarget::InternalRelease() {
  const LONG left = std::atomic_ref(m_dwRef).fetch_sub(1) - 1;
  if (left == 0) OnFinalRelease();
  return static_cast<DWORD>(left);
}

void CCmdTarget::OnFinalRelease() {
  delete this;
}
