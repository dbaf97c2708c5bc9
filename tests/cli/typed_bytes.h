// Bytes written as typed text, directives separated by line ends or "; ":
//   header block_size=64 source=node7 tag=t first=1 last=2 counters=HEX events=HEX,HEX
//          file_size=256 version=1.7.0 magic=VRNF      (any of them; the rest has defaults)
//   text VRNE          field 16 eth0        u8 1 2     u16 u32 u64 i64   f32 f64
//   string eth0        (its length in one byte, then its characters)
//   hex 00 ff          zeros 12             pad 320    (zeros up to that size)
//   page gzip source=node7 tag=t first=1 last=2   a compressed page, or page snappy; its payload
//          is what stands between here and the line: end
//   repeat 3           (the rest of the line, that often)  e.g. repeat 3 u8 7
#pragma once

#include <string>
#include <vector>

namespace vrn::test {

// Throws std::runtime_error that names the line at fault.
std::string parse_typed_bytes(const std::vector<std::string> &lines);

}  // namespace vrn::test
