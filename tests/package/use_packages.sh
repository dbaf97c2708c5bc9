# Run in a minimal root, where the packages are: uses and removes those of the tools and the archive,
# then those of the library.
set -euo pipefail
install() {
    apt-get install -qq --no-install-recommends "$@" >/tmp/apt.log 2>&1 ||
        { apt-get update -qq && apt-get install -qq --no-install-recommends "$@"; } >/tmp/apt.log 2>&1 ||
        { cat /tmp/apt.log; exit 1; }
}
fail() { echo "$*"; exit 1; }
all_files() {
    find / -xdev \( -path /proc -o -path /dev -o -path /debs -o -path /tmp -o -path /var/cache \
        -o -path /var/log -o -path /var/lib/apt -o -path /var/lib/dpkg \) -prune -o -print | sort
}
made=$(mktemp -d)
tools='vrn_chart vrn_check vrn_collect vrn_export vrn_read vrn_serve vrn_sql'

# use_tools FOLDER: collects, and makes of it what the others make.
use_tools() (
    PATH=$1:$PATH
    cd "$(mktemp -d -p "$made")"
    for tool in $tools; do
        "$tool" --help | grep -i usage >/dev/null || fail "$tool --help"
        "$tool" --version | grep >/dev/null '1\.[0-9]' || fail "$tool --version"
    done
    vrn_collect --output-dir telemetry --duration 600 --interval 100 >/dev/null
    vrn_check telemetry/data >/dev/null
    vrn_read -f ndjson telemetry/data/events_*.bin | grep >/dev/null '"load":\['
    vrn_export -f csv -o tables telemetry >/dev/null 2>&1
    [ -n "$(ls tables)" ]
    vrn_chart -o page.html telemetry
    grep -q '</html>' page.html
    vrn_sql -o loads.parquet 'FROM load_sample' telemetry
    [ "$(head -c 4 loads.parquet)" = PAR1 ]
    vrn_sql -f csv "SELECT count(*) > 0 AS some FROM 'loads.parquet'" | grep >/dev/null true
)

# What looks at manual pages and completions.
install man-db zsh bash-completion
all_files >/tmp/before
install ./vrn-tools_*.deb ./vrn-duckdb_*.deb
[ ! -e /usr/lib/libvrn.so.1 ] || fail "the tools bring the library"
use_tools /usr/bin
for page in $tools vrn vrn-data-file vrn-schema; do
    man -w "$page" >/dev/null
done
for tool in $tools; do
    bash -ic '. /usr/share/bash-completion/bash_completion; _completion_loader "$1"; complete -p "$1"' \
        - "$tool" 2>/dev/null | grep -qw "$tool" || fail "$tool: no completion in bash"
    zsh -fc 'autoload -Uz compinit; compinit -u -D; [[ $_comps[$1] == _$1 ]] && autoload +X _$1' - "$tool" ||
        fail "$tool: no completion in zsh"
done
ls /usr/share/vrn/fleet/*.sbatch /usr/share/doc/vrn-tools/examples/vrn_serve.service >/dev/null

# The archive runs anywhere, by the libraries that the packages brought.
apt-get purge -qq vrn-tools vrn-duckdb >/dev/null
tar -C /tmp -xzf vrn-*.tar.gz
mv /tmp/vrn-*/ '/tmp/some where'
use_tools '/tmp/some where/bin'

apt-get autoremove -qq --purge >/dev/null
all_files | diff /tmp/before - || fail "removal leaves these"

# Projects of others, which have nothing but the library.
install ./libvrn1_*.deb ./libvrn-dev_*.deb g++ cmake make pkg-config
mkdir /tmp/project
cd /tmp/project
cat >rows.cc <<'CODE'
#include <vrn/scan/data_file_scan.h>

#include <cstdio>

struct Rows : vrn::scan::Visitor {
    std::size_t count = 0;
    vrn::scan::Next events(const vrn::scan::EventBatch &batch) override {
        count += batch.count;
        return vrn::scan::Next::block;
    }
};

int main(int, char **argv) {
    vrn::scan::SchemaCache schemas({.folder = argv[1]});
    Rows rows;
    const bool is_done = vrn::scan::scan_data_file(argv[2], &schemas, &rows);
    std::printf("%zu rows\n", rows.count);
    return is_done ? 0 : 1;
}
CODE
cat >CMakeLists.txt <<'CODE'
cmake_minimum_required(VERSION 3.25)
project(rows LANGUAGES CXX)
set(CMAKE_CXX_STANDARD 20)
find_package(vrn 1.24 REQUIRED)
add_executable(rows rows.cc)
target_link_libraries(rows PRIVATE vrn::vrn)
CODE
for is_static in OFF ON; do
    cmake -B static-$is_static -DVRN_USE_STATIC_LIBS=$is_static . >cmake.log
    cmake --build static-$is_static >>cmake.log
done
c++ -std=c++20 $(pkg-config --cflags vrn) rows.cc -o rows $(pkg-config --libs vrn)
telemetry=$(find "$made" -name telemetry -print -quit)
for program in static-OFF/rows static-ON/rows ./rows; do
    "$program" "$telemetry/schema" "$telemetry"/data/events_*.bin
done | sort | uniq -c | grep -Eq '^ +3 [1-9][0-9]* rows$' || fail "programs differ"
ldd ./rows | grep >/dev/null libvrn.so.1
! ldd static-ON/rows | grep >/dev/null libvrn || fail "the static library is not static"
apt-get purge -qq libvrn1 libvrn-dev >/dev/null
left=$(find / -xdev \( -path /proc -o -path /dev -o -path /debs -o -path /tmp \) -prune -o -name '*vrn*' -print)
[ -z "$left" ] || fail "removal leaves $left"
echo "the packages install, work and go without a trace"
