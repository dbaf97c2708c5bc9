#include "vrn_check/file_salvage.h"

#include <fcntl.h>

#include <cerrno>
#include <stdexcept>
#include <system_error>

#include "vrn_check/file_mend.h"

namespace vrn::check {

FileSalvage::FileSalvage(std::string path, const OutputFolder *output, std::string name,
                         SchemaTexts *schemas, scan::PageBuffer *page, Take take)
    : path_(std::move(path)),
      output_(output),
      name_(std::move(name)),
      shown_name_(output->path() + "/" + name_),
      texts_(schemas),
      page_(page),
      take_(std::move(take)) {}

Totals FileSalvage::run() {
    // Before reading, which changes the time of access.
    const bool is_there = stat(path_.c_str(), &status_) == 0;
    const auto source = ByteSource::open_path(path_.c_str());
    if (!is_there || !source) {
        // The check tells why there is nothing.
        return FileCheck(path_, texts_, page_, take_own()).run();
    }
    // Failing to write ends the run: the files that follow would fail alike.
    try {
        salvage(source.get());
    } catch (const std::system_error &error) {
        throw std::runtime_error(shown_name_ + ": can't be written: " + error.code().message());
    }
    return totals_;
}

void FileSalvage::salvage(ByteSource *source) {
    Spool spool(output_->open(name_), source);
    // An empty output would pass for what is left of a file that nobody could read.
    if (spool.bytes().empty() && source->state() == ByteSource::State::failed) {
        totals_ = FileCheck(path_, texts_, page_, take_own()).run();
        return;
    }
    // The spool is the copy of a sound file.
    if (check(spool, *source)) return finish(spool.take());
    NewFile output = output_->open(name_);
    FileMend mend(texts_, page_, [this](const FileFault &fault) {
        totals_.left_out += fault.lost;
        take_(shown_name_, fault);
    });
    if (mend.run(spool.bytes(), output.descriptor())) finish(std::move(output));
}

FileCheck::Take FileSalvage::take_own() const {
    return [this](const FileFault &fault) { take_(path_, fault); };
}

// True when the file is sound, whatever its schemas are.
bool FileSalvage::check(const Spool &spool, const ByteSource &source) {
    FileCheck check(path_, texts_, page_, take_own());
    const std::uint64_t size = spool.bytes().size();
    if (source.state() == ByteSource::State::cut_short)
        check.add({.offset = size,
                   .lost = 0,
                   .kind = "stream_cut",
                   .reason = "The gzip stream has no end"});
    if (source.state() == ByteSource::State::failed)
        check.add(
            {.offset = size, .lost = 0, .kind = "read_failed", .reason = source.error_text()});
    totals_ = check.run(ByteSource::open_memory(spool.bytes()), size);
    return check.is_file_sound() &&
           (totals_.faults == 0 || find_header(spool.bytes(), texts_->known()).has_own_ids);
}

void FileSalvage::finish(NewFile output) {
    // Before the name: whoever sees the file finds it finished.
    const timespec times[] = {status_.st_atim, status_.st_mtim};
    if (futimens(output.descriptor().get(), times) != 0 || !output.take_name())
        throw std::system_error(errno, std::generic_category());
    ++totals_.salvaged;
}

}  // namespace vrn::check
