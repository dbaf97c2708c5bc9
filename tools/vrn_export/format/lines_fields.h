// Which names the fields of a measurement have, where InfluxDB gives each field one type.
#pragma once

#include <cstdint>
#include <map>
#include <string>

namespace vrn::exporter {

enum class LinesFieldType : std::uint8_t { integer, float64, text };

// Names as lines_name() gives them. Where one has several types in a measurement, the first of them
// in the order above keeps it, and each other has its type added ("_float"). So has every field
// that was not added: of schemas that nobody knew, two may differ.
class LinesFields {
  public:
    void add(const std::string &name, LinesFieldType type);

    std::string name_of(const std::string &name, LinesFieldType type) const;

  private:
    std::map<std::string, std::uint8_t> types_;  // a bit for each by name
};

}  // namespace vrn::exporter
