// Series of a store as CSV (RFC 4180): "time,metric,labels,value".
#pragma once

#include <functional>
#include <string>

#include "vrn_serve/http_message.h"
#include "vrn_serve/live_store.h"

namespace vrn::serve {

// One row for each sample of the series whose names `takes` takes: series by series, in the order
// of names and labels. Times are microseconds since the epoch, labels "name=value" with "|" between
// them, integers exact and other numbers as short as they read back the same. Borrows the store.
Answer::NextPiece make_csv(const LiveStore *store,
                           const std::function<bool(const std::string &name)> &takes);

}  // namespace vrn::serve
