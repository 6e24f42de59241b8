#include "tesselkit/objects/guards.h"

#include <utility>

#include "tesselkit/failure/caught.h"
#include "tesselkit/failure/tesselkitenums.h"
#include "tesselkit/objects/adobject.h"
#include "tesselkit/platform/command_target.h"

using tesselkit::failure::EndCaughtException;

AdObjectGuard::AdObjectGuard(AdObject* object) : m_object(object) {}

AdObjectGuard::~AdObjectGuard() noexcept(false) {
  struct Deleter {
    ~Deleter() { delete object; }
    AdObject* object;
  };
  AdObject* const object = std::exchange(m_object, nullptr);
  if (object == nullptr) return;
  const auto release = [object] {
    const Deleter deleter{object};
    object->Finalize();
  };
  m_scopeExit.Run(release, EndCaughtException);
}

void AdObjectGuard::Disable() {
  m_object = nullptr;
}

AdOleObjectGuard::AdOleObjectGuard(CCmdTarget* target) : m_target(target) {}

AdOleObjectGuard::~AdOleObjectGuard() noexcept(false) {
  CCmdTarget* const target = std::exchange(m_target, nullptr);
  if (target == nullptr) return;
  m_scopeExit.Run([target] { target->OnFinalRelease(); }, EndCaughtException);
}

void AdOleObjectGuard::Disable() {
  m_target = nullptr;
}

AdProgressGuard::AdProgressGuard(long& progress)
    : m_progress(progress), m_hasSet(progress != IN_PROGRESS) {
  if (m_hasSet) m_progress = IN_PROGRESS;
}

AdProgressGuard::~AdProgressGuard() {
  if (m_hasSet) m_progress = NOT_IN_PROGRESS;
}
