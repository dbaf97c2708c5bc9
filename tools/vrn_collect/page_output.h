// One stream of a run: blocks gather in data pages of one chunk each, and full pages go to the
// data writer.
#pragma once

#include <array>
#include <optional>
#include <string>

#include "data/data_page.h"
#include "data/page_encoding.h"
#include "data/writer/data_writer.h"

namespace vrn::collect {

// What all pages of a stream share.
struct PageSettings {
    vrn_source_t source{};
    std::array<vrn_hca_info_t, VRN_PAGE_HCA_INFOS> hca_info{};
    vrn_schema_id_t schema_id{};  // of counters blocks
    std::uint32_t chunk_size = 0;
    std::string head;  // block that each page begins with; none when empty
};

// Members throw std::runtime_error when a page can't be made. The writer counts those that it can't
// store.
class PageOutput {
  public:
    // `writer` outlives this object.
    PageOutput(vrn_data_writer_t *writer, const PageSettings &settings)
        : writer_(writer), settings_(settings) {}

    // Adds a block; it begins a new page when the present one has no room for it.
    void add_block(const std::string &block, std::uint64_t first, std::uint64_t last);

    // Hands over what there is; the next block begins a page of its own.
    void flush();

  private:
    void begin_page(std::uint64_t first);
    void append(const std::string &block);
    std::uint64_t room() const;

    vrn_data_writer_t *writer_;
    PageSettings settings_;
    vrn_data_page_ptr page_;  // null: nothing gathered
};

// Event blocks as they are, or in compressed pages when there is an encoding. Counters always go
// out plain: a page that holds nothing but compressed ones can't tell the writer their schema.
class EventOutput {
  public:
    // The head of `settings` is a schemas block.
    EventOutput(vrn_data_writer_t *writer, const PageSettings &settings,
                std::optional<vrn_page_encoding_t> encoding);

    void add_block(const std::string &block, std::uint64_t timestamp);
    void flush();

  private:
    void flush_payload();

    PageOutput pages_;
    PageSettings payload_settings_;
    std::optional<vrn_page_encoding_t> encoding_;
    std::string payload_;  // blocks of one compressed page, and their times
    std::uint64_t first_ = 0;
    std::uint64_t last_ = 0;
};

}  // namespace vrn::collect
