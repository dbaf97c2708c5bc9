// Identity of a host channel adapter, as it travels in page headers.
#pragma once

#include <cstddef>

inline constexpr std::size_t VRN_HCA_NAME_SIZE = 20;
inline constexpr std::size_t VRN_HCA_GUID_SIZE = 16;

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
