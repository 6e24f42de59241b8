// A graph of objects stored and loaded, and a map that grows.
#include <memory>
#include <vector>

#include "examples/tour/scene.h"

namespace {

using namespace tour;

// A city and the cities that roads lead to.
class City : public AdObject {
  DECLARE_DYNAMIC(City)

 public:
  City() = default;
  explicit City(const char* name) : m_name(name) {}
  ~City() override = default;

  static AdObject* Make() { return new City; }

  // The bytes decide of which class an object is: anything but a city is refused.
  static City* Load(AdArchive& archive) {
    auto* const city = dynamic_cast<City*>(archive.LoadPointer());
    if (city == nullptr) AfxThrowArchiveException(CArchiveException::badClass);
    return city;
  }

  void RoadTo(City* other) { m_roads.push_back(other); }
  CString GetName() const override { return m_name; }
  const std::vector<City*>& Roads() const { return m_roads; }

 protected:
  using AdObject::Serialize;
  void Serialize(AdArchive& archive) override {
    if (archive.IsStoring()) {
      archive << m_name << static_cast<int>(m_roads.size());
      for (City* other : m_roads) archive << other;
    } else {
      int count = 0;
      archive >> m_name >> count;
      for (int i = 0; i < count; ++i) RoadTo(Load(archive));
    }
  }

 private:
  CString m_name;
  std::vector<City*> m_roads;
};

IMPLEMENT_DYNAMIC(City, AdObject)

void ShowRoads(const City& city) {
  Say("    %s:", static_cast<const char*>(city.GetName()));
  for (const City* other : city.Roads()) Say(" %s", static_cast<const char*>(other->GetName()));
  Say("\n");
}

void ShowBytes(CFile& file) {
  std::vector<unsigned char> bytes(file.GetLength());
  file.SeekToBegin();
  file.Read(bytes.data(), static_cast<UINT>(bytes.size()));
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const bool shown = bytes[i] >= 0x20 && bytes[i] < 0x7F;
    Say("%s", i % 24 == 0 ? "    " : " ");
    shown ? Say(" %c", bytes[i]) : Say("%02x", bytes[i]);
    if (i % 24 == 23 || i + 1 == bytes.size()) Say("\n");
  }
}

// Oslo and Bergen lead to each other, both to Voss, and Voss nowhere.
void ArchiveScene(const Places& places) {
  City oslo("Oslo");
  City bergen("Bergen");
  City voss("Voss");
  oslo.RoadTo(&bergen);
  oslo.RoadTo(&voss);
  bergen.RoadTo(&oslo);
  bergen.RoadTo(&voss);
  const CString path = (places.scratch + "/roads").c_str();
  CFile file(path, CFile::modeCreate | CFile::modeReadWrite);
  {
    AdArchive archive(&file, CArchive::store);
    archive << &oslo;
    archive.Close();
  }
  Say("  A graph with a cycle and a shared end, stored in %d bytes\n",
      static_cast<int>(file.GetLength()));
  ShowBytes(file);

  AdArchive::Register_Class("City", City::Make);
  file.SeekToBegin();
  AdArchive archive(&file, CArchive::load);
  const std::unique_ptr<City> loaded(City::Load(archive));
  archive.Close();
  const std::unique_ptr<City> loaded_bergen(loaded->Roads()[0]);
  const std::unique_ptr<City> loaded_voss(loaded->Roads()[1]);
  Say("  and loaded again\n");
  ShowRoads(*loaded);
  ShowRoads(*loaded_bergen);
  Say("    the cycle is closed: %s; the end is shared: %s\n",
      loaded_bergen->Roads()[0] == loaded.get() ? "yes" : "no",
      loaded_bergen->Roads()[1] == loaded_voss.get() ? "yes" : "no");
}

// Shows what the map tells derived classes alone.
class ReportingMap : public AdMapObjectLong {
 public:
  void Show() {
    CStringArray lines;
    Statistics(lines);
    for (int i = 1; i < 5 && i < lines.GetSize(); ++i) {
      Say("    %s\n", static_cast<const char*>(lines[i]));
    }
  }
};

void MapScene() {
  Say("\n  A map of one object under many keys, as it grows\n");
  City city("Oslo");
  ReportingMap map;
  map.Initialize(0);
  unsigned long key = 0;
  for (const unsigned long size : {420UL, 421UL, 1261UL}) {
    while (key < size) map.SetAt(key++ * 7919, &city);
    map.Show();
  }
  map.Finalize();
}

}  // namespace

void tour::ObjectsScene(const Places& places) {
  ArchiveScene(places);
  MapScene();
}
