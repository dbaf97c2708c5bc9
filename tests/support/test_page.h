// Data pages of stated fields, without the code that allocates them.
#pragma once

#include <cstdint>
#include <cstring>
#include <string_view>
#include <vector>

#include "data/data_page.h"

namespace vrn::test {

class TestPage {
  public:
    // An empty page with `area` bytes for data, of this version, in blocks of `block_size`.
    explicit TestPage(std::size_t area = 1000, std::uint32_t block_size = 100)
        : bytes_((VRN_DATA_PAGE_HEADER_SIZE + area + 7) / 8) {
        head().version = 1 | 24 << 8 | 3 << 16;
        head().page_size = VRN_DATA_PAGE_HEADER_SIZE + area;
        head().filled_bytes = VRN_DATA_PAGE_HEADER_SIZE;
        head().block_size = block_size;
        names("node1", "tag");
    }
    // Texts that fill their field have no terminator.
    TestPage &names(std::string_view source, std::string_view tag) {
        head().source = {};
        source.copy(head().source.source, sizeof head().source.source);
        tag.copy(head().source.tag, sizeof head().source.tag);
        return *this;
    }
    TestPage &times(std::uint64_t first_ts, std::uint64_t last_ts) {
        head().first_ts = first_ts;
        head().last_ts = last_ts;
        return *this;
    }
    TestPage &data(std::string_view data) {
        std::memcpy(&head() + 1, data.data(), data.size());
        return fill(data.size());
    }
    // Counts the first `size` bytes of the data area as filled.
    TestPage &fill(std::size_t size) {
        head().filled_bytes = VRN_DATA_PAGE_HEADER_SIZE + size;
        return *this;
    }
    vrn_data_page_t &head() { return *reinterpret_cast<vrn_data_page_t *>(bytes_.data()); }
    const vrn_data_page_t *get() const {
        return reinterpret_cast<const vrn_data_page_t *>(bytes_.data());
    }

  private:
    std::vector<std::uint64_t> bytes_;
};

}  // namespace vrn::test
