#include "data/shared_page.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <map>
#include <mutex>
#include <new>
#include <string>
#include <string_view>
#include <thread>
#include <utility>

#include "utils/byte_reader.h"
#include "utils/catch_all.h"
#include "utils/descriptor.h"
#include "utils/guarded_copy.h"
#include "utils/log.h"

namespace {

using vrn::Descriptor;

// Producers and consumers run under users of their own.
constexpr mode_t object_mode = 0666;

vrn::FileIdentity identity_of(const Descriptor &object) {
    struct stat status {};
    fstat(object.get(), &status);
    return vrn::identity_of(status);
}

// What this process knows of a mapping, out of reach of those it shares the bytes with.
struct Mapping {
    std::string name;
    std::uint64_t size;
    std::int32_t creator_pid;  // -1: another process has to unlink the object
    vrn::FileIdentity object;
};

// The mappings of this process by address.
class Mappings {
  public:
    void add(const void *page, Mapping mapping) {
        const std::lock_guard lock(mutex_);
        // A second mapping of an object that this process created is its creator's too.
        for (const auto &[address, other] : mappings_)
            if (other.object == mapping.object && other.creator_pid == getpid())
                mapping.creator_pid = other.creator_pid;
        mappings_.insert_or_assign(page, std::move(mapping));
    }

    Mapping take(const void *page) {
        const std::lock_guard lock(mutex_);
        auto entry = mappings_.extract(page);
        return entry ? std::move(entry.mapped()) : Mapping{};
    }

    std::uint64_t size_at(const void *page) {
        const std::lock_guard lock(mutex_);
        const auto entry = mappings_.find(page);
        return entry == mappings_.end() ? 0 : entry->second.size;
    }

