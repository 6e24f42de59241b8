#include "tesselkit/objects/admapobjectlong.h"

#include "tesselkit/failure/condition.h"

namespace {

constexpr char kSourceName[] = "admapobjectlong";

}  // namespace

IMPLEMENT_DYNAMIC(AdMapObjectLong, AdObject)

AdMapObjectLong::AdMapObjectLong() = default;

AdMapObjectLong::~AdMapObjectLong() = default;

void AdMapObjectLong::Initialize(unsigned long size_hint) {
  AdObject::Initialize();
  ClearAllMapObjectLongMemberVars();
  m_table.RemoveAll();
  m_table.Resize(size_hint);
}

void AdMapObjectLong::Finalize() {
  RemoveAll();
  ClearAllMapObjectLongMemberVars();
  AdObject::Finalize();
}

void AdMapObjectLong::SetAt(unsigned long key, AdObject* object) {
  AD_CHECK(object != 0);
  m_table.FindOrInsert(key)->value = object;
}

void AdMapObjectLong::RemoveKey(unsigned long key) {
  Table::Bucket* found = m_table.Find(key);
  if (found != nullptr) m_table.Remove(found);
}

void AdMapObjectLong::RemoveAll() {
  m_table.RemoveAll();
}

void AdMapObjectLong::SizeHint(unsigned long size) {
  m_table.Resize(size);
}

void AdMapObjectLong::Statistics(CStringArray& lines) const {
  m_table.Statistics(lines);
}

void AdMapObjectLong::ClearAllMapObjectLongMemberVars() {}
