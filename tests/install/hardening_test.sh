#!/usr/bin/env bash
# hardening_test.sh PROGRAM...: whether each was built as cmake/Hardening.cmake says.
set -euo pipefail
[ $# -gt 0 ]
status=0
for program in "$@"; do
    about=$(readelf -W --file-header --segments --dynamic --dyn-syms "$program")
    while IFS='|' read -r name pattern; do
        grep -Eq -- "$pattern" <<<"$about" && continue
        echo "$program: no $name" >&2
        status=1
    done <<'CHECKS'
position-independent code|Type: +DYN
read-only relocations|GNU_RELRO
binding at the start|FLAGS_1.*NOW
data-only stack|GNU_STACK.* RW +0x
stack protector|__stack_chk_fail
checked calls of the C library|UND __[a-z]+_chk
CHECKS
done
exit $status