  private:
    std::mutex mutex_;
    std::map<const void *, Mapping> mappings_;
};

Mappings &mappings() {
    // For good, since pages may outlive static objects; in its place, since memory may be short.
    alignas(Mappings) static std::byte place[sizeof(Mappings)];
    static auto &instance = *new (place) Mappings;
    return instance;
}

Descriptor open_existing(const char *name) {
    Descriptor object(shm_open(name, O_RDWR, object_mode));
    if (object.is_open()) VRN_LOG(VRN_LOG_INFO, "shared memory was opened: %s", name);
    return object;
}

// Fails when the object exists, so that it has one creator.
Descriptor create_new(const char *name) {
    // Otherwise the mask takes the rights of the others away again.
    const mode_t mask = umask(0);
    Descriptor object(shm_open(name, O_RDWR | O_CREAT | O_EXCL, object_mode));
    umask(mask);
    return object;
}

Descriptor open_or_create(const char *name, bool *is_new) {
    *is_new = false;
    Descriptor existing = open_existing(name);
    if (existing.is_open()) return existing;
    Descriptor created = create_new(name);
    *is_new = created.is_open();
    // Another process was faster between the two calls.
    return created.is_open() || errno != EEXIST ? std::move(created) : open_existing(name);
}

std::uint64_t size_of(const Descriptor &object) {
    // Empty is an object whose creator has not come to size it yet.
    constexpr int tries = 100;
    struct stat status {};
    for (int i = 0; i < tries; ++i) {
        if (fstat(object.get(), &status) != 0 || status.st_size > 0) break;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return static_cast<std::uint64_t>(status.st_size);
}

bool has_name(const Mapping &mapping) {
    const Descriptor object(shm_open(mapping.name.c_str(), O_RDONLY, 0));
    return object.is_open() && identity_of(object) == mapping.object;
}

void unlink_object(const Mapping &mapping, const void *page) {
    const char *name = mapping.name.c_str();
    VRN_LOG(VRN_LOG_INFO, "| unlinking shared memory: %s %p %zu", name, page, mapping.size);
    // The name may lead to an object of another process by now.
    if (has_name(mapping) && shm_unlink(name) == 0)
        VRN_LOG(VRN_LOG_INFO, "| --> shm_unlink(%s) ok", name);
    else
        VRN_LOG(VRN_LOG_INFO, "| --> shm_unlink(%s) unsuccessful", name);
}

void unmap(const Mapping &mapping, vrn_data_page_t *page) {
    VRN_LOG(VRN_LOG_INFO, "| unmapping shared memory: %s %p %zu", mapping.name.c_str(),
            static_cast<void *>(page), mapping.size);
    VRN_LOG(VRN_LOG_INFO, "| --> munmap (page=%p, size=%zu) ", static_cast<void *>(page),
            mapping.size);
    if (munmap(page, mapping.size) == 0)
        VRN_LOG(VRN_LOG_INFO, "| ----> ok");
    else
        VRN_LOG(VRN_LOG_ERROR, "| --> cannot unmap (%p, %zu)", static_cast<void *>(page),
                mapping.size);
}

// An object of ours that names our pid when it is mapped is of an earlier process, as a number
// comes again only after its process ended: in a container each run has the same. Nobody else is
// left to unlink it. The pids of other users' objects count for nothing.
std::int32_t heir_of(const Descriptor &object, const vrn_data_page_t *page, std::uint64_t size) {
    struct stat status {};
    std::int32_t told = -1;
    const bool is_ours = size >= sizeof *page && fstat(object.get(), &status) == 0 &&
                         status.st_uid == geteuid() &&
                         vrn::guarded_copy(&told, &page->creator_pid, sizeof told);
    return is_ours && told == getpid() ? told : -1;
}

// Only its creator may unlink an object. The pid that the header tells now does not decide, for any
// peer may write it. It must agree all the same: a page that names another process is that one's to
// unlink.
bool is_own(const Mapping &mapping, const vrn_data_page_t *page) {
    const std::int32_t pid = getpid();
    if (mapping.creator_pid != pid) return false;
    std::int32_t told = pid;  // stands when the header can't be read any more
    return !vrn::guarded_copy(&told, &page->creator_pid, sizeof told) || told == pid;
}

}  // namespace

int vrn_allocate_shared_page(vrn_page_memory_t *memory, std::uint64_t size, vrn_data_page_t **page,
                             std::int32_t *creator_pid) {
    // One below the buffer, so that a cut name still ends inside it. The field below is shorter
    // still.
    constexpr std::size_t limit = 119;
    char name[limit + 1];
    const std::string_view base = vrn::field_text(memory->name);
    const auto base_length = static_cast<int>(base.size());
    if (std::snprintf(name, limit, "%.*s_%d", base_length, base.data(), memory->id) < 1) {
        VRN_LOG(VRN_LOG_ERROR, "[%s] snprintf failed write '%.*s_%d' to buf size %ld", __func__,
                base_length, base.data(), memory->id, static_cast<long>(limit));
        return -1;
    }
    const std::size_t length = std::min(std::strlen(name), sizeof memory->name - 1);
    std::memcpy(memory->name, name, length);
    memory->name[length] = 0;
    VRN_LOG(VRN_LOG_DEBUG, "Creating shared-mem named %s", memory->name);
    return vrn_allocate_shared_mem(memory->name, size, page, creator_pid);
}

int vrn_allocate_shared_mem(const char *name, std::uint64_t size, vrn_data_page_t **page,
                            std::int32_t *creator_pid) {
    *page = nullptr;
    bool is_new = false;
    const Descriptor object = open_or_create(name, &is_new);
    if (!object.is_open()) {
        VRN_LOG(VRN_LOG_ERROR, "[%s] cannot create shared memory %s", __func__, name);
        return -1;
    }
    if (is_new) {
        if (ftruncate(object.get(), static_cast<off_t>(size)) != 0) {
            VRN_LOG(VRN_LOG_ERROR, "[%s] Cannot ftruncate shared page %s.  Cleaning up this page",
                    __func__, name);
            // Ours and still without a size: left in place, it would keep every later start
            // waiting.
            shm_unlink(name);
            return -1;
        }
        VRN_LOG(VRN_LOG_DEBUG, "shared memory was created: %s", name);
    } else if (const std::uint64_t held = size_of(object); held < size) {
        VRN_LOG(VRN_LOG_ERROR, "[%s] shared memory %s has %lu bytes of %lu", __func__, name, held,
                size);
        errno = EINVAL;  // for the caller's line
        return -1;
    }
    *creator_pid = is_new ? getpid() : -1;
    void *bytes = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, object.get(), 0);
    // The object is left in existence: another process may have mapped it by now.
    if (bytes == MAP_FAILED) {
        VRN_LOG(VRN_LOG_ERROR, "FAILED to allocate shared_page: %s of size: %lu ", name, size);
        return -1;
    }
    VRN_LOG(VRN_LOG_INFO, "Allocating shared_page: %s of size: %lu ptr=%p", name, size, bytes);
    *page = static_cast<vrn_data_page_t *>(bytes);
    const std::int32_t owner = is_new ? *creator_pid : heir_of(object, *page, size);
    if (vrn::catch_all([&] { mappings().add(bytes, {name, size, owner, identity_of(object)}); }))
        return 0;
    VRN_LOG(VRN_LOG_ERROR, "FAILED to allocate shared_page: %s of size: %lu ", name, size);
    munmap(bytes, size);
    if (is_new) shm_unlink(name);
    *page = nullptr;
    errno = ENOMEM;  // for the caller's line
    return -1;
}

bool vrn_data_page_is_shared(const vrn_data_page_t *page) {
    return vrn_shared_page_size(page) > 0;
}

std::uint64_t vrn_shared_page_size(const vrn_data_page_t *page) {
    return mappings().size_at(page);
}

void vrn_shared_page_free(vrn_data_page_t *page) {
    const Mapping mapping = mappings().take(page);
    VRN_LOG(VRN_LOG_INFO, "Freeing shared-memory page: %p", static_cast<void *>(page));
    // Unlinked first: the header that tells the owner is gone once it is unmapped.
    if (is_own(mapping, page)) unlink_object(mapping, page);
    unmap(mapping, page);
}

void vrn_shared_page_forget(const vrn_data_page_t *page) {
    mappings().take(page);
}
