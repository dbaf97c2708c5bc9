// The command line of vrn_read.
#pragma once

#include <getopt.h>

#include "reader/reader_options.h"

// What getopt_long is told; the rows end with one without a name.
extern const char vrn_reader_short_options[];
extern const option vrn_reader_long_options[];

// Fills `options` from the command line and checks it. False: a message is on standard error and
// the record only fit to be freed. Exits with status 0 on --help and --version.
[[nodiscard]] bool vrn_reader_options_parse(vrn_reader_options_t *options, int argc, char **argv);

// Help text on standard output. False: out of memory, and nothing is printed.
[[nodiscard]] bool vrn_reader_print_usage();
