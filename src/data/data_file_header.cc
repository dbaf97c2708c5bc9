#include "data/data_file_header.h"

#include <cinttypes>
#include <cstdlib>
#include <cstring>

#include "data/layout_print.h"
#include "data/magic.h"
#include "data/version.h"
#include "utils/log.h"
#include "vrn_version.h"

namespace {

std::uint32_t packed_version(const vrn_data_file_header_t *header) {
    std::uint32_t packed = 0;
    std::memcpy(&packed, &header->version, sizeof packed);
    return packed;
}

bool is_version_known(const vrn_data_file_header_t *header) {
    // A patch never changes the layout, so it plays no part.
    constexpr std::uint32_t major_and_minor = 0xFFFF;
    return vrn_version_is_compatible(packed_version(header) & major_and_minor,
                                     VRN_DATA_FILE_VERSION & major_and_minor);
}

// A text that fills its field runs on into what follows, as far as the header reaches.
void print_header_text(std::FILE *stream, const char *label, const vrn_data_file_header_t *header,
                       std::size_t offset) {
    const char *text = reinterpret_cast<const char *>(header) + offset;
    const auto length = static_cast<int>(strnlen(text, sizeof *header - offset));
    std::fprintf(stream, " %-20s = %.*s\n", label, length, text);
}

}  // namespace

vrn_data_file_header_t *vrn_data_file_header_create() {
    auto *header =
        static_cast<vrn_data_file_header_t *>(std::calloc(1, sizeof(vrn_data_file_header_t)));
    if (!header) return nullptr;
    vrn_magic_set(header->magic, VRN_MAGIC_FILE);
    vrn_magic_set_end(header->magic_end, VRN_MAGIC_FILE);
    std::memcpy(&header->version, &VRN_DATA_FILE_VERSION, sizeof header->version);
    // A header alone is a valid file.
    header->file_size = sizeof *header;
    return header;
}

// Closing magic, byte order and padding are not looked at, and the claimed size is not held against
// the file: readers have to take what older writers left.
bool vrn_data_file_header_is_valid(const vrn_data_file_header_t *header) {
    return vrn_magic_matches(header->magic, VRN_MAGIC_FILE) && is_version_known(header) &&
           header->file_size >= sizeof *header;
}

bool vrn_data_file_header_validate(const vrn_data_file_header_t *header) {
    if (!vrn_magic_matches(header->magic, VRN_MAGIC_FILE)) {
        // "data page" for a file and "less then" stay: tools look for these texts.
        VRN_LOG(VRN_LOG_ERROR, "Wrong data page magic number.");
        return false;
    }
    if (!is_version_known(header)) {
        VRN_LOG(VRN_LOG_ERROR,
                "Version of data page %hu.%hu.%hu is incompatible with Varnel version %s",
                static_cast<unsigned short>(header->version.major),
                static_cast<unsigned short>(header->version.minor), header->version.patch,
                vrn_version_string());
        return false;
    }
    if (header->file_size < sizeof *header) {
        VRN_LOG(VRN_LOG_ERROR, "Wrong data file size %ld is less then file header size %zu",
                static_cast<long>(header->file_size), sizeof *header);
        return false;
    }
    return true;
}

void vrn_data_file_header_print(std::FILE *stream, const vrn_data_file_header_t *header) {
    std::fputs("Data file header\n", stream);
    vrn_print_magic(stream, "magic number", header->magic);
    std::fprintf(stream, " %-20s = %u.%u.%u\n", "version", header->version.major,
                 header->version.minor, header->version.patch);
    vrn_print_u64(stream, "file size", header->file_size);
    print_header_text(stream, "source id", header, offsetof(vrn_data_file_header_t, source_id));
    print_header_text(stream, "source tag", header, offsetof(vrn_data_file_header_t, source_tag));
    vrn_print_u64(stream, "first timestamp", header->first_timestamp);
    vrn_print_u64(stream, "last timestamp", header->last_timestamp);
    vrn_print_u64(stream, "data block size", header->block_size);
    char id[VRN_SCHEMA_ID_HEX_SIZE];
    vrn_schema_id_format(&header->counters_schema_id, id);
    std::fprintf(stream, " %-20s = %s\n", "counters schema id", id);
    for (std::size_t i = 0; i < VRN_EVENT_SCHEMA_IDS; ++i) {
        vrn_schema_id_format(&header->event_schema_ids[i], id);
        std::fprintf(stream, " schema id[%zu]         = %s\n", i, id);
    }
    std::fprintf(stream, " %-20s = %hhu (%s)\n", "byte order", header->byte_order,
                 // Informative only: no byte is ever swapped.
                 header->byte_order == 0 ? "LE" : "BE");
    vrn_print_magic(stream, "end magic number", header->magic_end);
}

char *vrn_data_file_header_schema_id_hex(const vrn_data_file_header_t *header, std::size_t index) {
    if (index >= VRN_EVENT_SCHEMA_IDS) return nullptr;
    return vrn_schema_id_to_hex(&header->event_schema_ids[index]);  // for the caller to free
}

#define VRN_LAYOUT_ROW(field)                                             \
    vrn_print_layout_row(#field, offsetof(vrn_data_file_header_t, field), \
                         sizeof(vrn_data_file_header_t::field))

void vrn_data_file_header_print_fields() {
    vrn_print_layout_heading();
    VRN_LAYOUT_ROW(magic);
    VRN_LAYOUT_ROW(version);
    VRN_LAYOUT_ROW(file_size);
    VRN_LAYOUT_ROW(source_id);
    VRN_LAYOUT_ROW(source_tag);
    VRN_LAYOUT_ROW(first_timestamp);
    VRN_LAYOUT_ROW(last_timestamp);
    VRN_LAYOUT_ROW(block_size);
    VRN_LAYOUT_ROW(counters_schema_id);
    VRN_LAYOUT_ROW(event_schema_ids);
    VRN_LAYOUT_ROW(byte_order);
    VRN_LAYOUT_ROW(padding);
    VRN_LAYOUT_ROW(magic_end);
}
