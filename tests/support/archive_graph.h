// Two small classes that persist, for tests of archives. Included by one source of a program.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "tesselkit/objects/adarchive.h"
#include "tesselkit/objects/adobject.h"

namespace test {

// A value of every type, a text and references to any number of others.
class Node : public AdObject {
 public:
  ~Node() override = default;
  CRuntimeClass* GetRuntimeClass() const override { return &classNode; }
  void Serialize(AdArchive& archive) override {
    if (archive.IsStoring()) {
      archive << byte << letter << word << small << number << count << wide << size << weight
              << name << static_cast<unsigned>(links.size());
      for (Node* link : links) archive << link;
    } else {
      unsigned left = 0;
      archive >> byte >> letter >> word >> small >> number >> count >> wide >> size >> weight >>
          name >> left;
      for (; left > 0; --left) links.push_back(static_cast<Node*>(archive.LoadPointer()));
    }
  }

  unsigned char byte = 0;
  char letter = 0;
  unsigned short word = 0;
  short small = 0;
  int number = 0;
  unsigned count = 0;
  long wide = 0;
  unsigned long size = 0;
  double weight = 0;
  CString name;
  std::vector<Node*> links;

  inline static CRuntimeClass classNode = {
      "Node", sizeof(int), 0xFFFF, nullptr, &AdObject::classAdObject, nullptr};
};

// One reference and one byte: a link of a chain.
class Link : public Node {
 public:
  CRuntimeClass* GetRuntimeClass() const override { return &classLink; }
  void Serialize(AdArchive& archive) override {
    if (archive.IsStoring()) {
      archive << byte << (links.empty() ? nullptr : links[0]);
    } else {
      archive >> byte;
      links.assign(1, static_cast<Node*>(archive.LoadPointer()));
    }
  }

  inline static CRuntimeClass classLink = {"L",     sizeof(int),      0xFFFF,
                                           nullptr, &Node::classNode, nullptr};
};

// Owns what the factories of these classes make.
inline std::vector<std::unique_ptr<Node>> made;

template <class Class>
Class* Make() {
  made.push_back(std::make_unique<Class>());
  return static_cast<Class*>(made.back().get());
}

inline void RegisterGraph() {
  AdArchive::Register_Class("Node", [] { return static_cast<AdObject*>(Make<Node>()); });
  AdArchive::Register_Class("L", [] { return static_cast<AdObject*>(Make<Link>()); });
}

}  // namespace test
