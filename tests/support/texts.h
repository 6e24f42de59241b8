// Arrays of texts in a form that tests can compare and show.
#pragma once

#include <string>
#include <vector>

#include "tesselkit/platform/collections.h"

namespace test {

using Texts = std::vector<std::string>;

inline std::string Text(const CString& text) {
  return std::string(text.View());
}

inline Texts TextsOf(const CStringArray& array) {
  Texts texts;
  for (int i = 0; i < array.GetSize(); ++i) texts.push_back(Text(array[i]));
  return texts;
}

inline void Fill(CStringArray& array, const Texts& texts) {
  array.RemoveAll();
  for (const std::string& text : texts) array.Add(CString(text));
}

}  // namespace test
