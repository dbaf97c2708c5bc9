// Identity of a host channel adapter, as it travels in page headers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>

inline constexpr std::size_t VRN_HCA_NAME_SIZE = 20;
inline constexpr std::size_t VRN_HCA_GUID_SIZE = 16;
inline constexpr std::size_t VRN_HCA_DIGEST_SIZE = 16;

// GUIDs are hexadecimal digits. No field has a terminator; zero bytes pad a short one.
struct vrn_hca_info_t {
    char hca_name[VRN_HCA_NAME_SIZE];  // a first byte of zero ends an array of entries
    char node_guid[VRN_HCA_GUID_SIZE];
    char system_image_guid[VRN_HCA_GUID_SIZE];
    char port_1_guid[VRN_HCA_GUID_SIZE];
    char port_2_guid[VRN_HCA_GUID_SIZE];  // zero when the adapter has no second port
};
static_assert(sizeof(vrn_hca_info_t) == 84);
static_assert(offsetof(vrn_hca_info_t, node_guid) == 20);
static_assert(offsetof(vrn_hca_info_t, system_image_guid) == 36);
static_assert(offsetof(vrn_hca_info_t, port_1_guid) == 52);
static_assert(offsetof(vrn_hca_info_t, port_2_guid) == 68);

// Fills `array`, which has room for `capacity` entries, from sysfs in the order of device names.
// Always 0: the outcome is in the array and the log. Entries without a device stay as they were.
int vrn_hca_info_collect(vrn_hca_info_t *array, int capacity);

// Five lines for each of the `count` entries that is not empty.
void vrn_hca_info_print(std::FILE *stream, const vrn_hca_info_t *array, int count);

// The document of a node information file: `timestamp` (microseconds; left out when null) and one
// object per device. On success `text` ends with vrn_hca_info_free_json and `size` is its length;
// otherwise false after a line.
[[nodiscard]] bool vrn_hca_info_to_json(const std::uint64_t *timestamp, const vrn_hca_info_t *array,
                                        int count, char **text, std::size_t *size);
void vrn_hca_info_free_json(char *text);  // accepts null

// MD5 of the entries before the first empty one, into VRN_HCA_DIGEST_SIZE bytes.
void vrn_hca_info_digest(const vrn_hca_info_t *array, int count, std::uint8_t *digest);

// 1 when the port has no subnet management interface, 0 when it has one or nothing is known of it,
// -1 after one line when the file that tells can't be read.
int vrn_port_has_no_smi(const char *device, int port);
