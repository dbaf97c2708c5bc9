#include "vrn_collect/metrics_record.h"

#include <utility>

#include "utils/host_name.h"

namespace vrn::collect {

using metrics::CntxBuilder;
using metrics::CntxRecord;
using metrics::EncodedLabel;

MetricsRecord::MetricsRecord()
    : machine_set_(builder_.add_label_set({})),
      cpu_set_(builder_.add_label_set({"cpu"})),
      interface_set_(builder_.add_label_set({"interface"})),
      device_set_(builder_.add_label_set({"device"})) {
    char host[64];
    // Told once for each block and not in each record.
    builder_.add_constant_label("host", vrn_get_host_name(host, sizeof host) ? host : "");
}

std::string MetricsRecord::make_block(const ProcSample &sample) {
    // Names and labels stay known to the builder, so that their ids are those of the blocks before.
    builder_.clear_records();
    timestamp_ = sample.timestamp;
    for (const CpuSample &cpu : sample.cpus)
        add('C', cpu_set_, {builder_.label_by_id("cpu" + std::to_string(cpu.cpu))},
            {{"cpu_user", cpu.times.user},
             {"cpu_system", cpu.times.system},
             {"cpu_idle", cpu.times.idle},
             {"cpu_iowait", cpu.times.iowait}});
    for (const InterfaceSample &interface : sample.interfaces)
        add('C', interface_set_, {CntxBuilder::label_by_text(interface.name)},
            {{"rx_bytes", interface.rx_bytes},
             {"rx_packets", interface.rx_packets},
             {"tx_bytes", interface.tx_bytes},
             {"tx_packets", interface.tx_packets}});
    for (const DiskSample &disk : sample.disks)
        add('C', device_set_, {CntxBuilder::label_by_text(disk.name)},
            {{"reads", disk.reads}, {"writes", disk.writes}});
    // The stream's JSON shows the last record's metrics, so the machine's own come last.
    add('G', machine_set_, {},
        {{"mem_total", sample.memory.total},
         {"mem_free", sample.memory.free},
         {"mem_available", sample.memory.available},
         {"mem_cached", sample.memory.cached}});
    return builder_.build();
}

void MetricsRecord::add(char metric_type, std::uint8_t label_set, std::vector<EncodedLabel> labels,
                        const std::vector<std::pair<const char *, std::uint64_t>> &values) {
    CntxRecord record;
    record.timestamp = timestamp_;
    record.metric_type = metric_type;
    record.label_set_id = label_set;
    record.labels = std::move(labels);
    for (const auto &[name, value] : values)
        record.samples.push_back({builder_.add_metric(name), value});
    builder_.add_record(record);
}

}  // namespace vrn::collect
