// Pages on their way out of shared memory and into it, whatever its other users do meanwhile.
#pragma once

#include "data/data_page.h"

// A private regular page with the bytes that shared `page` holds at present: `page_size` is within
// the mapping and `filled_bytes` between the header's size and `page_size`. Ends with
// vrn_data_page_free. Null after one line when the header or the object does not allow it, and
// when `page` is not shared.
[[nodiscard]] vrn_data_page_t *vrn_data_page_snapshot(const vrn_data_page_t *page);

// Puts what regular `page` holds into the page at `shared`, which keeps its name and its creator:
// first the data, then the header that tells of it. False after one line when the mapping has not
// the room or the object has lost its bytes.
[[nodiscard]] bool vrn_data_page_publish(const vrn_data_page_t *page, vrn_data_page_t *shared);
