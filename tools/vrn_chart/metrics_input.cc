#include "vrn_chart/metrics_input.h"

#include <cerrno>
#include <cstring>
#include <string>

#include "metrics/store/metrics_feed.h"
#include "scan/data_file_scan.h"
#include "utils/log.h"

namespace vrn::chart {
namespace {

using scan::FaultKind;
using scan::Next;

bool fail(const std::string &path, const std::string &what) {
    VRN_LOG(VRN_LOG_ERROR, "%s: %s", path.c_str(), what.c_str());
    return false;
}

// Stores the metrics of one file and remembers what was wrong last.
class MetricsInput final : public scan::Visitor {
  public:
    MetricsInput(const std::string &path, const ByteSource &source, metrics::MetricsHistory *store)
        : path_(path), source_(source), store_(store) {}

    // Empty when nothing is lost.
    const std::string &loss() const { return loss_; }

    Next metrics(const scan::PlainBlock &block) override {
        const metrics::FeedResult result = metrics::feed_cntx_blocks(block.bytes, nullptr, store_);
        if (result.blocks == 0 || result.incomplete != 0)
            loss_ = "not all of its metrics could be taken";
        return Next::block;
    }

    Next fault(const scan::Fault &fault) override {
        switch (fault.kind) {
            case FaultKind::header_cut:
                loss_ = source_.state() == ByteSource::State::failed
                            ? std::string("can't be read: ") + fault.reason
                            : "holds no data file header";
                return Next::nothing;
            case FaultKind::header_bad:
                loss_ = "is no data file";
                return Next::nothing;
            case FaultKind::block_size_bad:
                loss_ = "has a block size out of range";
                return Next::nothing;
            case FaultKind::read_failed:
                loss_ = std::string("can't be read to its end: ") + fault.reason;
                return Next::nothing;
            case FaultKind::no_memory:
                loss_ = fault.reason;
                break;
            case FaultKind::stream_cut:
                VRN_LOG(VRN_LOG_WARNING, "Data file %s is cut short: its gzip stream has no end",
                        path_.c_str());
                break;
            case FaultKind::page_damaged:
                loss_ = "holds a damaged page";
                break;
            case FaultKind::tail_short:
            case FaultKind::block_unknown:
                loss_ = "holds a block of unknown type";
                break;
            default:
                break;  // padding
        }
        return Next::page;
    }

  private:
    const std::string &path_;
    const ByteSource &source_;
    metrics::MetricsHistory *store_;
    std::string loss_;
};

}  // namespace

bool read_metrics(const std::string &path, metrics::MetricsHistory *store) {
    const auto source = ByteSource::open_path(path.c_str());
    if (!source) return fail(path, std::string("can't be opened: ") + std::strerror(errno));
    MetricsInput input(path, *source, store);
    try {
        scan::PageBuffer buffer;
        scan::DataFileScan(source.get(), nullptr, &buffer, &input).run();
    } catch (const metrics::StoreFull &) {
        return fail(path,
                    "holds more series than there is room for; fewer samples of each leave more "
                    "room");
    }
    return input.loss().empty() || fail(path, input.loss());
}

}  // namespace vrn::chart
