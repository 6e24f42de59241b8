// A failure travels as an exception that carries its message. What it says goes to the debugger
// output once, before it is thrown; the catcher ends the exception with Delete().
#include <tesselkit/tesselkit.h>

#include <cstdio>

int main() {
  tesselkit::platform::SetDebugOutputSink([](const char* text) { std::printf("[%s]\n", text); });
  try {
    AdThrowMisusedRelation("Order", "order", 42, "open", "invoice", ALREADY_EXISTS);
  } catch (PaMsgException* exception) {
    PaMessage& message = exception->m_msgList.First();
    std::printf("message %d from %s\n", message.GetID(),
                static_cast<const char*>(message.GetSource()));
    exception->Delete();
  }
}
