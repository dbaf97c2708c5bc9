# Headers that programs may include as <vrn/...>, by room. Whatever these include must be listed,
# too; a test compiles each of them alone against an installed copy.
set(VRN_PUBLIC_HEADERS
    # utils
    utils/byte_reader.h utils/c_ptr.h utils/client_id.h utils/descriptor.h utils/env.h
    utils/env_lookup.h utils/force_exit.h utils/hca_info.h utils/hexdump.h utils/host_name.h
    utils/log.h utils/log_capture.h utils/name_table.h utils/parse_number.h utils/source.h
    utils/source_list.h utils/string_array.h utils/string_template.h utils/strings.h
    utils/throw_error.h
    # data/text
    data/text/buffer_append.h data/text/digits.h data/text/double_text.h data/text/guid_name.h data/text/json_name.h
    data/text/json_scalar.h data/text/json_string.h data/text/json_text.h data/text/json_value.h
    data/text/local_time_text.h data/text/number_text.h data/text/string_format.h
    data/text/text_buffer.h data/text/value_text.h
    # data
    data/block.h data/compressed_page.h data/data_file_header.h data/data_page.h
    data/data_page_header.h data/magic.h data/page_encoder.h data/page_encoding.h
    data/page_snapshot.h data/schema_id.h data/shared_page.h data/time.h data/version.h
    # data/selection
    data/selection/counter_set.h data/selection/field_set.h data/selection/name_filter.h
    data/selection/name_tables.h data/selection/provider_counter_set.h
    data/selection/provider_field_set.h data/selection/provider_name.h data/selection/set_entry.h
    data/selection/token_filter.h
    # counters
    counters/counter_group.h counters/counter_row.h counters/counter_data.h
    counters/counters_schema.h counters/counters_schema_json.h counters/counters_table.h
    counters/metadata.h counters/metadata_enrich.h
    # data/schema
    data/schema/builtin_types.h data/schema/schema.h data/schema/schema_json.h
    data/schema/schema_registration.h data/schema/type_definition.h data/schema/type_json.h
    data/schema/type_system.h data/schema/type_system_json.h data/schema/type_system_load.h
    # data/serial
    data/serial/event_json.h data/serial/influx_counters.h data/serial/influx_event.h
    data/serial/influx_records.h data/serial/influx_serializer.h data/serial/serializer.h
    # data/writer
    data/writer/data_file.h data/writer/data_file_state.h data/writer/data_page_filter.h
    data/writer/data_path.h data/writer/data_writer.h data/writer/data_writer_limit.h
    data/writer/node_info.h data/writer/schema_writer.h data/writer/scope_file.h
    data/writer/value_filter.h
    # metrics
    metrics/cntx_block_tables.h metrics/cntx_builder.h metrics/encoded_label.h metrics/histogram.h
    metrics/histogram_buckets.h metrics/histogram_set.h metrics/labels_block.h
    metrics/metric_filter.h metrics/metrics_batch.h metrics/metrics_count.h
    metrics/metrics_parser.h metrics/preallocated_vector.h
    # metrics/store and metrics/chart
    metrics/store/circular_buffer.h metrics/store/footprint_logger.h
    metrics/store/histogram_names.h metrics/store/histogram_store.h
    metrics/store/metrics_catalog.h metrics/store/reverse_index.h
    metrics/store/single_value_buffer.h metrics/store/symbol_table.h
    metrics/store/typed_metrics_data.h metrics/store/typed_series.h metrics/store/value_types.h
    metrics/chart/chart_page.h metrics/chart/chart_scripts.h metrics/chart/page_text.h
    # scan
    scan/block_walk.h scan/byte_source.h scan/chunk_feed.h scan/chunk_walk.h scan/data_file_scan.h
    scan/fault.h scan/file_head.h
    scan/loaded_schemas.h scan/page_buffer.h scan/schema_cache.h scan/schema_loader.h
    scan/schemas_in_use.h scan/visitor.h)
