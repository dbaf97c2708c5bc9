// HCA discovery below a folder that stands in for /sys/class/infiniband. Callers outside this
// folder use the functions of hca_info.h, which do the same on the system's tree.
#pragma once

#include "utils/hca_info.h"

void vrn_hca_info_collect_below(const char *class_dir, vrn_hca_info_t *array, int capacity);
int vrn_port_has_no_smi_below(const char *class_dir, const char *device, int port);
