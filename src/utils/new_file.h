// A file on its way to a name in a folder: under that name it is found whole or not at all.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>

#include "utils/descriptor.h"

namespace vrn {

// Goes with its owner unless it has taken its name.
class NewFile {
  public:
    // In the folder of `path`, with `mode` less the umask; not open on failure, with errno. Without
    // a name, so that a kill leaves nothing behind.
    static NewFile nameless(const std::filesystem::path &path, mode_t mode);
    // Under a spare name, where the file system has no files without one.
    static NewFile named(const std::filesystem::path &path, mode_t mode);
    // The first of the two that can be had, for `name` in `folder`.
    static NewFile in(Descriptor folder, std::string name, mode_t mode);

    ~NewFile();
    NewFile(NewFile &&) = default;
    NewFile &operator=(NewFile &&) = delete;

    bool is_open() const { return file_.is_open(); }
    // For reading and writing.
    const Descriptor &descriptor() const { return file_; }

    // Closes the file and gives it its name, which a file that has it loses. False with errno: what
    // was there stands.
    [[nodiscard]] bool take_name();

  private:
    NewFile(Descriptor folder, std::string name)
        : folder_(std::move(folder)), name_(std::move(name)) {}
    void open_nameless(mode_t mode);
    void open_named(mode_t mode);
    [[nodiscard]] bool link(const std::string &name) const;
    [[nodiscard]] bool link_beside();
    void drop_spare();

    Descriptor folder_;
    std::string name_;
    std::string spare_;  // name of the file until it takes its own; empty: it has none
    Descriptor file_;
};

}  // namespace vrn
