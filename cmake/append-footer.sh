#!/bin/sh
# append-footer.sh FILE PLATFORM VERSION: appends what DuckDB reads of an extension before it loads
# it, 512 bytes: eight fields of 32 bytes, the last one first, and room for a signature.
set -eu
field() { printf '%-32s' "$1" | tr ' ' '\0'; }
{
    field '' && field '' && field ''
    field C_STRUCT # the interface, whose version is two fields on
    field "$3"
    field v1.2.0
    field "$2"
    field 4 # the form of this footer
    head -c 256 /dev/zero
} >>"$1"
