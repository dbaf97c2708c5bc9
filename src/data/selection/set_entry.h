// The common body of the flat entries of field sets and counter sets: argument checks, and a guard
// that no exception passes.
#pragma once

#include <cstddef>
#include <initializer_list>
#include <memory>
#include <new>
#include <string>
#include <type_traits>
#include <vector>

#include "utils/log.h"

namespace vrn {

// What messages say of one kind of set.
struct SetTexts {
    const char *handle_type;
    const char *creation_failure;
    const char *parameter;
};

struct TextArgument {
    const char *name;
    const char *value;
};

// What a flat entry says when an exception ends it: "[function] failure", and the subject in
// quotes if there is one.
struct EntryFailure {
    const char *function;
    const char *failure;
    const char *subject = nullptr;
};

// False after one error line for the first argument that is missing.
template <typename Handle>
[[nodiscard]] bool check_arguments(const char *function, const SetTexts &texts,
                                   const Handle *handle,
                                   std::initializer_list<TextArgument> arguments) {
    if (!handle) {
        VRN_LOG(VRN_LOG_ERROR, "[%s] missing %s parameter", function, texts.parameter);
        return false;
    }
    if (!handle->set) {
        VRN_LOG(VRN_LOG_ERROR, "[%s] %s is empty", function, texts.parameter);
        return false;
    }
    for (const TextArgument &argument : arguments) {
        if (argument.value) continue;
        VRN_LOG(VRN_LOG_ERROR, "[%s] missing %s parameter", function, argument.name);
        return false;
    }
    return true;
}

// Result of `call` or, after an error line, `fallback` if it throws.
template <typename Result, typename Call>
Result result_or_log(const EntryFailure &entry, Result fallback, Call call) {
    try {
        return call();
    } catch (...) {
        if (entry.subject)
            VRN_LOG(VRN_LOG_ERROR, "[%s] %s '%s'", entry.function, entry.failure, entry.subject);
        else
            VRN_LOG(VRN_LOG_ERROR, "[%s] %s", entry.function, entry.failure);
        return fallback;
    }
}

template <typename Handle>
[[nodiscard]] Handle *create_set(const char *function, const SetTexts &texts) {
    using Set = std::remove_pointer_t<decltype(Handle::set)>;
    std::unique_ptr<Handle> handle(new (std::nothrow) Handle{});
    if (!handle) {
        VRN_LOG(VRN_LOG_ERROR, "[%s] Failed to allocate %s", function, texts.handle_type);
        return nullptr;
    }
    handle->set = result_or_log({function, texts.creation_failure}, static_cast<Set *>(nullptr),
                                [] { return new Set; });
    return handle->set ? handle.release() : nullptr;
}

template <typename Handle>
void destroy_set(Handle *handle) {
    if (!handle) return;
    delete handle->set;
    delete handle;
}

template <typename Handle>
[[nodiscard]] bool init_set_from_lines(const EntryFailure &entry, const SetTexts &texts,
                                       Handle *handle, const char *const *lines,
                                       std::size_t num_lines) {
    if (!check_arguments(entry.function, texts, handle, {})) return false;
    if (num_lines == 0) {
        VRN_LOG(VRN_LOG_ERROR, "[%s] num_lines is 0", entry.function);
        return false;
    }
    if (!lines) {
        VRN_LOG(VRN_LOG_ERROR, "[%s] missing lines parameter", entry.function);
        return false;
    }
    return result_or_log(entry, false, [&] {
        const std::vector<std::string> copies(lines, lines + num_lines);
        return handle->set->loadFromLines(copies);
    });
}

}  // namespace vrn
