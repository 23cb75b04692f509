// The settings in use, and reading and writing of the configuration file.
#include "config/cfg.h"

#include "core/failures.h"
#include "core/log.h"
#include "util/never_destroyed.h"
#include "util/private_file.h"
#include "util/sysroot.h"
#include "util/text_buffer.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <limits>
#include <unistd.h>

constinit settings global_config;

namespace {

struct raw_entry {
    malloc_text key;
    malloc_text value;
    int line;
};

// Lines of a file, each NUL-terminated, all in one buffer.
struct file_lines {
    malloc_text buffer;
    std::vector<const char*> lines;
    bool has_unended_line = false;
};

// Number of the file's last line if it has no newline, else 0.
int unended_line = 0;

// The file's entries, in file order.
never_destroyed<std::vector<raw_entry>> table;

// Keeps a text value until the process ends, since settings are borrowed anywhere.
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

// Splits the file into lines. Text after the last newline is ignored.
file_lines get_all_lines(const char* path) {
    file_lines result;
    // Opened for update: a file that can't be rewritten later is not read.
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
    result.has_unended_line = start != end;
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

const parse_row* row_of(const char* key) {
    const auto row = std::ranges::find_if(
        parse_table, [key](const parse_row& each) { return std::strcmp(each.key, key) == 0; });
    return row == parse_table.end() ? nullptr : &*row;
}

// Names a line by its number only: its text may be confidential.
void warn_of_line(int number, const char* what) {
    log_failure(failure_kind::settings, "Settings line %d: %s", number, what);
}

bool is_finite(double value) {
    return std::isfinite(value);
}

bool is_finite(const char* /*value*/) {
    return true;
}

// Replaces an unusable value; warns about any other that is out of range.
template <class Value>
void judge_value(Value settings::*field, const value_range& range, int line) {
    Value& value = global_config.*field;
    if (!is_finite(value)) {
        value = settings{}.*field;
        warn_of_line(line, "not a finite number, the default is used");
    } else if (is_in(range, value)) {
        return;
    } else if (range.is_index) {
        value = Value{};
        warn_of_line(line, "selects no entry of its table, 0 is used");
    } else {
        warn_of_line(line, "out of range");
    }
}

void apply(const raw_entry& entry) {
    const char* const key = entry.key.get();
    log_message(LEVEL_INFO, "Key: %s, Value:%s", key, entry.value.get());
    const parse_row* const row = row_of(key);
    if (try_parse_key(key, entry.value.get()) != 0) {
        log_message(LEVEL_WARN, "Failed to parse <%s>", key);
        warn_of_line(entry.line, row == nullptr
                                     ? "unknown key"
                                     : "more than a number; what it begins with is used");
    }
    if (row != nullptr) {
        std::visit([&](auto field) { judge_value(field, row->range, entry.line); }, row->field);
    }
}

void warn_of_unended_line() {
    if (unended_line != 0) {
        warn_of_line(unended_line, "not read, since no newline ends it");
    }
}

} // namespace

int cfg_read_config(const char* path) {
    if (cfg_parse(path) <= 0) {
        log_message(LEVEL_WARN, "Failed to find any configuration keys in %s", path);
        warn_of_unended_line();
        cfg_clean();
        return 1;
    }
    std::ranges::for_each(*table, apply);
    warn_of_unended_line();
    return 0;
}

int cfg_parse(const char* path) {
    const file_lines file = get_all_lines(path);
    unended_line = file.has_unended_line ? static_cast<int>(file.lines.size()) + 1 : 0;
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
        table->push_back({estrdup(key.c_str()), estrdup(equals + 1), number});
    }
    return static_cast<int>(table->size());
}

int try_parse_key(const char* key, const char* value) {
    const parse_row* const row = row_of(key);
    return row == nullptr
               ? 1
               : std::visit([value](auto field) { return store_value(field, value); }, row->field);
}

int cfg_parse_to_int(const char* text, std::int32_t& value) {
    using limits = std::numeric_limits<std::int32_t>;
    char* rest = nullptr;
    const long number = std::strtol(text, &rest, 10);
    // Only a 64-bit machine's long is wider than the field.
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
    file_owner file = open_private_file(path, O_WRONLY | O_TRUNC, "w");
    if (!file) {
        return 1;
    }
    std::size_t length = 0;
    const malloc_text text = cfg_serialize_global_config(&length);
    const bool is_stored = std::fwrite(text.get(), 1, length, file.get()) == length &&
                           std::fflush(file.get()) == 0 && fsync(fileno(file.get())) == 0;
    const int error = errno;
    const bool is_closed = std::fclose(file.release()) == 0;
    errno = is_stored ? errno : error;
    return is_stored && is_closed ? 0 : 1;
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
