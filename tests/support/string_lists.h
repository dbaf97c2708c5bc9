// String arrays in and out of test tables.
#pragma once

#include "support/test.h"
#include "utils/string_array.h"

namespace vrn::test {

inline vrn_string_array_ptr make_array(const Lines &texts) {
    vrn_string_array_t *array = vrn_string_array_create();
    for (const std::string &text : texts)
        EXPECT_TRUE(vrn_string_array_append(&array, text.c_str()));
    return vrn_string_array_ptr(array);
}

inline Lines items(const vrn_string_array_t *array) {
    const auto all = vrn_string_array_items(array);
    return {all.begin(), all.end()};
}

}  // namespace vrn::test
