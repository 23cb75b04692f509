// The settings that apply, and the configuration file's reader and writer.
#include "config/cfg.h"

#include "core/log.h"
#include "util/never_destroyed.h"
#include "util/sysroot.h"
#include "util/text_buffer.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <unistd.h>

constinit settings global_config;

namespace {

struct raw_entry {
    malloc_text key;
    malloc_text value;
};

// Lines of a file, each NUL-terminated, all in one buffer.
struct file_lines {
    malloc_text buffer;
    std::vector<const char*> lines;
};

// Entries of the file that was read, in file order.
never_destroyed<std::vector<raw_entry>> table;

// Keeps a text value alive until the process ends, as settings may be borrowed anywhere.
const char* keep_text(const char* value) {
    static never_destroyed<std::vector<malloc_text>> kept;
    return kept->emplace_back(estrdup(value)).get();
}

malloc_text read_whole(FILE* file, std::size_t& size) {
    if (std::fseek(file, 0, SEEK_END) != 0) {
        return nullptr;
    }
    const long end = std::ftell(file);
    if (end <= 1) {
        return nullptr;
    }
    std::rewind(file);
    size = static_cast<std::size_t>(end);
    malloc_text buffer = emalloc_text(size);
    return std::fread(buffer.get(), 1, size, file) == size ? std::move(buffer) : nullptr;
}

// The newline-terminated lines of the file; text after the last newline doesn't count.
file_lines get_all_lines(const char* path) {
    file_lines result;
    // Read-and-update: a file that can't be rewritten later is not read either.
    FILE* const file = std::fopen(sysroot_path(path).c_str(), "r+e");
    if (file == nullptr) {
        return result;
    }
    std::size_t size = 0;
    result.buffer = read_whole(file, size);
    std::fclose(file);
    if (!result.buffer) {
        return result;
    }
    char* start = result.buffer.get();
    char* const end = start + size;
    for (char* newline = std::find(start, end, '\n'); newline != end;
         newline = std::find(start, end, '\n')) {
        *newline = '\0';
        result.lines.push_back(start);
        start = newline + 1;
    }
    return result;
}

int store_value(std::int32_t settings::*field, const char* value) {
    return cfg_parse_to_int(value, global_config.*field);
}

int store_value(double settings::*field, const char* value) {
    return static_cast<int>(cfg_parse_to_double(value, global_config.*field));
}

int store_value(const char* settings::*field, const char* value) {
    global_config.*field = keep_text(value);
    return 0;
}

void append_value(text_buffer& text, const char* key, std::int32_t value) {
    text.append("%s=%d\n", key, static_cast<int>(value));
}

void append_value(text_buffer& text, const char* key, double value) {
    text.append("%s=%.2f\n", key, value);
}

void append_value(text_buffer& text, const char* key, const char* value) {
    text.append("%s=%s\n", key, value);
}

void correct_index(const parse_row& row, std::int32_t settings::*field) {
    std::int32_t& index = global_config.*field;
    if (row.range.is_index && !row.range.holds(index)) {
        log_message(LEVEL_WARN, "%s=%d selects no entry, using 0", row.key,
                    static_cast<int>(index));
        index = 0;
    }
}

constexpr bool is_in(const value_range& range, double value) {
    return range.holds(value);
}

constexpr bool is_in(const value_range& /*range*/, const char* /*value*/) {
    return true;
}

constexpr bool defaults_are_in_range() {
    return std::ranges::all_of(parse_table, [](const parse_row& row) {
        return std::visit([&](auto field) { return is_in(row.range, settings{}.*field); },
                          row.field);
    });
}
static_assert(defaults_are_in_range());

} // namespace

