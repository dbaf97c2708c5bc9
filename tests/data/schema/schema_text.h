// Schema documents in readable steps.
#pragma once

#include <string>
#include <vector>

namespace vrn::test {

inline std::string join(const std::vector<std::string> &items) {
    std::string text;
    for (const std::string &item : items) text += (text.empty() ? "" : ",") + item;
    return text;
}

// `more` is appended inside the object, e.g. R"(,"array_length":4)".
inline std::string field_text(const std::string &name, const std::string &type_name,
                              const std::string &offset, const std::string &type_size,
                              const std::string &more = "") {
    return R"({"field_name":")" + name + R"(","description":"d","type_name":")" + type_name +
           R"(","counting_mode":"ABSOLUTE","offset":)" + offset + R"(,"type_size":)" + type_size +
           more + "}";
}

inline std::string type_text(const std::string &name, const std::string &size,
                             const std::vector<std::string> &fields) {
    return R"({"name":")" + name + R"(","size":)" + size + R"(,"fields":[)" + join(fields) + "]}";
}

inline std::string schema_text(const std::vector<std::string> &types,
                               const std::string &version = "1.5.0") {
    return R"({"vrn_version":")" + version +
           R"(","provider_name":"p","provider_version":"1.2.3","types":[)" + join(types) + "]}";
}

// A type of one int field.
inline std::string int_type_text(const std::string &name) {
    return type_text(name, "4", {field_text("a", "int", "0", "4")});
}

inline constexpr char counters_text[] = R"({"version":"1.5.0","counter_groups":[]})";

}  // namespace vrn::test
