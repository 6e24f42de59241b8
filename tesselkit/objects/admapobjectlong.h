// A map from numbers to objects, for large numbers of entries.
//
// The owner of a map drives it as every AdObject: construct, Initialize, use, Finalize, destroy.
// The map never owns and never deletes the objects. A key keeps its whole value, also where an
// `unsigned long` has more than 32 bits. When memory runs out, CMemoryException* is thrown and the
// map is as it was. One thread at a time.
#pragma once

#include "tesselkit/objects/adhashtable.h"
#include "tesselkit/objects/adobject.h"
#include "tesselkit/platform/collections.h"
#include "tesselkit/platform/export.h"

class TESSELKIT_API AdMapObjectLong : public AdObject {
  DECLARE_DYNAMIC(AdMapObjectLong)

 public:
  AdMapObjectLong();
  // Frees the entries as RemoveAll does.
  ~AdMapObjectLong() override;

  void Finalize() override;

  // Empties the map and gives it bins for about `size_hint` entries: 137 for the hint 0, none yet
  // for one beyond AdMaxHashPrime().
  using AdObject::Initialize;
  virtual void Initialize(unsigned long size_hint);

  // Sets the object of a key; an earlier one is forgotten. A null object is a failed condition.
  void SetAt(unsigned long key, AdObject* object);

  // Sets `object` to the object of a key, and leaves it alone when the key is missing: set it to
  // null before, and test it afterwards.
  void Lookup(unsigned long key, AdObject*& object) const {
    if (const Table::Bucket* found = m_table.Find(key)) object = found->value;
  }

  // A missing key is no error.
  void RemoveKey(unsigned long key);

  // Removes every entry, and the bins with them: a size hint is not kept.
  void RemoveAll();

  // Makes room for about `size` entries. The map never shrinks by this; a size beyond
  // AdMaxHashPrime() changes nothing.
  void SizeHint(unsigned long size);

 protected:
  using Table = AdHashTable<unsigned long, AdObject*, AdHashUlong>;

  void ClearAllMapObjectLongMemberVars();

  // Replaces `lines` by a report on the number of entries and how they lie in the bins.
  void Statistics(CStringArray& lines) const;

  Table m_table;
};
