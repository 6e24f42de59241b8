// Foreign bytes as an object archive of two classes: a graph or a platform exception, nothing else.
// What loads is stored, loaded and stored again, and must give the same bytes.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "tesselkit/platform/exceptions.h"
#include "tests/support/archive_bytes.h"
#include "tests/support/archive_graph.h"

namespace {

using Roots = std::vector<test::Node*>;

// As many references as there are, or as the `most` that are asked for.
Roots LoadRoots(const std::string& bytes, std::size_t most) {
  Roots roots;
  test::Load<AdArchive>(bytes, [&](AdArchive& archive) {
    try {
      while (roots.size() < most) {
        roots.push_back(static_cast<test::Node*>(archive.LoadPointer()));
      }
    } catch (CArchiveException* exception) {
      exception->Delete();
    }
  });
  return roots;
}

std::string StoreRoots(const Roots& roots) {
  return test::Stored<AdArchive>([&](AdArchive& archive) {
    for (test::Node* root : roots) archive << root;
  });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const int registered = (test::RegisterGraph(), 1);
  static_cast<void>(registered);
  const Roots roots = LoadRoots(std::string(data, data + size), size);
  const std::string stored = StoreRoots(roots);
  const Roots again = LoadRoots(stored, roots.size());
  if (again.size() != roots.size() || StoreRoots(again) != stored) std::abort();
  test::made.clear();
  return 0;
}
