// One line of a report, read back.
#pragma once

#include <parson.h>

#include <cstdint>
#include <string>

#include "utils/c_ptr.h"

namespace vrn::exporter {

// Whoever has written to the output folder may have put anything there.
class JsonLine {
  public:
    explicit JsonLine(const std::string &line);

    // False for all names when the line is no object.
    bool has_text(const char *name) const;
    bool has_number(const char *name) const;
    // Empty without one.
    std::string text(const char *name) const;
    // `name` may lead into nested objects by dots. 0 for what is no number, negative, or beyond 64
    // bits. JSON numbers are held as doubles: exact up to 2^53, far above any file's size.
    std::uint64_t integer(const char *name) const;
    double number(const char *name) const;
    // `otherwise` without one.
    bool flag(const char *name, bool otherwise) const;

  private:
    CPtr<JSON_Value, json_value_free> value_;
    const JSON_Object *object_;  // null: none, which parson takes for an empty one
};

}  // namespace vrn::exporter
