#include "vrn_export/part_name.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <map>

#include "common/command_line.h"
#include "common/shown_text.h"
#include "utils/utf8.h"

namespace vrn::exporter {
namespace {

constexpr std::size_t max_name = 255;  // bytes, of most file systems
constexpr std::size_t digest_digits = 16;
constexpr std::array<std::string_view, 4> format_suffixes = {".ndjson", ".csv", ".lines", ".om"};

// '%' is escaped as well, so that no two texts come to one name.
std::string escaped(std::string_view text) {
    std::string name;
    while (!text.empty()) {
        const Utf8Character character = first_utf8_character(text);
        text.remove_prefix(character.bytes.size());
        if (!character.is_bad_byte() && !character.is_control() && character.bytes != "%" &&
            character.bytes != "/") {
            name += character.bytes;
            continue;
        }
        for (const char byte : character.bytes) {
            char escape[4];
            std::snprintf(escape, sizeof escape, "%%%02X", static_cast<std::uint8_t>(byte));
            name += escape;
        }
    }
    return name;
}

// FNV-1a. Whoever makes two names of one digest finds that their run is refused.
std::string digest_of(std::string_view text) {
    std::uint64_t digest = 14695981039346656037U;
    for (const char byte : text)
        digest = (digest ^ static_cast<std::uint8_t>(byte)) * 1099511628211U;
    char digits[digest_digits + 1];
    std::snprintf(digits, sizeof digits, "%016llx", static_cast<unsigned long long>(digest));
    return digits;
}

bool is_part_name(std::string_view name) {
    for (const std::string_view compression : {"", ".gz", ".zst"}) {
        if (!name.ends_with(compression)) continue;
        const std::string_view rest = name.substr(0, name.size() - compression.size());
        if (std::ranges::any_of(format_suffixes,
                                [&](std::string_view suffix) { return rest.ends_with(suffix); }))
            return true;
    }
    return false;
}

// A name in a folder.
std::string file_name(std::string_view text, std::string_view suffix) {
    const std::string name = escaped(text);
    const std::size_t room = max_name - suffix.size();
    if (name.size() <= room) return name + std::string(suffix);
    // Room for the digest and the '~' before it.
    std::size_t kept = room - digest_digits - 1;
    // Not amid a character.
    while (kept > 0 && (static_cast<std::uint8_t>(name[kept]) & 0xC0) == 0x80) --kept;
    return name.substr(0, kept) + "~" + digest_of(text) + std::string(suffix);
}

// Never that of a part of a file beside it, which could not be there as well.
std::string folder_name(std::string_view text) {
    if (!is_part_name(text)) return file_name(text, "");
    const std::size_t dot = text.rfind('.');
    return file_name(text.substr(0, dot), "%2E" + std::string(text.substr(dot + 1)));
}

}  // namespace

std::string part_name(std::string_view path, std::string_view suffix) {
    std::string name;
    while (!path.empty()) {
        const std::string_view component = path.substr(0, path.find('/'));
        path.remove_prefix(std::min(component.size() + 1, path.size()));
        // Without "..", so that no part lies above the output folder.
        if (component.empty() || component == "." || component == "..") continue;
        if (!name.empty()) name += '/';
        name += path.empty() ? file_name(component, suffix) : folder_name(component);
    }
    return name;
}

std::string table_file_name(std::string_view table, std::string_view suffix) {
    if (table.empty()) return "%" + std::string(suffix);  // as no other name
    // No name of a table hides the file.
    const std::string_view text = table.starts_with('.') ? table.substr(1) : table;
    return (text.size() < table.size() ? "%2E" : "") + file_name(text, suffix);
}

void give_each_a_part(std::string_view suffix, std::vector<tool::InputFile> *files) {
    std::map<std::string, const tool::InputFile *> parts;
    std::vector<tool::InputFile> kept;
    // Never grown after this: `parts` points into it.
    kept.reserve(files->size());
    for (tool::InputFile &file : *files) {
        const auto [part, is_new] = parts.try_emplace(part_name(file.path, suffix), nullptr);
        // The same file, by whatever paths it was named.
        if (!is_new && part->second->id == file.id) continue;
        if (!is_new)
            throw tool::UsageError(tool::shown_text(part->second->path) + " and " +
                                   tool::shown_text(file.path) + " would share the part " +
                                   part->first);
        kept.push_back(std::move(file));
        part->second = &kept.back();
    }
    *files = std::move(kept);
}

}  // namespace vrn::exporter
