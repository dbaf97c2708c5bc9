// One line of a report, read back.
#pragma once

#include <parson.h>

#include <cstdint>
#include <string>
#include <vector>

#include "utils/c_ptr.h"

namespace vrn::exporter {

// Whoever has written to the output folder may have put anything there.
class JsonObject {
  public:
    // Borrowed; null, which parson takes for an empty one, has no names.
    explicit JsonObject(const JSON_Object *object) : object_(object) {}

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
    // Those in an array, which live as long as this one; what else is in it counts as empty.
    std::vector<JsonObject> objects(const char *name) const;

  protected:
    const JSON_Object *object_;
};

// Empty when the line is no object.
class JsonLine : public JsonObject {
  public:
    explicit JsonLine(const std::string &line);

  private:
    CPtr<JSON_Value, json_value_free> value_;
};

}  // namespace vrn::exporter
