#include "utils/string_template.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "utils/c_ptr.h"
#include "utils/log.h"

namespace {

int measure(const char *format, std::va_list arguments) __attribute__((format(printf, 1, 0)));

int measure(const char *format, std::va_list arguments) {
    std::va_list copy;
    // The list is walked a second time, when the text is made.
    va_copy(copy, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, copy);
    va_end(copy);
    return length;
}

}  // namespace

char *vrn_expand_string_template(const char *format, std::va_list arguments) {
    const int length = measure(format, arguments);
    if (length < 0) {
        VRN_LOG(VRN_LOG_ERROR, "Failed to calculate length of expanded string template");
        return nullptr;
    }
    const std::size_t size = static_cast<std::size_t>(length) + 1;
    vrn::CString text(static_cast<char *>(std::malloc(size)));
    if (!text) {
        VRN_LOG(VRN_LOG_ERROR, "Failed to allocate buffer for expanded string of size %d: %s",
                length, std::strerror(errno));
        return nullptr;
    }
    // The arguments may have changed between the two walks.
    if (std::vsnprintf(text.get(), size, format, arguments) != length) {
        VRN_LOG(VRN_LOG_ERROR, "Failed to expand file string template");
        return nullptr;
    }
    return text.release();  // to the caller
}

char *vrn_format_string(const char *format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    char *text = vrn_expand_string_template(format, arguments);
    va_end(arguments);
    return text;
}

std::string vrn_expand_template(std::string_view template_text,
                                const std::map<std::string, std::string> &variables) {
    constexpr std::string_view opening = "{{";
    constexpr std::string_view closing = "}}";
    std::string expanded;
    std::string_view rest = template_text;
    while (true) {
        const std::size_t start = rest.find(opening);
        if (start == std::string_view::npos) break;
        const std::size_t name_start = start + opening.size();
        const std::size_t name_end = rest.find(closing, name_start);
        if (name_end == std::string_view::npos) break;

        const std::string name(rest.substr(name_start, name_end - name_start));
        const std::size_t after = name_end + closing.size();
        const auto variable = variables.find(name);
        expanded += rest.substr(0, start);
        // An unknown name keeps its braces: a later pass with other variables may know it. A value
        // is not expanded again, so no value can make the expansion endless.
        expanded += variable != variables.end() ? std::string_view(variable->second)
                                                : rest.substr(start, after - start);
        rest.remove_prefix(after);
    }
    return expanded.append(rest);
}
