// The command line of vrn_serve.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "common/command_line.h"
#include "series/series_options.h"
#include "utils/descriptor.h"
#include "utils/log.h"
#include "vrn_serve/live_store.h"

namespace vrn::serve {

struct ServeOptions {
    std::string listen = "127.0.0.1:8420";
    std::string token_file;
    bool is_open = false;
    std::vector<std::string> host_names;
    StoreLimits limits;
    series::SeriesOptions series;
    std::vector<std::string> shown_first;  // shell patterns over names
    std::uint32_t log_level = VRN_LOG_WARNING;
};

tool::CommandLine make_command_line(ServeOptions *options);

// A socket that listens, and where.
struct Listening {
    Descriptor socket;
    std::string address;  // "127.0.0.1:8420", "[::1]:8420", with the port that was chosen for 0
    bool is_loopback;
};

// Of "address:port" or "[address]:port". Throws tool::UsageError when it is none, and
// std::runtime_error when that can't be listened to.
Listening listen_to(const std::string &address);

}  // namespace vrn::serve
