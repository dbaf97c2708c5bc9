// Counters, schemas and prints in few words.
#pragma once

#include <cstdlib>
#include <string>

#include "counters/counters_schema_json.h"
#include "data/text/json_value.h"
#include "utils/c_ptr.h"

namespace vrn::test {

// Records in code borrow constant texts; nothing writes to them.
inline char *text(const char *constant) {
    return const_cast<char *>(constant);
}

inline vrn_counter_info_t make_counter(const char *name, std::uint32_t data_type,
                                       std::uint32_t string_format = 0, std::uint32_t length = 0) {
    vrn_counter_info_t counter{};
    counter.name = text(name);
    counter.description = text("");
    counter.units = text("");
    counter.data_type = data_type;
    counter.length = length;
    counter.string_format = string_format;
    return counter;
}

inline vrn_counters_schema_ptr parse_schema(const std::string &json) {
    return vrn_counters_schema_ptr(vrn_counters_schema_from_string(json.c_str()));
}

// A counter object of a schema document; `more` are further keys, each after a comma.
inline std::string counter_json(const std::string &name, const std::string &data_type,
                                const std::string &more = "") {
    return R"({"name": ")" + name + R"(", "description": "", "units": "", "data_type": ")" +
           data_type + R"(", "counting_type": "DELTA")" + more + "}";
}

// A document of one group "g" of provider "p".
inline std::string schema_json(const std::string &counters, const std::string &num_counter_sets,
                               const std::string &granularity = "CPU") {
    return R"({"version": "1.5.0", "counter_groups": [{"granularity": ")" + granularity +
           R"(", "name": "g", "provider": "p", "num_counters": 0, "num_counter_sets": )" +
           num_counter_sets + R"(, "counters": [)" + counters + "]}]}";
}

}  // namespace vrn::test
