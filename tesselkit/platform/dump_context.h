// Where CObject::Dump writes to.
#pragma once

#include "tesselkit/platform/cobject.h"

// Takes values one after the other and hands each, as text, to the debugger output.
class TESSELKIT_API CDumpContext {
 public:
  CDumpContext() = default;
  CDumpContext(const CDumpContext&) = delete;
  CDumpContext& operator=(const CDumpContext&) = delete;

  CDumpContext& operator<<(const char* text);  // null is written as "(NULL)"
  CDumpContext& operator<<(int value);
  CDumpContext& operator<<(unsigned value);
  CDumpContext& operator<<(long value);
  CDumpContext& operator<<(unsigned long value);
  CDumpContext& operator<<(double value);
  CDumpContext& operator<<(const void* pointer);

  // The class name and address, then what the object's own Dump writes.
  CDumpContext& operator<<(const CObject* object);
  CDumpContext& operator<<(const CObject& object) { return *this << &object; }

  // Above 0, objects that hold others dump those too.
  int GetDepth() const { return m_depth; }
  void SetDepth(int depth) { m_depth = depth; }

 private:
  int m_depth = 0;
};

// The process's dump context.
extern TESSELKIT_API CDumpContext afxDump;
