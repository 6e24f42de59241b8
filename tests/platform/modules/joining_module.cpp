// An extension module: joins the resource chain when it is loaded, with a table of its own, and
// leaves it when it is unloaded. Its class is in the process's list meanwhile.
#include "tesselkit/platform/module.h"
#include "tesselkit/platform/string_table.h"

static const tesselkit::platform::StringTableEntry entries[] = {
    {70001, "text of a module that comes and goes"}};
TESSELKIT_EXPORT_STRING_TABLE(entries)

namespace {

class JoinedObject : public CObject {
  DECLARE_SERIAL(JoinedObject)
};
IMPLEMENT_SERIAL(JoinedObject, CObject, 1)

struct Membership {
  Membership() {
    AfxInitExtensionModule(record, tesselkit::platform::ModuleOfAddress(&entries));
    new CDynLinkLibrary(record);
  }
  ~Membership() { AfxTermExtensionModule(record); }
  AFX_EXTENSION_MODULE record = {};
} membership;

}  // namespace
