// The settings in use, and reading and writing of the configuration file.
#pragma once

#include "config/settings.h"
#include "core/imem.h"

#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <vector>

// The only record. Main thread only.
extern settings global_config;

// Set to have the loop rewrite the file after the current pass.
inline int update_conf_file = 0;

// Stores a value and marks the file for rewriting if the value changed. Returns true if it did.
template <class Value> bool cfg_store(Value settings::*field, std::type_identity_t<Value> value) {
    if (global_config.*field == value) {
        return false;
    }
    global_config.*field = value;
    update_conf_file = 1;
    return true;
}

// Reads the file at `path` into the record. Returns 0 if it held at least one key=value line, else
// 1. Logs a warning for each invalid line. A number that is not finite becomes the default, an
// index outside its table becomes 0; neither marks the file for rewriting.
[[nodiscard]] int cfg_read_config(const char* path);

// Builds the raw key table from the file. Returns the number of entries, or -1 when no line could
// be read.
[[nodiscard]] int cfg_parse(const char* path);

// Stores one value into the record without checking its range. Returns 0 when stored; 1 for an
// unknown key, or for a number with characters left over (its leading number is stored).
[[nodiscard]] int try_parse_key(const char* key, const char* value);

// Parses the leading base-10 integer, clamped to 32 bits. Returns 0, or 1 when characters remain.
[[nodiscard]] int cfg_parse_to_int(const char* text, std::int32_t& value);

// Parses the leading floating-point number. Returns 0.0, or 1.0 when characters remain.
[[nodiscard]] double cfg_parse_to_double(const char* text, double& value);

// Returns all settings, one line each in table order; stores the length without the terminator in
// `length` if given.
[[nodiscard]] malloc_text cfg_serialize_global_config(std::size_t* length = nullptr);

// Rewrites the file at `path` in place and syncs it to storage. Returns 0, or 1 with errno set when
// it can't be opened or written.
[[nodiscard]] int cfg_write_config_file(const char* path);

// Releases the raw key table.
void cfg_clean();

// Look-ups in the raw table. Of duplicate keys, the first entry counts.
// Returns the entry's index, or -1.
[[nodiscard]] int find_key_in_table(const char* key);
// Returns the entry's value, borrowed from the table, or null.
[[nodiscard]] const char* cfg_get_str(const char* key);
// Parses the entry's value as cfg_parse_to_int does; 1 also when the key is absent.
[[nodiscard]] int cfg_get_int(const char* key, std::int32_t& value);
// Returns all keys in file order, borrowed from the table.
[[nodiscard]] std::vector<const char*> cfg_get_all_keys();
