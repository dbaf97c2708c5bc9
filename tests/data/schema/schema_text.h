// Schema documents from a short notation.
#pragma once

#include <sstream>
#include <string>
#include <vector>

namespace vrn::test {

inline std::string join(const std::vector<std::string> &items) {
    std::string text;
    for (const std::string &item : items) text += (text.empty() ? "" : ",") + item;
    return text;
}

inline std::vector<std::string> split(const std::string &text, char separator) {
    std::vector<std::string> items;
    std::istringstream stream(text);
    for (std::string item; std::getline(stream, item, separator);)
        if (!item.empty()) items.push_back(item);
    return items;
}

// "name:type@offset,type_size", and "xN" after it for an array of N elements; without the '@' it
// is JSON already.
inline std::string field_text(const std::string &notation) {
    const std::size_t at = notation.find('@');
    if (at == std::string::npos) return notation;
    const std::vector<std::string> name_and_type = split(notation.substr(0, at), ':');
    const std::vector<std::string> numbers = split(notation.substr(at + 1), ',');
    const std::vector<std::string> sizes = split(numbers[1], 'x');
    return R"({"field_name":")" + name_and_type[0] + R"(","description":"d","type_name":")" +
           name_and_type[1] + R"(","counting_mode":"ABSOLUTE","offset":)" + numbers[0] +
           R"(,"type_size":)" + sizes[0] +
           (sizes.size() > 1 ? R"(,"array_length":)" + sizes[1] : "") + "}";
}

// "name size field field ..."
inline std::string type_text(const std::string &notation) {
    const std::vector<std::string> words = split(notation, ' ');
    std::vector<std::string> fields;
    for (std::size_t i = 2; i < words.size(); ++i) fields.push_back(field_text(words[i]));
    return R"({"name":")" + words[0] + R"(","size":)" + words[1] + R"(,"fields":[)" + join(fields) +
           "]}";
}

// "type;type;..."
inline std::string schema_text(const std::string &notation, const std::string &version = "1.5.0") {
    std::vector<std::string> types;
    for (const std::string &type : split(notation, ';')) types.push_back(type_text(type));
    return R"({"vrn_version":")" + version +
           R"(","provider_name":"p","provider_version":"1.2.3","types":[)" + join(types) + "]}";
}

inline constexpr char int_type[] = "t 4 a:int@0,4;";
inline constexpr char counters_text[] = R"({"version":"1.5.0","counter_groups":[]})";

}  // namespace vrn::test
