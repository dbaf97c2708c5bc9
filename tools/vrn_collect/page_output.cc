#include "vrn_collect/page_output.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <utility>

#include "data/page_encoder.h"
#include "data/time.h"
#include "utils/c_ptr.h"

namespace vrn::collect {
namespace {

// A compressed page with `payload`.
std::string encode_page(const vrn_source_t &source, vrn_page_encoding_t encoding,
                        const std::string &payload, std::uint64_t first, std::uint64_t last) {
    const vrn_page_info_t info = {source, first, last, encoding};
    std::size_t size = 0;
    const CPtr<void, std::free> block(
        vrn_compressed_page_encode(&info, payload.data(), payload.size(), &size));
    if (!block) throw std::runtime_error("cannot encode a page");
    return {static_cast<const char *>(block.get()), size};
}

// Each payload names its schemas itself, so pages of compressed blocks have no head.
PageSettings without_head(PageSettings settings) {
    settings.head.clear();
    return settings;
}

}  // namespace

void PageOutput::add_block(const std::string &block, std::uint64_t first, std::uint64_t last) {
    // Blocks never straddle pages: readers take each page by itself.
    if (page_ && block.size() > room()) flush();
    // Devices that come later make longer blocks.
    const std::size_t needed = settings_.head.size() + block.size();
    if (needed > settings_.chunk_size)
        settings_.chunk_size = static_cast<std::uint32_t>(2 * needed);
    if (!page_) begin_page(first);
    append(block);
    page_->last_ts = last;
}

void PageOutput::flush() {
    const vrn_data_page_ptr page = std::move(page_);
    // A page that is lost is counted by the writer, and told when the run ends.
    if (page) static_cast<void>(vrn_data_writer_write_page(writer_, page.get(), nullptr));
}

void PageOutput::begin_page(std::uint64_t first) {
    constexpr vrn_page_memory_t memory = {VRN_PAGE_MEMORY_REGULAR, 0, "vrn_collect"};
    page_.reset(vrn_data_page_allocate(settings_.chunk_size,
                                       VRN_DATA_PAGE_HEADER_SIZE + settings_.chunk_size, memory));
    if (!page_) throw std::runtime_error("cannot make a page");
    page_->first_ts = first;
    page_->schema_id = settings_.schema_id;
    page_->source = settings_.source;
    std::ranges::copy(settings_.hca_info, page_->hca_info);
    append(settings_.head);
}

void PageOutput::append(const std::string &block) {
    if (block.empty()) return;
    void *space = nullptr;
    std::uint64_t size = 0;
    vrn_data_page_get_free_space(page_.get(), &space, &size);
    std::memcpy(space, block.data(), block.size());
    vrn_data_page_consume_free_space(page_.get(), block.size());
}

std::uint64_t PageOutput::room() const {
    return page_->page_size - page_->filled_bytes;
}

EventOutput::EventOutput(vrn_data_writer_t *writer, const PageSettings &settings,
                         std::optional<vrn_page_encoding_t> encoding)
    : pages_(writer, encoding ? without_head(settings) : settings),
      payload_settings_(settings),
      encoding_(encoding) {
    if (!encoding_) return;
    // A plain page with the schemas comes first: the writer keeps them for the headers of all files
    // of the stream, but looks into no compressed page.
    const std::uint64_t now = vrn_time_now();
    pages_.add_block(settings.head, now, now);
    pages_.flush();
}

void EventOutput::add_block(const std::string &block, std::uint64_t timestamp) {
    if (!encoding_) {
        pages_.add_block(block, timestamp, timestamp);
        return;
    }
    // Measured before compression: readers hold the decoded page in memory.
    if (payload_.size() + block.size() > payload_settings_.chunk_size) flush_payload();
    if (payload_.empty()) {
        payload_ = payload_settings_.head;
        first_ = timestamp;
    }
    payload_ += block;
    last_ = timestamp;
}

void EventOutput::flush() {
    flush_payload();
    pages_.flush();
}

void EventOutput::flush_payload() {
    if (payload_.empty()) return;
    pages_.add_block(encode_page(payload_settings_.source, *encoding_, payload_, first_, last_),
                     first_, last_);
    payload_.clear();
}

}  // namespace vrn::collect