int cfg_read_config(const char* path) {
    if (cfg_parse(path) <= 0) {
        log_message(LEVEL_WARN, "Failed to find any configuration keys in %s", path);
        cfg_clean();
        return 1;
    }
    for (const raw_entry& entry : *table) {
        log_message(LEVEL_INFO, "Key: %s, Value:%s", entry.key.get(), entry.value.get());
        if (try_parse_key(entry.key.get(), entry.value.get()) != 0) {
            log_message(LEVEL_WARN, "Failed to parse <%s>", entry.key.get());
        }
    }
    return 0;
}

void cfg_correct_indices() {
    for (const parse_row& row : parse_table) {
        if (const auto* const field = std::get_if<std::int32_t settings::*>(&row.field)) {
            correct_index(row, *field);
        }
    }
}

int cfg_parse(const char* path) {
    const file_lines file = get_all_lines(path);
    if (file.lines.empty()) {
        return -1;
    }
    table->clear();
    int number = 0;
    for (const char* line : file.lines) {
        ++number;
        if (line[0] == '#') {
            continue;
        }
        const char* const equals = std::strchr(line, '=');
        if (equals == nullptr) {
            log_message(LEVEL_WARN, "Malformed line %d:%s of file %s\n", number, line, path);
            continue;
        }
        const std::string key{line, equals};
        table->push_back({estrdup(key.c_str()), estrdup(equals + 1)});
    }
    return static_cast<int>(table->size());
}

int try_parse_key(const char* key, const char* value) {
    for (const parse_row& row : parse_table) {
        if (std::strcmp(row.key, key) == 0) {
            return std::visit([value](auto field) { return store_value(field, value); }, row.field);
        }
    }
    return 1;
}

int cfg_parse_to_int(const char* text, std::int32_t& value) {
    using limits = std::numeric_limits<std::int32_t>;
    char* rest = nullptr;
    const long number = std::strtol(text, &rest, 10);
    // A long is wider than the field on a 64-bit machine only.
    value = static_cast<std::int32_t>(std::clamp<long>(number, limits::min(), limits::max()));
    return *rest == '\0' ? 0 : 1;
}

double cfg_parse_to_double(const char* text, double& value) {
    char* rest = nullptr;
    value = std::strtod(text, &rest);
    return *rest == '\0' ? 0.0 : 1.0;
}

malloc_text cfg_serialize_global_config(std::size_t* length) {
    constexpr std::size_t bytes_per_key = 64;
    text_buffer text{bytes_per_key * parse_table_size};
    for (const parse_row& row : parse_table) {
        std::visit([&](auto field) { append_value(text, row.key, global_config.*field); },
                   row.field);
    }
    if (length != nullptr) {
        *length = text.length();
    }
    return text.take();
}

int cfg_write_config_file(const char* path) {
    FILE* const file = std::fopen(sysroot_path(path).c_str(), "we");
    if (file == nullptr) {
        return 1;
    }
    std::size_t length = 0;
    const malloc_text text = cfg_serialize_global_config(&length);
    std::fwrite(text.get(), 1, length, file);
    std::fflush(file);
    fsync(fileno(file));
    std::fclose(file);
    return 0;
}

void cfg_clean() {
    table->clear();
    table->shrink_to_fit();
}

int find_key_in_table(const char* key) {
    const auto found = std::find_if(table->begin(), table->end(), [key](const raw_entry& entry) {
        return std::strcmp(entry.key.get(), key) == 0;
    });
    return found == table->end() ? -1 : static_cast<int>(found - table->begin());
}

const char* cfg_get_str(const char* key) {
    const int index = find_key_in_table(key);
    return index < 0 ? nullptr : table->at(static_cast<std::size_t>(index)).value.get();
}

int cfg_get_int(const char* key, std::int32_t& value) {
    const char* const text = cfg_get_str(key);
    return text == nullptr ? 1 : cfg_parse_to_int(text, value);
}

std::vector<const char*> cfg_get_all_keys() {
    std::vector<const char*> keys;
    for (const raw_entry& entry : *table) {
        keys.push_back(entry.key.get());
    }
    return keys;
}
