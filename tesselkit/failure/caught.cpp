#include "tesselkit/failure/caught.h"

#include <cstdlib>

#include "tesselkit/failure/adexcept_automation.h"
#include "tesselkit/platform/exceptions.h"

void tesselkit::failure::EndCaughtException() noexcept {
  try {
    throw;
  } catch (CException* exception) {
    exception->Delete();
  } catch (AdOMException* exception) {
    std::free(exception->m_description);
    std::free(exception->m_source);
    delete exception;
  } catch (...) {
  }
}
