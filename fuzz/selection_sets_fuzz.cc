// Field and counter set texts: the grammar, then questions with each of their own lines.
#include <sstream>
#include <string>
#include <vector>

#include "data/selection/provider_counter_set.h"
#include "data/selection/provider_field_set.h"

extern "C" int LLVMFuzzerTestOneInput(const char *data, std::size_t size) {
    std::vector<std::string> lines;
    std::istringstream text(std::string(data, size));
    for (std::string line; std::getline(text, line);) lines.push_back(line);
    std::vector<const char *> pointers;
    for (const std::string &line : lines) pointers.push_back(line.c_str());

    const vrn_provider_field_set_ptr fields(vrn_provider_field_set_create());
    const vrn_provider_counter_set_ptr counters(vrn_provider_counter_set_create());
    static_cast<void>(
        vrn_provider_field_set_init_from_lines(fields.get(), pointers.data(), pointers.size()));
    static_cast<void>(
        vrn_provider_counter_set_init_from_lines(counters.get(), pointers.data(), pointers.size()));
    for (const char *line : pointers) {
        vrn_provider_field_set_is_type_of_interest(fields.get(), line);
        vrn_provider_field_set_should_include_field(fields.get(), pointers[0], line);
        vrn_provider_counter_set_should_include_counter(counters.get(), line);
    }
    return 0;
}
