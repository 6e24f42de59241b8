// A file that is open on the host, closed at the end of a scope. For handlers of signals too.
#pragma once

namespace tesselkit::platform {

class Descriptor {
 public:
  explicit Descriptor(int number) noexcept : m_number(number) {}  // negative: none
  ~Descriptor();
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  int Get() const noexcept { return m_number; }

 private:
  int m_number;
};

}  // namespace tesselkit::platform
