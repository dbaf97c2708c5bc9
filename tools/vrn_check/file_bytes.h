// Bytes into files, with failures thrown.
#pragma once

#include <cstdint>

#include "utils/byte_reader.h"
#include "utils/descriptor.h"

namespace vrn::check {

// Throw std::system_error.
void write_at(const Descriptor &file, Bytes bytes, std::uint64_t offset);
void set_size(const Descriptor &file, std::uint64_t size);

}  // namespace vrn::check
