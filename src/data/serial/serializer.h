// What turns data pages into texts for other systems.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "data/data_page.h"
#include "data/schema/type_system.h"

namespace vrn::data {

using Tags = std::map<std::string, std::string>;

class Serializer {
  public:
    // One text for each line. `tags` go to every line. `page` is followed by its data area:
    // `page_size` bytes in all are readable.
    virtual std::vector<std::string> serialize(const Tags &tags, const vrn_data_page_t *page,
                                               const vrn_type_system_t *type_system) const = 0;

  protected:
    ~Serializer() = default;  // never destroyed through the base
};

}  // namespace vrn::data
