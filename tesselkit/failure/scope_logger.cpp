#include "tesselkit/failure/scope_logger.h"

#include "tesselkit/platform/debug_output.h"
#include "tesselkit/platform/exceptions.h"
#include "tesselkit/util/adutil_core.h"

AdScopeLogger::AdScopeLogger(const char* block_name, const char* file, long line) {
  m_text.Format("%s (%s:%d)", AdIsNonEmpty(block_name) ? block_name : "C++ block",
                file != nullptr ? file : "", static_cast<int>(line));
  Announce(1);
}

AdScopeLogger::~AdScopeLogger() {
  try {
    Announce(0);
  } catch (CException* out_of_memory) {
    out_of_memory->Delete();
  }
}

AdScopeLogger::AdScopeLogger(const AdScopeLogger& other) = default;

AdScopeLogger& AdScopeLogger::operator=(const AdScopeLogger& other) = default;

void AdScopeLogger::Announce(int entering) const {
  OutputDebugStringA((entering ? "Entering " : "Leaving ") + m_text);
}
