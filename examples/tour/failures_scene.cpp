// Failed checks and misuses, as their catcher and as the debugger output see them.
#include "examples/tour/scene.h"

namespace {

using namespace tour;

template <class Action>
void ShowFailure(const char* title, Action action) {
  Say("  %s\n", title);
  try {
    action();
  } catch (PaMsgException* caught) {
    const int id = caught->m_msgList.First().GetID();
    Say("    caught message %d\n", id);
    SayIndented("      |", TextOf(caught));
  }
}

// An order of the product's, with a name of its own.
class Order : public AdObject {
 public:
  explicit Order(const char* name) : m_name(name) {}
  CString GetName() const override { return m_name; }

 private:
  CString m_name;
};

}  // namespace

void tour::FailuresScene(const Places&) {
  ShowFailure("A failed check: a text is copied to a buffer of no size", [] {
    char buffer[1];
    AdSafeStrcpy("Customer_Orders", buffer, 0);
  });
  ShowFailure("A text that must be a number is none", [] { AdStrToLong("12a"); });
  ShowFailure("A relation is built twice", [] {
    AdThrowMisusedRelation("Order::Build", "order", 120, "customer", "relation", ALREADY_EXISTS);
  });

  Say("  An object traces itself, once by its dump tag alone\n");
  Order("").ReportViaODS("loaded");
  Order("order 1701").ReportViaODS("stored");

  Say("  A block traces its way in and out\n");
  const AdScopeLogger logger("Open", "adregistry", 40);
}
